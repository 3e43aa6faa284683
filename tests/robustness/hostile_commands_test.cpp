// Hostile arguments in every operation that builds a command line: blanks,
// both quotes, ";", "|", "&", "$( )", backquotes, newlines and leading dashes
// reach each command as single words (fake commands log every word in
// brackets) and run nothing (an injected "touch canary" would create
// root/canary). The same operations on ordinary arguments log the words of
// their documented commands; with only plain words the command text is those
// words joined by blanks. Then each character a shell acts on, alone in an
// otherwise plain name (no blank or quote to force the quoting), must give
// the words and files of the ordinary run with that character added.
#include "QZTestFixture.h"
#include "RobustnessTable.h"

#include <cstdio>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Everything a file name may hold that a shell would act on.
const std::string kHostileFolder = "it's \"q\" a;b|c&d$(touch canary)`touch canary`\n-x";
// The same without the double quote and the newline, which a quoted value of
// a configuration line cannot hold.
const std::string kHostileSites = "it's a;b|c&d$(touch canary)`touch canary`";
const std::string kHostileAdmin = "-R $(touch canary);`touch canary`|&'";
// Words with exactly one character that needs quoting. Each is added to the
// end of the folder names and to the front of the ServerAdmin, user name and
// password, where "~" and "#" act. "*" and "?" match the folders of the other
// cases; "~root/" names root's home folder (its "/" is a "_" in folder names).
const char* const kSingleMetacharacters[] = {";", "|", "&", "$HOME", "`canary`", ">x", "<x", "*", "?", "~root/", "#", "(", "\\", "'"};

}  // namespace

class HostileCommandTest : public QZTest {
protected:
    // One run of the operations: ordinary names, or hostile ones.
    struct Case {
        std::string label;  // "ordinary" or "hostile"
        std::string folder;  // of the configuration, under the root
        std::string sites;   // parent of the site folders, under the root
        std::string admin;   // the ServerAdmin's local part
        std::string word = "";  // the single metacharacter word of the case
        std::string conf() const { return folder + "/httpd.conf"; }
    };

    void SetUp() override {
        QZTest::SetUp();
        // Every word in brackets; then the real tool, or nothing for the
        // ones that would change owners and modes.
        for (const char* name : {"cp", "mv", "mkdir", "htpasswd", "chown", "chmod"}) {
            const bool real = std::string("chown chmod").find(name) == std::string::npos;
            fakeCommand(name, std::string("{ printf %s ") + name + "; for a; do printf ' [%s]' \"$a\" | sed -z 's/\\n/\\\\n/g'; done; echo; } >>\"$QZ_TEST_LOG\"\n" +
                                  (real ? "PATH=\"" + savedPath_ + "\" exec " + name + " \"$@\"" : "exit 0"));
        }
        fakeCommand("apachectl", "case \"$1\" in -v) echo 'Server version: Apache/2.4.57 (Unix)' ;;\n"
                                 "-V) echo ' -D HTTPD_ROOT=\"" + root_ + "/etc/httpd\"' ;; esac");
        fakeCommand("canary", ": >\"" + root_ + "/canary\"");
        makeDir("/etc/httpd");
        // tempnam prefers TMPDIR to the folder of the web users it is given.
        makeDir("/tmp");
        setenv("TMPDIR", path("/tmp").c_str(), 1);
        ASSERT_EQ(chdir(root_.c_str()), 0);  // an injected "touch canary" would land here
        cases_ = {{"ordinary", "/conf", "/home/sites", "admin"},
                  {"hostile", "/" + kHostileFolder, "/home/" + kHostileSites, kHostileAdmin}};
        for (const std::string word : kSingleMetacharacters) {
            const std::string tag = replaced(word, "/", "_");
            cases_.push_back({"word " + word, "/conf" + tag, "/home/sites" + tag, word + "admin", word});
        }
        // Not through the shell, as makeDir does.
        for (const Case& c : cases_) {
            std::filesystem::create_directories(path(c.folder));
            std::filesystem::create_directories(path(c.sites + "/a.com/www/html"));
            std::filesystem::create_directories(path(c.sites + "/b.com"));
        }
    }

    void TearDown() override {
        EXPECT_FALSE(exists("/canary")) << "an injected command ran";
        // The other names change nothing but themselves in the configuration.
        const Case& ordinary = cases_[0];
        for (size_t i = 1; i < cases_.size(); ++i)
            EXPECT_EQ(replaced(replaced(readFile(cases_[i].conf()), root_ + cases_[i].sites, root_ + ordinary.sites), cases_[i].admin, ordinary.admin),
                      readFile(ordinary.conf())) << cases_[i].label;
        unsetenv("TMPDIR");
        QZTest::TearDown();
    }

    // A scratch name as the command log shows it (newlines as "\n"), written
    // as `as` in the transcript.
    void scratchAlias(const std::string& name, const std::string& as) { alias(replaced(name, "\n", "\\n"), as); }

    // The site's configuration (hostile/site.conf) for a case, written in its folder; its path.
    std::string site(const Case& c) {
        writeFile(c.conf(), replaced(replaced(data("hostile/site.conf"), "@SITES@", root_ + c.sites), "@ADMIN@", c.admin));
        return path(c.conf());
    }

    // Runs `run` for every case. The transcript keeps the ordinary and the
    // hostile runs; the run of each single metacharacter word, with the word
    // taken out, must show the words, results and files of the ordinary run
    // (printed lines aside: they show the quoting itself).
    template <typename Run>
    void forEachCase(Run run) {
        std::string ordinary;
        for (const Case& c : cases_) {
            const size_t start = transcript_.size();
            run(c);
            if (c.word.empty()) {
                if (c.label == "ordinary") ordinary = transcript_.substr(start);
                continue;
            }
            const std::string part = transcript_.substr(start);
            transcript_.erase(start);
            EXPECT_EQ(withoutWord(replaced(part, "== " + c.label + ": ", "== ordinary: "), c.word), withoutWord(ordinary, c.word)) << c.label;
        }
    }
    static std::string withoutWord(const std::string& text, const std::string& word) {
        std::string out;
        for (size_t start = 0, end; start < text.size(); start = end + 1) {
            end = text.find('\n', start);
            if (end == std::string::npos) end = text.size();
            if (text.compare(start, 2, "> ") != 0) out += text.substr(start, end - start) + "\n";
        }
        return replaced(replaced(out, word, ""), replaced(word, "/", "_"), "");
    }

    std::vector<Case> cases_;
};

TEST_F(HostileCommandTest, WebsiteCommands) {
    forEachCase([&](const Case& c) {
        const std::string conf = site(c);
        CQZWebsite website(nullptr, conf.c_str());
        scratchAlias(website.TEMPFILE, "@TEMPFILE@");
        VHostEntry entry = websiteRecord("10.0.0.2", "b.com", "b.com", path(c.sites) + "/", '0', c.admin);
        STEP(c.label + ": CreateWebsite", website.CreateWebsite(&entry));
        STEP(c.label + ": StopWebsite", website.StopWebsite("b.com"));
        STEP(c.label + ": StartWebsite", website.StartWebsite("b.com"));
        STEP(c.label + ": AddHostHeader", website.AddHostHeader("a.com", "x.com"));
        STEP(c.label + ": DeleteHostHeader", website.DeleteHostHeader("a.com", "x.com"));
        STEP(c.label + ": DeleteWebsite", website.DeleteWebsite("b.com", 0));
    });
    EXPECT_DATA(transcript_, "hostile/website.transcript");
}

TEST_F(HostileCommandTest, HandlerCommands) {
    forEachCase([&](const Case& c) {
        const std::string conf = site(c);
        CQZWebsite website(nullptr, conf.c_str());
        scratchAlias(website.TEMPFILE, "@TEMPFILE@");
        STEP(c.label + ": EnableFcgid", website.EnableFcgid("a.com", path(c.sites) + "/php-cgi", "enabled"));
        STEP(c.label + ": DisableFcgid", website.DisableFcgid("a.com", "mod_fcgid", ".setting_php/php-cgi"));
        STEP(c.label + ": ConfigureFcgidGlobally", website.ConfigureFcgidGlobally(conf, "mod_fcgid"));
        STEP(c.label + ": EnablePhp", website.EnablePhp("a.com", "mod_php5"));
        STEP(c.label + ": DisablePhp", website.DisablePhp("a.com"));
        STEP(c.label + ": Php_addModule", website.Php_addModule(conf, "libphp7.so"));
        STEP(c.label + ": Php_disableModule", website.Php_disableModule(conf, "libphp7.so"));
        STEP(c.label + ": EnablePerl", website.EnablePerl("a.com"));
        STEP(c.label + ": DisablePerl", website.DisablePerl("a.com"));
    });
    EXPECT_DATA(transcript_, "hostile/handlers.transcript");
}

TEST_F(HostileCommandTest, ToolkitCommands) {
    forEachCase([&](const Case& c) {
        const std::string conf = site(c), dir = root_ + c.sites + "/a.com";
        ApacheHelper helper;
        STEP(c.label + ": writeDirective", helper.Apache_writeDirective(conf, "ServerTokens Prod", "Listen", true, -1));
        STEP(c.label + ": addModule", helper.Apache_addModule(conf, "rewrite"));
        STEP(c.label + ": AddDirectiveInVH", helper.Apache_AddDirectiveInVH(conf, "a.com", "Redirect", "/x /y", false));
        STEP(c.label + ": AddDirectivesInVH", helper.Apache_AddDirectivesInVH(conf, "a.com", {"SSLEngine on"}));
        STEP(c.label + ": DeleteDirectivesInVH", helper.Apache_DeleteDirectivesInVH(conf, "a.com", {"SSLEngine"}));
        STEP(c.label + ": UpdateDirectiveInVH", helper.Apache_UpdateDirectiveInVH(conf, "a.com", "ServerAlias", "w.a.com", false));
        STEP(c.label + ": UpdateVHDirectiveContents",
             helper.Apache_UpdateVHDirectiveContents(conf, "a.com", "<Directory \"" + dir + "\">", "Options -Indexes", true));
        STEP(c.label + ": DeleteVhIfmoduleBlock", helper.Apache_DeleteVhIfmoduleBlock(conf, "a.com", "mod_fcgid"));
        STEP(c.label + ": ChangeVirtualHostPort", helper.Apache_ChangeVirtualHostPort(conf, "a.com", "10.0.0.3", "8080"));
        STEP(c.label + ": MakeLetsEncryptEntries",
             helper.Apache_MakeLetsEncryptEntries(conf, "a.com", "10.0.0.3", "443", {"SSLEngine on"}, false, ""));
        STEP(c.label + ": addDirectoryTag", helper.Apache_addDirectoryTag(conf, "a.com", dir + "/shop", {"Options None"}));
        STEP(c.label + ": UpdateDirectoryTagPath", helper.Apache_UpdateDirectoryTagPath(conf, "a.com", dir + "/shop", dir + "/store"));
        STEP(c.label + ": UpdateDirectoryDirectives", helper.Apache_UpdateDirectoryDirectives(conf, "a.com", dir + "/store", {"Options All"}));
        STEP(c.label + ": deleteDirectoryTag", helper.Apache_deleteDirectoryTag(conf, "a.com", dir + "/store"));
        STEP(c.label + ": RedirectVHFromHttpToHttps", helper.Apache_RedirectVHFromHttpToHttps(conf, "a.com", "10.0.0.3", "80"));
    });
    EXPECT_DATA(transcript_, "hostile/toolkit.transcript");
}

// Virtual directories, web users and private folders. Deleting a private
// folder pauses two seconds a call: it runs for the ordinary and the hostile
// names only.
TEST_F(HostileCommandTest, ManagerCommands) {
    struct stat st = {};
    ASSERT_EQ(stat(root_.c_str(), &st), 0);
    std::filesystem::create_directories(path("/opt/etc/webusers"));
    forEachCase([&](const Case& c) {
        const std::string conf = site(c), sites = root_ + c.sites, tag = replaced(c.word, "/", "_");
        const bool hostile = c.label == "hostile";
        const std::string name = hostile ? "-D;touch canary" : c.word + "webadmin";
        const std::string pass = hostile ? "p'w \"$(touch canary)\"\n`id`" : c.word + "s3cret";
        // htpasswd itself reads a line starting with "#" as a comment.
        const auto accepts = [&](const std::string& file, const std::string& password) {
            if (name[0] != '#') {
                EXPECT_TRUE(htpasswdAccepts(file, name, password)) << c.label;
            }
        };
        SDDir dir = {};
        snprintf(dir.DomainName, sizeof dir.DomainName, "a.com");
        snprintf(dir.DirPath, sizeof dir.DirPath, "%s/a.com/www/html", sites.c_str());
        snprintf(dir.WebAdminPath, sizeof dir.WebAdminPath, "%s", sites.c_str());
        dir.Order = '1';
        dir.AnonAccess = '1';
        STEP(c.label + ": UpdateVirtualDirectory", CQZVirtualDirectory(nullptr, conf.c_str()).UpdateVirtualDirectory(&dir, name, pass));
        accepts(sites + "/a.com/webusers_a.com.htpasswd", pass);

        // The password file of a web user, named after the domain and folder.
        const std::string domain = hostile ? "shop.test';touch canary;'$(touch canary)\n-x" : "shop.test" + tag;
        const std::string folder = hostile ? "/priv `touch canary`" : "/priv" + tag;
        CQZUsers users(nullptr, "/opt", domain.c_str(), folder.c_str());
        scratchAlias(users.TEMPFILE, "@USERSTEMP@");
        const std::string file = "/opt/etc/webusers/passwd." + domain + "_" + users.FolderPath;
        writeFile(file, "ann:1\nbob:2\n");
        STEP(c.label + ": ChangePasswd", users.ChangePasswd("ann", "3"));
        EXPECT_EQ(readFile(file), "ann:3\nbob:2\n") << c.label;
        STEP(c.label + ": UserDelete", users.UserDelete("ann"));
        EXPECT_EQ(readFile(file), "bob:2\n") << c.label;

        // The owner of the site folders, the web admin whom chown is given,
        // is named like the case's ServerAdmin (but where "#" would make the
        // line a comment).
        writeFile("/etc/passwd", (c.admin[0] == '#' ? "admin" : c.admin) + ":x:" + std::to_string(st.st_uid) + ":1::/:/bin/sh\n");
        snprintf(dir.DirPath, sizeof dir.DirPath, "%s/a.com/shop", sites.c_str());
        dir.Order = 0;
        STEP(c.label + ": CreateVirtualDirectory", CQZVirtualDirectory(nullptr, conf.c_str(), "/opt").CreateVirtualDirectory(&dir, 0, name, pass));
        accepts(sites + "/a.com/webusers_a.com.htpasswd", pass);
        STEP(c.label + ": DeleteVirtualDirectory", CQZVirtualDirectory(nullptr, conf.c_str()).DeleteVirtualDirectory(dir.DirPath));

        const std::string priv = sites + "/a.com/www/html";
        STEP(c.label + ": addPrivateFolder", PrivateFolder().addPrivateFolder(priv, name, pass));
        STEP(c.label + ": editPrivateFolder", PrivateFolder().editPrivateFolder(priv, priv, name, pass + "2"));
        accepts(priv + "/.htpasswd", pass + "2");
    });
    for (const Case& c : {cases_[0], cases_[1]}) {
        const std::string priv = root_ + c.sites + "/a.com/www/html";
        STEP(c.label + ": deletePrivateFolder", PrivateFolder().deletePrivateFolder(priv, c.label == "hostile" ? "-D;touch canary" : "webadmin"));
        EXPECT_FALSE(std::filesystem::exists(priv + "/.htpasswd")) << c.label;
    }
    EXPECT_DATA(transcript_, "hostile/managers.transcript");
}
