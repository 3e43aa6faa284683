// CQZWebsite::DisableMessage: takes a website out of maintenance.
#include "CQZWebsite.h"

#include "website/MaintenancePage.h"
#include "core/QZCore.h"
#include "core/QZLock.h"
#include "website/WebsiteInfoScan.h"

char CQZWebsite::DisableMessage(std::string DomainName) {
    const qz::OperationLock lock;
    qz::trackMethod(TrackManager, "DisableMessage", {DomainName}, {"ObjUVHost->pDomain"});
    if (qz::isEmpty(HttpdConfFile)) return qz::result::NoConfigFile;
    const qz::SiteRewrite rewritten = qz::rewriteSiteBlocks(
        HttpdConfFile, qz::str(TEMPFILE), DomainName, [](qz::SiteBlock& block) { qz::dropMaintenanceLines(block); },
        [](bool) { return true; });
    if (int failed = qz::siteRewriteFailure(rewritten.end, qz::msg::kConfigNotOpened)) return failed;
    if (!rewritten.found) return qz::result::website::NotFound;
    qz::removeMaintenancePage(DomainName);
    return qz::result::website::Done;
}
