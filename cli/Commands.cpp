// The command table: one entry per subcommand, with its options (named after
// the record fields or arguments they fill), the library call it makes, the
// meaning of every result, which results are success, and the files besides
// the configuration that the call may rewrite.
#include "Cli.h"

#include <libqzapache.h>

#include <cstdio>
#include <cstdlib>

namespace cli {
namespace {

namespace result = qz::result;

Option req(const char* name, const char* help, size_t capacity = 0) { return {name, help, true, false, capacity}; }
Option opt(const char* name, const char* help, size_t capacity = 0) { return {name, help, false, false, capacity}; }
Option flg(const char* name, const char* help) { return {name, help, false, true, 0}; }

// The parser has checked that the value fits the array.
template <size_t N>
void put(char (&field)[N], const std::string& value) {
    std::snprintf(field, N, "%s", value.c_str());
}

// A one-character record field: its value's character, or `otherwise` (a
// zeroed record's NUL) when the option is not given.
char one(const Args& a, const char* name, char otherwise = 0) {
    const std::string value = a.get(name);
    return value.empty() ? otherwise : value[0];
}

// Value checks, run by the parser before anything is locked or kept.
int toNumber(const std::string& name, const std::string& text) {
    char* end = nullptr;
    const long value = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || value < -1000000 || value > 1000000) throw UsageError("--" + name + " takes a number");
    return static_cast<int>(value);
}
void isNumber(const std::string& name, const std::string& value) { toNumber(name, value); }
void isSign(const std::string& name, const std::string& value) {
    if (value != "+" && value != "-") throw UsageError("--" + name + " takes + or -");
}
void isOrder(const std::string& name, const std::string& value) {
    const int order = toNumber(name, value);
    if (order < 0 || order > 127) throw UsageError("--" + name + " takes a number from 0 to 127");
}
// The ways CreateWebsite knows to share the address.
void isIpSwitch(const std::string& name, const std::string& value) {
    if (value != "0" && value != "1" && value != "2") throw UsageError("--" + name + " takes 0, 1 or 2");
}
Option checked(Option option, void (*check)(const std::string&, const std::string&)) {
    option.check = check;
    return option;
}

// An option whose value the help calls `value` instead of its name.
Option valued(Option option, const char* value) {
    option.value = value;
    return option;
}

int number(const Args& a, const char* name, int otherwise) { return a.has(name) ? toNumber(name, a.get(name)) : otherwise; }

std::string octal(unsigned mode) {
    char text[16];
    std::snprintf(text, sizeof text, "%o", mode);
    return text;
}

std::string charText(char c) { return c == 0 ? std::string() : std::string(1, c); }

std::vector<std::string> pairs(const NameValueVector& items) {
    std::vector<std::string> out;
    for (const NameValueSt& item : items) out.push_back(item.Name + " " + item.Value);
    return out;
}

std::vector<std::string> none(const Args&, const Context&) { return {}; }

// The redirect files of CQZWebsite::AddHostHeader and DeleteHostHeader, both layouts.
std::vector<std::string> hostHeaderFiles(const Args& a, const Context&) {
    const std::string domain = a.get("domain-name");
    return {qz::systemRoot() + "/etc/apache2/qz/" + domain + ".conf", qz::systemRoot() + "/etc/httpd/qz/" + domain + ".conf"};
}

// The files ApacheHelper::Apache_RedirectVHFromHttpToHttps and its stop, start
// and delete write, in the qz folder of the server root that apachectl -V names.
std::vector<std::string> redirectFiles(const Args& a, const Context&) {
    const std::string root = ApacheHelper().Apache_GetHttpdRootPath();
    if (root.empty()) return {};
    const std::string file = root + "/qz/" + a.get("domain-name") + ".conf";
    return {file, file + ".stop", root + "/qz/dummy.conf"};
}

// The password file of CQZVirtualDirectory's create and update.
std::vector<std::string> authFile(const Args& a, const Context&) {
    const std::string domain = a.get("domain-name");
    return {a.get("web-admin-path") + "/" + domain + "/webusers_" + domain + ".htpasswd"};
}

// CQZUsers's password file (its constructor turns every "/" of the folder into "_").
std::vector<std::string> webUserFile(const Args& a, const Context&) {
    std::string file = qz::systemRoot() + a.get("ins-folder") + "/etc/webusers/passwd." + a.get("domain-name");
    std::string folder = a.get("folder-path");
    for (char& c : folder)
        if (c == '/') c = '_';
    return {folder.empty() ? file : file + "_" + folder};
}

// PrivateFolder's .htaccess and .htpasswd of each folder named.
std::vector<std::string> privateFolderFiles(const Args& a, const Context&) {
    std::vector<std::string> files;
    for (const char* option : {"folder-path", "new-folder-path", "old-folder-path"})
        if (a.has(option)) {
            files.push_back(a.get(option) + "/.htaccess");
            files.push_back(a.get(option) + "/.htpasswd");
        }
    return files;
}

// The site folder as CQZWebsite::EnableFcgid and DisableFcgid find it: the
// block's DocumentRoot cut just after the domain's first occurrence ("" when
// it holds none).
std::string siteFolder(const Args& a, const Context& c) {
    const std::string domain = a.get("domain-name");
    std::string root;
    ApacheHelper().Apache_getDirectiveInVH(c.conf, domain, "DocumentRoot", root, true);
    const size_t at = domain.empty() ? std::string::npos : root.find(domain);
    return at == std::string::npos ? "" : root.substr(0, at + domain.size());
}

// The PHP CGI copy that CQZWebsite::EnableFcgid's cp may write over.
std::vector<std::string> fcgidCopy(const Args& a, const Context& c) {
    const std::string site = siteFolder(a, c), program = a.get("php-cgi-path");
    if (site.empty()) return {};
    return {site + "/.setting_php/" + program.substr(program.rfind('/') + 1)};
}

// The file CQZWebsite::DisableFcgid deletes.
std::vector<std::string> fcgidDeleted(const Args& a, const Context& c) {
    const std::string site = siteFolder(a, c), file = a.get("php-cgi");
    if (site.empty() || file.empty()) return {};
    return {site + "/" + file};
}

// The maintenance page of CQZWebsite::EnableMessage and DisableMessage.
std::vector<std::string> maintenancePage(const Args& a, const Context&) {
    return {qz::systemRoot() + "/var/lib/qzapache/maintenance/" + a.get("domain-name") + "/index.html"};
}

// set-directive: --add is for a website's block; a reference is for server level.
void directiveOptionsFit(const Args& a) {
    if (a.flag("add") && !a.has("domain-name")) throw UsageError("--add needs --domain-name");
    if (a.has("domain-name") && (a.has("reference") || a.flag("before-reference") || a.has("line-count")))
        throw UsageError("--reference, --before-reference and --line-count are for server level (no --domain-name)");
}

// Results shared by many operations.
const Code kNoConf{result::NoConfigFile, "21", false, "no configuration file was given"};
const Code kConfUnreadable{result::ConfigNotOpened, "22", false, "the configuration file could not be opened"};
const Code kConfUnreadableOrLong{result::ConfigNotOpened, "22", false, "the configuration file could not be opened, or holds a line too long"};
const Code kScratch{result::ScratchNotWritten, "23", false, "the scratch file could not be written"};
const Code kHandlerDone{result::handler::Done, "96", true, "done (also when the site had nowhere to put the block)"};
const Code kHandlerConf{result::handler::ConfigNotOpened, "21", false, "the configuration file could not be opened"};
const char* kConfOnly = "the configuration file";
const std::vector<Code> kErrorPageCodes = {{result::errorPage::Done, "0", true, "done"},
                                           {result::errorPage::Refused, "1", false, "a value was refused (nothing written)"},
                                           {result::errorPage::NoSuchSite, "26", false, "no block names the website"}, kNoConf, kConfUnreadable, kScratch};

const Option kDomain = req("domain-name", "the website's ServerName");
const Option kVdirDomain = req("domain-name", "the website's ServerName", 1024);
const Option kUserDomain = req("domain-name", "the website the users belong to");

// The virtual-directory record's input fields, common to create and update.
std::vector<Option> vdirOptions(std::vector<Option> more) {
    std::vector<Option> options = {
        kVdirDomain,
        opt("dir-path", "the folder (default on create: the DocumentRoot without its last 5 characters)", 1024),
        opt("web-admin-path", "the folder holding the site's home folder (owner, password file)", 1024),
        checked(opt("order", "0 Deny/Allow lines without Order; other numbers up to 127 (default 1) the Apache 2.2/2.4 form"), isOrder),
        opt("allow", "hosts for the Allow from line", 256),
        opt("deny", "hosts for the Deny from line", 256),
        checked(opt("indexes", "+ or - (Options)", 2), isSign), checked(opt("includes", "+ or -", 2), isSign),
        checked(opt("follow-sym-links", "+ or -", 2), isSign), checked(opt("multi-views", "+ or -", 2), isSign),
        checked(opt("exec-cgi", "+ or - (+ also adds the CGI handler on create)", 2), isSign),
        opt("anon-access", "1: ask for a login (on update of a folder without a section: 0)", 2),
        opt("webadmin-name", "a login to add to the password file"),
        opt("webadmin-pass", "its password (stored as given)"),
    };
    options.insert(options.end(), more.begin(), more.end());
    return options;
}

SDDir vdirRecord(const Args& a) {
    SDDir d = {};
    put(d.DomainName, a.get("domain-name"));
    put(d.DirPath, a.get("dir-path"));
    put(d.WebAdminPath, a.get("web-admin-path"));
    d.Order = static_cast<char>(number(a, "order", 1));
    put(d.Allow, a.get("allow"));
    put(d.Deny, a.get("deny"));
    d.Options = {one(a, "indexes"), one(a, "includes"), one(a, "follow-sym-links"), one(a, "multi-views"), one(a, "exec-cgi")};
    d.AnonAccess = one(a, "anon-access");
    d.RubyOnRails = one(a, "ruby-on-rails");
    d.PerlEnabled = one(a, "perl-enabled");
    return d;
}

CQZWebsite website(const Context& c) { return CQZWebsite(c.tracker, c.conf.c_str()); }
CQZVirtualDirectory vdirs(const Context& c) { return CQZVirtualDirectory(c.tracker, c.conf.c_str()); }

// The web users of one site: the manager borrows the strings, so they live here.
struct Users {
    std::string ins, domain, folder;
    CQZUsers users;
    Users(const Args& a, const Context& c)
        : ins(a.get("ins-folder")), domain(a.get("domain-name")), folder(a.get("folder-path")),
          users(c.tracker, ins.c_str(), domain.c_str(), folder.c_str()) {}
};
const std::vector<Option> kUserOptions = {
    kUserDomain, opt("ins-folder", "the panel's installation folder (default: none)"),
    opt("folder-path", "a protected folder of the site: its own user list"),
};
std::vector<Option> userOptions(std::vector<Option> more) {
    std::vector<Option> options = kUserOptions;
    options.insert(options.end(), more.begin(), more.end());
    return options;
}

// The handler edits that answer 0 or 21.
const std::vector<Code> kRewriteCodes = {{result::handler::Rewritten, "0", true, "done"},
                                         {result::handler::ConfigNotOpened, "21", false, "the configuration file could not be opened, or holds a line too long"}};
const std::vector<Code> kRedirectAlways = {{1, "true", true, "done (also when there was nothing to change)"}};

std::vector<Command> table() {
    return {
        // Websites.
        {"create-website", "CQZWebsite::CreateWebsite", "add a website's <VirtualHost> block and make its folders",
         {req("dname", "the domain, written as ServerName", 256),
          opt("puny-code", "its ASCII (IDNA) form (default: the domain)", 500),
          req("ip-address", "the address the site listens on (IPv6 without brackets)", 255),
          req("user-name", "the system user that owns the site's folders", 256),
          req("server-admin", "the administrator's login (ServerAdmin is it + \"@\" + the ASCII domain)", 256),
          req("path", "the folder the site root lies in, ending in \"/\" (site root = path + domain)", 256),
          opt("port", "the port reported to the tracker (the one written comes from /etc/QZ.conf)", 16),
          checked(opt("ip-switch", "0 append the block (default); 1 also add NameVirtualHost; 2 place it in the address's block", 2),
                  isIpSwitch),
          opt("admin-passwd", "carried in the record; not used", 80)},
         {{result::website::Created, "94", true, "the website was created"},
          {result::website::NameTaken, "92", false, "a website of that name exists, or another site holds the address"},
          {result::website::FolderNotMade, "2", false, "a folder of the site could not be made"}, kNoConf, kConfUnreadableOrLong, kScratch},
         none, "the configuration file (not the folders it makes)",
         [](const Args& a, const Context& c, Outcome& o) {
             VHostEntry v = {};
             put(v.DName, a.get("dname"));
             put(v.PunyCode, a.get("puny-code", a.get("dname")));
             put(v.IPAddress, a.get("ip-address"));
             put(v.UserName, a.get("user-name"));
             put(v.ServerAdmin, a.get("server-admin"));
             put(v.Path, a.get("path"));
             put(v.Port, a.get("port", "80"));
             put(v.AdminPasswd, a.get("admin-passwd"));
             v.IPSwitch = one(a, "ip-switch", '0');
             o.result = website(c).CreateWebsite(&v);
         }},
        {"delete-website", "CQZWebsite::DeleteWebsite", "remove every block of a website (its folders stay)",
         {kDomain},
         {{result::website::Deleted, "24", true, "done (also when no block named the site)"}, kNoConf, kConfUnreadableOrLong, kScratch},
         none, kConfOnly,
         [](const Args& a, const Context& c, Outcome& o) { o.result = website(c).DeleteWebsite(a.get("domain-name").c_str(), 0); }},
        {"website-exists", "CQZWebsite::WebsiteExists", "tell whether a live (not stopped) block names the website",
         {kDomain},
         {{result::website::Exists, "31", true, "the website exists"},
          {result::website::DoesNotExist, "32", false, "no live block names the website"},
          kNoConf, kConfUnreadable},
         none, kConfOnly,
         [](const Args& a, const Context& c, Outcome& o) { o.result = website(c).WebsiteExists(a.get("domain-name").c_str()); }},
        {"list-websites", "CQZWebsite::ListWebsites", "list the ServerName of every block, included files too",
         {},
         {{result::website::Listed, "28", true, "done"}, kNoConf, kConfUnreadable},
         none, kConfOnly,
         [](const Args&, const Context& c, Outcome& o) { o.result = website(c).ListWebsites(o.list); }},
        {"stop-website", "CQZWebsite::StopWebsite", "comment out every line of the website's block",
         {kDomain},
         {{result::website::Stopped, "30", true, "done (also when no block named the site)"}, kConfUnreadable},
         none, kConfOnly,
         [](const Args& a, const Context& c, Outcome& o) { o.result = website(c).StopWebsite(a.get("domain-name").c_str()); }},
        {"start-website", "CQZWebsite::StartWebsite", "remove the comment marks of the website's block",
         {kDomain},
         {{result::website::Started, "29", true, "done (also when no block named the site)"}, kConfUnreadable},
         none, kConfOnly,
         [](const Args& a, const Context& c, Outcome& o) { o.result = website(c).StartWebsite(a.get("domain-name").c_str()); }},
        {"website-status", "CQZWebsite::GetWebsiteStatus", "tell whether the website runs or is stopped",
         {kDomain},
         {{result::website::StatusRunning, "34", true, "the website is running"},
          {result::website::StatusStopped, "33", true, "the website is stopped"},
          {result::website::StatusNoSuchSite, "1", false, "no block names the website"}, kNoConf, kConfUnreadable},
         none, kConfOnly,
         [](const Args& a, const Context& c, Outcome& o) { o.result = website(c).GetWebsiteStatus(a.get("domain-name")); }},
        {"website-info", "CQZWebsite::GetWebsiteInfo", "read a website's document root, aliases, redirects and the rest of its block",
         {kDomain},
         {{result::website::Found, "25", true, "found"},
          {result::website::FoundNoDocumentRoot, "27", false, "found, but stat of its document root failed"},
          {result::website::NotFound, "26", false, "no block names the website"}, kNoConf, kConfUnreadable},
         none, kConfOnly,
         [](const Args& a, const Context& c, Outcome& o) {
             const std::string domain = a.get("domain-name");
             UpdateVHost u = {};
             u.pDomain = domain.c_str();
             o.result = website(c).GetWebsiteInfo(&u);
             if (o.result != result::website::Found && o.result != result::website::FoundNoDocumentRoot) return;   // no record was filled
             o.field("doc-root-path", u.DocRootPath);
             o.field("access-mode", u.AccessMode ? "0" + octal(u.AccessMode) : "");
             o.field("server-alias", u.ServerAlias);
             o.field("alias", pairs(u.Alias));
             o.field("script-alias", pairs(u.ScriptAlias));
             o.field("proxy-pass", pairs(u.ProxyPass));
             o.field("proxy-pass-reverse", pairs(u.ProxyPassReverse));
             o.field("redirect", pairs(u.Redirect));
             o.field("error-doc", pairs(u.ErrorDoc));
             o.field("include", u.Include);
             o.field("dir-index", u.DirIndex);
         }},
        // Writing settings back, the maintenance message, custom error pages.
        {"update-website", "CQZWebsite::UpdateWebsite",
         "write a website's settings back: the JSON of website-info --json, edited",
         {kDomain, valued(req("from-json", "the edited report of website-info --json (- reads standard input)"), "FILE|-")},
         {{result::website::Done, "96", true, "done"}, {result::website::NotFound, "26", false, "no block names the website"},
          {result::website::ValueRefused, "1", false, "a value was refused (nothing written)"},
          {result::website::AliasTaken, "3", false, "an added ServerAlias is a name another site answers to"}, kNoConf, kConfUnreadableOrLong, kScratch},
         none, kConfOnly,
         [](const Args& a, const Context& c, Outcome& o) {
             const std::string domain = a.get("domain-name");
             UpdateVHost u = {};
             readWebsiteJson(a.get("from-json"), u);
             u.pDomain = domain.c_str();
             o.result = website(c).UpdateWebsite(&u);
         }},
        {"message on", "CQZWebsite::EnableMessage",
         "answer every request with 503 and a page (but the ACME challenge path)",
         {kDomain, req("message-html", "the page's HTML"), checked(req("retry-after", "seconds, for Retry-After"), isNumber)},
         {{result::website::Done, "96", true, "done"}, {result::website::NotFound, "26", false, "no block names the website"},
          {result::website::ValueRefused, "1", false, "a value was refused (nothing written)"},
          {result::website::ModulesNotLoaded, "5", false, "a2enmod could not enable rewrite and headers (nothing written)"},
          kNoConf, kConfUnreadable, kScratch},
         maintenancePage, "the configuration file and the page under /var/lib/qzapache/maintenance",
         [](const Args& a, const Context& c, Outcome& o) {
             o.result = website(c).EnableMessage(a.get("domain-name"), a.get("message-html"), number(a, "retry-after", 0));
         }},
        {"message off", "CQZWebsite::DisableMessage", "take the website out of maintenance",
         {kDomain},
         {{result::website::Done, "96", true, "done (also when it was not on)"},
          {result::website::NotFound, "26", false, "no block names the website"},
          kNoConf, kConfUnreadable, kScratch},
         maintenancePage, "the configuration file and the page under /var/lib/qzapache/maintenance",
         [](const Args& a, const Context& c, Outcome& o) { o.result = website(c).DisableMessage(a.get("domain-name")); }},
        {"error-page set", "CustomErrorPages::setErrorPage", "set the website's ErrorDocument of one status code",
         {kDomain, checked(req("status-code", "400 to 599"), isNumber),
          req("target", "a local path (/...), an http(s) URL, or a text in double quotes")},
         kErrorPageCodes, none, kConfOnly,
         [](const Args& a, const Context& c, Outcome& o) {
             o.result = CustomErrorPages(c.tracker, c.conf).setErrorPage(a.get("domain-name"), number(a, "status-code", 0),
                                                                          a.get("target"));
         }},
        {"error-page delete", "CustomErrorPages::deleteErrorPage", "remove the website's ErrorDocument of one status code",
         {kDomain, checked(req("status-code", "400 to 599"), isNumber)},
         kErrorPageCodes, none, kConfOnly,
         [](const Args& a, const Context& c, Outcome& o) {
             o.result = CustomErrorPages(c.tracker, c.conf).deleteErrorPage(a.get("domain-name"), number(a, "status-code", 0));
         }},
        {"error-page list", "CustomErrorPages::listErrorPages", "list the website's error pages, one \"code target\" a line",
         {kDomain},
         {{result::errorPage::Done, "0", true, "done"},
          {result::errorPage::NoSuchSite, "26", false, "no block names the website"},
          kNoConf, kConfUnreadable},
         none, kConfOnly,
         [](const Args& a, const Context& c, Outcome& o) {
             NameValueVector pages;
             o.result = CustomErrorPages(c.tracker, c.conf).listErrorPages(a.get("domain-name"), pages);
             o.list = pairs(pages);
         }},
        {"add-host-header", "CQZWebsite::AddHostHeader", "add a name to the website's ServerAlias (and its HTTPS redirect)",
         {kDomain, req("host-header", "the name to add")},
         {{result::hostHeader::Done, "0", true, "added"},
          {result::hostHeader::AlreadyListed, "2", false, "the name is already an alias (or the start of one)"},
          {result::hostHeader::NotUpdated, "1", false, "the alias line could not be read, or the update failed"}},
         hostHeaderFiles, "the configuration file and the site's HTTPS redirect file (apache2 or httpd layout)",
         [](const Args& a, const Context& c, Outcome& o) { o.result = website(c).AddHostHeader(a.get("domain-name"), a.get("host-header")); }},
        {"delete-host-header", "CQZWebsite::DeleteHostHeader", "remove a name from the website's ServerAlias",
         {kDomain, req("host-header", "the name to remove")},
         {{result::hostHeader::Done, "0", true, "updated (also when the name was not listed)"},
          {result::hostHeader::NotUpdated, "1", false, "the alias line could not be read, or the update failed"}},
         hostHeaderFiles, "the configuration file and the site's HTTPS redirect file (apache2 or httpd layout)",
         [](const Args& a, const Context& c, Outcome& o) { o.result = website(c).DeleteHostHeader(a.get("domain-name"), a.get("host-header")); }},

        // Virtual directories.
        {"create-vdir", "CQZVirtualDirectory::CreateVirtualDirectory", "add a <Directory> section to every block of the website",
         vdirOptions({checked(opt("admin-flag", "non-zero: write no section"), isNumber)}),
         {{result::vdir::Created, "'S'", true, "done (also when no block named the site)"},
          {result::vdir::SectionExists, "1", false, "the site's block already has a section for the folder"},
          {result::vdir::Refused, "'W'", false, "a <Directory line of the site's block has an unclosed quote"}, kNoConf, kConfUnreadable, kScratch},
         authFile,
         "the configuration file and the site's password file under --web-admin-path (not the owners and modes that "
         "chown -R and chmod -R give the folder's tree)",
         [](const Args& a, const Context& c, Outcome& o) {
             SDDir d = vdirRecord(a);
             o.result = vdirs(c).CreateVirtualDirectory(&d, number(a, "admin-flag", 0), a.get("webadmin-name"), a.get("webadmin-pass"));
         }},
        {"vdir-info", "CQZVirtualDirectory::GetVirtualDirectoryinfo", "read a folder's <Directory> section of the website",
         {kVdirDomain, req("dir-path", "the folder", 1024)},
         {{result::vdir::Found, "'V'", true, "the site's block was found (with or without the section)"},
          {result::NoSuchWebsite, "26", false, "no block names the website"},
          {result::vdir::UnclosedQuote, "1", false, "a <Directory line of the site's block has an unclosed quote"}, kNoConf, kConfUnreadableOrLong},
         none, kConfOnly,
         [](const Args& a, const Context& c, Outcome& o) {
             SDDir d = {};
             put(d.DomainName, a.get("domain-name"));
             put(d.DirPath, a.get("dir-path"));
             o.result = vdirs(c).GetVirtualDirectoryinfo(&d);
             if (o.result != result::vdir::Found) return;
             o.field("permission", d.Permission ? "0" + octal(d.Permission) : "0");
             o.field("order", std::to_string(d.Order));
             o.field("allow", d.Allow);
             o.field("deny", d.Deny);
             o.field("indexes", charText(d.Options.Indexes));
             o.field("includes", charText(d.Options.Includes));
             o.field("follow-sym-links", charText(d.Options.FollowSymLinks));
             o.field("multi-views", charText(d.Options.MultiViews));
             o.field("exec-cgi", charText(d.Options.ExecCGI));
             o.field("anon-access", charText(d.AnonAccess));
             o.field("ruby-on-rails", charText(d.RubyOnRails));
             o.field("perl-enabled", charText(d.PerlEnabled));
         }},
        {"update-vdir", "CQZVirtualDirectory::UpdateVirtualDirectory", "write a folder's <Directory> section of the website afresh",
         vdirOptions({opt("ruby-on-rails", "1: add the Rails FastCGI lines (replacing a section only)", 2),
                      opt("perl-enabled", "1: add the CGI handler line", 2)}),
         {{result::vdir::Updated, "'Y'", true, "done (also when no block named the site)"},
          {result::vdir::Refused, "'W'", false, "a <Directory line of the site's block has an unclosed quote"}, kNoConf, kConfUnreadable, kScratch},
         authFile, "the configuration file and the site's password file under --web-admin-path",
         [](const Args& a, const Context& c, Outcome& o) {
             SDDir d = vdirRecord(a);
             o.result = vdirs(c).UpdateVirtualDirectory(&d, a.get("webadmin-name"), a.get("webadmin-pass"));
         }},
        {"delete-vdir", "CQZVirtualDirectory::DeleteVirtualDirectory", "remove every <Directory> section of a folder (the folder stays)",
         {req("dir-path", "the folder, exactly as written (letter case included)")},
         {{result::vdir::Deleted, "'U'", true, "done (also when no section named the folder)"},
          {result::vdir::UnclosedQuote, "1", false, "a <Directory line has an unclosed quote"}, kNoConf, kConfUnreadable, kScratch},
         none, kConfOnly,
         [](const Args& a, const Context& c, Outcome& o) { o.result = vdirs(c).DeleteVirtualDirectory(a.get("dir-path").c_str()); }},
        {"list-vdirs", "CQZVirtualDirectory::VirtualDirectoryList", "list the website's aliases: target, then name, for each",
         {kDomain},
         {{result::vdir::Listed, "0", true, "done"}, kNoConf, kConfUnreadable},
         none, kConfOnly,
         [](const Args& a, const Context& c, Outcome& o) {
             StringVector list;
             o.result = vdirs(c).VirtualDirectoryList(a.get("domain-name").c_str(), &list);
             o.list = list;
         }},

        // Web users.
        {"user-create", "CQZUsers::UserCreate", "add a user to the site's web-user file (which must exist)",
         userOptions({req("user-name", "the login"), req("passwd", "the password, stored as given")}),
         {{result::webUser::Added, "'M'", true, "added"},
          {result::webUser::Refused, "'N'", false, "the web-user file does not exist or cannot be written, or the login or password was refused"}},
         webUserFile, "the web-user file",
         [](const Args& a, const Context& c, Outcome& o) {
             Users u(a, c);
             o.result = u.users.UserCreate(a.get("user-name").c_str(), a.get("passwd").c_str());
         }, nullptr, kWithoutConf},
        {"user-delete", "CQZUsers::UserDelete", "remove a user from the site's web-user file",
         userOptions({req("user-name", "the login")}),
         {{result::webUser::Deleted, "'O'", true, "done (also when the user was not there)"},
          {result::webUser::Refused, "'N'", false, "the web-user file does not exist or cannot be read, or the login was refused"}, kScratch},
         webUserFile, "the web-user file",
         [](const Args& a, const Context& c, Outcome& o) {
             Users u(a, c);
             o.result = u.users.UserDelete(a.get("user-name").c_str());
         }, nullptr, kWithoutConf},
        {"user-passwd", "CQZUsers::ChangePasswd", "change a web user's password",
         userOptions({req("user-name", "the login"), req("passwd", "the new password, stored as given")}),
         {{result::webUser::Changed, "'L'", true, "changed"}, {result::webUser::NoSuchUser, "'5'", false, "no such user"},
          {result::ConfigNotOpened, "22", false, "the web-user file could not be opened or holds a line too long, or the login or password was refused"}, kScratch},
         webUserFile, "the web-user file",
         [](const Args& a, const Context& c, Outcome& o) {
             Users u(a, c);
             o.result = u.users.ChangePasswd(a.get("user-name"), a.get("passwd"));
         }, nullptr, kWithoutConf},
        {"user-list", "CQZUsers::UserList", "list the logins of the site's web-user file",
         kUserOptions,
         {{result::webUser::Listed, "'R'", true, "done (the last line is the empty read at the end of the file)"},
          {result::ConfigNotOpened, "22", false, "the web-user file could not be opened"}},
         none, kConfOnly,
         [](const Args& a, const Context& c, Outcome& o) {
             Users u(a, c);
             StringVector list;
             o.result = u.users.UserList(&list);
             o.list = list;
         }, nullptr, kWithoutConf},

        // Private folders.
        {"private-folder-add", "PrivateFolder::addPrivateFolder", "protect a folder with .htaccess and add a user to its .htpasswd",
         {req("folder-path", "the folder"), req("user-name", "the login"), req("user-passwd", "the password")},
         {{result::privateFolder::Added, "1602", true, "done"},
          {result::privateFolder::AddFailed, "1601", false, ".htaccess cannot be created or htpasswd cannot be started"}},
         privateFolderFiles, "the folder's .htaccess and .htpasswd",
         [](const Args& a, const Context& c, Outcome& o) {
             o.result = PrivateFolder(c.tracker).addPrivateFolder(a.get("folder-path"), a.get("user-name"), a.get("user-passwd"));
         }, nullptr, kWithoutConf},
        {"private-folder-delete", "PrivateFolder::deletePrivateFolder", "remove a user; the protection goes with the last one",
         {req("folder-path", "the folder"), req("user-name", "the login")},
         {{result::privateFolder::Deleted, "1603", true, "done"},
          {result::privateFolder::DeleteFailed, "1604", false, "htpasswd cannot be started, or .htpasswd is gone after it"}},
         privateFolderFiles, "the folder's .htaccess and .htpasswd",
         [](const Args& a, const Context& c, Outcome& o) {
             o.result = PrivateFolder(c.tracker).deletePrivateFolder(a.get("folder-path"), a.get("user-name"));
         }, nullptr, kWithoutConf},
        {"private-folder-edit", "PrivateFolder::editPrivateFolder", "move a user's protection to another folder, or change the password",
         {req("new-folder-path", "the folder after the change"), req("old-folder-path", "the folder before it"),
          req("user-name", "the login"), req("user-passwd", "the password")},
         {{result::privateFolder::Edited, "1605", true, "done"},
          {result::privateFolder::EditFailed, "1606", false, "no .htpasswd, or htpasswd cannot be started"},
          {result::privateFolder::EditNotStarted, "1501", false, "htpasswd -D cannot be started"},
          {result::privateFolder::AddFailed, "1601", false, "adding to the new folder failed"},
          {result::privateFolder::DeleteFailed, "1604", false, "deleting from the old folder failed"}},
         privateFolderFiles, "the .htaccess and .htpasswd of both folders",
         [](const Args& a, const Context& c, Outcome& o) {
             o.result = PrivateFolder(c.tracker).editPrivateFolder(a.get("new-folder-path"), a.get("old-folder-path"),
                                                                   a.get("user-name"), a.get("user-passwd"));
         }, nullptr, kWithoutConf},

        // Script handlers.
        {"enable-php", "CQZWebsite::EnablePhp", "run the website's PHP as an Apache module",
         {kDomain, req("module", "the module, such as mod_php5")},
         {kHandlerDone, kHandlerConf, {result::ScratchNotWritten, "23", false, "the scratch file (.tmpdso) could not be written"},
          {result::handler::Refused, "98", false, "refused, nothing written: a control character, '\"', '<' or '>' in the module"}},
         none, kConfOnly,
         [](const Args& a, const Context& c, Outcome& o) { o.result = website(c).EnablePhp(a.get("domain-name"), a.get("module")); }},
        {"disable-php", "CQZWebsite::DisablePhp", "remove the website's PHP module block",
         {kDomain},
         kRewriteCodes,
         none, kConfOnly,
         [](const Args& a, const Context& c, Outcome& o) { o.result = website(c).DisablePhp(a.get("domain-name")); }},
        {"php-status", "CQZWebsite::ISPhpEnabled", "tell which PHP handler block the website carries",
         {kDomain},
         {{result::handler::NoPhp, "0", true, "no PHP handler block"},
          {result::handler::ModPhp, "1", true, "PHP as an Apache module (mod_php)"},
          {result::handler::SuPhp, "2", true, "suPHP"},
          {result::handler::Fcgid, "3", true, "FastCGI (mod_fcgid)"},
          {result::handler::PhpFpm, "4", true, "PHP-FPM"},
          kHandlerConf},
         none, kConfOnly,
         [](const Args& a, const Context& c, Outcome& o) { o.result = website(c).ISPhpEnabled(a.get("domain-name")); }},
        {"configure-fcgid", "CQZWebsite::ConfigureFcgidGlobally", "add the server-wide mod_fcgid settings once",
         {opt("module", "the module (default mod_fcgid)")},
         {{result::handler::Rewritten, "0", true, "done (also when the settings were there)"},
          {result::handler::FcgidFileNotOpened, "1", false, "the configuration file could not be opened or appended to"},
          {result::handler::FcgidScratchNotOpened, "2", false, "the scratch file (.efcgid) could not be written"},
          {result::handler::FcgidModuleRefused, "3", false, "refused, nothing written: a control character, '\"', '<' or '>' in the module"}},
         none, kConfOnly,
         [](const Args& a, const Context& c, Outcome& o) {
             o.result = website(c).ConfigureFcgidGlobally(c.conf, a.get("module", "mod_fcgid"));
         }},
        {"enable-fcgid", "CQZWebsite::EnableFcgid", "run the website's PHP through mod_fcgid",
         {kDomain, req("php-cgi-path", "the PHP CGI program to copy into the site"),
          opt("suexec-setting", "enabled: add SuexecUserGroup")},
         {kHandlerDone, kHandlerConf, {result::ScratchNotWritten, "23", false, "the scratch file (.tmpfcgid) could not be written"}},
         fcgidCopy, "the configuration file and the PHP CGI copy in the site's .setting_php folder (not the folder itself)",
         [](const Args& a, const Context& c, Outcome& o) {
             o.result = website(c).EnableFcgid(a.get("domain-name"), a.get("php-cgi-path"), a.get("suexec-setting"));
         }},
        {"disable-fcgid", "CQZWebsite::DisableFcgid", "remove the website's mod_fcgid block and its PHP CGI copy",
         {kDomain, opt("module-name", "the block's module (default mod_fcgid)"),
          req("php-cgi", "the file to delete, relative to the site folder")},
         {{result::handler::Done, "96", true, "done (also when the site had no block)"},
          {result::handler::BlockTooLong, "87", false, "the block is longer than 10 lines; nothing changed"}, kHandlerConf, kScratch},
         fcgidDeleted, "the configuration file and the deleted PHP CGI copy",
         [](const Args& a, const Context& c, Outcome& o) {
             o.result = website(c).DisableFcgid(a.get("domain-name"), a.get("module-name", "mod_fcgid"), a.get("php-cgi"));
         }},
        {"enable-perl", "CQZWebsite::EnablePerl", "add the CGI handler to the website's document root section",
         {kDomain},
         kRewriteCodes,
         none, kConfOnly,
         [](const Args& a, const Context& c, Outcome& o) { o.result = website(c).EnablePerl(a.get("domain-name")); }},
        {"disable-perl", "CQZWebsite::DisablePerl", "remove the CGI handler from the website's document root section",
         {kDomain},
         kRewriteCodes,
         none, kConfOnly,
         [](const Args& a, const Context& c, Outcome& o) { o.result = website(c).DisablePerl(a.get("domain-name")); }},

        // HTTPS redirect files.
        {"redirect-https create", "ApacheHelper::Apache_RedirectVHFromHttpToHttps", "write the website's HTTP-to-HTTPS redirect file",
         {kDomain, req("ip-address", "the address of the redirect's <VirtualHost>"), opt("port", "its port (default 80)")},
         {{1, "true", true, "the redirect file was written"}, {0, "false", false, "the redirect file could not be opened"}},
         redirectFiles, "the configuration file and the site's files in the server root's qz folder",
         [](const Args& a, const Context& c, Outcome& o) {
             o.result = ApacheHelper().Apache_RedirectVHFromHttpToHttps(c.conf, a.get("domain-name"), a.get("ip-address"), a.get("port", "80"));
         }},
        {"redirect-https stop", "ApacheHelper::Apache_StopRedirectVHFromHttpToHttps", "switch the website's redirect off (<domain>.conf.stop)",
         {kDomain}, kRedirectAlways, redirectFiles, "the configuration file and the site's files in the server root's qz folder",
         [](const Args& a, const Context& c, Outcome& o) { o.result = ApacheHelper().Apache_StopRedirectVHFromHttpToHttps(c.conf, a.get("domain-name")); }},
        {"redirect-https start", "ApacheHelper::Apache_StartRedirectVHFromHttpToHttps", "switch the website's stopped redirect on again",
         {kDomain}, kRedirectAlways, redirectFiles, "the configuration file and the site's files in the server root's qz folder",
         [](const Args& a, const Context& c, Outcome& o) { o.result = ApacheHelper().Apache_StartRedirectVHFromHttpToHttps(c.conf, a.get("domain-name")); }},
        {"redirect-https delete", "ApacheHelper::Apache_DeleteRedirectVHFromHttpToHttps", "delete the website's active redirect file",
         {kDomain}, kRedirectAlways, redirectFiles, "the configuration file and the site's files in the server root's qz folder",
         [](const Args& a, const Context& c, Outcome& o) { o.result = ApacheHelper().Apache_DeleteRedirectVHFromHttpToHttps(c.conf, a.get("domain-name")); }},

        // Apache itself.
        {"apache-version", "getApacheVersion", "the version of the local Apache (apachectl -v, httpd -v, apache2 -v)",
         {},
         {{0, "0", true, "the version was read"}, {1, "1", false, "no command answered with a version"}},
         none, kConfOnly,
         [](const Args&, const Context&, Outcome& o) {
             int major = -1, minor = -1, minorMinor = -1;
             getApacheVersion(major, minor, minorMinor);
             o.result = major < 0 ? 1 : 0;
             o.field("major", std::to_string(major));
             o.field("minor", std::to_string(minor));
             o.field("minor-minor", std::to_string(minorMinor));
         }, nullptr, kWithoutConf},
        {"apache-restart", "CQZWebsite::CmdApchRestart", "restart Apache gracefully (SIGUSR1 to the process of its PID file)",
         {opt("pid-file", "the PID file (default: the one found under /var/run)")},
         {{result::apache::Restarted, "0", true, "the signal was sent"},
          {result::apache::NoPid, "1", false, "the PID file cannot be read or holds no process number"}},
         none, kConfOnly,
         [](const Args& a, const Context&, Outcome& o) {
             CQZWebsite site;
             const std::string pidFile = a.get("pid-file", site.getApachePIDFilePath());
             o.field("pid-file", pidFile);
             o.result = site.CmdApchRestart(pidFile.c_str());
         }, nullptr, kWithoutConf | kNoVerify},

        // Directives.
        {"get-directive", "ApacheHelper::Apache_getDirectiveValue / Apache_getDirectiveInVH",
         "read a directive's value at server level, or in a website's block with --domain-name",
         {req("directive", "the directive's name (a prefix match)"), opt("domain-name", "the website whose block to read"),
          flg("value-quoted", "the value is the text between double quotes")},
         {{result::toolkit::Done, "0", true, "found"},
          {result::toolkit::FileNotOpened, "1", false, "the configuration file could not be opened"},
          {result::toolkit::EmptyDirective, "2", false, "the directive's name is empty"},
          {result::toolkit::NotQuoted, "3", false, "the value is not in double quotes as --value-quoted asks"},
          {result::toolkit::NotFoundInBlock, "4", false, "not found in the website's block"},
          {result::toolkit::NotAtServerLevel, "6", false, "not found at server level"}},
         none, kConfOnly,
         [](const Args& a, const Context& c, Outcome& o) {
             std::string value;
             ApacheHelper helper;
             o.operation = a.has("domain-name") ? "ApacheHelper::Apache_getDirectiveInVH" : "ApacheHelper::Apache_getDirectiveValue";
             o.result = a.has("domain-name")
                            ? helper.Apache_getDirectiveInVH(c.conf, a.get("domain-name"), a.get("directive"), value, a.flag("value-quoted"))
                            : helper.Apache_getDirectiveValue(c.conf, a.get("directive"), value, a.flag("value-quoted"));
             if (o.result == 0) o.field("value", value);
         }},
        {"set-directive", "ApacheHelper::Apache_UpdateDirectiveInVH / Apache_AddDirectiveInVH / Apache_writeDirective",
         "replace a directive in a website's block (--add: add it there); at server level, write a new line",
         {req("directive", "the directive's name"), req("value", "its value"),
          opt("domain-name", "the website whose block to change"), flg("value-quoted", "write the value in double quotes"),
          flg("add", "add the line at the end of every block of the website"),
          opt("reference", "server level: the line to write next to (default: the directive's name)"),
          flg("before-reference", "server level: write before the reference, not after it"),
          checked(opt("line-count", "server level, no reference found: the line number to write before (default -1: at the end)"),
                  isNumber)},
         {{result::toolkit::Done, "0", true, "done"},
          {result::toolkit::FileNotOpened, "1", false, "the configuration file could not be opened (with --add: or no block names the website)"},
          {result::toolkit::ScratchNotOpened, "2", false, "the scratch file could not be written"},
          {result::toolkit::DirectiveNotFound, "3", false, "the website's block has no such directive"},
          {result::toolkit::Refused, "5", false, "refused, nothing written: a control character other than a tab in the directive or value, or a '\"' in a quoted value"}},
         none, kConfOnly,
         [](const Args& a, const Context& c, Outcome& o) {
             ApacheHelper helper;
             const std::string directive = a.get("directive"), value = a.get("value"), domain = a.get("domain-name");
             const bool quoted = a.flag("value-quoted");
             if (!a.has("domain-name")) {
                 const std::string entry = directive + " " + (quoted ? "\"" + value + "\"" : value);
                 o.operation = "ApacheHelper::Apache_writeDirective";
                 o.result = helper.Apache_writeDirective(c.conf, entry, a.get("reference", directive), a.flag("before-reference"),
                                                         number(a, "line-count", -1));
             } else {
                 o.operation = a.flag("add") ? "ApacheHelper::Apache_AddDirectiveInVH" : "ApacheHelper::Apache_UpdateDirectiveInVH";
                 o.result = a.flag("add") ? helper.Apache_AddDirectiveInVH(c.conf, domain, directive, value, quoted)
                                          : helper.Apache_UpdateDirectiveInVH(c.conf, domain, directive, value, quoted);
             }
         }, directiveOptionsFit},
    };
}

}  // namespace

const std::vector<Command>& commands() {
    static const std::vector<Command> all = [] {
        std::vector<Command> list = table();
        for (Command& command : phpFpmCommands()) list.push_back(std::move(command));
        return list;
    }();
    return all;
}

const Command* findCommand(const std::string& name) {
    for (const Command& command : commands())
        if (name == command.name) return &command;
    return nullptr;
}

const Code* findCode(const Command& command, int result) {
    for (const Code& code : command.codes)
        if (code.value == result) return &code;
    return nullptr;
}

}  // namespace cli
