// Where a site's maintenance page is kept: under the system root, outside
// every customer's folder. Internal.
#ifndef QZ_MAINTENANCE_PAGE_H
#define QZ_MAINTENANCE_PAGE_H

#include "core/QZCore.h"

#include <string>
#include <unistd.h>

namespace qz {

// The URL path the page is served under while the site is in maintenance.
constexpr const char* kMaintenanceUrl = "/qzapache-maintenance.html";

// A domain that can name a folder: letters, digits, "-", "_" and dots, not
// starting with a dot, at most 253 characters.
inline bool isFolderDomain(const std::string& domain) {
    if (domain.empty() || domain.size() > 253 || domain[0] == '.') return false;
    for (const char c : domain)
        if (!isalnum(static_cast<unsigned char>(c)) && c != '-' && c != '_' && c != '.') return false;
    return domain.find("..") == std::string::npos;
}

inline std::string maintenanceFolder(const std::string& domain) {
    return sysPath("/var/lib/qzapache/maintenance/") + domain;
}

// Removes the page the library wrote (and a scratch copy left behind) and
// the folder, when the domain can name one.
inline void removeMaintenancePage(const std::string& domain) {
    if (!isFolderDomain(domain)) return;
    const std::string folder = maintenanceFolder(domain);
    unlink((folder + "/index.html").c_str());
    unlink((folder + "/index.html.new").c_str());
    rmdir(folder.c_str());
}

}  // namespace qz

#endif
