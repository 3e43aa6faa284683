// CQZWebsite::GetWebsiteStatus: whether a website is running or stopped.
#include "CQZWebsite.h"

#include "core/QZCore.h"

#include <strings.h>

char CQZWebsite::GetWebsiteStatus(std::string szDomainName) {
    qz::LineReader in(HttpdConfFile, qz::kConfigLineLimit);
    if (int failed = qz::configurationUnreadable(HttpdConfFile, in)) return failed;
    bool inBlock = false;
    while (in.nextUntilEof()) {
        if (in.empty()) continue;
        const char* p = qz::skipSpace(in.c_str());
        const bool commented = *p == '#';
        if (commented) p = qz::skipSpace(p + 1);
        // Only a blank separates the keyword from the rest.
        const qz::WordLine w(p);
        if (w.is("<VirtualHost")) {
            inBlock = true;
        } else if (inBlock && w.is("ServerName")) {
            if (strcasecmp(w.rest, szDomainName.c_str()) == 0) {
                qz::sayLine(w.rest);
                return commented ? qz::result::website::StatusStopped : qz::result::website::StatusRunning;
            }
            inBlock = false;
        } else if (w.word.find("</VirtualHost>") != std::string_view::npos) {
            inBlock = false;
        }
    }
    return qz::result::website::StatusNoSuchSite;
}
