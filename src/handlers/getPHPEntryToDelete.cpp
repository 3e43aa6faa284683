// CQZWebsite::getPHPEntryToDelete: the PHP Include line of a site's block.
#include "CQZWebsite.h"

#include "core/QZCore.h"
#include "core/Messages.h"

#include <cstring>

std::string CQZWebsite::getPHPEntryToDelete(std::string domain, std::string httpdConfFile) {
    if (httpdConfFile.empty()) return "";
    qz::LineReader in(httpdConfFile, qz::kConfigLineLimit);
    if (!in.isOpen()) {
        qz::sayLine(qz::msg::kConfigNotOpened);
        return "";
    }
    int state = 0;  // 1 in a block, 2 in the domain's block
    while (in.getline()) {
        if (in.empty()) continue;
        const char* p = in.c_str();
        if (*p == '#') ++p;  // a commented line is examined too
        p = qz::skipSpace(p);
        if (qz::startsWithNoCase(p, "<VirtualHost")) {
            state = 1;
        } else if ((state == 1 || state == 2) && qz::startsWithNoCase(p, "ServerName")) {
            state = qz::serverNameIs(p, domain) ? 2 : 0;
        } else if (state == 2 && qz::startsWithNoCase(p, "Include")) {
            const char* rest = qz::afterName(p, 8);
            if (strstr(rest, "php") != nullptr) return rest;
        } else if (state == 2 && qz::startsWithNoCase(p, "</VirtualHost>")) {
            return "";
        }
    }
    return "";
}
