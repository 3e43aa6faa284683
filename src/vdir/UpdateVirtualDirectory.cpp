// CQZVirtualDirectory::UpdateVirtualDirectory: writes a folder's <Directory>
// section of a website afresh, or adds one to the website's block.
#include "CQZVirtualDirectory.h"

#include "core/QZCore.h"
#include "toolkit/Toolkit.h"
#include "vdir/VirtualDirectoryScan.h"
#include "vdir/VirtualDirectorySection.h"
#include "core/QZLock.h"
#include "core/Messages.h"

#include <cstring>
#include <strings.h>

namespace {

constexpr const char* kRailsLines[] = {
    "\t\tAllowOverride none",
    "\t\tAddHandler fastcgi-script .fcgi",
    "\t\tRewriteEngine On",
    "\t\tRewriteRule ^$ index.html [QSA]",
    "\t\tRewriteRule ^([^.]+)$ $1.html [QSA]",
    "\t\tRewriteCond %{REQUEST_FILENAME} !-f",
    "\t\tRewriteRule ^(.*)$ dispatch.fcgi [QSA,L]",
};

struct Request {
    const SDDir& dir;
    const char* httpdConfFile;
    const std::string& domain;
    bool requireSyntax;
    const std::string& webadminName;
    const std::string& webadminPass;
};

// The authentication lines and the password file, owned by the local part of
// the block's ServerAdmin address when it has one. False when the password
// file is not one to use (see ensurePasswordFile).
bool protect(qz::OutFile& out, const Request& request) {
    using namespace qz;
    const std::string authFile = passwordFileOf(request.dir);
    writeAuthLines(out, authFile);
    FolderLock still;  // the password file's folder, while htpasswd and chown run
    if (!holdStill(still, field(request.dir.WebAdminPath) + "/" + field(request.dir.DomainName))) return false;
    if (!ensurePasswordFile(authFile) || !addWebadminLogin(authFile, request.webadminName, request.webadminPass))
        return false;
    std::string admin;
    directiveInVH(request.httpdConfFile, request.domain, "ServerAdmin", admin, false);
    const size_t at = admin.find('@');
    if (at == std::string::npos || at == 0) return true;
    return chownPasswordFile(admin.substr(0, at), authFile);
}

enum class Placement {
    Replacing,  // in place of the folder's old section
    Appending,  // at the end of a block that had none
};

// The section for `fullPath`. Appended sections are protected when anonymous
// access is '0', replacing ones when it is '1', and only replacing ones get
// the Rails lines: both as the panel relies on. False as protect() says.
bool writeSection(qz::OutFile& out, const Request& request, const std::string& fullPath, Placement placement) {
    using namespace qz;
    const SDDir& dir = request.dir;
    const bool replacing = placement == Placement::Replacing;
    out.writeLine(directoryOpening(fullPath));
    if (dir.PerlEnabled == '1') out.writeLine(kCgiHandlerLine);
    writeAccessLines(out, dir, request.requireSyntax);
    writeOptionsLine(out, dir.Options);
    if (dir.AnonAccess == (replacing ? '1' : '0') && !protect(out, request)) return false;
    if (replacing && dir.RubyOnRails == '1')
        for (const char* line : kRailsLines) out.writeLine(line);
    out.writeLine("\t</Directory>");
    return true;
}

}  // namespace

char CQZVirtualDirectory::UpdateVirtualDirectory(SDDir* ObjDDir, std::string WebadminName, std::string WebadminPass) {
    const qz::OperationLock lock;
    using namespace qz;
    // Without a record there is nothing to write; nothing is touched.
    if (ObjDDir == nullptr) return qz::result::vdir::Refused;
    const SDDir& dir = *ObjDDir;
    // A record that could inject a line or lead outside the site, or whose
    // password file a customer has made a link, is refused before anything is
    // read, written or run.
    if (!isAcceptable(dir, WebadminName, WebadminPass) || !passwordFileUsable(passwordFileOf(dir)))
        return qz::result::vdir::Refused;
    const std::string domain = field(dir.DomainName);
    const std::string dirPath = field(dir.DirPath);
    trackMethod(TrackManager, "UpdateVirtualDirectory",
                {domain, dirPath, field(dir.Allow), field(dir.Deny), field(dir.WebAdminPath)},
                {"ObjDDir->DomainName", "ObjDDir->DirPath", "ObjDDir->Allow", "ObjDDir->Deny",
                 "ObjDDir->WebAdminPath"});

    // TEMPFILE is opened with O_NOFOLLOW: this runs as root, and a symbolic link
    // a customer planted there would otherwise have root write through it.
    Request request{dir, HttpdConfFile, domain, false, WebadminName, WebadminPass};
    const auto opened = [&] {
        sayLine("ObjDDir->Order=" + std::string(1, dir.Order));
        sayLine("ObjDDir->Allow=" + field(dir.Allow));
        request.requireSyntax = apacheUsesRequire();
    };

    enum class Stage {
        Walking,     // through the blocks
        OldSection,  // in the old section, whose lines go
        Written,     // the new section is in: the rest is copied unexamined
    };
    Stage stage = Stage::Walking;
    BlockScan block(domain, forms::kVirtualDirectoryEdit);
    std::string fullPath;
    const char done = qz::result::vdir::Updated;
    const OpenMessages messages{kConfigurationNotOpened, qz::msg::kScratchNotOpened};
    return rewriteConfiguration(HttpdConfFile, TEMPFILE, done, messages, opened,
                                [&](const LineReader& line, const char* p, OutFile& out) -> char {
        if (stage == Stage::OldSection) {
            if (startsWithNoCase(p, "</Directory>")) stage = Stage::Written;
            return 0;
        }
        const BlockLine kind = stage == Stage::Written ? BlockLine::Other : block.examine(line.c_str());
        if (kind == BlockLine::SiteName) {
            fullPath += dirPath;
        } else if (kind == BlockLine::Name) {
            fullPath.clear();
        } else if (stage == Stage::Walking && startsWithNoCase(p, "<Directory") && block.inSite()) {
            std::string path;
            const PathForm form = directoryPath(p, path);
            if (form == PathForm::Unterminated) return qz::result::vdir::Refused;
            if (strcasecmp(path.c_str(), fullPath.c_str()) == 0) {
                if (!writeSection(out, request, fullPath, Placement::Replacing)) return qz::result::vdir::Refused;
                stage = Stage::OldSection;
            } else {
                copyDirectoryOpening(out, line, form, path);
            }
            return 0;
        } else if (kind == BlockLine::SiteClosing) {
            if (!writeSection(out, request, fullPath, Placement::Appending)) return qz::result::vdir::Refused;
            stage = Stage::Written;
        } else if (kind == BlockLine::Closing) {
            fullPath.clear();
        }
        out.writeLine(line.view());
        return 0;
    });
}
