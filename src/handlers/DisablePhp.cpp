// CQZWebsite::DisablePhp: removes the PHP module block from a site.
#include "CQZWebsite.h"

#include "core/BlockScan.h"
#include "handlers/HandlerScan.h"
#include "core/QZLock.h"

#include <strings.h>

int CQZWebsite::DisablePhp(std::string DomainName) {
    const qz::OperationLock lock;
    if (qz::isEmpty(HttpdConfFile)) return qz::result::handler::ConfigNotOpened;
    // The last ServerName of a block not nested in another decides; the site
    // stays the site's after its closing line, up to the next opening line.
    qz::BlockScan block(DomainName, qz::forms::kPhpDisable);
    bool inBlock = false;  // inside the site's <IfModule mod_php?.c> block
    return qz::rewriteWords(HttpdConfFile, qz::str(TEMPFILE), 2048,
                            [&](const qz::WordLine& w, std::string_view line, qz::OutFile& out) {
        const qz::BlockLine kind = block.examine(line.data());
        if (kind == qz::BlockLine::Opening) inBlock = false;
        // A ServerName line the walk does not examine is no <IfModule> or AddHandler line either.
        const bool blockLine = kind != qz::BlockLine::Other;
        if (!blockLine && w.is("<IfModule") && block.inSite()) {
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
        } else if (!blockLine && inBlock && (w.is("AddHandler") || w.is("</IfModule>"))) {
            if (w.is("</IfModule>")) inBlock = false;
            return;
        }
        out.writeLine(line);
    });
}
