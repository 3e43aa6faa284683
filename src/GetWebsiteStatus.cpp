// CQZWebsite::GetWebsiteStatus: whether a website is running or stopped.
#include "CQZWebsite.h"

#include "QZCore.h"

#include <cstring>
#include <strings.h>

namespace {
// The keyword is this word, in any case.
bool isWord(std::string_view keyword, std::string_view word) {
    return keyword.size() == word.size() && strncasecmp(keyword.data(), word.data(), word.size()) == 0;
}
}  // namespace

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
        const std::string_view keyword(p, strcspn(p, " "));
        const char* rest = p + keyword.size() + (p[keyword.size()] == ' ' ? 1 : 0);

        if (isWord(keyword, "<VirtualHost")) {
            inBlock = true;
        } else if (inBlock && isWord(keyword, "ServerName")) {
            rest = qz::skipSpace(rest);
            if (strcasecmp(rest, szDomainName.c_str()) == 0) {
                qz::sayLine(rest);
                return commented ? 33 : 34;
            }
            inBlock = false;
        } else if (keyword.find("</VirtualHost>") != std::string_view::npos) {
            inBlock = false;
        }
    }
    return 1;
}
