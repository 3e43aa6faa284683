// CQZWebsite::VHostsInIncFile: the ServerName of every block of one file.
#include "CQZWebsite.h"

#include "QZCore.h"

bool CQZWebsite::VHostsInIncFile(std::string szFileName, std::vector<std::string>& websites) {
    if (szFileName.empty()) return true;
    qz::LineReader in(szFileName, 3000);
    if (!in.isOpen()) {
        qz::sayLine("Error while opening HttpdConfFile");
        return true;
    }
    bool inBlock = false;
    while (in.nextUntilEof()) {
        if (in.empty()) continue;
        const char* p = qz::skipSpace(in.c_str());
        if (qz::startsWithNoCase(p, "<VirtualHost")) {
            inBlock = true;
        } else if (inBlock && qz::startsWithNoCase(p, "ServerName")) {
            websites.emplace_back(qz::skipSpace(qz::advance(p, 11)));
            inBlock = false;
        } else if (inBlock && qz::startsWithNoCase(p, "</VirtualHost>")) {
            inBlock = false;
        }
    }
    return true;
}
