// CQZWebsite::DisablePerl: removes the Perl CGI handler line from a site's
// document root.
#include "CQZWebsite.h"

#include "handlers/PerlHandler.h"
#include "core/QZLock.h"

#include <strings.h>

int CQZWebsite::DisablePerl(std::string szDomainName) {
    const qz::OperationLock lock;
    qz::trackMethod(TrackManager, "DisablePerl", {szDomainName}, {"szDomainName"});
    bool inDirectory = false;
    return qz::rewritePerlSite(HttpdConfFile, szDomainName, [&](qz::PerlSiteScan& scan, const qz::WordLine& w,
                                                                std::string_view line, qz::OutFile& out) {
        if (scan.rootDirectory(line.data())) {
            inDirectory = true;
        } else if (scan.last == qz::BlockLine::Closing || scan.last == qz::BlockLine::SiteClosing) {
            inDirectory = false;
        } else if (w.is("AddHandler") && inDirectory && strcasecmp(w.rest, "cgi-script cgi pl") == 0) {
            inDirectory = false;
            return;
        }
        out.writeLine(line);
    });
}
