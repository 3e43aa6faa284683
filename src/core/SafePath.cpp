#include "core/SafePath.h"

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <mutex>
#include <set>
#include <utility>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qz {

void Fd::reset(int fd) {
    if (fd_ >= 0) ::close(fd_);
    fd_ = fd;
}

namespace {

// The folders a FolderLock holds: root's for now, but still the customer's
// as far as trust goes.
std::mutex heldMutex;
std::set<std::pair<dev_t, ino_t>>& heldFolders() {
    static std::set<std::pair<dev_t, ino_t>> held;
    return held;
}

bool isHeld(const struct stat& st) {
    std::lock_guard<std::mutex> guard(heldMutex);
    return heldFolders().count({st.st_dev, st.st_ino}) != 0;
}

void markHeld(const struct stat& st, bool held) {
    std::lock_guard<std::mutex> guard(heldMutex);
    if (held)
        heldFolders().insert({st.st_dev, st.st_ino});
    else
        heldFolders().erase({st.st_dev, st.st_ino});
}

// Only root, or the user running the library, can have put entries there.
bool onlyOwnerWrites(const struct stat& st) {
    return (st.st_uid == 0 || st.st_uid == geteuid()) && (st.st_mode & (S_IWGRP | S_IWOTH)) == 0 && !isHeld(st);
}

bool isTrusted(int fd) {
    struct stat st;
    return fstat(fd, &st) == 0 && onlyOwnerWrites(st);
}

}  // namespace

bool isRefusal(int error) { return error == ELOOP || error == ENOTDIR || error == EPERM || error == ENXIO; }

namespace {

// The folders of `path` as openFolder walks them: each one's identity, and a
// descriptor of each one others can write (with its owner and mode).
struct Walk {
    std::vector<std::pair<dev_t, ino_t>> chain;
    std::vector<std::pair<int, struct stat>> writable;  // descriptors owned by the caller
};

bool walk(const std::string& path, SafeFolder& folder, Walk* seen) {
    const bool absolute = !path.empty() && path[0] == '/';
    Fd current(::open(absolute ? "/" : ".", O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!current.ok()) return false;
    bool trusted = isTrusted(current.get());
    auto note = [&](bool isTrusted) {
        if (seen == nullptr) return;
        struct stat st;
        if (fstat(current.get(), &st) != 0) return;
        seen->chain.emplace_back(st.st_dev, st.st_ino);
        if (!isTrusted) seen->writable.emplace_back(dup(current.get()), st);
    };
    note(trusted);
    for (size_t start = 0; start <= path.size();) {
        size_t end = path.find('/', start);
        if (end == std::string::npos) end = path.size();
        const std::string part = path.substr(start, end - start);
        start = end + 1;
        if (part.empty() || part == ".") continue;
        if (part == "..") {
            errno = EPERM;
            return false;
        }
        Fd next(::openat(current.get(), part.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC | (trusted ? 0 : O_NOFOLLOW)));
        if (!next.ok()) return false;
        current = std::move(next);
        trusted = isTrusted(current.get());
        note(trusted);
    }
    folder.fd = std::move(current);
    folder.trusted = trusted;
    return true;
}

}  // namespace

bool openFolder(const std::string& path, SafeFolder& folder) { return walk(path, folder, nullptr); }

bool openEntry(const std::string& path, Fd& entry) {
    entry.reset();
    std::string trimmed = path;
    while (trimmed.size() > 1 && trimmed.back() == '/') trimmed.pop_back();
    const size_t slash = trimmed.rfind('/');
    const std::string name = slash == std::string::npos ? trimmed : trimmed.substr(slash + 1);
    SafeFolder folder;
    if (!openFolder(slash == std::string::npos ? "." : trimmed.substr(0, slash + 1), folder)) return false;
    if (name.empty() || name == ".") {
        entry = std::move(folder.fd);
        return true;
    }
    if (name == "..") {
        errno = EPERM;
        return false;
    }
    Fd fd(::openat(folder.fd.get(), name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    struct stat st;
    if (!fd.ok() || fstat(fd.get(), &st) != 0) return false;
    if (!S_ISDIR(st.st_mode) && !(S_ISREG(st.st_mode) && st.st_nlink == 1)) {
        errno = S_ISLNK(st.st_mode) ? ELOOP : EPERM;
        return false;
    }
    entry = std::move(fd);
    return true;
}

namespace {

// Whether users other than root can add, rename or remove entries of a
// folder of root's: others, or a group other than root's, may write it.
bool othersWrite(const struct stat& st) {
    return (st.st_mode & S_IWOTH) != 0 || ((st.st_mode & S_IWGRP) != 0 && st.st_gid != 0);
}

}  // namespace

bool FolderLock::lock(const std::string& folderPath) {
    release();
    if (folderPath.empty()) return true;  // no folder: nothing to hold (see TreeLock::lock)
    SafeFolder folder;
    // Only root can hold a folder, and only root needs to: a caller that is
    // not root, led by a link, could write nothing it could not write itself.
    if (geteuid() != 0) return openFolder(folderPath, folder) || !isRefusal(errno);
    Walk first;
    const bool walked = walk(folderPath, folder, &first);
    const int walkError = errno;
    std::vector<Held> found;  // every descriptor owned at once, closed whatever happens
    for (auto& [fd, st] : first.writable) found.push_back({Fd(fd), st.st_uid, st.st_gid, st.st_mode & 07777, st});
    if (!walked) {
        errno = walkError;
        return false;
    }
    // Which folders are held: only those owned by a user other than root,
    // that is the customers' own folders, which the library made and handed
    // over. A folder of root's is never changed, whoever else may write it:
    // - with the sticky bit (/tmp), nobody but root and an entry's owner can
    //   rename or remove the entry, and the entries on the path below it are
    //   root's or are held here (given to root) before the path is walked
    //   again, so no one else can replace them while the lock lasts;
    // - without it, anyone allowed to write there could replace the next
    //   folder of the path at any time, and nothing this lock could do
    //   without changing a system folder would stop that: the path is refused
    //   (EPERM) before anything is changed.
    for (const Held& held : found) {
        if (held.uid == 0 && !isHeld(held.st) && othersWrite(held.st) && (held.st.st_mode & S_ISVTX) == 0) {
            errno = EPERM;
            return false;
        }
    }
    for (Held& held : found) {
        // Root's folders stay as they are; one this call already holds is
        // held once (its owner and mode as found are kept by the first hold).
        if (held.uid == 0 || isHeld(held.st) || !held.fd.ok()) continue;
        const int ownedByRoot = fchownat(held.fd.get(), "", 0, static_cast<gid_t>(-1), AT_EMPTY_PATH);
        const bool locked = ownedByRoot == 0 &&
                            chmod(descriptorPath(held.fd).c_str(), held.mode & ~(S_IWGRP | S_IWOTH)) == 0;
        const bool kept = ownedByRoot == 0;
        if (kept) {
            markHeld(held.st, true);
            held_.push_back(std::move(held));
        }
        if (!locked) {
            const int error = errno;
            release();
            errno = error;
            return false;
        }
    }
    Walk again;
    const bool same = walk(folderPath, folder, &again) && again.chain == first.chain;
    for (auto& entry : again.writable) Fd closed(entry.first);
    if (!same) {
        release();
        errno = EAGAIN;
        return false;
    }
    return true;
}

void FolderLock::release() {
    // The deepest folder first: each gets its owner, then its mode, back.
    for (auto held = held_.rbegin(); held != held_.rend(); ++held) {
        markHeld(held->st, false);
        if (fchownat(held->fd.get(), "", held->uid, held->gid, AT_EMPTY_PATH) != 0) continue;
        (void)chmod(descriptorPath(held->fd).c_str(), held->mode);
    }
    held_.clear();
}

namespace {

constexpr int kTreeDepthLimit = 1000;

// Opens the folder `name` in `dir` for reading its entries, never through a
// link; -1 when it is no folder (or cannot be opened).
int openChildFolder(int dir, const char* name) {
    return ::openat(dir, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
}

// Calls `each(childFd)` for every folder in `dir` (an O_RDONLY descriptor),
// never through a link; false when the folder cannot be read.
template <typename Each>
bool forEachChildFolder(int dir, Each each) {
    DIR* entries = fdopendir(::dup(dir));
    if (entries == nullptr) return false;
    // The copy shares the descriptor's offset, which an earlier walk of the
    // same folder has left at its end.
    rewinddir(entries);
    bool ok = true;
    while (ok) {
        errno = 0;
        const struct dirent* entry = readdir(entries);
        if (entry == nullptr) {
            ok = errno == 0;
            break;
        }
        if (strcmp(entry->d_name, ".") == 0 || strcmp(entry->d_name, "..") == 0) continue;
        struct stat st;
        if (fstatat(dir, entry->d_name, &st, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISDIR(st.st_mode)) continue;
        Fd child(openChildFolder(dir, entry->d_name));
        struct stat opened;
        if (!child.ok() || fstat(child.get(), &opened) != 0 || opened.st_dev != st.st_dev || opened.st_ino != st.st_ino) {
            ok = false;
            break;
        }
        ok = each(child.get());
    }
    closedir(entries);
    return ok;
}

}  // namespace

bool TreeLock::lock(const std::string& folderPath) {
    release();
    // An empty path names no folder: the commands it stands for get no
    // operand. Walking it as "." would hold the process's working folder,
    // which may be "/", and every folder below it.
    if (folderPath.empty()) return true;
    SafeFolder folder;
    if (!openFolder(folderPath, folder)) return false;
    if (geteuid() != 0) return true;
    top_.reset(::openat(folder.fd.get(), ".", O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!top_.ok()) return false;
    if (!freeze(top_.get(), 0)) {
        const int error = errno;
        release();
        errno = error;
        return false;
    }
    return true;
}

bool TreeLock::freeze(int dir, int depth) {
    if (depth > kTreeDepthLimit) {
        errno = ELOOP;
        return false;
    }
    struct stat st;
    if (fstat(dir, &st) != 0) return false;
    const Id id{st.st_dev, st.st_ino};
    if (held_.count(id) != 0) return true;
    if (st.st_uid != 0 || othersWrite(st)) {
        // Recorded before it changes: release() finds it by its identity.
        held_[id] = {st.st_uid, st.st_gid};
        markHeld(st, true);
        if (fchown(dir, 0, static_cast<gid_t>(-1)) != 0 || fchmod(dir, st.st_mode & 07777 & ~(S_IWGRP | S_IWOTH)) != 0)
            return false;
    }
    // Its entries are read only once nobody but root can change them.
    return forEachChildFolder(dir, [&](int child) { return freeze(child, depth + 1); });
}

void TreeLock::thaw(int dir, int depth) {
    if (depth > kTreeDepthLimit) return;
    // The folders below first: each folder stays root's until everything in
    // it has been given back.
    forEachChildFolder(dir, [&](int child) {
        thaw(child, depth + 1);
        return true;
    });
    struct stat st;
    if (fstat(dir, &st) != 0) return;
    const auto found = held_.find({st.st_dev, st.st_ino});
    if (found == held_.end()) return;
    markHeld(st, false);
    if (fchown(dir, found->second.uid, found->second.gid) == 0) {
        struct stat after;
        if (fstat(dir, &after) == 0 && after.st_mode != st.st_mode) (void)fchmod(dir, st.st_mode & 07777);
    }
    held_.erase(found);
}

void TreeLock::release() {
    if (top_.ok()) thaw(top_.get(), 0);
    // What could not be reached again (nothing, unless a folder was made
    // unreadable meanwhile) at least no longer counts as held.
    for (const auto& entry : held_) {
        struct stat st {};
        st.st_dev = entry.first.first;
        st.st_ino = entry.first.second;
        markHeld(st, false);
    }
    held_.clear();
    top_.reset();
}

FileCheck openIn(const SafeFolder& folder, const char* name, int flags, Fd& file, mode_t mode) {
    file.reset();
    const int base = (flags & ~(O_CREAT | O_TRUNC | O_EXCL)) | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | O_NOFOLLOW;
    Fd fd(::openat(folder.fd.get(), name, base));
    if (!fd.ok() && errno == ENOENT && (flags & O_CREAT) != 0)
        fd.reset(::openat(folder.fd.get(), name, base | O_CREAT | O_EXCL, mode));
    if (!fd.ok()) return errno == ENOENT ? FileCheck::Missing : isRefusal(errno) ? FileCheck::Refused : FileCheck::Unopened;
    struct stat st;
    if (fstat(fd.get(), &st) != 0 || !S_ISREG(st.st_mode) || st.st_nlink != 1)
        return FileCheck::Refused;
    const int status = fcntl(fd.get(), F_GETFL);
    if (status < 0 || fcntl(fd.get(), F_SETFL, status & ~O_NONBLOCK) != 0) return FileCheck::Refused;
    if ((flags & O_TRUNC) != 0 && ftruncate(fd.get(), 0) != 0) return FileCheck::Refused;
    file = std::move(fd);
    return FileCheck::Regular;
}

FileCheck openFile(const std::string& path, int flags, Fd& file, mode_t mode) {
    file.reset();
    const size_t slash = path.rfind('/');
    const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    if (name.empty() || name == "." || name == "..") return FileCheck::Refused;
    SafeFolder folder;
    if (!openFolder(slash == std::string::npos ? "." : path.substr(0, slash + 1), folder))
        return errno == ENOENT ? FileCheck::Missing : isRefusal(errno) ? FileCheck::Refused : FileCheck::Unopened;
    return openIn(folder, name.c_str(), flags, file, mode);
}

FileCheck checkFile(const std::string& path) {
    Fd file;
    return openFile(path, O_RDONLY, file);
}

std::string descriptorPath(const Fd& fd) { return "/proc/self/fd/" + std::to_string(fd.get()); }

}  // namespace qz
