// GetPathOwner: the login name of the user who owns a path.
#include "QZCommon.h"

#include "core/QZCore.h"

#include <cstdio>
#include <pwd.h>
#include <sys/stat.h>

std::string GetPathOwner(std::string Path) {
    struct stat st;
    if (stat(Path.c_str(), &st) != 0) return "";
    FILE* users = fopen(qz::sysPath("/etc/passwd").c_str(), "re");
    if (users == nullptr) return "";
    std::string owner;
    while (const struct passwd* entry = fgetpwent(users)) {
        if (entry->pw_uid == st.st_uid) {
            owner = entry->pw_name;
            break;
        }
    }
    fclose(users);
    return owner;
}
