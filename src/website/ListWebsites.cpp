// CQZWebsite::ListWebsites: the ServerName of every block of the
// configuration and of the plain files it includes.
#include "CQZWebsite.h"

#include "core/QZCore.h"
#include "website/ServerNameScan.h"
#include "core/Messages.h"

#include <sys/stat.h>
#include <unistd.h>

char CQZWebsite::ListWebsites(std::vector<std::string>& DomainList) {
    qz::trackMethod(TrackManager, "ListWebsites", {""}, {""});

    qz::LineReader in(HttpdConfFile, qz::kConfigLineLimit);
    if (int failed = qz::configurationUnreadable(HttpdConfFile, in)) return failed;

    std::string serverRoot;
    std::vector<std::string> includes;
    qz::BlockScan scan(qz::forms::kWebsiteList);
    while (in.nextUntilEof()) {
        if (in.empty()) continue;
        if (qz::listServerName(scan, in.c_str(), DomainList) || scan.inBlock()) continue;
        const char* p = scan.text();
        if (qz::startsWithNoCase(p, "ServerRoot")) {
            // The value loses its first and last characters: the quotes of
            // a quoted value, or two letters of an unquoted one.
            std::string_view value = qz::afterName(p, 11);
            serverRoot = value.size() >= 2 ? std::string(value.substr(1, value.size() - 2)) : std::string();
        } else if (qz::startsWithNoCase(p, "Include")) {
            includes.emplace_back(qz::afterName(p, 7));
        }
    }
    in.close();
    qz::sayLine("server root = " + serverRoot);

    // Without a ServerRoot, the distribution's folder that chdir accepts is
    // used; the process is left in it, as callers have always seen.
    if (serverRoot.empty()) {
        qz::sayLine("cp");
        const std::string httpd = qz::sysPath("/etc/httpd");
        const std::string apache2 = qz::sysPath("/etc/apache2");
        if (chdir(httpd.c_str()) == 0)
            serverRoot = httpd;
        else if (chdir(apache2.c_str()) == 0)
            serverRoot = apache2;
        else
            return qz::result::website::Listed;
    }

    for (const std::string& entry : includes) {
        const std::string path = entry.compare(0, 1, "/") == 0 ? entry : serverRoot + "/" + entry;
        struct stat st;
        if (access(path.c_str(), F_OK) != 0) {
            qz::sayLine(qz::msg::kFileNotFound + path);
        } else if (stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode)) {
            qz::sayLine("Dir = " + path);
        } else {
            qz::vhostsInIncFile(path, DomainList);
        }
    }
    return qz::result::website::Listed;
}
