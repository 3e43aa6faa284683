// Customers own their site folders and may fill them with links, FIFOs and
// hard links; they type names and values. Each row of hostile/paths.table
// plants such things in a site folder owned by nobody (uid 65534), runs one
// operation as root, possibly with a typed value, and must leave root's victim
// files (beside the site) byte-, mode- and owner-identical, and the
// configuration free of injected lines.
#include "QZTestFixture.h"
#include "RobustnessTable.h"

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>

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
        for (const char* folder : {"/etc/apache2/qz", "/conf", "/etc/webusers", "/victim"}) makeDir(folder);
        writeFile("/etc/passwd", "root:x:0:0::/root:/bin/sh\nnobody:x:65534:65534::/:/bin/sh\n");
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
        for (const auto& entry : std::filesystem::recursive_directory_iterator(site()))
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
    std::string victim(const std::string& name) const { return path("/victim/" + name); }

    // A word of a row with its marks: @ROOT@, @SITES@ (the folder of the
    // sites), @SITE@ (a.com's), @HTML@, @PRIV@ (a folder in it), @AUTH@ (the
    // site's password file), @VICTIM@ (root's folder beside the sites), @CONF@.
    std::string expand(std::string word) const {
        for (const auto& [mark, by] : std::vector<std::pair<std::string, std::string>>{
                 {"@PRIV@", "@HTML@/priv"}, {"@HTML@", "@SITE@/www/html"}, {"@AUTH@", "@SITE@/webusers_a.com.htpasswd"},
                 {"@SITE@", site()}, {"@SITES@", path("/home/sites")}, {"@VICTIM@", path("/victim")}, {"@CONF@", conf_}, {"@ROOT@", root_}})
            word = replaced(word, mark, by);
        return word;
    }

    // Plants one thing, as the customer would, or sets up a site.
    void plant(const std::vector<std::string>& w) {
        const std::string& what = w.at(0);
        if (what == "link") ASSERT_EQ(symlink(w.at(1).c_str(), w.at(2).c_str()), 0) << w[2];
        else if (what == "hardlink") ASSERT_EQ(::link(w.at(1).c_str(), w.at(2).c_str()), 0) << w[2];
        else if (what == "fifo") ASSERT_EQ(mkfifo(w.at(1).c_str(), 0600), 0) << w[1];
        else if (what == "mv") std::filesystem::rename(w.at(1), w.at(2));
        else if (what == "rm") std::filesystem::remove(w.at(1));
        else if (what == "mkdir") std::filesystem::create_directories(w.at(1));
        else if (what == "own") std::filesystem::create_directories(w.at(1)), plant({"chown", w[1]});
        else if (what == "chown") ASSERT_EQ(chown(w.at(1).c_str(), kCustomer, kCustomer), 0) << w[1];
        else if (what == "write") std::ofstream(w.at(1), std::ios::binary) << w.at(2);
        else if (what == "private") ASSERT_EQ(PrivateFolder().addPrivateFolder(expand("@PRIV@"), "u", "pw"), 1602);
        else if (what == "plain-site")  // a <Directory> section and no handler
            plant({"write", conf_, expand("<VirtualHost 10.0.0.1:80>\n\tServerName a.com\n\tDocumentRoot \"@HTML@\"\n\t<Directory \"@HTML@\">\n"
                                          "\t\tRequire all granted\n\t</Directory>\n</VirtualHost>\n<Directory />\n\tRequire all denied\n</Directory>\n")});
        else if (what == "fpm-site") {
            makeDir("/etc/php/8.2/fpm/pool.d");
            writeFile("/etc/group", "nogroup:x:65534:\n");
            fakeCommand("php-fpm8.2", "exit 0");
            plant({"plain-site"});
        } else FAIL() << "no plant " << what;
    }

    SDDir record(const std::string& dirPath, const std::string& allow = "", const std::string& deny = "") const {
        SDDir dir = {};
        snprintf(dir.DomainName, sizeof dir.DomainName, "a.com");
        snprintf(dir.DirPath, sizeof dir.DirPath, "%s", dirPath.c_str());
        snprintf(dir.WebAdminPath, sizeof dir.WebAdminPath, "%s", path("/home/sites").c_str());
        snprintf(dir.Allow, sizeof dir.Allow, "%s", allow.empty() ? "All" : allow.c_str());
        snprintf(dir.Deny, sizeof dir.Deny, "%s", deny.c_str());
        dir.Order = 1;
        dir.AnonAccess = '1';
        return dir;
    }

    // Runs one operation of a row, a.com's unless the words say otherwise.
    std::string call(const std::vector<std::string>& w) {
        const auto a = [&](size_t i, const std::string& otherwise = "") { return i < w.size() ? w[i] : otherwise; };
        const auto web = [&] { return CQZWebsite(nullptr, conf_.c_str()); };
        const auto users = [] { return CQZUsers(nullptr, "", "a.com", ""); };
        const std::vector<std::string> rest(w.begin() + std::min<size_t>(1, w.size()), w.end());
        ApacheHelper kit;
        SDDir dir = record(a(1), a(3));
        const std::string& op = w.at(0);
        if (op == "add") return show(PrivateFolder().addPrivateFolder(a(1), a(2, "u"), "pw"));
        if (op == "edit") return show(PrivateFolder().editPrivateFolder(a(1), a(2, a(1)), a(3, "u"), "pw"));
        if (op == "delete") return show(PrivateFolder().deletePrivateFolder(a(1), a(2, "u")));
        if (op == "vdir-create") {  // path, login, Allow, AnonAccess
            dir.AnonAccess = a(4, "1")[0];
            const std::string login = a(2, "u");
            return show(CQZVirtualDirectory(nullptr, conf_.c_str(), root_.c_str()).CreateVirtualDirectory(&dir, 0, login, login.empty() ? "" : "pw"));
        }
        if (op == "vdir-update") return show(CQZVirtualDirectory(nullptr, conf_.c_str()).UpdateVirtualDirectory(&(dir = record(a(1), "", a(2))), "u", "pw"));  // path, Deny
        if (op == "vdir-delete") return show(CQZVirtualDirectory(nullptr, conf_.c_str()).DeleteVirtualDirectory(a(1).c_str()));
        if (op == "fcgid") return show(web().EnableFcgid("a.com", a(1), "enabled"));
        if (op == "fcgid-off") return show(web().DisableFcgid("a.com", "mod_fcgid", a(1)));
        if (op == "redirect") return show(kit.Apache_RedirectVHFromHttpToHttps(conf_, a(1), a(2), "80"));
        if (op == "redirect-off") return show(kit.Apache_DeleteRedirectVHFromHttpToHttps(conf_, a(1)));
        if (op == "redirect-start") return show(kit.Apache_StartRedirectVHFromHttpToHttps(conf_, a(1)));
        if (op == "redirect-stop") return show(kit.Apache_StopRedirectVHFromHttpToHttps(conf_, a(1)));
        if (op == "host-header") return show(web().AddHostHeader("a.com", a(1)));
        if (op == "host-header-off") return show(web().DeleteHostHeader(a(1), a(2)));
        if (op == "website") {  // address, domain, punycode, ServerAdmin
            VHostEntry entry = websiteRecord(a(1), a(2), a(3), path("/home/sites/"), '0', a(4, "admin"));
            return show(+web().CreateWebsite(&entry));
        }
        if (op == "user-create") return show(users().UserCreate(a(1).c_str(), a(2).c_str()));
        if (op == "user-password") return show(users().ChangePasswd(a(1).c_str(), a(2).c_str()));
        if (op == "param-add") return show(FileHandling().addParamInFile(path("/conf/params"), a(1)));
        if (op == "param-edit") return show(FileHandling().editParamValueInFile(path("/conf/params"), "k", "v", a(1), '=', '#'));
        if (op == "AddDirectiveInVH") return show(kit.Apache_AddDirectiveInVH(conf_, "a.com", a(1), a(2), a(3) == "quoted"));
        if (op == "AddDirectivesInVH") return show(kit.Apache_AddDirectivesInVH(conf_, "a.com", rest));
        if (op == "UpdateDirectiveInVH") return show(kit.Apache_UpdateDirectiveInVH(conf_, "a.com", a(1), a(2), false));
        if (op == "UpdateVHDirectiveContents") return show(kit.Apache_UpdateVHDirectiveContents(conf_, "a.com", a(1), a(2), true));
        if (op == "writeDirective") return show(kit.Apache_writeDirective(conf_, a(1), a(2), false, -1));
        if (op == "addDirectoryTag") return show(kit.Apache_addDirectoryTag(conf_, "a.com", a(1), {rest.begin() + 1, rest.end()}));
        if (op == "UpdateDirectoryTagPath") return show(kit.Apache_UpdateDirectoryTagPath(conf_, "a.com", a(1), a(2)));
        if (op == "UpdateDirectoryDirectives") return show(kit.Apache_UpdateDirectoryDirectives(conf_, "a.com", a(1), {a(2)}));
        if (op == "ChangeVirtualHostPort") return show(kit.Apache_ChangeVirtualHostPort(conf_, "a.com", a(1), a(2)));
        if (op == "MakeLetsEncryptEntries") return show(kit.Apache_MakeLetsEncryptEntries(conf_, "a.com", "10.0.0.1", "443", {"SSLEngine on"}, true, a(1)));
        if (op == "addModule") return show(kit.Apache_addModule(conf_, a(1)));
        if (op == "EnablePhp") return show(web().EnablePhp("a.com", a(1)));
        if (op == "Php_addModule") return show(web().Php_addModule(conf_, a(1)));
        if (op == "ConfigureFcgidGlobally") return show(web().ConfigureFcgidGlobally(conf_, a(1)));
        if (op == "access-mode") {  // the record as read, the folder's mode 0777
            UpdateVHost record = {};
            record.pDomain = "a.com";
            web().GetWebsiteInfo(&record);
            record.DirPath = w.at(1).c_str();
            record.AccessMode = 0777;
            return show(+web().UpdateWebsite(&record));
        }
        if (op == "fpm") return show(web().EnablePhpFpm("a.com", "8.2"));
        if (op == "error-page") return show(CustomErrorPages(nullptr, conf_).setErrorPage("a.com", 404, a(1)));
        if (op == "message") return show(web().EnableMessage(a(1), a(2), 60));
        if (op == "message-off") return show(web().DisableMessage(a(1)));
        ADD_FAILURE() << "no operation " << op;
        return "?";
    }
    std::string call(const std::string& words) {
        std::vector<std::string> w = wordsOf(words);
        for (std::string& word : w) word = expand(word);
        return call(w);
    }

    std::map<std::string, Snapshot> victims() const {
        std::map<std::string, Snapshot> all;
        for (const char* rel : {"/victim", "/victim/passwd", "/victim/shadow", "/victim/app.conf", "/etc/apache2/qz/app.conf"}) {
            struct stat st {};
            lstat(path(rel).c_str(), &st);
            all[rel] = {std::filesystem::is_directory(path(rel)) ? "" : readFile(rel), st.st_mode, st.st_uid};
        }
        for (const auto& entry : std::filesystem::directory_iterator(path("/victim")))
            all["listing"].text += entry.path().filename().string() + " ";
        return all;
    }

    // The files the operations rewrite, those that are regular files (a
    // planted FIFO is never read).
    std::map<std::string, std::string> configurations() const {
        std::map<std::string, std::string> all;
        for (const std::string rel : {"/conf/httpd.conf", "/conf/params", "/etc/webusers/passwd.a.com", "/home/sites/a.com/www/html/priv/.htaccess",
                                      "/home/sites/a.com/www/html/priv/.htpasswd", "/home/sites/a.com/webusers_a.com.htpasswd"}) {
            std::error_code error;
            if (std::filesystem::symlink_status(path(rel), error).type() == std::filesystem::file_type::regular)
                all[rel.substr(rel.rfind('/') + 1)] = readFile(rel);
        }
        return all;
    }

    // The row "label | plant ; plant | operation" on a fresh site: its
    // result, then any harm done, and every configuration file it changed
    // (a refusing row must leave them byte-identical).
    std::string attack(const std::string& row, const std::map<std::string, Snapshot>& before) {
        resetSite();
        const std::vector<std::vector<std::string>> parts = split(wordsOf(row.substr(row.find(" | ") + 3)), "|");
        for (std::vector<std::string> planted : split(parts.at(0), ";")) {
            for (std::string& word : planted) word = expand(word);
            if (!planted.empty()) plant(planted);
        }
        const auto kept = configurations();
        std::vector<std::string> w = parts.at(1);
        for (std::string& word : w) word = expand(word);
        std::string line = row + " -> " + call(w);
        const auto after = configurations();
        for (const auto& [name, text] : after)
            if (kept.count(name) == 0 || kept.at(name) != text) line += "; " + name + " changed";
        for (const auto& [name, text] : kept)
            if (after.count(name) == 0) line += "; " + name + " gone";
        if (!(victims() == before)) line += "; A VICTIM CHANGED";
        const std::string conf = readFile("/conf/httpd.conf");
        if (conf.find("app.conf") != std::string::npos || conf.find("|/bin/sh") != std::string::npos) line += "; A LINE INJECTED";
        if (conf.find("\n<Directory />\n") == std::string::npos) line += "; <Directory /> LOST";
        // Typed values carry this word: no file may hold it afterwards.
        for (const auto& entry : std::filesystem::recursive_directory_iterator(root_)) {
            if (entry.symlink_status().type() != std::filesystem::file_type::regular) continue;
            std::ifstream in(entry.path());
            if (std::string{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()}.find("INJECTED") != std::string::npos)
                line += "; INJECTED INTO " + entry.path().string().substr(root_.size());
        }
        return line + "\n";
    }

    std::string conf_;
};

TEST_F(HostilePathTest, PlantedLinksFifosHardLinksAndTypedValuesAreRefused) {
    std::istringstream rows(data("hostile/paths.table"));
    std::string table;
    const auto before = victims();
    captureOutput();
    for (std::string row; std::getline(rows, row);) table += attack(row.substr(0, row.find(" -> ")), before);
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
        std::string run;     // the operation, a row's words
        int prepare;         // before each try: 0 nothing, 1 the configuration again, 2 also c.com's folders cleared
        bool makeFile = true;  // false: the operation makes the target, a folder
    };
    // The panel's group stands for nobody's here, so that chown -R hands the
    // folders over as it does on a panel's server.
    fakeCommand("chown", "for a do shift; case $a in *:qz7group) a=\"${a%:qz7group}:65534\" ;; esac; set -- \"$@\" \"$a\"; done\n"
                         "PATH=/usr/bin:/bin exec chown \"$@\"");
    const std::string fresh = path("/home/sites/c.com");
    const std::vector<Race> races = {
        {"addPrivateFolder, .htpasswd", "@PRIV@/.htpasswd", "add @PRIV@", 0},
        {"addPrivateFolder, .htaccess", "@PRIV@/.htaccess", "add @PRIV@", 0},
        {"CreateVirtualDirectory, password file", "@AUTH@", "vdir-create @HTML@/shop", 1},
        {"CreateVirtualDirectory, a file in the tree", "@HTML@/shop/d/f", "vdir-create @HTML@/shop \"\" \"\" 0", 1},
        {"EnableFcgid, the CGI copy", "@SITE@/.setting_php/true", "fcgid /bin/true", 0},
        {"CreateWebsite, log/httpd", "@SITES@/c.com/log/httpd", "website 10.0.0.3 c.com c.com nobody", 2, false},
    };
    captureOutput();
    const auto before = victims();
    struct stat victimFile {};
    ASSERT_EQ(stat(victim("passwd").c_str(), &victimFile), 0);
    std::string report, expected;
    int cleared = 0;
    for (const Race& race : races) {
        resetSite();
        const std::string conf = readFile("/conf/httpd.conf"), target = expand(race.target);
        for (const std::string& folder : {site() + "/.setting_php", site() + "/www/html/shop/d", fresh}) {
            std::filesystem::create_directories(folder);
            for (std::string at = folder; at != path("/home/sites"); at = at.substr(0, at.rfind('/')))
                ASSERT_EQ(chown(at.c_str(), kCustomer, kCustomer), 0);
        }
        const auto prepare = [&] {
            // The folders of the last try go aside first, out of the
            // customer's reach by name, then away.
            for (const char* made : {"www", "log", "db", "special"}) {
                const std::string aside = path("/home/sites/old" + std::to_string(++cleared));
                std::error_code error;
                if (race.prepare != 2) break;
                std::filesystem::rename(fresh + "/" + made, aside, error);
                std::filesystem::remove_all(aside, error);
            }
            if (race.prepare != 0) writeFile("/conf/httpd.conf", conf);
        };
        prepare();
        const pid_t swapper = fork();
        ASSERT_GE(swapper, 0);
        if (swapper == 0) {
            if (setgid(kCustomer) != 0 || setuid(kCustomer) != 0) _exit(1);
            // The file and a link to the victim trade places in one call,
            // again and again; whatever is missing is made anew (no file for
            // a folder the operation makes itself).
            const std::string link = target + ".l";
            const std::string folder = target.substr(0, target.rfind('/'));
            for (;;) {
                if (renameat2(AT_FDCWD, target.c_str(), AT_FDCWD, link.c_str(), RENAME_EXCHANGE) == 0) continue;
                chmod(folder.c_str(), 0755);  // the owner may always write in its folder
                (void)!symlink(victim("passwd").c_str(), link.c_str());
                if (race.makeFile) {
                    const int made = open(target.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, 0644);
                    if (made >= 0) close(made);
                }
            }
        }
        int wins = 0, kept = 0;
        const std::string folder = target.substr(0, target.rfind('/'));
        for (int i = 0; i < kTries; ++i) {
            if (i > 0) prepare();
            call(race.run);
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
