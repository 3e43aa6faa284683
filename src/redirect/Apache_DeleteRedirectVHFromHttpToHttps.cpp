// ApacheHelper::Apache_DeleteRedirectVHFromHttpToHttps: removes a domain's
// active HTTPS redirect file (a stopped one stays).
#include "ApacheHelper.h"

#include "redirect/RedirectFile.h"
#include "core/QZLock.h"

#include <cstdio>

bool ApacheHelper::Apache_DeleteRedirectVHFromHttpToHttps(std::string /*httpdConfFile*/, std::string domainName) {
    const qz::OperationLock lock;
    return qz::switchRedirect(domainName, [](const std::string& file) {
        if (qz::pathExists(file)) std::remove(file.c_str());
    });
}
