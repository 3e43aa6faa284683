// Reaching files inside folders that customers can write, as root, without
// being led elsewhere: no symbolic link that a customer could have planted is
// followed, no ".." is walked, a FIFO never blocks an open, and what was
// checked is what is used (the descriptor, not the name again).
//
// Folders on the way are trusted one by one. A folder owned by root (or by
// the user running the library) that neither its group nor others can write
// holds only entries that user put there: a link to a folder in it is
// followed, as an administrator's link (/home -> /srv/home) should be. In any
// other folder such a link is refused. The file itself is never reached
// through a link, and a file with more than one name (a hard link to a file
// somewhere else) is refused too.
#ifndef QZ_SAFE_PATH_H
#define QZ_SAFE_PATH_H

#include <map>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <sys/types.h>
#include <utility>
#include <vector>

namespace qz {

// An open descriptor, closed when the holder goes.
class Fd {
public:
    explicit Fd(int fd = -1) : fd_(fd) {}
    ~Fd() { reset(); }
    Fd(Fd&& other) noexcept : fd_(other.release()) {}
    Fd& operator=(Fd&& other) noexcept {
        reset(other.release());
        return *this;
    }
    Fd(const Fd&) = delete;
    Fd& operator=(const Fd&) = delete;

    int get() const { return fd_; }
    bool ok() const { return fd_ >= 0; }
    int release() {
        const int fd = fd_;
        fd_ = -1;
        return fd;
    }
    void reset(int fd = -1);

private:
    int fd_;
};

// A folder reached safely (an O_PATH descriptor) and whether entries in it
// may be followed.
struct SafeFolder {
    Fd fd;
    bool trusted = false;
};

// Opens the folder `path` one component at a time from "/" (or from the
// working folder for a relative path). False, with errno set, when a
// component is missing (ENOENT), is ".." (EPERM), is a link in a folder
// others can write, or is no folder (ENOTDIR or ELOOP), or cannot be opened.
bool openFolder(const std::string& path, SafeFolder& folder);

// Opens what `path` names itself (an O_PATH descriptor): its folders as
// openFolder walks them, the last component never through a link, and kept
// only when it is a folder or a regular file with one name. False, with
// errno set as openFolder sets it (ELOOP for a link, EPERM for anything else
// refused).
bool openEntry(const std::string& path, Fd& entry);

// Whether a failure of openFolder or of an open in it (its errno) is a
// refusal: a link, a FIFO without a reader, no folder, a "..".
bool isRefusal(int error);

enum class FileCheck {
    Missing,  // no such entry, or (openFile) no such folder on the way
    Regular,  // a regular file, opened
    Refused,  // a link, a FIFO, a folder, a hard link, or a folder on the way
              // that could not be reached safely
    Unopened, // there, but it cannot be opened (no permission, an I/O error)
};

// Opens `name` in `folder` with `flags` (O_RDONLY, O_WRONLY, O_APPEND, O_CREAT
// and O_TRUNC are honoured). The file is first opened without creating or
// truncating it, without following a link and without blocking, and kept
// only when it is a regular file with one name;
// only then is it truncated. With O_CREAT a missing file is created new
// (O_EXCL, which never follows a link), with `mode` before the umask.
FileCheck openIn(const SafeFolder& folder, const char* name, int flags, Fd& file, mode_t mode = 0666);

// The same for a whole path: its folder through openFolder, then its last
// component through openIn. A path that ends in '/' names no file: Refused.
FileCheck openFile(const std::string& path, int flags, Fd& file, mode_t mode = 0666);

// Whether a file exists at `path` as openFile would find it for reading.
FileCheck checkFile(const std::string& path);

// The path of a checked descriptor for a library call or command of this
// process that opens by name: "/proc/self/fd/<fd>", which reaches the very
// file opened, whatever has been renamed since.
std::string descriptorPath(const Fd& fd);

// Keeps a path still while commands that take it by name (htpasswd, chown,
// chmod) run on it. Every folder of the path owned by a user other than root
// (a customer's) is given to root, without group or other write, from the
// top down; the path is then walked again and must reach the very same
// folders. Until the lock goes, when each folder gets its owner and mode
// back, nobody but root can put a link in place of anything in those
// folders. Folders of root's are never changed: one that others can write
// with the sticky bit (/tmp) is left as it is, since no one else can rename
// what root or the lock owns in it; one that others can write without the
// sticky bit refuses the path (EPERM), with nothing changed.
//
// A caller that is not root holds nothing: a link could only lead it to what
// it may write anyway. Two callers must not lock the same folders at once
// (the second would take the locked state for the folder's own): only
// operations that hold the library's lock (QZLock.h) use this. Within one
// call, a folder another FolderLock already holds is left to that one.
class FolderLock {
public:
    FolderLock() = default;
    ~FolderLock() { release(); }
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;

    // False, with nothing left changed and errno set, when the path cannot be
    // walked as openFolder walks it, a folder cannot be locked, or the path
    // changed while it was being locked (EAGAIN).
    bool lock(const std::string& folderPath);
    void release();

private:
    struct Held {
        Fd fd;
        uid_t uid;
        gid_t gid;
        mode_t mode;
        struct stat st;  // as found: its identity
    };
    std::vector<Held> held_;
};

// Keeps a whole folder tree still while a command that walks it by name
// (chmod -R) runs: the folder and every folder below it, reached without a
// link, that a user other than root owns (or others can write) is given to
// root without group or other write, each one before its entries are read.
// The folder itself must be held still in its parent by the caller (a
// FolderLock on the parent). When the lock goes, each folder gets its owner
// back, the deepest first, and keeps the mode it has by then: the mode the
// command set, which the lock must not undo (a folder the command did not
// change keeps the mode without group and other write). False, with errno
// set and everything given back, when the folder cannot be reached as
// openFolder reaches it, a folder cannot be held or read, or the tree is
// deeper than 1000 folders. An empty path holds nothing (true); so does a
// FolderLock given one.
class TreeLock {
public:
    TreeLock() = default;
    ~TreeLock() { release(); }
    TreeLock(const TreeLock&) = delete;
    TreeLock& operator=(const TreeLock&) = delete;

    bool lock(const std::string& folderPath);
    void release();

private:
    using Id = std::pair<dev_t, ino_t>;
    struct Owner {
        uid_t uid;
        gid_t gid;
    };
    bool freeze(int dir, int depth);
    void thaw(int dir, int depth);
    Fd top_;
    std::map<Id, Owner> held_;
};

}  // namespace qz

#endif
