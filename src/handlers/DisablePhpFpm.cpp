// CQZWebsite::DisablePhpFpm: takes a site off PHP-FPM.
#include "CQZWebsite.h"

#include "handlers/PhpFpm.h"
#include "core/QZLock.h"
#include "core/Messages.h"

int CQZWebsite::DisablePhpFpm(std::string DomainName) {
    const qz::OperationLock lock;
    qz::trackMethod(TrackManager, "DisablePhpFpm", {DomainName}, {"DomainName"});
    if (qz::isEmpty(HttpdConfFile)) return qz::result::NoConfigFile;
    qz::fpm::SiteConf site;
    if (!site.read(HttpdConfFile, DomainName)) {
        qz::sayLine(qz::msg::kConfigNotOpened);
        return qz::result::ConfigNotOpened;
    }
    bool changed = false;
    const std::vector<std::string> lines = site.edited("", changed);
    // The configuration is rewritten only when a section went; the pools go
    // once Apache no longer names their sockets.
    if (changed && !qz::fpm::writeLines(qz::str(TEMPFILE), HttpdConfFile, lines)) return qz::result::ScratchNotWritten;
    qz::fpm::removePools(DomainName);
    return qz::result::phpFpm::Done;
}
