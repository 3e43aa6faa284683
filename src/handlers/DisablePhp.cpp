// CQZWebsite::DisablePhp: removes the PHP module block from a site.
#include "CQZWebsite.h"

#include "handlers/HandlerScan.h"
#include "core/QZLock.h"

#include <strings.h>

int CQZWebsite::DisablePhp(std::string DomainName) {
    const qz::OperationLock lock;
    if (qz::isEmpty(HttpdConfFile)) return qz::result::handler::ConfigNotOpened;
    int depth = 0;         // <VirtualHost> lines not yet closed
    bool site = false;     // the last ServerName at depth 1 names the domain
    bool inBlock = false;  // inside the site's <IfModule mod_php?.c> block
    return qz::rewriteWords(HttpdConfFile, qz::str(TEMPFILE), 2048,
                            [&](const qz::WordLine& w, std::string_view line, qz::OutFile& out) {
        if (w.is("<VirtualHost")) {
            site = inBlock = false;
            ++depth;
        } else if (w.is("ServerName")) {
            if (depth == 1) site = strcasecmp(w.rest, DomainName.c_str()) == 0;
        } else if (w.is("<IfModule") && site) {
            // The name is cut one character before its first dot: the module
            // file's version character goes with it (mod_php5.c> -> mod_php).
            // A rest without a dot, or starting with one, names no module.
            const std::string_view rest = w.rest;
            const size_t dot = rest.find('.');
            const std::string name(dot == std::string_view::npos || dot == 0 ? "" : rest.substr(0, dot - 1));
            if (strcasecmp(name.c_str(), "mod_php") == 0) {
                inBlock = true;
                return;
            }
        } else if (w.is("AddHandler") && inBlock) {
            return;
        } else if (w.is("</IfModule>") && inBlock) {
            inBlock = false;
            return;
        } else if (w.is("</VirtualHost>")) {
            depth = 0;
        }
        out.writeLine(line);
    });
}
