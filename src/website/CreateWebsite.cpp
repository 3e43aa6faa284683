// CQZWebsite::CreateWebsite: a new <VirtualHost> block and the site's folders.
#include "CQZWebsite.h"

#include "QZCommon.h"
#include "core/BlockScan.h"
#include "core/QZCore.h"
#include "core/RewritePlan.h"
#include "core/SafePath.h"
#include "core/Validate.h"
#include "website/WebsiteEntry.h"
#include "core/QZLock.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

bool IsPortEnabled = false;

namespace {

struct Site {
    std::string ip, puny, port;
    bool ipv6;
    char ipSwitch;
};

// Prints what a NameVirtualHost line says about the requested address; true
// when it is that address's own line. A line naming the port sets
// IsPortEnabled.
bool isOwnNameVirtualHost(const char* value, const Site& site) {
    const std::string word(value, strcspn(value, " \t\r\n\v\f"));
    if (!site.ipv6) {
        qz::sayLine("Requested IP is IPV4");
        if (word == site.ip + ":" + site.port) {
            qz::sayLine("IPV4 NameVirtualHost found with port");
            IsPortEnabled = true;
            return true;
        }
        if (word == site.ip || word == site.ip + ":*") {
            qz::sayLine("IPV4 NameVirtualHost found without port");
            return true;
        }
        return false;
    }
    qz::sayLine("Requested IP is IPV6");
    if (word.empty() || word[0] != '[') return false;
    qz::sayLine("Picked IP is IPV6");
    const bool withPort = word == "[" + site.ip + "]:" + site.port;
    if (!withPort && word != "[" + site.ip + "]:*") return false;
    qz::sayLine("IPV6 NameVirtualHost found");
    if (withPort) IsPortEnabled = true;
    return true;
}

// The NameVirtualHost line for an address that has none yet, preceded by an
// empty line. Writing it turns IsPortEnabled on.
std::string nameVirtualHostLine(const Site& site) {
    IsPortEnabled = true;
    const std::string address = site.ipv6 ? "[" + site.ip + "]" : site.ip;
    return "\nNameVirtualHost " + address + ":" + site.port + "\n";
}

// The site's folder tree under Path + DName, which the caller has made.
// Stops at the first mkdir that fails.
bool makeSiteFolders(const VHostEntry& v) {
    const std::string root = qz::field(v.Path) + qz::field(v.DName);
    const std::string admin = qz::field(v.ServerAdmin);
    // An unknown user leaves the owner as it is rather than reading a null entry.
    const struct passwd* user = getpwnam(qz::field(v.UserName).c_str());
    const uid_t uid = user ? user->pw_uid : static_cast<uid_t>(-1);
    const gid_t gid = user ? user->pw_gid : static_cast<gid_t>(-1);

    struct Step {
        const char* folder;
        mode_t mkdirMode;
        mode_t chmodMode;  // 0: the recursive shell commands instead
    };
    static const Step steps[] = {
        {"/www", 04701, 04701},    {"/www/html", 0100, 04701}, {"/www/cgi-bin", 0100, 04701},
        {"/log", 0100, 0},         {"/log/httpd", 0100, 0},    {"/db", 0100, 04707},
        {"/special", 0100, 04705},
    };
    // Each folder is made in a folder held still (see FolderLock) and then
    // changed through its descriptor, reached without a link: a customer who
    // already owns the site folder, "www" or "log" cannot swap what comes
    // next for a link to a folder of root's. "log" is held from the moment it
    // is the ServerAdmin's until its "httpd" folder has had its commands.
    qz::FolderLock rootStill, logStill;
    if (!rootStill.lock(root) && errno != ENOENT) return false;
    for (const Step& step : steps) {
        const std::string folder = root + step.folder;
        if (mkdir(folder.c_str(), step.mkdirMode) != 0) return false;
        if (step.chmodMode != 0) {
            qz::SafeFolder made;
            if (!qz::openFolder(folder, made)) return false;
            (void)!chmod(qz::descriptorPath(made.fd).c_str(), step.chmodMode);
            if (user != nullptr) (void)!fchownat(made.fd.get(), "", uid, gid, AT_EMPTY_PATH);
        } else {
            qz::runShell(qz::shellCommand({"chmod", "-R", "505", folder}));
            qz::runShell(qz::shellCommand({"chown", "-R", qz::panelOwner(admin), folder}));
            if (strcmp(step.folder, "/log") == 0 && !logStill.lock(folder)) return false;
        }
    }
    return true;
}

}  // namespace

char CQZWebsite::CreateWebsite(VHostEntry* objVHost) {
    const qz::OperationLock lock;
    // Without a record no site can be made: the code of a site not made.
    if (objVHost == nullptr) return qz::result::website::FolderNotMade;
    const VHostEntry& v = *objVHost;
    qz::trackMethod(TrackManager, "CreateWebsite",
                    {qz::field(v.DName), qz::field(v.IPAddress), qz::field(v.Path), qz::field(v.Port),
                     qz::field(v.ServerAdmin)},
                    {"objVHost->DName", "objVHost->IPAddress", "objVHost->Path", "objVHost->Port",
                     "objVHost->ServerAdmin"});

    // Every value reaches a line of the block or a folder name: one that is
    // not a host name, or could end its line or lead out of Path, is refused
    // before anything is read, written or made.
    if (!qz::isDomainName(qz::field(v.DName)) || !qz::isHostName(qz::field(v.PunyCode)) ||
        !qz::isTagSafe(qz::field(v.IPAddress)) || !qz::isDirectiveSafe(qz::field(v.ServerAdmin)) ||
        !qz::isSafePath(qz::field(v.Path)) || qz::hasControlChar(qz::field(v.UserName)))
        return qz::result::website::CreateRefused;
    if (qz::isEmpty(HttpdConfFile)) return qz::result::NoConfigFile;
    Site site;
    site.ip = qz::field(v.IPAddress);
    site.puny = qz::field(v.PunyCode);
    site.port = qz::webServerPort();
    site.ipv6 = site.ip.find(':') != std::string::npos;
    site.ipSwitch = v.IPSwitch;

    // The scratch file opens first; without it the "mv" would move nothing,
    // or a stale file, over the configuration (23, once the configuration is
    // known to open). A line too long to copy would cut the configuration
    // short: it is left as it is and nothing is created. When the call stops
    // early, the scratch file stays as far as it was written.
    constexpr qz::FilePlan plan{nullptr, nullptr, qz::kConfigLineLimit, qz::LoopEnd::EndOfFile,
                                qz::EmptyLines::Handed, qz::OpenOrder::ScratchOptional, qz::Unchanged::Left,
                                qz::Leftover::Kept};
    int stopped = 0;               // the result of a call that stops before the end
    bool atTop = true;             // still in the run of "#" lines that opens the file
    bool hasNameVirtualHost = false;
    bool placed = false;           // the block went inside the address's block
    const qz::BlockScan blocks(qz::forms::kWebsiteCreate);
    const qz::Rewritten end = qz::rewriteFile(
        HttpdConfFile, qz::str(TEMPFILE), plan,
        [&](qz::LineReader& in, qz::Rewrite& copy, bool& changed) {
            qz::OutFile& out = copy.out();
            if (!out.isOpen()) {
                stopped = qz::result::ScratchNotWritten;
                return qz::Next::Abandon;
            }
            const char* line = in.c_str();
            if (atTop && line[0] == '#') {
                if (site.ipSwitch == '0') out.writeLine(in.view());
                return qz::Next::Line;
            }
            atTop = false;
            out.writeLine(in.view());
            const char* p = qz::skipSpace(line);

            if (qz::startsWithNoCase(p, "NameVirtualHost")) {
                if (isOwnNameVirtualHost(qz::afterName(p, 15), site)) hasNameVirtualHost = true;
            } else if (qz::startsWithNoCase(p, "ServerName")) {
                if (qz::serverNameIs(p, site.puny)) {
                    stopped = qz::result::website::NameTaken;
                    return qz::Next::Abandon;
                }
            } else if (site.ipSwitch == '2' && !placed && blocks.opens(p) &&
                       strncmp(qz::afterName(p, 12), site.ip.c_str(), site.ip.size()) == 0) {
                // The address's own block: read on to its ServerName. A block held
                // by another site refuses the address; the address's placeholder
                // block takes the new site right after its ServerName line. The
                // read ends with the block, so a block without a ServerName never
                // borrows the next block's.
                while (in.nextUntilEof()) {
                    out.writeLine(in.view());
                    const char* q = qz::skipSpace(in.c_str());
                    if (blocks.closes(q)) break;
                    if (!qz::startsWithNoCase(q, "ServerName")) continue;
                    if (strncmp(qz::afterName(q, 11), site.ip.c_str(), site.ip.size()) != 0) {
                        stopped = qz::result::website::NameTaken;
                        return qz::Next::Abandon;
                    }
                    if (!hasNameVirtualHost) out.write(nameVirtualHostLine(site));
                    hasNameVirtualHost = true;
                    out.write(qz::websiteEntry(v, HttpdConfFile));
                    placed = changed = true;
                    break;
                }
            }
            return qz::Next::Line;
        },
        qz::NothingOnOpen(),
        [&](qz::Rewrite& copy, bool& changed) {
            // Placed inside the address's block: moved first, the folders after.
            if (placed) return true;
            // Else the folders first, then the block at the end.
            if (!makeSiteFolders(v)) {
                stopped = qz::result::website::FolderNotMade;
                return false;
            }
            if (site.ipSwitch == '0' || site.ipSwitch == '1') {
                if (site.ipSwitch == '1' && !hasNameVirtualHost) copy.write(nameVirtualHostLine(site));
                copy.write(qz::websiteEntry(v, HttpdConfFile));
                changed = true;
            }
            return true;
        });
    if (stopped != 0) return stopped;
    switch (end) {
    case qz::Rewritten::FileNotOpened:
        qz::sayLine(qz::msg::kConfigNotOpened);
        return qz::result::ConfigNotOpened;
    case qz::Rewritten::TooLong: return qz::result::ConfigNotOpened;
    case qz::Rewritten::ScratchNotOpened:
    case qz::Rewritten::NotWritten: return qz::result::ScratchNotWritten;
    case qz::Rewritten::Replaced:
    case qz::Rewritten::Unchanged:
    case qz::Rewritten::Withheld: break;
    }
    // A scratch file not written whole was not moved (23 above, the
    // configuration as it was; folders made by then stay).
    if (placed && !makeSiteFolders(v)) return qz::result::website::FolderNotMade;
    return qz::result::website::Created;
}
