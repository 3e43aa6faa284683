// The PHP-FPM commands: a site's own pool, its open_basedir, the reload of
// a php-fpm master, and the user and group Apache runs as.
#include "Cli.h"

#include <libqzapache.h>

#include <dirent.h>

namespace cli {
namespace {

namespace result = qz::result;

Option req(const char* name, const char* help) { return {name, help, true, false, 0}; }
Option opt(const char* name, const char* help) { return {name, help, false, false, 0}; }

CQZWebsite website(const Context& c) { return CQZWebsite(c.tracker, c.conf.c_str()); }

const Option kDomain = req("domain-name", "the website's ServerName");
const Option kVersion = req("php-version", "the PHP version, such as 8.2");
const Code kDone{result::phpFpm::Done, "96", true, "done"};
const Code kNoConf{result::NoConfigFile, "21", false, "no configuration file"};
const Code kConfUnreadable{result::ConfigNotOpened, "22", false, "the configuration file could not be opened"};
const Code kScratch{result::ScratchNotWritten, "23", false, "a scratch file could not be written"};

// The site's pool file of every PHP version under <root>/etc/php.
std::vector<std::string> poolFiles(const Args& a, const Context&) {
    std::vector<std::string> files;
    const std::string folder = qz::systemRoot() + "/etc/php";
    DIR* dir = opendir(folder.c_str());
    if (dir == nullptr) return files;
    while (const dirent* entry = readdir(dir)) {
        const std::string name = entry->d_name;
        if (name != "." && name != "..")
            files.push_back(folder + "/" + name + "/fpm/pool.d/qz-" + a.get("domain-name") + ".conf");
    }
    closedir(dir);
    return files;
}

// The pools and the module links a2enmod may add beside the configuration.
std::vector<std::string> enableFiles(const Args& a, const Context& c) {
    std::vector<std::string> files = poolFiles(a, c);
    const std::string folder = c.conf.substr(0, c.conf.rfind('/') + 1) + "mods-enabled/";
    for (const char* module : {"proxy", "proxy_fcgi", "setenvif"})
        for (const char* kind : {".load", ".conf"}) files.push_back(folder + module + kind);
    return files;
}

}  // namespace

std::vector<Command> phpFpmCommands() {
    return {
        {"enable-php-fpm", "CQZWebsite::EnablePhpFpm", "run the website's PHP in its own PHP-FPM pool",
         {kDomain, kVersion},
         {kDone, {result::phpFpm::NoSite, "1", false, "no such site, or its folder or owner cannot run a pool (a link, root)"},
          {result::phpFpm::BadVersion, "2", false, "the version is not digits.digits, or php-fpm<version> is not on PATH"},
          {result::phpFpm::OtherHandler, "3", false, "the site's PHP runs through another handler: disable it first"},
          {result::phpFpm::PoolNameTaken, "4", false, "another pool file uses the pool's name"},
          {result::phpFpm::CheckFailed, "5", false, "php-fpm's check refused the pool, or proxy_fcgi could not be loaded; nothing kept"},
          kNoConf, kConfUnreadable, kScratch},
         enableFiles, "the configuration file, the site's pool files and the proxy_fcgi module links",
         [](const Args& a, const Context& c, Outcome& o) {
             o.result = website(c).EnablePhpFpm(a.get("domain-name"), a.get("php-version"));
         }},
        {"disable-php-fpm", "CQZWebsite::DisablePhpFpm", "take the website off PHP-FPM and remove its pools",
         {kDomain},
         {{result::phpFpm::Done, "96", true, "done (also when there was nothing to remove)"}, kNoConf, kConfUnreadable, kScratch},
         poolFiles, "the configuration file and the site's pool files",
         [](const Args& a, const Context& c, Outcome& o) { o.result = website(c).DisablePhpFpm(a.get("domain-name")); }},
        {"php-open-basedir", "CQZWebsite::SetPhpOpenBasedir", "set the folders the website's PHP may open",
         {kDomain, opt("paths", "absolute folders joined by ':' (none: no limit)")},
         {kDone, {result::phpFpm::NoSite, "1", false, "no such site"},
          {result::phpFpm::PathRefused, "6", false, "a path was refused; nothing written"},
          {result::phpFpm::NoPoolNorModule, "7", false, "the site has no PHP-FPM pool and no PHP module block"}, kNoConf, kConfUnreadable, kScratch},
         poolFiles, "the configuration file and the site's pool files",
         [](const Args& a, const Context& c, Outcome& o) {
             StringVector paths;
             const std::string text = a.get("paths");
             for (size_t from = 0; !text.empty() && from <= text.size();) {
                 const size_t colon = std::min(text.find(':', from), text.size());
                 paths.push_back(text.substr(from, colon - from));
                 from = colon + 1;
             }
             o.result = website(c).SetPhpOpenBasedir(a.get("domain-name"), paths);
         }},
        {"php-fpm-reload", "CQZWebsite::CmdPhpFpmReload", "reload a php-fpm master gracefully (SIGUSR2 to /run/php/php<version>-fpm.pid)",
         {kVersion},
         {{result::phpFpm::Reloaded, "0", true, "the signal was sent"},
          {result::phpFpm::NotReloaded, "1", false, "no PID file, or no php-fpm process of that number"}},
         [](const Args&, const Context&) { return std::vector<std::string>(); }, "nothing",
         [](const Args& a, const Context&, Outcome& o) { o.result = CQZWebsite().CmdPhpFpmReload(a.get("php-version")); },
         nullptr, kWithoutConf | kNoVerify},
        {"apache-user", "getApacheUserGroup", "the user and group Apache runs as",
         {},
         {{1, "true", true, "found"}, {0, "false", false, "neither apachectl, envvars nor the configuration names both"}},
         [](const Args&, const Context&) { return std::vector<std::string>(); }, "nothing",
         [](const Args&, const Context&, Outcome& o) {
             std::string user, group;
             o.result = getApacheUserGroup(user, group) ? 1 : 0;
             o.field("user", user);
             o.field("group", group);
         },
         nullptr, kWithoutConf},
    };
}

}  // namespace cli
