#include "handlers/PerlHandler.h"

#include <strings.h>

namespace qz {

bool PerlSiteScan::rootDirectory(const WordLine& w) {
    if (w.is("<VirtualHost")) {
        inHost = true;
    } else if (w.is("ServerName")) {
        if (inHost && strcasecmp(w.rest, domain.c_str()) == 0) site = true;
    } else if (w.is("</VirtualHost>")) {
        inHost = site = false;
    } else if (w.is("<Directory") && site) {
        std::string path;
        return firstQuoted(w.rest, path) && strcasecmp(path.c_str(), documentRoot.c_str()) == 0;
    }
    return false;
}

}  // namespace qz
