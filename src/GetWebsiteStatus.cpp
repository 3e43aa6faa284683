// CQZWebsite::GetWebsiteStatus: whether a website is running or stopped.
#include "CQZWebsite.h"

#include "QZCore.h"

#include <cstring>
#include <strings.h>

char CQZWebsite::GetWebsiteStatus(std::string szDomainName) {
    qz::LineReader in(HttpdConfFile, 3000);
    if (int failed = qz::configurationUnreadable(HttpdConfFile, in)) return failed;
    bool inBlock = false;
    while (in.nextUntilEof()) {
        if (in.empty()) continue;
        const char* p = qz::skipSpace(in.c_str());
        const bool commented = *p == '#';
        if (commented) p = qz::skipSpace(p + 1);
        // Only a blank separates the keyword from the rest.
        const char* blank = strchr(p, ' ');
        const std::string keyword = blank ? std::string(p, blank) : std::string(p);
        const char* rest = blank ? blank + 1 : p + strlen(p);

        if (strcasecmp(keyword.c_str(), "<VirtualHost") == 0) {
            inBlock = true;
        } else if (inBlock && strcasecmp(keyword.c_str(), "ServerName") == 0) {
            rest = qz::skipSpace(rest);
            if (strcasecmp(rest, szDomainName.c_str()) == 0) {
                qz::sayLine(rest);
                return commented ? 33 : 34;
            }
            inBlock = false;
        } else if (keyword.find("</VirtualHost>") != std::string::npos) {
            inBlock = false;
        }
    }
    return 1;
}
