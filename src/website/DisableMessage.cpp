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
    qz::LineReader in(HttpdConfFile, qz::kNoLineLimit);
    if (int failed = qz::configurationUnreadable(HttpdConfFile, in)) return failed;
    qz::Rewrite rewrite(qz::str(TEMPFILE), HttpdConfFile);
    if (TEMPFILE == nullptr || !rewrite.open()) return qz::result::ScratchNotWritten;
    bool found = false;
    const bool changed =
        qz::rewriteSiteBlocks(in, rewrite.out(), DomainName, [](qz::SiteBlock& block) { qz::dropMaintenanceLines(block); }, found);
    in.close();
    if (!changed) rewrite.discard();
    else if (!rewrite.commit()) return qz::result::ScratchNotWritten;
    if (!found) return qz::result::website::NotFound;
    qz::removeMaintenancePage(DomainName);
    return qz::result::website::Done;
}
