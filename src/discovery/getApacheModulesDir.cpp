// CQZWebsite::getApacheModulesDir: the folder Apache loads its modules from.
#include "CQZWebsite.h"

#include "discovery/ApacheDiscovery.h"
#include "core/QZCore.h"

#include <dirent.h>

#include <vector>

namespace {

// 64 when the last line "/bin/uname -a" prints holds "x86_64", else 32; 0
// when it prints nothing (or cannot be run) and the machine type is unknown.
int machineBits() {
    qz::ShellPipe pipe("/bin/uname -a");
    if (pipe.get() == nullptr) return 0;
    char buf[2000];
    bool any = false;
    std::string last;
    while (fgets(buf, sizeof buf, pipe.get()) != nullptr) {
        last = buf;
        any = true;
    }
    if (!any) return 0;
    return last.find("x86_64") != std::string::npos ? 64 : 32;
}

bool folderOpens(const std::string& folder) {
    DIR* dir = opendir(folder.c_str());
    if (dir == nullptr) return false;
    closedir(dir);
    return true;
}

}  // namespace

std::string qz::apacheModulesDir(const std::string& httpdConfFile) {
    const std::string serverRoot = qz::serverRootOrConfFolder(httpdConfFile);

    std::string result;
    qz::LineReader in(httpdConfFile, qz::kConfigLineLimit);
    while (in.isOpen() && in.nextUntilEof()) {
        if (in.empty()) continue;
        const char* p = qz::skipSpace(in.c_str());
        if (!qz::startsWithNoCase(p, "LoadModule")) continue;
        const std::string modName = qz::afterName(p, 10);
        // The text between the last blank and the last "/", in unsigned
        // arithmetic: with no blank it starts at 0, with no "/" (or a "/"
        // before the blank) it runs to the end. b + 1 never passes the end.
        const size_t s = modName.rfind('/');
        const size_t b = modName.rfind(' ');
        const std::string folder = modName.substr(b + 1, s - b - 1);
        if (folder.empty() || folder[0] != '/') return serverRoot + "/" + folder;
        result = folder;  // an absolute folder does not end the search
    }
    in.close();

    static const std::vector<const char*> k32 = {"/usr/lib/httpd/modules", "/usr/lib/apache2/modules"};
    static const std::vector<const char*> k64 = {"/usr/lib64/httpd/modules", "/usr/lib64/apache2/modules",
                                                 "/usr/lib/apache2/modules", "/usr/lib/httpd/modules"};
    const int bits = machineBits();
    // When uname printed nothing the machine type is unknown: no candidate
    // folder is tried.
    if (bits == 0) return result;
    for (const char* candidate : bits == 64 ? k64 : k32) {
        const std::string folder = qz::sysPath(candidate);
        if (folderOpens(folder)) return folder;
    }
    return result;
}

std::string CQZWebsite::getApacheModulesDir(std::string httpdConfFile) { return qz::apacheModulesDir(httpdConfFile); }
