// The per-domain HTTPS redirect files: "<domain>.conf" in the "qz" folder of
// the server root Apache was built with, "<domain>.conf.stop" when switched
// off.
#ifndef QZ_REDIRECT_FILE_H
#define QZ_REDIRECT_FILE_H

#include "discovery/ApacheDiscovery.h"
#include "core/QZCore.h"
#include "core/Validate.h"

#include <string>
#include <unistd.h>

namespace qz {

// The server root + "/qz", or "" when the server root is unknown: the files
// are then looked for nowhere, rather than in a "/qz" folder at the top of
// the file system.
inline std::string redirectFolder() {
    const std::string serverRoot = httpdRootPath();
    return serverRoot.empty() ? std::string() : serverRoot + "/qz";
}

// The domain's redirect file in `folder` (as the path would read with an
// unknown server root when `folder` is empty).
inline std::string redirectFile(const std::string& folder, const std::string& domain) {
    return (folder.empty() ? std::string("/qz") : folder) + "/" + domain + ".conf";
}

inline bool pathExists(const std::string& path) { return access(path.c_str(), F_OK) == 0; }

// The switch of Delete, Stop and Start: prints "file path:" and the domain's
// redirect file, then, when the server root is known, hands it to `act`.
// False, with nothing printed or changed, for a domain that is not a host
// name (a "../" in it would name a file outside the folder).
template <class Act>
bool switchRedirect(const std::string& domain, Act&& act) {
    if (!isHostName(domain)) return false;
    const std::string folder = redirectFolder();
    const std::string file = redirectFile(folder, domain);
    sayLine("file path:" + file);
    if (!folder.empty()) act(file);
    return true;
}

}  // namespace qz

#endif
