// ApacheHelper::Apache_StopRedirectVHFromHttpToHttps: switches a domain's HTTPS
// redirect off by renaming its file to "<domain>.conf.stop".
#include "ApacheHelper.h"

#include "redirect/RedirectFile.h"
#include "core/QZLock.h"

#include <cstdio>

bool ApacheHelper::Apache_StopRedirectVHFromHttpToHttps(std::string /*httpdConfFile*/, std::string domainName) {
    const qz::OperationLock lock;
    return qz::switchRedirect(domainName, [](const std::string& file) {
        if (qz::pathExists(file)) std::rename(file.c_str(), (file + ".stop").c_str());
    });
}
