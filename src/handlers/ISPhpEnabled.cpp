// CQZWebsite::ISPhpEnabled: which PHP handler block a site carries.
#include "CQZWebsite.h"

#include "handlers/HandlerScan.h"
#include "core/Messages.h"

#include <strings.h>

int CQZWebsite::ISPhpEnabled(std::string DomainName) {
    if (qz::isEmpty(HttpdConfFile)) return qz::result::handler::ConfigNotOpened;
    qz::LineReader in(HttpdConfFile, qz::kPhpStatusLineLimit);
    if (!in.isOpen()) return qz::result::handler::ConfigNotOpened;
    // A second opening line before a block's ServerName hides its name.
    qz::BlockScan block(DomainName, qz::forms::kPhpStatus);
    // A line over the limit fails the stream and ends the scan.
    while (in.getline()) {
        if (in.empty()) continue;
        const qz::BlockLine kind = block.examine(in.c_str());
        if (kind == qz::BlockLine::SiteClosing) return qz::result::handler::NoPhp;
        if (kind != qz::BlockLine::Other || *block.text() == '#' || !block.inSite()) continue;
        const qz::WordLine w(block.text());
        if (w.is("<IfModule")) {
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
        } else if (w.is("SetHandler") && qz::startsWithNoCase(w.rest, "\"proxy:unix:") &&
                   strstr(w.rest, "|fcgi://") != nullptr) {
            // The section that hands .php files to the site's PHP-FPM pool.
            qz::sayLine(qz::msg::kFpmEnabled);
            return qz::result::handler::PhpFpm;
        }
    }
    return qz::result::handler::NoPhp;
}
