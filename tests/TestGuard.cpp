#include "TestGuard.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fcntl.h>
#include <fstream>
#include <set>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {
// The system folders a unit test must leave as they are, and where and by
// which names the programs lie that it must never start: Apache and its
// tools, PHP in every version, the service managers.
const char* const kProtected[] = {"/etc", "/var", "/run"};
const char* const kToolFolders[] = {"/usr/sbin", "/usr/bin", "/usr/local/sbin", "/usr/local/bin", "/sbin", "/bin"};
const char* const kToolPrefixes[] = {"apache2", "apachectl", "httpd", "a2en", "a2dis", "a2query", "php",
                                     "systemctl", "service", "invoke-rc.d"};

std::string failure(const std::string& what) { return what + ": " + std::strerror(errno); }
}  // namespace

std::string TestGuard::arm(const std::string& folder) {
    if (geteuid() != 0) return "not running as root";
    savedNamespace_ = open("/proc/self/ns/mnt", O_RDONLY | O_CLOEXEC);
    if (savedNamespace_ < 0) return failure("open /proc/self/ns/mnt");
    if (unshare(CLONE_NEWNS) != 0) return failure("unshare(CLONE_NEWNS)");
    armed_ = true;  // from here on, disarm() returns to the system's namespace
    folder_ = folder;
    if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) return failure("make / private");
    if (mkdir(folder.c_str(), 0755) != 0) return failure("mkdir " + folder);
    if (mount("qzguard", folder.c_str(), "tmpfs", 0, "mode=0755") != 0) return failure("tmpfs on " + folder);
    std::error_code error;
    for (const char* dir : kProtected) {
        const std::string upper = folder + "/up" + dir, work = folder + "/work" + dir;
        fs::create_directories(upper, error);
        fs::create_directories(work, error);
        const std::string options = std::string("lowerdir=") + dir + ",upperdir=" + upper + ",workdir=" + work;
        if (mount("qzguard", dir, "overlay", 0, options.c_str()) != 0) return failure(std::string("overlay on ") + dir);
    }
    const std::string tripwire = folder + "/tripwire";
    std::ofstream(tripwire) << "#!/bin/sh\n{ printf 'ran %s' \"$0\"; for a; do printf ' %s' \"$a\"; done; echo; } >> '"
                            << folder << "/tripped'\nexit 126\n";
    if (chmod(tripwire.c_str(), 0755) != 0) return failure("chmod " + tripwire);
    std::set<std::string> covered;
    for (const char* dir : kToolFolders) {
        for (const auto& entry : fs::directory_iterator(dir, error)) {
            const std::string name = entry.path().filename().string();
            char real[PATH_MAX];
            struct stat st;
            bool tool = false;
            for (const char* prefix : kToolPrefixes) tool = tool || name.rfind(prefix, 0) == 0;
            if (!tool || realpath(entry.path().c_str(), real) == nullptr || !covered.insert(real).second) continue;
            if (stat(real, &st) != 0 || !S_ISREG(st.st_mode)) continue;
            if (mount(tripwire.c_str(), real, nullptr, MS_BIND, nullptr) != 0) return failure(std::string("cover ") + real);
        }
    }
    return "";
}

std::vector<std::string> TestGuard::findings() {
    std::vector<std::string> found;
    if (!armed_ || folder_.empty()) return found;
    const std::string log = folder_ + "/tripped";
    {
        std::ifstream in(log);
        for (std::string line; std::getline(in, line);) found.push_back(line);
    }
    std::remove(log.c_str());
    // Every leaf of an overlay's upper folder is something written, made,
    // changed or removed (a whiteout) through it; its parent folders were
    // only copied up. Each is reported once.
    for (const char* dir : kProtected) {
        const std::string upper = folder_ + "/up" + dir;
        std::error_code error;
        std::vector<fs::path> leaves;
        for (auto it = fs::recursive_directory_iterator(upper, error); !error && it != fs::recursive_directory_iterator();
             it.increment(error))
            if (!(it->is_directory() && !it->is_symlink()) || fs::is_empty(it->path())) leaves.push_back(it->path());
        for (const auto& leaf : leaves) {
            found.push_back("wrote " + std::string(dir) + leaf.string().substr(upper.size()));
            fs::remove(leaf, error);
        }
    }
    return found;
}

void TestGuard::disarm() {
    if (savedNamespace_ >= 0) {
        if (armed_ && setns(savedNamespace_, CLONE_NEWNS) != 0) std::abort();  // the test would go on writing into the overlays
        close(savedNamespace_);
    }
    savedNamespace_ = -1;
    armed_ = false;
    folder_.clear();
}
