// Customers own their site folders and may fill them with links, FIFOs and
// hard links; they type names and values. Each row plants one such thing in
// a site folder owned by nobody (uid 65534), or passes one such value, runs
// one operation as root, and must leave root's victim files (beside the
// site) byte-, mode- and owner-identical, and the configuration free of
// injected lines. The results go to hostile/paths.table.
#include "QZTestFixture.h"

#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr uid_t kCustomer = 65534;

struct Snapshot {
    std::string text;
    mode_t mode;
    uid_t uid;
    bool operator==(const Snapshot& o) const { return text == o.text && mode == o.mode && uid == o.uid; }
};

}  // namespace

class HostilePathTest : public QZTest {
protected:
    void SetUp() override {
        QZTest::SetUp();
        if (geteuid() != 0) GTEST_SKIP() << "the attacks need root: run the tests as root to try them";
        fakeCommand("apachectl", "case \"$1\" in -V) echo ' -D HTTPD_ROOT=\"" + path("/etc/apache2") +
                                     "\"' ;; -v) echo 'Server version: Apache/2.4.57 (Unix)' ;; esac");
        chmod(root_.c_str(), 0711);  // the customer reaches its own site
        makeDir("/etc/apache2/qz");
        makeDir("/conf");
        makeDir("/etc/webusers");
        writeFile("/etc/passwd", "root:x:0:0::/root:/bin/sh\nnobody:x:65534:65534::/:/bin/sh\n");
        makeDir("/victim");
        writeFile("/victim/passwd", "root:x:0:0::/root:/bin/sh\n");
        writeFile("/victim/shadow", "root:$6$secret:19000::::::\n");
        chmod(path("/victim/shadow").c_str(), 0600);
        writeFile("/victim/app.conf", "# the operator's own settings\n");
        writeFile("/etc/apache2/qz/app.conf", "# the operator's redirect\n");
        conf_ = path("/conf/httpd.conf");
    }

    // A fresh site folder for nobody and a fresh configuration.
    void resetSite() {
        std::filesystem::remove_all(path("/home"));
        makeDir("/home/sites/a.com/www/html/priv");
        makeDir("/home/sites/a.com/log");
        for (const auto& entry : std::filesystem::recursive_directory_iterator(path("/home/sites/a.com")))
            ASSERT_EQ(lchown(entry.path().c_str(), kCustomer, kCustomer), 0);
        ASSERT_EQ(chown(site().c_str(), kCustomer, kCustomer), 0);
        writeFile("/conf/params", "k=v\n");
        writeFile("/etc/webusers/passwd.a.com", "u:pw\n");
        writeFile("/conf/httpd.conf",
                  "<VirtualHost 10.0.0.1:80>\n\tServerName a.com\n\tServerAdmin nobody@a.com\n\tDocumentRoot \"" +
                      site() + "/www/html\"\n\tServerAlias www.a.com\n\tCustomLog " + site() +
                      "/log/access_log combined\n\t<IfModule mod_fcgid.c>\n\t\tAddHandler fcgid-script .php\n"
                      "\t</IfModule>\n</VirtualHost>\n<Directory />\n\tRequire all denied\n</Directory>\n");
    }

    std::string site() const { return path("/home/sites/a.com"); }
    std::string priv() const { return site() + "/www/html/priv"; }
    std::string victim(const std::string& name) const { return path("/victim/" + name); }

    std::map<std::string, Snapshot> victims() const {
        std::map<std::string, Snapshot> all;
        for (const char* rel : {"/victim", "/victim/passwd", "/victim/shadow", "/victim/app.conf",
                                "/etc/apache2/qz/app.conf"}) {
            struct stat st {};
            lstat(path(rel).c_str(), &st);
            all[rel] = {std::filesystem::is_directory(path(rel)) ? "" : readFile(rel), st.st_mode, st.st_uid};
        }
        all["listing"].text = "";
        for (const auto& entry : std::filesystem::directory_iterator(path("/victim")))
            all["listing"].text += entry.path().filename().string() + " ";
        return all;
    }

    // The files the operations rewrite, those that are regular files (a
    // planted FIFO is never read): the site's configuration, the key/value
    // and web-user files, the private folder's and the site's password
    // files.
    std::map<std::string, std::string> configurations() const {
        std::map<std::string, std::string> all;
        for (const std::string rel : {"/conf/httpd.conf", "/conf/params", "/etc/webusers/passwd.a.com",
                                      "/home/sites/a.com/www/html/priv/.htaccess",
                                      "/home/sites/a.com/www/html/priv/.htpasswd",
                                      "/home/sites/a.com/webusers_a.com.htpasswd"}) {
            std::error_code error;
            if (std::filesystem::symlink_status(path(rel), error).type() == std::filesystem::file_type::regular)
                all[rel.substr(rel.rfind('/') + 1)] = readFile(rel);
        }
        return all;
    }

    SDDir record(const std::string& dirPath) const {
        SDDir dir = {};
        snprintf(dir.DomainName, sizeof dir.DomainName, "a.com");
        snprintf(dir.DirPath, sizeof dir.DirPath, "%s", dirPath.c_str());
        snprintf(dir.WebAdminPath, sizeof dir.WebAdminPath, "%s", path("/home/sites").c_str());
        snprintf(dir.Allow, sizeof dir.Allow, "All");
        dir.Order = 1;
        dir.AnonAccess = '1';
        return dir;
    }

    struct Row {
        std::string label;
        std::function<void()> plant;
        std::function<std::string()> run;
    };

    // Runs every row on a fresh site; each row's result goes to the table.
    std::string attack(const std::vector<Row>& rows) {
        std::string table;
        const auto before = victims();
        for (const Row& row : rows) {
            resetSite();
            row.plant();
            const auto kept = configurations();
            const std::string result = row.run();
            // Any harm done shows in the table, next to the row's result;
            // so does every configuration file the row changed, which a
            // refusing row must leave byte-identical.
            table += row.label + " -> " + result;
            const auto after = configurations();
            for (const auto& [name, text] : after)
                if (kept.count(name) == 0 || kept.at(name) != text) table += "; " + name + " changed";
            for (const auto& [name, text] : kept)
                if (after.count(name) == 0) table += "; " + name + " gone";
            if (!(victims() == before)) table += "; A VICTIM CHANGED";
            const std::string conf = readFile("/conf/httpd.conf");
            if (conf.find("app.conf") != std::string::npos || conf.find("|/bin/sh") != std::string::npos)
                table += "; A LINE INJECTED";
            if (conf.find("\n<Directory />\n") == std::string::npos) table += "; <Directory /> LOST";
            // Typed values carry this word: no file may hold it afterwards.
            for (const auto& entry : std::filesystem::recursive_directory_iterator(root_)) {
                if (entry.symlink_status().type() != std::filesystem::file_type::regular) continue;
                std::ifstream in(entry.path());
                const std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
                if (text.find("INJECTED") != std::string::npos)
                    table += "; INJECTED INTO " + entry.path().string().substr(root_.size());
            }
            table += "\n";
        }
        return table;
    }

    void link(const std::string& target, const std::string& at) const {
        ASSERT_EQ(symlink(target.c_str(), at.c_str()), 0) << at;
    }

    std::string conf_;
};

TEST_F(HostilePathTest, PlantedLinksFifosHardLinksAndTypedValuesAreRefused) {
    auto show = [](auto result) {
        if constexpr (std::is_same_v<decltype(result), char>)
            return result > ' ' && result < 127 ? std::string{'\'', result, '\''} : std::to_string(+result);
        else if constexpr (std::is_same_v<decltype(result), bool>)
            return std::string(result ? "true" : "false");
        else
            return std::to_string(result);
    };
    auto add = [&](const std::string& folder, const std::string& user = "u") {
        return show(PrivateFolder().addPrivateFolder(folder, user, "pw"));
    };
    auto createVdir = [&](SDDir dir, const std::string& login = "u") {
        return show(CQZVirtualDirectory(nullptr, conf_.c_str(), path("").c_str()).CreateVirtualDirectory(&dir, 0, login, "pw"));
    };
    auto updateVdir = [&](SDDir dir) {
        return show(CQZVirtualDirectory(nullptr, conf_.c_str()).UpdateVirtualDirectory(&dir, "u", "pw"));
    };
    auto website = [&] { return CQZWebsite(nullptr, conf_.c_str()); };
    auto mkfifo_ = [&](const std::string& at) { ASSERT_EQ(mkfifo(at.c_str(), 0600), 0) << at; };
    auto none = [] {};
    const std::string html = site() + "/www/html";
    const std::string auth = site() + "/webusers_a.com.htpasswd";
    const std::string injected = "x.test\nInclude " + victim("app.conf");
    VHostEntry piped = websiteRecord("10.0.0.2", "b.com", "b.com", path("/home/sites/"), '0', "a\n\tErrorLog \"|/bin/sh -c id\"");
    auto accessMode = [&](const std::string& dirPath) {
        UpdateVHost record = {};
        record.pDomain = "a.com";
        website().GetWebsiteInfo(&record);
        record.DirPath = dirPath.c_str();
        record.AccessMode = 0777;
        return show(+website().UpdateWebsite(&record));
    };
    // A site with a <Directory> section and no handler.
    auto plainSite = [&] {
        writeFile("/conf/httpd.conf", "<VirtualHost 10.0.0.1:80>\n\tServerName a.com\n\tDocumentRoot \"" + html +
                                          "\"\n\t<Directory \"" + html + "\">\n\t\tRequire all granted\n\t</Directory>\n"
                                          "</VirtualHost>\n<Directory />\n\tRequire all denied\n</Directory>\n");
    };
    auto fpm = [&] {
        makeDir("/etc/php/8.2/fpm/pool.d");
        writeFile("/etc/group", "nogroup:x:65534:\n");
        fakeCommand("php-fpm8.2", "exit 0");
        plainSite();
    };
    auto users = [] { return CQZUsers(nullptr, "", "a.com", ""); };
    const std::string params = path("/conf/params");
    ApacheHelper kit;
    auto addPriv = [&] { ASSERT_EQ(PrivateFolder().addPrivateFolder(priv(), "u", "pw"), 1602); };
    auto edit = [&](const std::string& folder, const std::string& user = "u") {
        return show(PrivateFolder().editPrivateFolder(folder, folder, user, "pw"));
    };
    auto del = [&](const std::string& folder, const std::string& user = "u") {
        return show(PrivateFolder().deletePrivateFolder(folder, user));
    };
    // A third site, c.com, whose folder the customer already owns.
    VHostEntry third = websiteRecord("10.0.0.3", "c.com", "c.com", path("/home/sites/"), '0', "nobody");
    auto newSite = [&] {
        makeDir("/home/sites/c.com");
        ASSERT_EQ(chown(path("/home/sites/c.com").c_str(), kCustomer, kCustomer), 0);
    };
    VHostEntry outside = websiteRecord("10.0.0.2", "../../victim", "b.com", path("/home/sites/"), '0');

    const std::vector<Row> rows = {
        {"add: .htaccess a link to a file", [&] { link(victim("passwd"), priv() + "/.htaccess"); }, [&] { return add(priv()); }},
        {"add: .htpasswd a link to a file", [&] { link(victim("shadow"), priv() + "/.htpasswd"); }, [&] { return add(priv()); }},
        {"add: .htpasswd a hard link", [&] { ASSERT_EQ(::link(victim("shadow").c_str(), (priv() + "/.htpasswd").c_str()), 0); }, [&] { return add(priv()); }},
        {"add: .htaccess a FIFO", [&] { mkfifo_(priv() + "/.htaccess"); }, [&] { return add(priv()); }},
        {"add: the folder a link to a folder", [&] { std::filesystem::remove(priv()); link(path("/victim"), priv()); }, [&] { return add(priv()); }},
        {"add: a middle folder a link", [&] { std::filesystem::rename(html, site() + "/www/h"); link(path("/victim"), html); }, [&] { return add(html + "/priv"); }},
        {"add: a .. path", none, [&] { return add(html + "/../../../../victim"); }},
        {"add: a newline in the user", none, [&] { return add(priv(), "u\nroot:x:0:0::/:/bin/sh"); }},
        {"edit: .htpasswd a link to a file", [&] { link(victim("passwd"), priv() + "/.htpasswd"); }, [&] { return show(PrivateFolder().editPrivateFolder(priv(), priv(), "root", "pw")); }},
        {"edit: .htpasswd a FIFO", [&] { mkfifo_(priv() + "/.htpasswd"); }, [&] { return show(PrivateFolder().editPrivateFolder(priv(), priv(), "u", "pw")); }},
        {"edit: the folder a link to a folder", [&] { addPriv(); std::filesystem::rename(priv(), html + "/p2"); link(path("/victim"), priv()); }, [&] { return edit(priv()); }},
        {"edit: a middle folder a link", [&] { addPriv(); std::filesystem::rename(html, site() + "/www/h"); link(path("/victim"), html); }, [&] { return edit(html + "/priv"); }},
        {"edit: a .. path", addPriv, [&] { return edit(html + "/../../../../victim"); }},
        {"edit: the new folder's .htaccess a FIFO", [&] { addPriv(); makeDir(html.substr(root_.size()) + "/p2"); ASSERT_EQ(chown((html + "/p2").c_str(), kCustomer, kCustomer), 0); mkfifo_(html + "/p2/.htaccess"); }, [&] { return show(PrivateFolder().editPrivateFolder(html + "/p2", priv(), "u", "pw")); }},
        {"edit: .htpasswd a hard link", [&] { addPriv(); std::filesystem::remove(priv() + "/.htpasswd"); ASSERT_EQ(::link(victim("shadow").c_str(), (priv() + "/.htpasswd").c_str()), 0); }, [&] { return edit(priv()); }},
        {"edit: a newline in the user", addPriv, [&] { return edit(priv(), "u\nINJECTED:x"); }},
        {"delete: the folder a link to a folder", [&] { addPriv(); std::filesystem::rename(priv(), html + "/p2"); link(path("/victim"), priv()); }, [&] { return del(priv()); }},
        {"delete: a middle folder a link", [&] { addPriv(); std::filesystem::rename(html, site() + "/www/h"); link(path("/victim"), html); }, [&] { return del(html + "/priv"); }},
        {"delete: a .. path", addPriv, [&] { return del(html + "/../../../../victim"); }},
        {"delete: .htaccess a FIFO", [&] { mkfifo_(priv() + "/.htaccess"); }, [&] { return del(priv()); }},
        {"delete: .htaccess a hard link", [&] { addPriv(); std::filesystem::remove(priv() + "/.htaccess"); ASSERT_EQ(::link(victim("app.conf").c_str(), (priv() + "/.htaccess").c_str()), 0); }, [&] { return del(priv()); }},
        {"delete: a newline in the user", addPriv, [&] { return del(priv(), "u\nINJECTED"); }},
        {"delete: .htaccess a link to a file", [&] { link(victim("shadow"), priv() + "/.htaccess"); }, [&] { return show(PrivateFolder().deletePrivateFolder(priv(), "u")); }},
        {"delete: the scratch copy a link", [&] { writeFile(priv().substr(root_.size()) + "/.htaccess", "AuthType Basic\n"); link(victim("shadow"), priv() + "/.htaccess_qzbackup"); }, [&] { return show(PrivateFolder().deletePrivateFolder(priv(), "u")); }},
        {"create vdir: the folder a link", [&] { link(path("/victim"), html + "/shop"); }, [&] { return createVdir(record(html + "/shop/")); }},
        {"create vdir: a middle folder a link", [&] { link(path("/victim"), html + "/shop"); }, [&] { return createVdir(record(html + "/shop/x")); }},
        {"create vdir: a .. path", none, [&] { return createVdir(record(html + "/../../../../victim")); }},
        {"create vdir: the password file a link", [&] { link(victim("shadow"), auth); }, [&] { return createVdir(record(html + "/shop")); }},
        {"create vdir: the password file a FIFO", [&] { mkfifo_(auth); }, [&] { return createVdir(record(html + "/shop")); }},
        {"create vdir: the password file a hard link", [&] { ASSERT_EQ(::link(victim("passwd").c_str(), auth.c_str()), 0); }, [&] { return createVdir(record(html + "/shop")); }},
        {"create vdir: a newline in Allow", none, [&] { SDDir d = record(html); snprintf(d.Allow, sizeof d.Allow, "x\"\n\tInclude %s", victim("app.conf").c_str()); return createVdir(d); }},
        {"create vdir: a quote in DirPath", none, [&] { return createVdir(record(html + "/a\">\nInclude " + victim("app.conf") + "\n<Directory \"/x")); }},
        {"create vdir: a newline in the login", none, [&] { return createVdir(record(html), "u\nroot:x"); }},
        {"update vdir: the password file a link", [&] { link(victim("shadow"), auth); }, [&] { return updateVdir(record(html)); }},
        {"update vdir: a .. path", none, [&] { return updateVdir(record(html + "/../../../../victim")); }},
        {"update vdir: the password file a FIFO", [&] { mkfifo_(auth); }, [&] { return updateVdir(record(html)); }},
        {"update vdir: a newline in Deny", none, [&] { SDDir d = record(html); snprintf(d.Deny, sizeof d.Deny, "x\nInclude %s", victim("app.conf").c_str()); return updateVdir(d); }},
        {"delete vdir: <Directory /> kept", none, [&] { return show(CQZVirtualDirectory(nullptr, conf_.c_str()).DeleteVirtualDirectory(html.c_str())); }},
        {"fcgid: .setting_php a link to a folder", [&] { link(path("/victim"), site() + "/.setting_php"); }, [&] { return show(website().EnableFcgid("a.com", "/bin/true", "enabled")); }},
        {"fcgid: the CGI copy a FIFO", [&] { makeDir(site().substr(root_.size()) + "/.setting_php"); mkfifo_(site() + "/.setting_php/true"); }, [&] { return show(website().EnableFcgid("a.com", "/bin/true", "enabled")); }},
        {"fcgid: the CGI copy a link", [&] { makeDir(site().substr(root_.size()) + "/.setting_php"); link(victim("passwd"), site() + "/.setting_php/true"); }, [&] { return show(website().EnableFcgid("a.com", "/bin/true", "enabled")); }},
        {"fcgid: a newline in the CGI path", none, [&] { return show(website().EnableFcgid("a.com", "/bin/true\nInclude " + victim("app.conf"), "enabled")); }},
        {"fcgid off: a .. name", none, [&] { return show(website().DisableFcgid("a.com", "mod_fcgid", "../../../../victim/passwd")); }},
        {"fcgid off: a middle folder a link", [&] { link(path("/victim"), site() + "/.setting_php"); }, [&] { return show(website().DisableFcgid("a.com", "mod_fcgid", ".setting_php/passwd")); }},
        {"fcgid: the CGI copy a hard link", [&] { makeDir(site().substr(root_.size()) + "/.setting_php"); ASSERT_EQ(::link(victim("passwd").c_str(), (site() + "/.setting_php/true").c_str()), 0); }, [&] { return show(website().EnableFcgid("a.com", "/bin/true", "enabled")); }},
        {"fcgid: a quote in the CGI path", none, [&] { return show(website().EnableFcgid("a.com", "/bin/tr\"ue", "enabled")); }},
        {"fcgid off: the CGI copy a link", [&] { makeDir(site().substr(root_.size()) + "/.setting_php"); link(victim("passwd"), site() + "/.setting_php/php-cgi"); }, [&] { return show(website().DisableFcgid("a.com", "mod_fcgid", ".setting_php/php-cgi")); }},
        {"fcgid off: the CGI copy a FIFO", [&] { makeDir(site().substr(root_.size()) + "/.setting_php"); mkfifo_(site() + "/.setting_php/php-cgi"); }, [&] { return show(website().DisableFcgid("a.com", "mod_fcgid", ".setting_php/php-cgi")); }},
        {"fcgid off: a newline in the CGI name", none, [&] { return show(website().DisableFcgid("a.com", "mod_fcgid", ".setting_php/x\nINJECTED")); }},
        {"redirect: a .. domain", none, [&] { return show(ApacheHelper().Apache_RedirectVHFromHttpToHttps(conf_, "../../../victim/x", "10.0.0.1", "80")); }},
        {"redirect: a newline in the address", none, [&] { return show(ApacheHelper().Apache_RedirectVHFromHttpToHttps(conf_, "a.com", "10.0.0.1>\nInclude " + victim("app.conf") + "\n<x", "80")); }},
        {"redirect off: a .. domain", none, [&] { return show(ApacheHelper().Apache_DeleteRedirectVHFromHttpToHttps(conf_, "../../../victim/app")); }},
        {"redirect start: a .. domain", none, [&] { return show(ApacheHelper().Apache_StartRedirectVHFromHttpToHttps(conf_, "../../../victim/app")); }},
        {"redirect stop: a domain with a slash", none, [&] { return show(ApacheHelper().Apache_StopRedirectVHFromHttpToHttps(conf_, "x/../app")); }},
        {"host header: a newline", none, [&] { return show(website().AddHostHeader("a.com", injected)); }},
        {"host header: a quote", none, [&] { return show(website().AddHostHeader("a.com", "x\".test")); }},
        {"host header: a .. domain", none, [&] { return show(website().DeleteHostHeader("../../victim/app", "x.test")); }},
        {"create website: a newline in ServerAdmin", none, [&] { return show(+website().CreateWebsite(&piped)); }},
        {"create website: www a link to a folder", [&] { newSite(); link(path("/victim"), path("/home/sites/c.com/www")); }, [&] { return show(+website().CreateWebsite(&third)); }},
        {"create website: log a link to a folder", [&] { newSite(); link(path("/victim"), path("/home/sites/c.com/log")); }, [&] { return show(+website().CreateWebsite(&third)); }},
        {"create website: db a FIFO", [&] { newSite(); mkfifo_(path("/home/sites/c.com/db")); }, [&] { return show(+website().CreateWebsite(&third)); }},
        {"create website: a .. domain", none, [&] { return show(+website().CreateWebsite(&outside)); }},
        {"users: a newline in the login", none, [&] { return show(users().UserCreate("u\nINJECTED", "pw")); }},
        {"users: a ':' in the login", none, [&] { return show(users().UserCreate("INJECTED:x", "pw")); }},
        {"users: a newline in the password", none, [&] { return show(users().UserCreate("v", "pw\nINJECTED")); }},
        {"users: a newline in a changed password", none, [&] { return show(users().ChangePasswd("u", "pw\nINJECTED")); }},
        {"params: a newline in an added line", none, [&] { return show(FileHandling().addParamInFile(params, "k=v\nINJECTED")); }},
        {"params: a tab in an added line", none, [&] { return show(FileHandling().addParamInFile(params, "k\tv")); }},
        {"params: a newline in an edited value", none, [&] { return show(FileHandling().editParamValueInFile(params, "k", "v", "w\nINJECTED", '=', '#')); }},
        {"toolkit add: a newline in the value", none, [&] { return show(kit.Apache_AddDirectiveInVH(conf_, "a.com", "Header", "x\nINJECTED", false)); }},
        {"toolkit add: a quote in a quoted value", none, [&] { return show(kit.Apache_AddDirectiveInVH(conf_, "a.com", "SetEnv", "x\" INJECTED", true)); }},
        {"toolkit add: a tab in the value", none, [&] { return show(kit.Apache_AddDirectiveInVH(conf_, "a.com", "Options", "-Indexes\t+FollowSymLinks", false)); }},
        {"toolkit add several: a newline in one", none, [&] { return show(kit.Apache_AddDirectivesInVH(conf_, "a.com", {"Header x", "y\nINJECTED"})); }},
        {"toolkit update: a carriage return in the value", none, [&] { return show(kit.Apache_UpdateDirectiveInVH(conf_, "a.com", "ServerAdmin", "x\rINJECTED", false)); }},
        {"toolkit contents: a newline in the value", plainSite, [&] { return show(kit.Apache_UpdateVHDirectiveContents(conf_, "a.com", "<Directory", "x\nINJECTED", true)); }},
        {"toolkit write: a newline in the entry", none, [&] { return show(kit.Apache_writeDirective(conf_, "x\nINJECTED", "Include", false, -1)); }},
        {"toolkit directory: a quote in the path", plainSite, [&] { return show(kit.Apache_addDirectoryTag(conf_, "a.com", "/x\">\nINJECTED", {})); }},
        {"toolkit directory: a NUL in an entry", plainSite, [&] { return show(kit.Apache_addDirectoryTag(conf_, "a.com", "/x", {std::string("x\0INJECTED", 10)})); }},
        {"toolkit directory path: a newline", plainSite, [&] { return show(kit.Apache_UpdateDirectoryTagPath(conf_, "a.com", html, "/y\nINJECTED")); }},
        {"toolkit directory entries: a DEL", plainSite, [&] { return show(kit.Apache_UpdateDirectoryDirectives(conf_, "a.com", html, {"x\x7fINJECTED"})); }},
        {"toolkit port: a newline in the address", none, [&] { return show(kit.Apache_ChangeVirtualHostPort(conf_, "a.com", "10.0.0.1>\nINJECTED", "80")); }},
        {"toolkit certificates: a newline in the entry after", none, [&] { return show(kit.Apache_MakeLetsEncryptEntries(conf_, "a.com", "10.0.0.1", "443", {"SSLEngine on"}, true, "x\nINJECTED")); }},
        {"toolkit module: a newline in the name", none, [&] { return show(kit.Apache_addModule(conf_, "x\nINJECTED")); }},
        {"php module: a newline in the module", [&] { writeFile("/conf/httpd.conf", "<VirtualHost 10.0.0.1:80>\n\tServerName a.com\n\tCustomLog x combined\n</VirtualHost>\n<Directory />\n\tRequire all denied\n</Directory>\n"); }, [&] { return show(website().EnablePhp("a.com", "mod_php5\nINJECTED")); }},
        {"php module: a newline in the file name", none, [&] { return show(website().Php_addModule(conf_, "libphp5.so\nINJECTED")); }},
        {"fcgid settings: a newline in the module", none, [&] { return show(website().ConfigureFcgidGlobally(conf_, "mod_fcgid\nINJECTED")); }},
        {"access mode: the folder a link", [&] { link(path("/victim"), html + "/shop"); }, [&] { return accessMode(html + "/shop"); }},
        {"access mode: a middle folder a link", [&] { link(path(""), html + "/shop"); }, [&] { return accessMode(html + "/shop/victim"); }},
        {"access mode: a hard link", [&] { ASSERT_EQ(::link(victim("shadow").c_str(), (html + "/hl").c_str()), 0); }, [&] { return accessMode(html + "/hl"); }},
        {"access mode: a .. path", none, [&] { return accessMode(html + "/../../../../victim"); }},
        {"fpm: tmp a link to a folder", [&] { fpm(); link(path("/victim"), site() + "/tmp"); }, [&] { return show(website().EnablePhpFpm("a.com", "8.2")); }},
        {"fpm: tmp a FIFO", [&] { fpm(); mkfifo_(site() + "/tmp"); }, [&] { return show(website().EnablePhpFpm("a.com", "8.2")); }},
        {"fpm: a middle folder a link", [&] { fpm(); std::filesystem::rename(site() + "/www", site() + "/w"); link(path("/victim"), site() + "/www"); }, [&] { return show(website().EnablePhpFpm("a.com", "8.2")); }},
        {"fpm: a folder above the site a link, in a folder the customer owns", [&] { fpm(); ASSERT_EQ(chown(path("/home").c_str(), kCustomer, kCustomer), 0); std::filesystem::rename(path("/home/sites"), path("/home/real")); link(path("/home/real"), path("/home/sites")); }, [&] { return show(website().EnablePhpFpm("a.com", "8.2")); }},
        {"error page: a .. path", none, [&] { return show(CustomErrorPages(nullptr, conf_).setErrorPage("a.com", 404, "/../INJECTED")); }},
        {"maintenance: a .. domain", none, [&] { return show(website().EnableMessage("../../victim", "<p>INJECTED</p>", 60)); }},
        {"maintenance off: a .. domain", none, [&] { return show(website().DisableMessage("../../victim")); }},
    };
    captureOutput();
    const std::string table = attack(rows);
    capturedOutput();
    EXPECT_DATA(table, "hostile/paths.table");
}

// While each operation runs, again and again, the customer (a process of
// its own, as nobody) swaps the file it works on between a regular file and
// a link to a victim: the operation must never reach the victim.
TEST_F(HostilePathTest, ALinkSwappedInDuringTheOperationNeverWins) {
    constexpr int kTries = 60;
    struct Race {
        std::string label;
        std::string target;  // swapped between a file and a link to the victim
        std::function<void()> prepare;  // before each try
        std::function<void()> run;
        bool makeFile = true;  // false: the operation makes the target, a folder
    };
    // The panel's group stands for nobody's here, so that chown -R hands the
    // folders over as it does on a panel's server.
    fakeCommand("chown", "for a do shift; case $a in *:qz7group) a=\"${a%:qz7group}:65534\" ;; esac; set -- \"$@\" \"$a\"; done\n"
                         "PATH=/usr/bin:/bin exec chown \"$@\"");
    const std::string html = site() + "/www/html";
    const std::string fresh = path("/home/sites/c.com");
    VHostEntry third = websiteRecord("10.0.0.3", "c.com", "c.com", path("/home/sites/"), '0', "nobody");
    std::string conf;  // the configuration each try starts from
    int cleared = 0;
    auto nothing = [] {};
    auto ownFolder = [&](const std::string& folder) {
        std::filesystem::create_directories(folder);
        for (std::string at = folder; at != path("/home/sites"); at = at.substr(0, at.rfind('/')))
            ASSERT_EQ(chown(at.c_str(), kCustomer, kCustomer), 0);
    };
    const std::vector<Race> races = {
        {"addPrivateFolder, .htpasswd", priv() + "/.htpasswd", nothing, [&] { PrivateFolder().addPrivateFolder(priv(), "u", "pw"); }},
        {"addPrivateFolder, .htaccess", priv() + "/.htaccess", nothing, [&] { PrivateFolder().addPrivateFolder(priv(), "u", "pw"); }},
        {"CreateVirtualDirectory, password file", site() + "/webusers_a.com.htpasswd", [&] { writeFile("/conf/httpd.conf", conf); }, [&] {
             SDDir dir = record(html + "/shop");
             CQZVirtualDirectory(nullptr, conf_.c_str(), path("").c_str()).CreateVirtualDirectory(&dir, 0, "u", "pw");
         }},
        {"CreateVirtualDirectory, a file in the tree", html + "/shop/d/f", [&] { writeFile("/conf/httpd.conf", conf); }, [&] {
             SDDir dir = record(html + "/shop");
             dir.AnonAccess = '0';
             CQZVirtualDirectory(nullptr, conf_.c_str(), path("").c_str()).CreateVirtualDirectory(&dir, 0, "", "");
         }},
        {"EnableFcgid, the CGI copy", site() + "/.setting_php/true", nothing, [&] { CQZWebsite(nullptr, conf_.c_str()).EnableFcgid("a.com", "/bin/true", "enabled"); }},
        {"CreateWebsite, log/httpd", fresh + "/log/httpd", [&] {
             // The folders of the last try go aside first, out of the
             // customer's reach by name, then away.
             for (const char* made : {"www", "log", "db", "special"}) {
                 const std::string aside = path("/home/sites/old" + std::to_string(++cleared));
                 std::error_code error;
                 std::filesystem::rename(fresh + "/" + made, aside, error);
                 std::filesystem::remove_all(aside, error);
             }
             writeFile("/conf/httpd.conf", conf);
         }, [&] { CQZWebsite(nullptr, conf_.c_str()).CreateWebsite(&third); }, false},
    };
    captureOutput();
    const auto before = victims();
    struct stat victimFile {};
    ASSERT_EQ(stat(victim("passwd").c_str(), &victimFile), 0);
    std::string report, expected;
    for (const Race& race : races) {
        resetSite();
        conf = readFile("/conf/httpd.conf");
        ownFolder(site() + "/.setting_php");
        ownFolder(html + "/shop/d");
        ownFolder(fresh);
        race.prepare();
        const pid_t swapper = fork();
        ASSERT_GE(swapper, 0);
        if (swapper == 0) {
            if (setgid(kCustomer) != 0 || setuid(kCustomer) != 0) _exit(1);
            // The file and a link to the victim trade places in one call,
            // again and again; whatever is missing is made anew (no file for
            // a folder the operation makes itself).
            const std::string link = race.target + ".l";
            const std::string folder = race.target.substr(0, race.target.rfind('/'));
            for (;;) {
                if (renameat2(AT_FDCWD, race.target.c_str(), AT_FDCWD, link.c_str(), RENAME_EXCHANGE) == 0) continue;
                chmod(folder.c_str(), 0755);  // the owner may always write in its folder
                (void)!symlink(victim("passwd").c_str(), link.c_str());
                if (race.makeFile) {
                    const int made = open(race.target.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, 0644);
                    if (made >= 0) close(made);
                }
            }
        }
        int wins = 0, kept = 0;
        const std::string folder = race.target.substr(0, race.target.rfind('/'));
        for (int i = 0; i < kTries; ++i) {
            if (i > 0) race.prepare();
            race.run();
            // Every folder held for the operation is the customer's again.
            struct stat held {};
            if (lstat(folder.c_str(), &held) == 0 && held.st_uid != kCustomer) ++kept;
            if (!(victims() == before)) {
                ++wins;
                writeFile("/victim/passwd", "root:x:0:0::/root:/bin/sh\n");
                chmod(victim("passwd").c_str(), victimFile.st_mode & 07777);
                lchown(victim("passwd").c_str(), victimFile.st_uid, victimFile.st_gid);
            }
        }
        kill(swapper, SIGKILL);
        waitpid(swapper, nullptr, 0);
        report += race.label + ": " + std::to_string(wins) + " wins in " + std::to_string(kTries) + "\n";
        if (kept != 0) report += race.label + ": the folder kept by root " + std::to_string(kept) + " times\n";
        expected += race.label + ": 0 wins in " + std::to_string(kTries) + "\n";
    }
    capturedOutput();
    EXPECT_EQ(report, expected);
}
