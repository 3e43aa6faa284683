// ApacheHelper::Apache_StartRedirectVHFromHttpToHttps: switches a stopped HTTPS
// redirect back on by renaming "<domain>.conf.stop" to "<domain>.conf".
#include "ApacheHelper.h"

#include "redirect/RedirectFile.h"
#include "core/QZLock.h"

#include <cstdio>

bool ApacheHelper::Apache_StartRedirectVHFromHttpToHttps(std::string /*httpdConfFile*/, std::string domainName) {
    const qz::OperationLock lock;
    return qz::switchRedirect(domainName, [](const std::string& file) {
        const std::string stopped = file + ".stop";
        if (qz::pathExists(stopped)) std::rename(stopped.c_str(), file.c_str());
    });
}
