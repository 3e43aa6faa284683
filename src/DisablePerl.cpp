// CQZWebsite::DisablePerl: removes the Perl CGI handler line from a site's
// document root.
#include "CQZWebsite.h"

#include "ApacheHelper.h"
#include "PerlHandler.h"

#include <strings.h>

int CQZWebsite::DisablePerl(std::string szDomainName) {
    qz::trackMethod(TrackManager, "DisablePerl", {szDomainName}, {"szDomainName"});
    if (qz::isEmpty(HttpdConfFile)) return 21;
    std::string documentRoot;
    ApacheHelper().Apache_getDirectiveInVH(HttpdConfFile, szDomainName, "DocumentRoot", documentRoot, true);
    qz::PerlSiteScan scan(szDomainName, documentRoot);
    bool inDirectory = false;
    return qz::rewriteWords(HttpdConfFile, qz::sysPath(qz::kPerlScratch), qz::kPerlLineLimit,
                            [&](const qz::WordLine& w, std::string_view line, qz::OutFile& out) {
        if (scan.rootDirectory(w)) {
            inDirectory = true;
        } else if (w.is("</VirtualHost>")) {
            inDirectory = false;
        } else if (w.is("AddHandler") && inDirectory && strcasecmp(w.rest, "cgi-script cgi pl") == 0) {
            inDirectory = false;
            return;
        }
        out.writeLine(line);
    });
}
