// CQZWebsite::WebsiteExists: whether a live block names a domain.
#include "CQZWebsite.h"

#include "core/QZCore.h"

char CQZWebsite::WebsiteExists(const char* DomainName) {
    const std::string domain = qz::str(DomainName);
    qz::trackMethod(TrackManager, "WebsiteExists", {domain}, {"DomainName"});

    qz::LineReader in(HttpdConfFile, qz::kConfigLineLimit);
    if (int failed = qz::configurationUnreadable(HttpdConfFile, in)) return failed;
    bool inBlock = false;
    while (in.nextUntilEof()) {
        // Commented-out lines (a stopped website) do not count.
        if (in.empty() || in.c_str()[0] == '#') continue;
        const char* p = qz::skipSpace(in.c_str());
        if (qz::startsWithNoCase(p, "<VirtualHost")) {
            inBlock = true;
        } else if (!inBlock) {
            continue;
        } else if (qz::startsWithNoCase(p, "ServerName")) {
            if (qz::serverNameIs(p, domain)) return qz::result::website::Exists;
            inBlock = false;  // one ServerName decides the block
        } else if (qz::startsWithNoCase(p, "</VirtualHost>")) {
            inBlock = false;
        }
    }
    return qz::result::website::DoesNotExist;
}
