// CQZWebsite::EnablePerl: lets a site run Perl and CGI scripts from its
// document root.
#include "CQZWebsite.h"

#include "handlers/PerlHandler.h"
#include "core/QZLock.h"
#include "core/Messages.h"

int CQZWebsite::EnablePerl(std::string szDomainName) {
    const qz::OperationLock lock;
    qz::trackMethod(TrackManager, "EnablePerl", {szDomainName}, {"szDomainName"});
    return qz::rewritePerlSite(HttpdConfFile, szDomainName, [](qz::PerlSiteScan& scan, const qz::WordLine&,
                                                               std::string_view line, qz::OutFile& out) {
        out.writeLine(line);
        // Only the site's first such block; a line already there is not
        // looked for, so enabling twice writes it twice.
        if (scan.rootDirectory(line.data())) {
            out.writeLine("\t\tAddHandler cgi-script cgi pl");
            qz::sayLine(qz::msg::kPerlHandlerAdded + scan.documentRoot);
            scan.block.leaveSite();
        }
    });
}
