// Looking for Apache's files in a system folder: shared by the init-script
// and PID-file lookups.
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

}  // namespace qz

#endif
