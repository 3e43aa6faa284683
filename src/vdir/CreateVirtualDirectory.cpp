// CQZVirtualDirectory::CreateVirtualDirectory: adds a <Directory> section for
// a folder to every <VirtualHost> block of a website.
#include "CQZVirtualDirectory.h"

#include "QZCommon.h"
#include "core/QZCore.h"
#include "vdir/VirtualDirectoryScan.h"
#include "vdir/VirtualDirectorySection.h"
#include "core/QZLock.h"
#include "core/Messages.h"

#include <cerrno>
#include <strings.h>

namespace {

// The folder of a block's DocumentRoot line (given after its leading white
// space): the value, unquoted, without its last five characters, so that the
// site root /home/site/shop.test/html gives /home/site/shop.test. The cut is
// blind; a value shorter than five characters leaves nothing.
std::string folderOfDocumentRoot(const char* p) {
    const std::string root = qz::unquoted(qz::afterName(p, 13));
    return root.size() >= 5 ? root.substr(0, root.size() - 5) : std::string();
}

// The folder that holds `path` ("/" for a path at the top).
std::string parentOf(std::string path) {
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

void runPrinted(const std::string& command) {
    qz::sayLine("command =" + command);
    qz::runShell(command);
}

struct Request {
    const SDDir& dir;
    std::string webAdmin;  // owner of the site's home folder, or ""
    bool requireSyntax;
    const std::string& webadminName;
    const std::string& webadminPass;
};

// The new section for `fullPath`, with the commands that go with it; false,
// before anything is run for it, when the folder or the password file is one
// a customer has turned into a link (or worse): the rewrite is then given up.
bool writeSection(qz::OutFile& out, const Request& request, const std::string& fullPath) {
    using namespace qz;
    const SDDir& dir = request.dir;
    const bool protect = dir.AnonAccess == '1';
    // The folders the commands name are held still while they run: the
    // folder's own parent and the password file's folder; and, for chmod -R,
    // the whole tree below (see the commands).
    FolderLock parentStill, authStill;
    const std::string authFolder = field(dir.WebAdminPath) + "/" + field(dir.DomainName);
    if ((!request.webAdmin.empty() && (!folderUsable(fullPath) || !holdStill(parentStill, parentOf(fullPath)))) ||
        (protect && (!holdStill(authStill, authFolder) || !passwordFileUsable(passwordFileOf(dir)))))
        return false;
    sayLine("Directory Creation");
    sayLine("WebAdmin=" + request.webAdmin);
    sayLine("FullPath=" + fullPath);
    if (!request.webAdmin.empty()) {
        // Printed when an owner WAS found: the panel's log has always read so.
        sayLine(qz::msg::kWebAdminEmpty);
        // chown -R changes links themselves and never what they lead to, so
        // it runs with the folder held in its parent. chmod -R can follow a
        // link swapped in between its look at an entry and its change of it:
        // it runs on a tree that only root can change (the folder and every
        // folder below it held, after chown -R has handed them over), given
        // back to its owners once it is done.
        runPrinted(shellCommand({"chown", "-R", panelOwner(request.webAdmin), fullPath}));
        TreeLock treeStill;
        if (!treeStill.lock(fullPath) && errno != ENOENT) return false;
        // The owner word stands in the chmod line as well, as the panel has
        // always run it: chmod receives it as one more operand.
        runPrinted(shellCommand({"chmod", "-R", "705", panelOwner(request.webAdmin), fullPath}));
        treeStill.release();
    }
    sayLine(qz::msg::kWritingDirectoryEntry);
    out.writeLine(directoryOpening(fullPath));
    if (dir.Options.ExecCGI == '+') out.writeLine(kCgiHandlerLine);
    writeAccessLines(out, dir, request.requireSyntax);
    writeOptionsLine(out, dir.Options);
    if (dir.AnonAccess == '1') {
        sayLine(qz::msg::kWritingAnonymousOff);
        sayLine("ObjDDir->WebAdminPath=" + field(dir.WebAdminPath));
        const std::string authFile = passwordFileOf(dir);
        writeAuthLines(out, authFile);
        sayLine("cp1");
        sayLine("AuthFile=" + authFile);
        if (!ensurePasswordFile(authFile)) return false;
        sayLine("cp11");
        if (!addWebadminLogin(authFile, request.webadminName, request.webadminPass)) return false;
        sayLine("cp2");
        if (!request.webAdmin.empty() && !chownPasswordFile(request.webAdmin, authFile)) return false;
        sayLine("cp3");
    }
    out.writeLine("\t</Directory>");
    return true;
}

}  // namespace

char CQZVirtualDirectory::CreateVirtualDirectory(SDDir* ObjDDir, int AdminFlag, std::string WebadminName,
                                                 std::string WebadminPass) {
    const qz::OperationLock lock;
    using namespace qz;
    // Without a record there is nothing to add; nothing is touched.
    if (ObjDDir == nullptr) return qz::result::vdir::Refused;
    const SDDir& dir = *ObjDDir;
    // A record that could inject a line or lead outside the site is refused
    // before anything is read, written or run.
    if (!isAcceptable(dir, WebadminName, WebadminPass)) return qz::result::vdir::Refused;
    const std::string domain = field(dir.DomainName);
    const std::string dirPath = field(dir.DirPath);
    trackMethod(TrackManager, "CreateVirtualDirectory", {domain, dirPath, field(dir.Allow), field(dir.Deny)},
                {"ObjDDir->DomainName", "ObjDDir->DirPath", "ObjDDir->Allow", "ObjDDir->Deny"});
    sayLine("Anonymous=" + std::string(1, dir.AnonAccess));

    // TEMPFILE is opened with O_NOFOLLOW: this runs as root, and a symbolic link
    // a customer planted there would otherwise have root write through it.
    // What the section needs is looked up once both files are open.
    Request request{dir, "", false, WebadminName, WebadminPass};
    const auto lookUp = [&] {
        request.requireSyntax = apacheUsesRequire();
        request.webAdmin = GetPathOwner(field(dir.WebAdminPath) + "/" + domain);
    };
    BlockScan block(domain, forms::kVirtualDirectoryEdit);
    std::string fullPath;
    const char done = qz::result::vdir::Created;
    return rewriteConfiguration(HttpdConfFile, TEMPFILE, done, {}, lookUp,
                                [&](const LineReader& line, const char*, OutFile& out) -> char {
        const BlockLine kind = block.examine(line.c_str());
        const char* p = block.text();
        const bool closing = kind == BlockLine::Closing || kind == BlockLine::SiteClosing;
        if (kind == BlockLine::SiteClosing && AdminFlag == 0) {
            if (!writeSection(out, request, fullPath)) return qz::result::vdir::Refused;
        } else if (closing) {
            fullPath.clear();
        }
        out.writeLine(line.view());

        if (closing || kind == BlockLine::Opening) {
        } else if (startsWithNoCase(p, "DocumentRoot") && block.inBlock()) {
            fullPath = dirPath.empty() ? folderOfDocumentRoot(p) : dirPath;
        } else if (kind == BlockLine::Name) {
            fullPath.clear();
        } else if (startsWithNoCase(p, "<Directory") && block.inSite()) {
            std::string path;
            if (!readDirectoryPath(p, path)) return qz::result::vdir::Refused;
            if (strcasecmp(path.c_str(), fullPath.c_str()) == 0) {
                sayLine(qz::msg::kDirectoryExists);
                return 1;
            }
        }
        return 0;
    });
}
