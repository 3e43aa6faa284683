// Looking for Apache's files: the walk of a system folder shared by the
// init-script and PID-file lookups, and the modules folder as the LoadModule
// lines the module operations write name it.
#ifndef QZ_APACHE_DISCOVERY_H
#define QZ_APACHE_DISCOVERY_H

#include <dirent.h>
#include <string>
#include <sys/stat.h>

namespace qz {

// The name of the first entry of `folder`, in directory order, that is
// neither "." nor "..", can be stat'ed, is not a directory and satisfies
// `wanted(name)`; "" when none does or the folder does not open.
template <typename Wanted>
std::string firstPlainEntry(const std::string& folder, Wanted wanted) {
    DIR* dir = opendir(folder.c_str());
    if (dir == nullptr) return "";
    std::string found;
    while (const dirent* entry = readdir(dir)) {
        const std::string name = entry->d_name;
        if (name == "." || name == "..") continue;
        struct stat st;
        if (stat((folder + "/" + name).c_str(), &st) != 0 || S_ISDIR(st.st_mode)) continue;
        if (wanted(name)) {
            found = name;
            break;
        }
    }
    closedir(dir);
    return found;
}

// The modules folder as a LoadModule line names it: whole when its path holds
// "/usr/lib", otherwise only its part after the last "/" (a folder under the
// server root, such as modules).
inline std::string loadModuleFolder(const std::string& modulesDir) {
    if (modulesDir.find("/usr/lib") != std::string::npos) return modulesDir;
    return modulesDir.substr(modulesDir.rfind('/') + 1);
}

}  // namespace qz

#endif
