#include "vdir/VirtualDirectorySection.h"

#include "QZCommon.h"
#include "core/SafePath.h"
#include "core/Validate.h"
#include "vdir/VirtualDirectoryScan.h"

#include <cerrno>

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

bool isAcceptable(const SDDir& dir, const std::string& login, const std::string& password) {
    const std::string domain = field(dir.DomainName);
    return (domain.empty() || isHostName(domain)) && isSafePath(field(dir.DirPath)) &&
           isSafePath(field(dir.WebAdminPath)) && isDirectiveSafe(field(dir.Allow)) &&
           isDirectiveSafe(field(dir.Deny)) && !hasControlChar(login) && password.find('\0') == std::string::npos;
}

bool ensurePasswordFile(const std::string& authFile) {
    Fd file;
    switch (openFile(authFile, O_RDONLY, file)) {
        case FileCheck::Regular: return true;
        case FileCheck::Refused: return false;
        default: break;
    }
    // Created (or, unreadable, emptied) only once it is known to be a file,
    // through the library's output path, so that it is on the disk.
    const FileCheck made = openFile(authFile, O_WRONLY | O_CREAT | O_TRUNC, file);
    if (made == FileCheck::Regular) {
        OutFile out;
        if (!out.openDescriptor(file.get()) || !out.finish()) { /* an empty file: nothing of it can be lost */ }
    }
    return made != FileCheck::Refused;
}

bool passwordFileUsable(const std::string& authFile) { return checkFile(authFile) != FileCheck::Refused; }

bool addWebadminLogin(const std::string& authFile, const std::string& name, const std::string& pass) {
    const FileCheck state = checkFile(authFile);
    if (state == FileCheck::Refused) return false;
    if (name.empty() || pass.empty() || state != FileCheck::Regular) return true;
    const std::string command = shellCommand({"htpasswd", "-b", authFile, name}) + " " + shellQuoted(pass);
    sayLine("cmd=" + command);
    runShell(command);
    return true;
}

bool chownPasswordFile(const std::string& owner, const std::string& authFile) {
    if (checkFile(authFile) == FileCheck::Refused) return false;
    runShell(shellCommand({"chown", panelOwner(owner), authFile}));
    return true;
}

bool holdStill(FolderLock& still, const std::string& folder) { return still.lock(folder) || errno == ENOENT; }

bool folderUsable(const std::string& folder) {
    SafeFolder reached;
    return !hasDotDot(folder) && (openFolder(folder, reached) || !isRefusal(errno));
}

}  // namespace qz
