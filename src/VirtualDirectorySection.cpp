#include "VirtualDirectorySection.h"

#include "QZCommon.h"
#include "VirtualDirectoryScan.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qz {

bool apacheUsesRequire() {
    int major = 0, minor = 0, minorMinor = 0;
    getApacheVersion(major, minor, minorMinor);
    return major > 2 || (major > 1 && minor > 3);
}

void writeAccessLines(OutFile& out, const SDDir& dir, bool requireSyntax) {
    const std::string allow = field(dir.Allow);
    const std::string deny = field(dir.Deny);
    const std::string allowLine = "\t\tAllow from \"" + allow + "\"";
    const std::string denyLine = "\t\tDeny from \"" + deny + "\"";
    if (dir.Order == 0) {
        if (deny.empty()) return;
        out.writeLine(denyLine);
        if (!allow.empty()) out.writeLine(allowLine);
    } else if (!requireSyntax) {
        out.writeLine("\t\tOrder Deny,Allow");
        if (allow.empty()) return;
        out.writeLine(allowLine);
        if (!deny.empty()) out.writeLine(denyLine);
    } else if (!allow.empty()) {
        out.writeLine("\t\tRequire all granted");
    } else if (!deny.empty()) {
        out.writeLine("\t\tRequire all denied");
    }
}

void writeOptionsLine(OutFile& out, const SOptions& options) {
    bool any = false;
    std::string line = "\t\tOptions";
    for (const OptionWord& word : kOptionWords) {
        const char flag = options.*word.flag;
        any = any || flag != 0;
        if (flag != '+' && flag != '-') continue;
        line += ' ';
        line += flag;
        line += word.name;
    }
    if (any) out.writeLine(line);
}

std::string passwordFileOf(const SDDir& dir) {
    const std::string domain = field(dir.DomainName);
    return field(dir.WebAdminPath) + "/" + domain + "/webusers_" + domain + ".htpasswd";
}

void writeAuthLines(OutFile& out, const std::string& authFile) {
    out.writeLine("\t\tAuthType Basic");
    out.writeLine("\t\tAuthName \"Restricted Area\"");
    out.writeLine("\t\tAuthUserFile " + authFile);
    out.writeLine("\t\trequire valid-user");
}

void ensurePasswordFile(const std::string& authFile) {
    const int fd = ::open(authFile.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd >= 0) {
        ::close(fd);
        return;
    }
    OutFile created;
    created.open(authFile.c_str());
}

namespace {
// htpasswd and chown, run as root, would follow a link a customer planted in
// place of the password file and rewrite or give away its target.
bool isSymbolicLink(const std::string& path) {
    struct stat st;
    return lstat(path.c_str(), &st) == 0 && S_ISLNK(st.st_mode);
}
}  // namespace

void addWebadminLogin(const std::string& authFile, const std::string& name, const std::string& pass) {
    struct stat st;
    if (name.empty() || pass.empty() || stat(authFile.c_str(), &st) != 0 || isSymbolicLink(authFile)) return;
    const std::string command = shellCommand({"htpasswd", "-b", authFile, name}) + " " + shellQuoted(pass);
    sayLine("cmd=" + command);
    runShell(command);
}

void chownPasswordFile(const std::string& owner, const std::string& authFile) {
    if (!isSymbolicLink(authFile)) runShell(shellCommand({"chown", panelOwner(owner), authFile}));
}

}  // namespace qz
