// The scan and the rewrite shared by EnablePerl and DisablePerl: the site's
// <VirtualHost> state and the <Directory "..."> line of its document root.
#ifndef QZ_PERL_HANDLER_H
#define QZ_PERL_HANDLER_H

#include "core/BlockScan.h"
#include "handlers/HandlerScan.h"
#include "toolkit/Toolkit.h"

#include <string>
#include <string_view>

namespace qz {

constexpr const char* kPerlScratch = "/etc/tempapa1";
constexpr size_t kPerlLineLimit = 2047;

struct PerlSiteScan {
    PerlSiteScan(const std::string& domainName, const std::string& root)
        : block(domainName, forms::kPerl), documentRoot(root) {}

    // Follows the block lines (form kPerl: a "ServerName" in a host naming
    // the domain marks the site, another name does not unmark it,
    // "</VirtualHost>" clears both). True for a "<Directory" line of the
    // marked site whose quoted path is the document root (ignoring case); a
    // path without double quotes never is.
    bool rootDirectory(const char* line);

    BlockScan block;
    const std::string& documentRoot;
    BlockLine last = BlockLine::Other;  // what the last line was to the walk
};

// The rewrite of both operations: 21 when no configuration is named; else the
// site's DocumentRoot is read (Apache_getDirectiveInVH, quoted) and the
// configuration copied through the scratch file /etc/tempapa1 by
// rewriteWords, with lines of up to 2046 characters, and body(scan, w, line,
// out) handed every line that is neither empty nor a comment, `scan`
// following the site.
template <class Body>
int rewritePerlSite(const char* httpdConfFile, const std::string& domain, Body&& body) {
    if (isEmpty(httpdConfFile)) return qz::result::handler::ConfigNotOpened;
    std::string documentRoot;
    directiveInVH(httpdConfFile, domain, "DocumentRoot", documentRoot, true);
    PerlSiteScan scan(domain, documentRoot);
    return rewriteWords(httpdConfFile, sysPath(kPerlScratch), kPerlLineLimit,
                        [&](const WordLine& w, std::string_view line, OutFile& out) { body(scan, w, line, out); });
}

}  // namespace qz

#endif
