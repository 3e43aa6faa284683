// RemoveDir: deletes a folder tree, depth first.
#include "QZCommon.h"
#include "core/QZLock.h"

#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <string>
#include <sys/stat.h>

namespace {

// Closes the folder when the scan of it ends; a failure part way closes it
// too instead of leaving it open.
struct FolderHandle {
    DIR* dir;
    ~FolderHandle() {
        if (dir != nullptr) closedir(dir);
    }
};

}  // namespace

bool RemoveDir(const char* DName) {
    const qz::OperationLock lock;
    if (DName == nullptr) return true;
    FolderHandle folder{opendir(DName)};
    if (folder.dir == nullptr) return true;
    while (const dirent* entry = readdir(folder.dir)) {
        if (strcmp(entry->d_name, ".") == 0 || strcmp(entry->d_name, "..") == 0) continue;
        const std::string path = std::string(DName) + "/" + entry->d_name;
        struct stat st;
        if (stat(path.c_str(), &st) != 0) return true;
        // A symbolic link to a folder is removed as a link: following it
        // would empty a folder outside the tree.
        struct stat link;
        const bool isLink = lstat(path.c_str(), &link) == 0 && S_ISLNK(link.st_mode);
        if (!S_ISDIR(st.st_mode) || isLink) {
            std::remove(path.c_str());
        } else if (RemoveDir(path.c_str())) {
            return true;
        }
    }
    closedir(folder.dir);
    folder.dir = nullptr;
    return std::remove(DName) != 0;
}
