// ApacheHelper::Apache_RedirectVHFromHttpToHttps: writes a domain's HTTPS
// redirect file, a small <VirtualHost> that sends every plain HTTP request
// to HTTPS with status 301, and makes sure the configuration includes it.
#include "ApacheHelper.h"

#include "core/QZLock.h"
#include "redirect/RedirectFile.h"
#include "toolkit/Toolkit.h"
#include "core/Validate.h"
#include "core/Messages.h"

#include <climits>
#include <cstdio>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

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
        qz::sayLine(qz::msg::kEntryExists);
        return;
    }
    qz::sayLine(qz::msg::kWritingEntry);
    qz::sayLine(std::to_string(qz::writeDirective(httpdConfFile, "Include qz/*.conf", "Include", false, -1)));
}

// The file a redirect file's name leads to through its symbolic links (an
// administrator's link is kept: the file it leads to is replaced), or the
// name itself when it is no link.
std::string linkedFile(std::string path) {
    for (int hops = 0; hops < 40; ++hops) {
        char target[PATH_MAX];
        const ssize_t length = readlink(path.c_str(), target, sizeof target);
        if (length <= 0 || static_cast<size_t>(length) == sizeof target) break;
        std::string next(target, static_cast<size_t>(length));
        if (next[0] != '/') next = path.substr(0, path.rfind('/') + 1) + next;
        path = next;
    }
    return path;
}

// The seven lines go to a scratch file beside the file, which is renamed
// over it once they are on the disk: a reader, or a power cut, finds the old
// file or the new one, whole, and a write that fails leaves the old one. The
// new file keeps the old one's owner and mode. False when the scratch file
// cannot be opened or written whole (then deleted), or a folder stands at
// the file's name.
bool writeRedirectFile(const std::string& file, const std::vector<std::string>& lines) {
    const std::string target = linkedFile(file);
    struct stat old;
    const bool existed = stat(target.c_str(), &old) == 0;
    if (existed && S_ISDIR(old.st_mode)) return false;
    const std::string scratch = target + ".qzscratch";
    qz::OutFile out;
    if (!out.open(scratch.c_str())) return false;
    for (const std::string& line : lines) out.writeLine(line);
    if (!out.finish()) {
        std::remove(scratch.c_str());
        return false;
    }
    if (existed) {
        if (chown(scratch.c_str(), old.st_uid, old.st_gid) != 0) { /* only root gives a file away */ }
        chmod(scratch.c_str(), old.st_mode & 07777);
    }
    if (qz::replaceByRename(scratch, target)) return true;
    std::remove(scratch.c_str());
    return false;
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
    // With no server root nothing is created: no folder at the top of the
    // file system, and no Include line that would point nowhere.
    bool written = false;
    if (!folder.empty()) {
        makeRedirectFolder(folder);
        includeRedirectFolder(httpdConfFile);
        written = writeRedirectFile(file, {"<VirtualHost " + ipAddress + ":" + port + ">",
                                           "\tServerName " + domainName,
                                           "\tServerAlias www." + domainName,
                                           "\tRewriteEngine On",
                                           "\tRewriteCond %{HTTPS} !=on",
                                           "\tRewriteRule ^/?(.*) https://%{SERVER_NAME}/$1 [R=301,L]",
                                           "</VirtualHost>"});
    }
    if (!written) qz::sayLine(qz::msg::kRedirectNotWritten + file);
    return written;
}
