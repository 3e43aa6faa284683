#include "handlers/PerlHandler.h"

#include <strings.h>

namespace qz {

bool PerlSiteScan::rootDirectory(const char* line) {
    const WordLine w(skipSpace(line));
    last = block.examine(line);
    if (last != BlockLine::Other || !block.inSite() || !w.is("<Directory"))
        return false;
    std::string path;
    return firstQuoted(w.rest, path) && strcasecmp(path.c_str(), documentRoot.c_str()) == 0;
}

}  // namespace qz
