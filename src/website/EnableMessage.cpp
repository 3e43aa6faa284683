// CQZWebsite::EnableMessage: puts a website under maintenance (503 with a
// page and Retry-After, the ACME challenge path still served).
#include "CQZWebsite.h"

#include "discovery/ApacheModuleSetup.h"
#include "website/MaintenancePage.h"
#include "core/QZCore.h"
#include "core/QZLock.h"
#include "website/WebsiteInfoScan.h"

#include <cerrno>
#include <sys/stat.h>

namespace {

// The page may hold line ends and tabs, but no other control character.
bool acceptablePage(const std::string& html) {
    if (html.empty()) return false;
    for (const char c : html) {
        const unsigned char u = static_cast<unsigned char>(c);
        if ((u < 0x20 && c != '\n' && c != '\r' && c != '\t') || u == 0x7f) return false;
    }
    return true;
}

// The page's folder and those above it under the system root, mode 755.
bool makeFolders(const std::string& domain) {
    for (const char* fixed : {"/var", "/var/lib", "/var/lib/qzapache", "/var/lib/qzapache/maintenance"})
        if (mkdir(qz::sysPath(fixed).c_str(), 0755) != 0 && errno != EEXIST) return false;
    return mkdir(qz::maintenanceFolder(domain).c_str(), 0755) == 0 || errno == EEXIST;
}

// The lines at the end of each block. They stand at the block's level, where
// the 503 is decided before any .htaccess is read, and last, so that their
// ErrorDocument 503 wins over the site's own.
std::vector<std::string> maintenanceLines(const std::string& folder, int retryAfter) {
    const std::string url = qz::kMaintenanceUrl;
    return {qz::kMaintenanceBegin,
            "RewriteEngine On",
            "RewriteCond %{REQUEST_URI} !^/\\.well-known/acme-challenge/",
            "RewriteCond %{ENV:REDIRECT_STATUS} ^$",
            "RewriteRule ^ - [R=503,L]",
            "Header always set Retry-After \"" + std::to_string(retryAfter) + "\" \"expr=%{REQUEST_STATUS} == 503\"",
            "Alias " + url + " \"" + folder + "/index.html\"",
            "<Directory \"" + folder + "\">",
            "\tRequire all granted",
            "</Directory>",
            "ErrorDocument 503 " + url,
            qz::kMaintenanceEnd};
}

}  // namespace

char CQZWebsite::EnableMessage(std::string DomainName, std::string MessageHtml, int RetryAfterSeconds) {
    const qz::OperationLock lock;
    qz::trackMethod(TrackManager, "EnableMessage", {DomainName, MessageHtml, std::to_string(RetryAfterSeconds)},
                    {"ObjUVHost->pDomain", "MessageHtml", "RetryAfterSeconds"});
    if (qz::isEmpty(HttpdConfFile)) return qz::result::NoConfigFile;
    const std::string folder = qz::maintenanceFolder(DomainName);
    if (!qz::isFolderDomain(DomainName) || !acceptablePage(MessageHtml) || RetryAfterSeconds < 1 ||
        RetryAfterSeconds > 31536000 || !qz::safeConfigText(folder))
        return qz::result::website::ValueRefused;

    const bool debian = qz::debianModuleLayout(HttpdConfFile);
    const std::string preamble = debian ? std::string() : qz::loadModuleLines(HttpdConfFile, {"rewrite", "headers"});
    if (qz::isEmpty(HttpdConfFile)) return qz::result::NoConfigFile;
    const std::vector<std::string> lines = maintenanceLines(folder, RetryAfterSeconds);
    int refused = 0;  // why the lines were not written, once the configuration is read
    const qz::SiteRewrite rewritten = qz::rewriteSiteBlocks(
        HttpdConfFile, qz::str(TEMPFILE), DomainName,
        [&](qz::SiteBlock& block) {
            // Lines already as wanted, right before the block's end, stay.
            if (block.close - block.maintenance == lines.size()) {
                size_t same = 0;
                while (same < lines.size() && block.lines[block.maintenance + same] == block.indent + lines[same]) ++same;
                if (same == lines.size()) return;
            }
            qz::dropMaintenanceLines(block);
            for (const std::string& line : lines) block.insertBefore(block.close, line);
        },
        [&](bool found) {
            if (!found) {
                refused = qz::result::website::NotFound;
                return false;
            }
            // Without rewrite and headers Apache refuses the lines: the
            // modules come first, and nothing is written when they cannot be
            // enabled.
            if (debian && !qz::enableModulesDebian(HttpdConfFile, {"rewrite", "headers"})) {
                refused = qz::result::website::ModulesNotLoaded;
                return false;
            }
            // The page first, written whole, then the lines that serve it.
            qz::Rewrite page(folder + "/index.html.new", folder + "/index.html");
            if (!makeFolders(DomainName) || !page.open()) {
                refused = qz::result::ScratchNotWritten;
                return false;
            }
            page.out().write(MessageHtml);
            if (!page.commit()) {
                refused = qz::result::ScratchNotWritten;
                return false;
            }
            chmod((folder + "/index.html").c_str(), 0644);
            return true;
        },
        nullptr, preamble);
    if (int failed = qz::siteRewriteFailure(rewritten.end, qz::msg::kConfigNotOpened)) return failed;
    if (refused != 0) return refused;
    return qz::result::website::Done;
}
