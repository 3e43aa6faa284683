// CQZWebsite::getPHPEntryToDelete: the PHP Include line of a site's block.
#include "CQZWebsite.h"

#include "core/BlockScan.h"
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
    // A commented line is examined too.
    qz::BlockScan block(domain, qz::forms::kPhpInclude);
    while (in.getline()) {
        if (in.empty()) continue;
        const qz::BlockLine kind = block.examine(in.c_str());
        if (kind == qz::BlockLine::SiteClosing) return "";
        const char* p = block.text();
        if (kind == qz::BlockLine::Other && block.inSite() && qz::startsWithNoCase(p, "Include")) {
            const char* rest = qz::afterName(p, 8);
            if (strstr(rest, "php") != nullptr) return rest;
        }
    }
    return "";
}
