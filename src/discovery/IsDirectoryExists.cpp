// ApacheHelper::IsDirectoryExists.
#include "ApacheHelper.h"

#include <sys/stat.h>

bool ApacheHelper::IsDirectoryExists(std::string path) {
    struct stat st;
    return stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}
