// What the program does around an operation for the operator: the machine-wide
// lock, the copies kept for --verify and the syntax check, and the library's
// and its tools' output kept off the program's own.
#include "Cli.h"
#include "core/LockFile.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <iostream>
#include <set>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace cli {
namespace {

// The variable the library reads to borrow a lock already held.
constexpr const char* kLentLock = "QZAPACHE_LOCK_FD";

std::runtime_error systemError(const std::string& what) { return std::runtime_error(what + ": " + std::strerror(errno)); }

// Like "mkdir -p": every missing folder of `folder`, mode 0755.
void makeFolders(const std::string& folder) {
    for (size_t at = folder.find('/', 1); ; at = folder.find('/', at + 1)) {
        const std::string part = folder.substr(0, at);
        if (!part.empty() && mkdir(part.c_str(), 0755) != 0 && errno != EEXIST) throw systemError("cannot make " + part);
        if (at == std::string::npos) return;
    }
}

bool readAll(int fd, std::string& bytes) {
    char buffer[65536];
    for (;;) {
        const ssize_t got = read(fd, buffer, sizeof buffer);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return false;
        if (got == 0) return true;
        bytes.append(buffer, static_cast<size_t>(got));
    }
}

bool writeAll(int fd, const std::string& bytes) {
    for (size_t done = 0; done < bytes.size();) {
        const ssize_t put = write(fd, bytes.data() + done, bytes.size() - done);
        if (put < 0 && errno == EINTR) continue;
        if (put <= 0) return false;
        done += static_cast<size_t>(put);
    }
    return true;
}

// Puts the entry a rename just made in `path`'s folder on the disk.
void syncFolderOf(const std::string& path) {
    const size_t slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
    const int fd = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return;
    if (fsync(fd) != 0) { /* the file is in place; only its durability is left to the system */ }
    close(fd);
}

}  // namespace

MachineLock::MachineLock(const std::string& root) {
    const std::string folder = root + "/run/lock";
    makeFolders(folder);
    const std::string file = folder + "/qzapache.lock";
    fd_ = qz::openLockFile(file);
    if (fd_ < 0) throw systemError("cannot open the lock " + file);
    if (qz::lockExclusive(fd_) != 0) {
        const std::runtime_error error = systemError("cannot lock " + file);
        close(fd_);
        throw error;
    }
    // flock locks belong to an open file: the library opening the lock file
    // again would wait for this one for ever. The variable lends it this one
    // (the library checks that it names the lock file and holds its lock).
    if (setenv(kLentLock, std::to_string(fd_).c_str(), 1) != 0) {
        const std::runtime_error error = systemError("cannot lend the lock");
        close(fd_);
        throw error;
    }
}

MachineLock::~MachineLock() {
    unsetenv(kLentLock);
    close(fd_);   // releases the lock
}

std::string absolute(const std::string& path) {
    if (path.empty() || path[0] == '/') return path;
    char* folder = getcwd(nullptr, 0);
    if (folder == nullptr) throw systemError("cannot find the current folder");
    const std::string whole = std::string(folder) + "/" + path;
    std::free(folder);
    return whole;
}

Snapshot::Snapshot(const std::vector<std::string>& files) {
    // Absolute, since an operation may change the current folder before the
    // copies are put back.
    std::vector<std::string> paths;
    for (const std::string& file : files) paths.push_back(absolute(file));
    std::set<std::string> kept;
    for (size_t i = 0; i < paths.size(); ++i) {
        const std::string path = paths[i];
        if (!kept.insert(path).second) continue;
        Copy copy;
        copy.path = path;
        struct stat st;
        if (lstat(path.c_str(), &st) != 0) {
            if (errno != ENOENT && errno != ENOTDIR) throw systemError("cannot keep a copy of " + path);
        } else if (S_ISLNK(st.st_mode)) {
            char target[4096];
            const ssize_t length = readlink(path.c_str(), target, sizeof target);
            if (length < 0 || static_cast<size_t>(length) == sizeof target) throw systemError("cannot keep a copy of " + path);
            copy.existed = copy.link = true;
            copy.bytes.assign(target, static_cast<size_t>(length));
            // Appending in place writes through the link: the file it leads to is kept too.
            char resolved[PATH_MAX];
            if (realpath(path.c_str(), resolved) != nullptr) paths.push_back(resolved);
        } else if (S_ISREG(st.st_mode)) {
            const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
            const bool read = fd >= 0 && readAll(fd, copy.bytes);
            if (fd >= 0) close(fd);
            if (!read) throw systemError("cannot keep a copy of " + path);
            copy.existed = true;
            copy.mode = st.st_mode & 07777;
            copy.owner = st.st_uid;
            copy.group = st.st_gid;
        } else {
            continue;   // a folder or a device is not an operation's file: not kept
        }
        copies_.push_back(copy);
    }
}

size_t Snapshot::restore() const {
    size_t restored = 0;
    for (const Copy& copy : copies_) {
        struct stat st;
        const bool now = lstat(copy.path.c_str(), &st) == 0;
        if (!copy.existed) {
            if (now && !S_ISDIR(st.st_mode) && unlink(copy.path.c_str()) == 0) ++restored;
            continue;
        }
        if (copy.link) {
            char target[4096];
            const ssize_t length = now && S_ISLNK(st.st_mode) ? readlink(copy.path.c_str(), target, sizeof target) : -1;
            if (length >= 0 && copy.bytes == std::string(target, static_cast<size_t>(length))) continue;
            if (now) unlink(copy.path.c_str());
            if (symlink(copy.bytes.c_str(), copy.path.c_str()) == 0) ++restored;
            continue;
        }
        if (now && S_ISREG(st.st_mode) && (st.st_mode & 07777) == copy.mode && st.st_uid == copy.owner && st.st_gid == copy.group) {
            std::string bytes;
            const int fd = open(copy.path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
            const bool same = fd >= 0 && readAll(fd, bytes) && bytes == copy.bytes;
            if (fd >= 0) close(fd);
            if (same) continue;
        }
        // Written beside the file, on the disk before it is renamed over it,
        // so the file is never half written, not even after a power cut.
        const std::string scratch = copy.path + ".qzapache-restore";
        unlink(scratch.c_str());
        const int fd = open(scratch.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600);
        if (fd < 0) continue;
        const bool written = writeAll(fd, copy.bytes);
        if (fchown(fd, copy.owner, copy.group) != 0) { /* only root may give a file away; the mode still follows */ }
        const bool moded = fchmod(fd, copy.mode) == 0;
        const bool synced = written && fsync(fd) == 0;
        const bool closed = close(fd) == 0;
        if (synced && moded && closed && rename(scratch.c_str(), copy.path.c_str()) == 0) {
            syncFolderOf(copy.path);
            ++restored;
        } else {
            unlink(scratch.c_str());
        }
    }
    return restored;
}

int runChecker(const std::vector<std::string>& argv, std::string& output) {
    int pipeFds[2];
    if (pipe2(pipeFds, O_CLOEXEC) != 0) throw systemError("cannot run the check");
    std::cout.flush();
    std::fflush(nullptr);
    const pid_t pid = fork();
    if (pid < 0) throw systemError("cannot run the check");
    if (pid == 0) {
        dup2(pipeFds[1], 1);
        dup2(pipeFds[1], 2);
        std::vector<char*> words;
        for (const std::string& word : argv) words.push_back(const_cast<char*>(word.c_str()));
        words.push_back(nullptr);
        execvp(words[0], words.data());
        const std::string message = "cannot run " + argv[0] + ": " + std::strerror(errno) + "\n";
        if (write(2, message.data(), message.size()) < 0) { /* nothing more to say */ }
        _exit(127);
    }
    close(pipeFds[1]);
    readAll(pipeFds[0], output);
    close(pipeFds[0]);
    int status = 0;
    while (waitpid(pid, &status, 0) < 0)
        if (errno != EINTR) return 127;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

RedirectOutput::RedirectOutput(bool toStderr) {
    std::cout.flush();
    std::fflush(nullptr);
    savedOut_ = fcntl(1, F_DUPFD_CLOEXEC, 3);
    savedErr_ = toStderr ? -1 : fcntl(2, F_DUPFD_CLOEXEC, 3);
    const int target = toStderr ? 2 : open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (savedOut_ < 0 || target < 0 || (!toStderr && savedErr_ < 0)) {
        const std::runtime_error error = systemError("cannot redirect the library's output");
        for (const int fd : {savedOut_, savedErr_, toStderr ? -1 : target})
            if (fd >= 0) close(fd);
        throw error;
    }
    dup2(target, 1);
    if (!toStderr) {
        dup2(target, 2);
        close(target);
    }
}

RedirectOutput::~RedirectOutput() {
    std::cout.flush();
    std::fflush(nullptr);
    dup2(savedOut_, 1);
    close(savedOut_);
    if (savedErr_ >= 0) {
        dup2(savedErr_, 2);
        close(savedErr_);
    }
}

}  // namespace cli
