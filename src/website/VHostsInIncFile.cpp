// CQZWebsite::VHostsInIncFile: the ServerName of every block of one file.
#include "CQZWebsite.h"

#include "core/QZCore.h"
#include "website/ServerNameScan.h"

bool qz::vhostsInIncFile(const std::string& szFileName, std::vector<std::string>& websites) {
    if (szFileName.empty()) return true;
    qz::LineReader in(szFileName, 3000);
    if (!in.isOpen()) {
        qz::sayLine("Error while opening HttpdConfFile");
        return true;
    }
    qz::ServerNameScan scan;
    while (in.nextUntilEof())
        if (!in.empty()) scan.examine(qz::skipSpace(in.c_str()), websites);
    return true;
}

bool CQZWebsite::VHostsInIncFile(std::string szFileName, std::vector<std::string>& websites) {
    return qz::vhostsInIncFile(szFileName, websites);
}
