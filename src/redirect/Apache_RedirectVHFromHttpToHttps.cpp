// ApacheHelper::Apache_RedirectVHFromHttpToHttps: writes a domain's HTTPS
// redirect file, a small <VirtualHost> that sends every plain HTTP request
// to HTTPS with status 301, and makes sure the configuration includes it.
#include "ApacheHelper.h"

#include "core/QZLock.h"
#include "redirect/RedirectFile.h"
#include "toolkit/Toolkit.h"
#include "core/Validate.h"

#include <sys/stat.h>

namespace {

// The folder, with its placeholder file so that the include pattern always
// matches a file. Failures are left for the redirect file to show.
void makeRedirectFolder(const std::string& folder) {
    if (qz::isDirectory(folder)) return;
    mkdir(folder.c_str(), 0755);
    qz::OutFile dummy;
    if (dummy.openTarget((folder + "/dummy.conf").c_str())) dummy.writeLine("#dummy conf file, please don't delete it");
}

// The configuration includes the folder through "Include qz/*.conf". Names
// match by prefix, so an "IncludeOptional qz/*.conf" line counts as that line
// and, failing it, the line goes after the first Include or IncludeOptional.
void includeRedirectFolder(const std::string& httpdConfFile) {
    if (qz::directiveWithValueExists(httpdConfFile, "Include", "qz/*.conf", false)) {
        qz::sayLine("entry already exists");
        return;
    }
    qz::sayLine("writing entry");
    qz::sayLine(std::to_string(qz::writeDirective(httpdConfFile, "Include qz/*.conf", "Include", false, -1)));
}

}  // namespace

bool ApacheHelper::Apache_RedirectVHFromHttpToHttps(std::string httpdConfFile, std::string domainName,
                                                    std::string ipAddress, std::string port) {
    const qz::OperationLock lock;
    // Each value reaches a line of the file, and the domain its name: one
    // that would end the line or the section, or lead out of the folder, is
    // refused before anything is made.
    if (!qz::isHostName(domainName) || !qz::isTagSafe(ipAddress) || !qz::isTagSafe(port)) return false;
    const std::string folder = qz::redirectFolder();
    const std::string file = qz::redirectFile(folder, domainName);
    qz::OutFile out;
    if (!folder.empty()) {
        makeRedirectFolder(folder);
        includeRedirectFolder(httpdConfFile);
        out.openTarget(file.c_str());
    }
    // With no server root nothing is created: no folder at the top of the
    // file system, and no Include line that would point nowhere.
    if (!out.isOpen()) {
        qz::sayLine("unable to open file: " + file);
        return false;
    }
    out.writeLine("<VirtualHost " + ipAddress + ":" + port + ">");
    out.writeLine("\tServerName " + domainName);
    out.writeLine("\tServerAlias www." + domainName);
    out.writeLine("\tRewriteEngine On");
    out.writeLine("\tRewriteCond %{HTTPS} !=on");
    out.writeLine("\tRewriteRule ^/?(.*) https://%{SERVER_NAME}/$1 [R=301,L]");
    out.writeLine("</VirtualHost>");
    return out.finish();
}
