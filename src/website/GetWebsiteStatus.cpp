// CQZWebsite::GetWebsiteStatus: whether a website is running or stopped.
#include "CQZWebsite.h"

#include "core/BlockScan.h"
#include "core/QZCore.h"

char CQZWebsite::GetWebsiteStatus(std::string szDomainName) {
    qz::LineReader in(HttpdConfFile, qz::kConfigLineLimit);
    if (int failed = qz::configurationUnreadable(HttpdConfFile, in)) return failed;
    // Only a blank separates the keyword from the rest; a block commented
    // out is walked as a live one and read as stopped.
    qz::BlockScan block(szDomainName, qz::forms::kWebsiteStatus);
    while (in.nextUntilEof()) {
        if (in.empty() || block.examine(in.c_str()) != qz::BlockLine::SiteName) continue;
        qz::sayLine(qz::WordLine(block.text()).rest);
        const bool commented = *qz::skipSpace(in.c_str()) == '#';
        return commented ? qz::result::website::StatusStopped : qz::result::website::StatusRunning;
    }
    return qz::result::website::StatusNoSuchSite;
}
