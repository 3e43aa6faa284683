// The library's one lock: every operation that writes, moves or removes a
// file or folder holds it for its whole run. Not part of the public interface.
#ifndef QZ_LOCK_H
#define QZ_LOCK_H

namespace qz {

// The variable through which a program that already holds the lock file
// locked (the command line holds it around the operation it runs) lends it
// to the library: the number of its descriptor of
// <system root>/run/lock/qzapache.lock. The library then takes the lock
// through that descriptor instead of opening the file again, since a second
// open of the file would wait for the first for ever (flock locks belong to
// an open file, not to a process).
constexpr const char* kLentLockVariable = "QZAPACHE_LOCK_FD";

// An exclusive flock on <system root>/run/lock/qzapache.lock (the folder and
// the file are made when missing), held from construction to destruction.
//
// - Between processes: every process that loads the library, and the command
//   line, lock the same file.
// - Between the threads of one process: one holder per process, behind a
//   mutex, so a thread waits while another runs an operation.
// - Re-entrant: an operation that calls another (the host-header operations
//   call the toolkit) takes the lock once; the nested guard only counts.
// - Released on every path, a return or an exception, by the destructor;
//   the kernel releases it when a process dies.
//
// When the lock file cannot be opened or locked at all, one line saying so is
// printed and the operation runs unlocked, as it always did.
//
// Queries that only read take no lock, since what they can meet is always
// whole:
// - A file is replaced only by renaming a scratch file, written whole and
//   synced, over it: the shell's "mv" for the rewrites (a rename when the
//   scratch file lies on the file's own file system, as those beside the
//   configuration do; mv copies otherwise) and rename(2) for the key/value,
//   redirect and host-header redirect files. A reader sees the old file or
//   the new one, never none: nothing is deleted before the rename.
// - Appends (addParamInFile, UserCreate, the toolkit's appends) add whole
//   lines at the end of the file, and one that fails is cut back to the old
//   length: a reader may meet the last line while it is written, never an
//   earlier line changed.
// - A private folder's new ".htaccess" is written when it is created, and
//   removed again when that write fails.
class OperationLock {
public:
    OperationLock();
    ~OperationLock();
    OperationLock(const OperationLock&) = delete;
    OperationLock& operator=(const OperationLock&) = delete;
};

}  // namespace qz

#endif
