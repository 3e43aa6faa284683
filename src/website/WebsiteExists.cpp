// CQZWebsite::WebsiteExists: whether a live block names a domain.
#include "CQZWebsite.h"

#include "core/BlockScan.h"
#include "core/QZCore.h"

char CQZWebsite::WebsiteExists(const char* DomainName) {
    const std::string domain = qz::str(DomainName);
    qz::trackMethod(TrackManager, "WebsiteExists", {domain}, {"DomainName"});

    qz::LineReader in(HttpdConfFile, qz::kConfigLineLimit);
    if (int failed = qz::configurationUnreadable(HttpdConfFile, in)) return failed;
    // Commented-out lines (a stopped website) do not count; the first
    // ServerName of a block decides it.
    qz::BlockScan block(domain, qz::forms::kWebsiteExists);
    while (in.nextUntilEof()) {
        if (block.examine(in.c_str()) == qz::BlockLine::SiteName) return qz::result::website::Exists;
    }
    return qz::result::website::DoesNotExist;
}
