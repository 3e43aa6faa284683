// Opening the machine-wide lock file, shared by the library's lock and the
// command line's (header only: the command line uses no library internals).
#ifndef QZ_LOCK_FILE_H
#define QZ_LOCK_FILE_H

#include <cerrno>
#include <fcntl.h>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qz {

// Opens the lock file at `path` for flock, creating it when missing, never
// through a symbolic link. Its folder may be writable by every user
// (/run/lock): another user's file there could be locked by its owner for
// ever, so a caller running as root accepts only root's own regular file
// with a single name, and removes anything else and makes the file anew (a
// few times at most, against someone putting it back). -1, errno set, when
// that fails.
inline int openLockFile(const std::string& path) {
    const bool root = geteuid() == 0;
    auto trusted = [&](const struct stat& st) {
        return !root || (S_ISREG(st.st_mode) && st.st_uid == 0 && st.st_nlink == 1);
    };
    for (int attempt = 0; attempt < 3; ++attempt) {
        struct stat st;
        if (root && lstat(path.c_str(), &st) == 0 && !trusted(st) && unlink(path.c_str()) != 0 && errno != ENOENT)
            return -1;
        const int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0644);
        if (fd < 0) {
            if (root && errno == EACCES) continue;  // replaced since the check: check again
            return -1;
        }
        if (fstat(fd, &st) == 0 && trusted(st)) return fd;
        ::close(fd);
    }
    errno = EPERM;
    return -1;
}

// Waits for the exclusive flock of `fd`, again after a signal. 0, or -1 with
// errno set.
inline int lockExclusive(int fd) {
    int result;
    while ((result = flock(fd, LOCK_EX)) != 0 && errno == EINTR) {
    }
    return result;
}

}  // namespace qz

#endif
