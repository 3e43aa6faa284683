#include "core/QZLock.h"

#include "core/LockFile.h"
#include "core/QZCore.h"
#include "core/Messages.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qz {

namespace {

// The process's one holder of the lock.
struct Holder {
    std::recursive_mutex mutex;  // held by the thread that runs an operation
    int depth = 0;               // guards of that thread, nested
    int fd = -1;                 // the locked file, while depth > 0
    bool lent = false;           // fd belongs to the program (see kLentLockVariable)
};

Holder& holder() {
    // Never destroyed: an operation may still run while statics go at exit.
    static Holder* const h = new Holder;
    return *h;
}

// The program's descriptor when it names the lock file and holds its lock;
// -1 otherwise.
int lentDescriptor(const std::string& file) {
    const char* text = std::getenv(kLentLockVariable);
    if (text == nullptr || *text == '\0') return -1;
    char* stop = nullptr;
    errno = 0;
    const long fd = std::strtol(text, &stop, 10);
    if (errno != 0 || *stop != '\0' || fd < 0 || fd > INT_MAX) return -1;
    struct stat lent, named;
    if (fstat(static_cast<int>(fd), &lent) != 0 || lstat(file.c_str(), &named) != 0) return -1;
    if (lent.st_dev != named.st_dev || lent.st_ino != named.st_ino) return -1;
    // Already held through this descriptor, this returns at once; held by
    // another process, it fails, and the lock is taken the usual way.
    if (flock(static_cast<int>(fd), LOCK_EX | LOCK_NB) != 0) return -1;
    return static_cast<int>(fd);
}

void acquire(Holder& h) {
    const std::string folder = sysPath("/run/lock");
    const std::string file = folder + "/qzapache.lock";
    h.fd = lentDescriptor(file);
    if (h.fd >= 0) {
        h.lent = true;
        return;
    }
    for (const std::string& part : {sysPath("/run"), folder})
        if (mkdir(part.c_str(), 0755) != 0 && errno != EEXIST) break;  // the open below says why
    h.fd = openLockFile(file);
    if (h.fd < 0) {
        sayLine(qz::msg::kLockNotOpened + file + ": " + std::strerror(errno));
        return;
    }
    if (lockExclusive(h.fd) != 0) {
        sayLine(qz::msg::kLockNotTaken + file + ": " + std::strerror(errno));
        ::close(h.fd);
        h.fd = -1;
    }
}

void release(Holder& h) {
    // Closing the only descriptor of the open file releases its lock; a lent
    // one stays locked for the program that lent it.
    if (h.fd >= 0 && !h.lent) ::close(h.fd);
    h.fd = -1;
    h.lent = false;
}

}  // namespace

OperationLock::OperationLock() {
    Holder& h = holder();
    h.mutex.lock();
    if (h.depth++ > 0) return;
    try {
        acquire(h);
    } catch (...) {  // out of memory: no guard, so no destructor
        --h.depth;
        h.mutex.unlock();
        throw;
    }
}

OperationLock::~OperationLock() {
    Holder& h = holder();
    if (--h.depth == 0) release(h);
    h.mutex.unlock();
}

}  // namespace qz
