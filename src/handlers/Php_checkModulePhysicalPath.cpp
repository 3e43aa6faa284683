// CQZWebsite::Php_checkModulePhysicalPath: the PHP module file in Apache's
// modules folder.
#include "CQZWebsite.h"

#include "discovery/ApacheDiscovery.h"
#include "core/QZCore.h"
#include "core/Messages.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// libphp + one digit + ".so...": the name holds "libphp" and ".so", its
// seventh character is a digit, and its first "." follows right after the
// first occurrence of that character.
bool isPhpModuleName(const std::string& name) {
    if (name.find("libphp") == std::string::npos || name.find(".so") == std::string::npos) return false;
    const char digit = name[6];  // such a name has at least 9 characters
    return digit >= '0' && digit <= '9' && name.find('.') == name.find(digit) + 1;
}

}  // namespace

std::string CQZWebsite::Php_checkModulePhysicalPath(std::string apacheConfFile) {
    const std::string folder = qz::apacheModulesDir(apacheConfFile);
    DIR* dir = opendir(folder.c_str());
    if (dir == nullptr) {
        qz::say(qz::msg::kFolderNotReadable);
        return "NULL";
    }
    // The working directory stays in the modules folder after the call. The
    // entries are looked at through the open folder whether or not it moved.
    [[maybe_unused]] const int moved = chdir(folder.c_str());
    std::string found = "NULL";
    while (const dirent* entry = readdir(dir)) {
        // lstat of the bare name in the folder; an entry that cannot be
        // looked at is passed over.
        struct stat st;
        if (fstatat(dirfd(dir), entry->d_name, &st, AT_SYMLINK_NOFOLLOW) != 0 || S_ISDIR(st.st_mode)) continue;
        if (isPhpModuleName(entry->d_name)) {
            found = entry->d_name;
            break;
        }
    }
    closedir(dir);
    return found;
}
