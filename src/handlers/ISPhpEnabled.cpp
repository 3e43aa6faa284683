// CQZWebsite::ISPhpEnabled: which PHP handler block a site carries.
#include "CQZWebsite.h"

#include "handlers/HandlerScan.h"
#include "core/Messages.h"

#include <strings.h>

int CQZWebsite::ISPhpEnabled(std::string DomainName) {
    if (qz::isEmpty(HttpdConfFile)) return qz::result::handler::ConfigNotOpened;
    qz::LineReader in(HttpdConfFile, qz::kPhpStatusLineLimit);
    if (!in.isOpen()) return qz::result::handler::ConfigNotOpened;
    int count = 0;  // <VirtualHost> lines since the last ServerName or closing
    bool site = false;
    // A line over the limit fails the stream and ends the scan.
    while (in.getline()) {
        if (in.empty()) continue;
        const char* p = qz::skipSpace(in.c_str());
        if (*p == '#') continue;
        const qz::WordLine w(p);
        if (w.is("<VirtualHost")) {
            ++count;
        } else if (w.is("ServerName")) {
            if (count != 1) continue;
            count = 0;  // a second ServerName of the block is not looked at
            site = strcasecmp(w.rest, DomainName.c_str()) == 0;
        } else if (w.is("<IfModule") && site) {
            // A rest without a dot names no module.
            const char* dot = strchr(w.rest, '.');
            if (dot == nullptr) continue;
            const std::string name(w.rest, dot);
            qz::sayLine(name);
            if (qz::startsWithNoCase(name.c_str(), "mod_php")) {
                qz::sayLine(qz::msg::kDsoEnabled);
                return qz::result::handler::ModPhp;
            }
            if (strcasecmp(name.c_str(), "mod_suphp") == 0) {
                qz::sayLine(qz::msg::kSuphpEnabled);
                return qz::result::handler::SuPhp;
            }
            if (strcasecmp(name.c_str(), "mod_fcgid") == 0) {
                qz::sayLine(qz::msg::kFcgidEnabled);
                return qz::result::handler::Fcgid;
            }
        } else if (w.is("SetHandler") && site && qz::startsWithNoCase(w.rest, "\"proxy:unix:") &&
                   strstr(w.rest, "|fcgi://") != nullptr) {
            // The section that hands .php files to the site's PHP-FPM pool.
            qz::sayLine(qz::msg::kFpmEnabled);
            return qz::result::handler::PhpFpm;
        } else if (w.is("</VirtualHost>")) {
            if (site) return qz::result::handler::NoPhp;
            count = 0;
        }
    }
    return qz::result::handler::NoPhp;
}
