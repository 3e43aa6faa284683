// CQZWebsite::VHostsInIncFile: the ServerName of every block of one file.
#include "CQZWebsite.h"

#include "core/QZCore.h"
#include "website/ServerNameScan.h"
#include "core/Messages.h"

bool qz::vhostsInIncFile(const std::string& szFileName, std::vector<std::string>& websites) {
    if (szFileName.empty()) return true;
    qz::LineReader in(szFileName, qz::kConfigLineLimit);
    if (!in.isOpen()) {
        qz::sayLine(qz::msg::kConfigNotOpened);
        return true;
    }
    qz::BlockScan scan(qz::forms::kWebsiteList);
    while (in.nextUntilEof())
        if (!in.empty()) qz::listServerName(scan, in.c_str(), websites);
    return true;
}

bool CQZWebsite::VHostsInIncFile(std::string szFileName, std::vector<std::string>& websites) {
    return qz::vhostsInIncFile(szFileName, websites);
}
