// CQZWebsite::EnablePhpFpm: gives a site its own PHP-FPM pool and hands its
// .php files to it.
#include "CQZWebsite.h"

#include "discovery/ApacheDiscovery.h"
#include "discovery/ApacheModuleSetup.h"
#include "handlers/HandlerScan.h"
#include "handlers/PhpFpm.h"
#include "toolkit/Toolkit.h"
#include "QZCommon.h"
#include "core/QZLock.h"
#include "core/SafePath.h"
#include "core/Messages.h"

#include <cerrno>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// The owner of the document root, found without following a link anywhere
// below the site folder (the customer could point one at another user's
// folder): the site folder is opened (the folders above it walked as
// SafePath.h walks them), then each component of the rest in turn. The site
// folder stays open in `siteDir`, for makeTmp.
// False when a component is a link, "..", missing or not a folder, the owner
// is root, or the site's tmp is there but not a folder of its own (a link, a
// FIFO, ...).
bool siteOwner(const std::string& site, const std::string& documentRoot, struct stat& owner, qz::Fd& siteDir) {
    qz::SafeFolder above;
    const size_t cut = site.rfind('/');
    if (cut == std::string::npos || !qz::openFolder(site.substr(0, cut + 1), above)) return false;
    siteDir.reset(openat(above.fd.get(), site.c_str() + cut + 1, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!siteDir.ok()) return false;
    qz::Fd dir(dup(siteDir.get()));
    std::string_view rest = std::string_view(documentRoot).substr(site.size());
    while (!rest.empty()) {
        const size_t slash = rest.find('/');
        const std::string part(rest.substr(0, slash));
        rest = slash == std::string_view::npos ? std::string_view() : rest.substr(slash + 1);
        if (part.empty() || part == ".") continue;
        if (part == "..") return false;
        dir.reset(openat(dir.get(), part.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        if (!dir.ok()) return false;
    }
    if (!dir.ok() || fstat(dir.get(), &owner) != 0 || owner.st_uid == 0) return false;
    struct stat tmp;
    if (fstatat(siteDir.get(), "tmp", &tmp, AT_SYMLINK_NOFOLLOW) == 0) return S_ISDIR(tmp.st_mode);
    return errno == ENOENT;
}

// The site's tmp folder (mode 0700, owned by the site's user), made and
// chowned through the site folder's descriptor; `made` says whether this
// call made it. False when it cannot be made or is not a folder of its own.
bool makeTmp(const qz::Fd& siteDir, const struct stat& owner, bool& made) {
    made = mkdirat(siteDir.get(), "tmp", 0700) == 0;
    if (!made && errno != EEXIST) return false;
    const qz::Fd tmp(openat(siteDir.get(), "tmp", O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    return tmp.ok() && fchown(tmp.get(), owner.st_uid, owner.st_gid) == 0;
}

// The names of a user and a group id in the system root's account files; ""
// when missing or not a plain name php-fpm reads back.
std::string accountName(const char* file, unsigned id, bool group) {
    FILE* in = fopen(qz::sysPath(file).c_str(), "re");
    if (in == nullptr) return "";
    std::string name;
    if (group) {
        while (const struct group* entry = fgetgrent(in))
            if (entry->gr_gid == id) {
                name = entry->gr_name;
                break;
            }
    } else {
        while (const struct passwd* entry = fgetpwent(in))
            if (entry->pw_uid == id) {
                name = entry->pw_name;
                break;
            }
    }
    fclose(in);
    for (unsigned char c : name)
        if (!isalnum(c) && c != '.' && c != '-' && c != '_') return "";
    return name;
}

std::string poolText(const std::string& domain, const std::string& user, const std::string& group,
                     const std::string& apacheGroup, const std::string& socket, const std::string& site) {
    std::string text = "; PHP-FPM pool of " + domain + ", written by libqzapache.\n[" + qz::fpm::poolName(domain) +
                       "]\nuser = " + user + "\ngroup = " + group + "\nlisten = " + socket +
                       "\nlisten.owner = " + user + "\n";
    // Without Apache's group the socket keeps the pool's group: Apache then
    // cannot reach it, which is safer than a guessed group.
    if (!apacheGroup.empty()) text += "listen.group = " + apacheGroup + "\n";
    text += "listen.mode = 0660\n"
            "pm = ondemand\n"
            "pm.max_children = 5\n"
            "pm.process_idle_timeout = 10s\n"
            "pm.max_requests = 500\n"
            "security.limit_extensions = .php\n"
            "php_admin_value[open_basedir] = \"" + site + ":" + site + "/tmp\"\n"
            "php_admin_value[sys_temp_dir] = \"" + site + "/tmp\"\n"
            "php_admin_value[upload_tmp_dir] = \"" + site + "/tmp\"\n"
            "php_admin_value[session.save_path] = \"" + site + "/tmp\"\n";
    return text;
}

// Whether a pool file of any version, other than the site's own files,
// declares the pool's name.
bool poolNameTaken(const std::string& domain) {
    const std::string header = "[" + qz::fpm::poolName(domain) + "]";
    for (const std::string& version : qz::fpm::versions()) {
        DIR* dir = opendir(qz::fpm::poolFolder(version).c_str());
        if (dir == nullptr) continue;
        bool taken = false;
        while (const dirent* entry = readdir(dir)) {
            const std::string file = qz::fpm::poolFolder(version) + "/" + entry->d_name;
            if (file == qz::fpm::poolFile(version, domain)) continue;
            qz::LineReader in(file, qz::kNoLineLimit);
            while (!taken && in.isOpen() && in.getline()) taken = qz::skipSpace(in.c_str()) == header;
            if (taken) break;
        }
        closedir(dir);
        if (taken) return true;
    }
    return false;
}

// php-fpm's check of every pool of the version; what it said is printed
// when it refuses.
bool poolsAccepted(const std::string& version) {
    const std::string check = qz::shellCommand({"php-fpm" + version, "-t", "-y", qz::fpm::mainFile(version)});
    qz::ShellPipe pipe(check + " 2>&1");
    if (pipe.get() == nullptr) return false;
    char* buf = nullptr;
    size_t size = 0;
    std::string output;
    while (getline(&buf, &size, pipe.get()) != -1) output += buf;
    free(buf);
    const int status = pipe.close();
    if (status != -1 && WIFEXITED(status) && WEXITSTATUS(status) == 0) return true;
    qz::say(output);
    return false;
}

// Apache's proxy_fcgi (and proxy) module: on Debian's layout (a
// mods-available folder beside the configuration) through a2enmod, else as
// LoadModule lines. True when they are loaded afterwards.
bool proxyFcgiLoaded(const std::string& conf) {
    const std::string folder = conf.substr(0, conf.rfind('/') + 1);
    struct stat st;
    if (stat((folder + "mods-available/proxy_fcgi.load").c_str(), &st) == 0) {
        const std::string enabled = folder + "mods-enabled/proxy_fcgi.load";
        if (stat(enabled.c_str(), &st) == 0) return true;
        qz::enableModulesDebian(conf, {"proxy_fcgi", "setenvif"});
        return stat(enabled.c_str(), &st) == 0;
    }
    // Each line goes in before the first LoadModule line: proxy_fcgi first,
    // so that proxy, which it needs, ends up loaded before it.
    // Without a modules folder the line would name no real file.
    if (qz::apacheModulesDir(conf).empty()) return false;
    bool loaded[2] = {false, false};
    const std::string modules[2] = {"proxy_fcgi", "proxy"};
    for (int i = 0; i < 2; ++i)
        if (qz::checkModule(conf, modules[i] + "_module ", loaded[i]) == 1) return false;
    for (int i = 0; i < 2; ++i)
        if (!loaded[i] && qz::addModule(conf, modules[i]) != 0) return false;
    return true;
}

}  // namespace

int CQZWebsite::EnablePhpFpm(std::string DomainName, std::string PhpVersion) {
    const qz::OperationLock lock;
    qz::trackMethod(TrackManager, "EnablePhpFpm", {DomainName, PhpVersion}, {"DomainName", "PhpVersion"});
    if (qz::isEmpty(HttpdConfFile)) return qz::result::NoConfigFile;
    const std::string conf = HttpdConfFile;
    qz::fpm::SiteConf site;
    if (!site.read(HttpdConfFile, DomainName)) {
        qz::sayLine(qz::msg::kConfigNotOpened);
        return qz::result::ConfigNotOpened;
    }
    if (!qz::fpm::validVersion(PhpVersion) || !qz::fpm::onPath("php-fpm" + PhpVersion))
        return qz::result::phpFpm::BadVersion;
    if (!site.found || !qz::fpm::validDomain(DomainName)) return qz::result::phpFpm::NoSite;
    if (site.otherHandler) return qz::result::phpFpm::OtherHandler;
    if (poolNameTaken(DomainName)) return qz::result::phpFpm::PoolNameTaken;

    const std::string folder = qz::siteFolder(site.documentRoot, DomainName);
    struct stat owner;
    qz::Fd siteDir;
    if (folder.empty() || !qz::fpm::writablePath(site.documentRoot) ||
        !siteOwner(folder, site.documentRoot, owner, siteDir))
        return qz::result::phpFpm::NoSite;
    const std::string user = accountName("/etc/passwd", owner.st_uid, false);
    const std::string group = accountName("/etc/group", owner.st_gid, true);
    if (user.empty() || group.empty()) return qz::result::phpFpm::NoSite;
    std::string apacheUser, apacheGroup;
    if (!getApacheUserGroup(apacheUser, apacheGroup)) qz::sayLine(qz::msg::kRunGroupNotFound);

    // The pool goes in first, is checked with every other pool of its
    // version, and is taken back (the previous file put back) when the check
    // or a later step fails.
    const std::string pool = qz::fpm::poolFile(PhpVersion, DomainName);
    const std::string socket = qz::fpm::socketPath(DomainName);
    std::string previous;
    bool hadPrevious = false;
    {
        qz::LineReader old(pool, qz::kNoLineLimit);
        hadPrevious = old.isOpen();
        while (old.isOpen() && old.getline()) previous.append(old.view()).append("\n");
    }
    auto restorePool = [&] {
        if (!hadPrevious) {
            std::remove(pool.c_str());
            return;
        }
        qz::Rewrite back(pool + ".qztmp", pool);
        // When the old pool cannot be written whole either, the new one stays
        // whole in its place; the result already says that the step failed.
        if (back.open()) {
            back.out().write(previous);
            static_cast<void>(back.commit());
        }
    };
    qz::Rewrite poolWrite(pool + ".qztmp", pool);
    if (!poolWrite.open()) return qz::result::ScratchNotWritten;
    poolWrite.out().write(poolText(DomainName, user, group, apacheGroup, socket, folder));
    if (!poolWrite.commit()) return qz::result::ScratchNotWritten;
    if (!poolsAccepted(PhpVersion)) {
        restorePool();
        return qz::result::phpFpm::CheckFailed;
    }
    // Loading the module may rewrite the configuration: it is read again.
    if (!proxyFcgiLoaded(conf)) {
        qz::sayLine(qz::msg::kProxyFcgiNotLoaded);
        restorePool();
        return qz::result::phpFpm::CheckFailed;
    }
    site = qz::fpm::SiteConf();
    if (!site.read(HttpdConfFile, DomainName)) {
        restorePool();
        return qz::result::ConfigNotOpened;
    }
    // The tmp folder the pool names is made last, when only the
    // configuration's rewrite is left; it goes again if that fails.
    bool madeTmp = false;
    if (!makeTmp(siteDir, owner, madeTmp)) {
        if (madeTmp) unlinkat(siteDir.get(), "tmp", AT_REMOVEDIR);
        restorePool();
        return qz::result::phpFpm::NoSite;
    }
    bool changed = false;
    if (!qz::fpm::writeLines(qz::str(TEMPFILE), conf, site.edited(socket, changed))) {
        if (madeTmp) unlinkat(siteDir.get(), "tmp", AT_REMOVEDIR);
        restorePool();
        return qz::result::ScratchNotWritten;
    }
    qz::fpm::removePools(DomainName, PhpVersion);
    return qz::result::phpFpm::Done;
}
