// ApacheHelper::IsDirectoryExists.
#include "ApacheHelper.h"

#include "discovery/ApacheDiscovery.h"

#include <sys/stat.h>

bool qz::isDirectory(const std::string& path) {
    struct stat st;
    return stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

bool ApacheHelper::IsDirectoryExists(std::string path) { return qz::isDirectory(path); }
