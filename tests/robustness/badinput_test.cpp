// Bad files and bad states, for every family of operations: a missing file, a
// folder in its place, an empty file, no final newline, CRLF line ends, a NUL
// byte, an unreadable file, a folder where no scratch file can be written,
// and lines at each read limit (one character less, exactly the limit, one
// more). Each case records the result and what became of the file: unchanged,
// removed, or rewritten with the lines it lost (-) and gained (+). Every call
// must end within kBound seconds; an alarm ends a test that hangs.
#include "QZTestFixture.h"
#include "RobustnessTable.h"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <filesystem>
#include <cstdio>
#include <functional>
#include <map>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int kBound = 10;

// Runs of one character longer than 8 written as "c{count}", control
// characters in caret notation, a missing final newline marked.
std::string compact(const std::string& text) {
    std::string out;
    for (size_t i = 0; i < text.size();) {
        size_t run = 1;
        while (i + run < text.size() && text[i + run] == text[i]) ++run;
        const char c = text[i];
        const std::string shown = (c >= 0 && c < ' ' && c != '\t') ? std::string{'^', static_cast<char>(c ^ 0x40)} : std::string(1, c);
        if (run > 8) {
            out += shown + "{" + std::to_string(run) + "}";
        } else {
            for (size_t k = 0; k < run; ++k) out += shown;
        }
        i += run;
    }
    return out;
}

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    size_t start = 0;
    for (size_t nl; (nl = text.find('\n', start)) != std::string::npos; start = nl + 1) lines.push_back(text.substr(start, nl - start));
    if (start < text.size()) lines.push_back(text.substr(start) + "\\ no newline");
    return lines;
}

}  // namespace

class BadInputTest : public HttpdConfTest {
protected:
    // What a condition makes of the file's good content before the call (no
    // function: the file is missing, or a folder), and who calls.
    struct Condition {
        std::string name;
        std::function<std::string(std::string)> content;
        bool asNobody = false;     // run by an unprivileged user
        bool lockFolders = false;  // the scratch folders cannot be written
    };
    // One operation on its file: the file (under the root), a good content,
    // its read limit N (lines hold at most N-1 characters; 0: no limit) and
    // the call, its result as text.
    struct Operation {
        std::string name, file, text;
        size_t limit;
        std::function<std::string()> call;
    };

    void SetUp() override {
        HttpdConfTest::SetUp();
        alarm(600);  // a hang ends the test
        umask_ = umask(022);
        fakeCommand("apachectl", "case \"$1\" in -v) echo 'Server version: Apache/2.4.57 (Unix)' ;;\n"
                                 "-V) echo ' -D HTTPD_ROOT=\"" + root_ + "/etc/httpd\"' ;; esac");
        makeDir("/etc/httpd");
        makeDir("/s/a.com/www/html");
        // tempnam prefers TMPDIR to the folder of the web users it is given.
        makeDir("/tmp");
        setenv("TMPDIR", path("/tmp").c_str(), 1);
        site_ = rootedData("badinput/site.conf");
    }
    void TearDown() override {
        alarm(0);
        umask(umask_);
        unsetenv("TMPDIR");
        HttpdConfTest::TearDown();
    }

    static std::vector<Condition> conditions(size_t limit) {
        const auto same = [](std::string text) { return text; };
        std::vector<Condition> list = {
            {"missing", nullptr},
            {"folder", nullptr},
            {"empty", [](std::string) { return std::string(); }},
            {"no final newline", [](std::string text) { return text.substr(0, text.size() - 1); }},
            {"crlf", [](std::string text) { return replaced(text, "\n", "\r\n"); }},
            {"nul byte", [](std::string text) { return text.insert(text.find('\n', text.size() / 2), std::string("\0tail", 5)); }},
            {"unreadable", same, true},
            {"scratch folder read-only", same, true, true},
        };
        for (const size_t length : {limit - 2, limit - 1, limit})
            if (limit != 0) list.push_back({"line of " + std::to_string(length), [length](std::string text) { return "#" + std::string(length - 1, 'x') + "\n" + text; }});
        return list;
    }

    // The call, run as nobody (in a child process) when the condition asks.
    std::string run(const Operation& op, const Condition& cond) {
        return cond.asNobody && geteuid() == 0 ? inChild(op.call, 65534) : op.call();
    }

    // Every condition for every operation, as lines of text.
    std::string sweep(const std::vector<Operation>& ops) {
        std::string report;
        for (const Operation& op : ops) {
            report += "== " + op.name + "\n";
            for (const Condition& cond : conditions(op.limit)) {
                // No scratch file of an earlier case is left to be reused.
                std::filesystem::remove_all(path(op.file));
                std::filesystem::remove_all(path("/conf"));
                for (const char* fixed : {"/etc/apactemp1", "/etc/tempapa1", "/etc/temp"}) std::remove(path(fixed).c_str());
                makeDir("/conf");
                if (cond.name == "folder") makeDir(op.file);
                if (cond.content) writeFile(op.file, cond.content(op.text));
                if (cond.name == "unreadable") chmod(path(op.file).c_str(), 0);
                const bool existed = exists(op.file);
                const std::string before = existed ? readFile(op.file) : "";
                setModes(cond, op.file);
                captureOutput();
                const auto start = std::chrono::steady_clock::now();
                const std::string result = run(op, cond);
                const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - start).count();
                capturedOutput();
                restoreModes();
                EXPECT_LT(seconds, kBound) << op.name << " / " << cond.name;
                report += cond.name + " -> " + result + fileState(op.file, existed, before) + "\n";
            }
        }
        return unrooted(report);
    }

    // A read-only scratch folder comes with a read-only file, so that an
    // owner who is not root meets the same refusals as nobody does.
    void setModes(const Condition& cond, const std::string& rel) {
        if (!cond.asNobody) return;
        if (cond.lockFolders) chmod(path(rel).c_str(), 0444);
        chmod(root_.c_str(), 0755);
        for (const char* folder : kFolders) chmod(path(folder).c_str(), cond.lockFolders ? 0555 : 0777);
    }
    void restoreModes() {
        for (const char* folder : kFolders) chmod(path(folder).c_str(), 0755);
        if (exists("/conf/httpd.conf")) chmod(path("/conf/httpd.conf").c_str(), 0644);
    }
    static constexpr const char* kFolders[] = {"/conf", "/etc", "/etc/httpd", "/s/a.com/www/html", "/tmp", "/opt/etc/webusers"};

    std::string fileState(const std::string& rel, bool existed, const std::string& before) {
        struct stat st;
        const bool isFile = stat(path(rel).c_str(), &st) == 0 && S_ISREG(st.st_mode);
        if (!isFile) return existed && !exists(rel) ? "; removed" : "";
        chmod(path(rel).c_str(), 0644);
        const std::string after = readFile(rel);
        if (existed && after == before) return "; unchanged";
        std::map<std::string, int> count;
        for (const std::string& line : linesOf(before)) ++count[line];
        for (const std::string& line : linesOf(after)) --count[line];
        std::string diff = existed ? "; rewritten" : "; created";
        for (const std::string& line : linesOf(before))
            if (count[line] > 0) { diff += "\n   -" + compact(line); --count[line]; }
        for (const std::string& line : linesOf(after))
            if (count[line] < 0) { diff += "\n   +" + compact(line); ++count[line]; }
        return diff;
    }

    std::string site_;
    mode_t umask_ = 0;
};

#define OP(limit, call) Operation{#call, "/conf/httpd.conf", site_, limit, [&] { return show(call); }}

TEST_F(BadInputTest, Websites) {
    CQZWebsite web(nullptr, conf_.c_str());
    alias(web.TEMPFILE, "@TEMPFILE@");
    VHostEntry entry = websiteRecord("10.0.0.2", "b.com", "b.com", root_ + "/s/", '0', "admin", "");
    UpdateVHost info = {};
    std::vector<std::string> names;
    // The site folder is there, its tree is not.
    const auto create = [&] {
        std::error_code ignored;  // an unprivileged caller cannot, and keeps the old tree
        std::filesystem::remove_all(path("/s/b.com"), ignored);
        std::filesystem::create_directories(path("/s/b.com"), ignored);
        return web.CreateWebsite(&entry);
    };
    // The record as read, with one alias more.
    const auto update = [&] {
        UpdateVHost v = {};
        v.pDomain = "a.com";
        web.GetWebsiteInfo(&v);
        v.pDomain = "a.com";
        v.ServerAlias.push_back("new.a.com");
        return web.UpdateWebsite(&v);
    };
    CustomErrorPages pages(nullptr, conf_);
    const std::string report = sweep({
        OP(3000, create()),
        OP(3000, web.DeleteWebsite("a.com", 0)),
        OP(3000, web.WebsiteExists("a.com")),
        OP(3000, web.ListWebsites(names)),
        OP(3000, (info.pDomain = "a.com", web.GetWebsiteInfo(&info))),
        OP(3000, web.GetWebsiteStatus("a.com")),
        OP(0, web.StopWebsite("a.com")),
        OP(0, web.StartWebsite("a.com")),
        OP(3000, web.getApacheServerRoot(conf_)),
        OP(3000, update()),
        OP(0, web.EnableMessage("a.com", "x", 5)),
        OP(0, web.DisableMessage("a.com")),
        OP(0, pages.setErrorPage("a.com", 404, "/x.html")),
        OP(0, pages.deleteErrorPage("a.com", 404)),
    });
    EXPECT_DATA(report, "badinput/websites.report");
}

TEST_F(BadInputTest, Toolkit) {
    ApacheHelper h;
    std::string value;
    bool found = false;
    const std::string dir = root_ + "/s/a.com/www/html";
    const std::string report = sweep({
        OP(2999, h.Apache_getDirectiveValue(conf_, "Listen", value, false)),
        OP(2999, h.Apache_isDirectiveWithValueExists(conf_, "Listen", "80", false)),
        OP(2999, h.Apache_writeDirective(conf_, "ServerTokens Prod", "Listen", false, -1)),
        OP(2999, h.Apache_checkModule(conf_, "php5", found)),
        OP(2999, h.Apache_addModule(conf_, "rewrite")),
        OP(2024, h.Apache_getDirectiveInVH(conf_, "a.com", "ServerAdmin", value, false)),
        OP(2999, h.Apache_AddDirectiveInVH(conf_, "a.com", "Redirect", "/x /y", false)),
        OP(2999, h.Apache_AddDirectivesInVH(conf_, "a.com", {"SSLEngine on"})),
        OP(2024, h.Apache_DeleteDirectivesInVH(conf_, "a.com", {"ServerAlias"})),
        OP(2024, h.Apache_UpdateDirectiveInVH(conf_, "a.com", "ServerAlias", "w.a.com", false)),
        OP(2024, h.Apache_UpdateVHDirectiveContents(conf_, "a.com", "<Directory", "Options -Indexes", true)),
        OP(4999, h.Apache_isModuleExistsInVH(conf_, "a.com", "mod_php5")),
        OP(2047, h.Apache_DeleteVhIfmoduleBlock(conf_, "a.com", "mod_php5")),
        OP(2999, h.Apache_ChangeVirtualHostPort(conf_, "a.com", "10.0.0.3", "8080")),
        OP(5999, h.Apache_MakeLetsEncryptEntries(conf_, "a.com", "10.0.0.3", "443", {"SSLEngine on"}, false, "")),
        OP(2024, h.Apache_addDirectoryTag(conf_, "a.com", dir + "/shop", {"Options None"})),
        OP(2024, h.Apache_deleteDirectoryTag(conf_, "a.com", dir)),
        OP(2024, h.Apache_UpdateDirectoryTagPath(conf_, "a.com", dir, dir + "2")),
        OP(2024, h.Apache_UpdateDirectoryDirectives(conf_, "a.com", dir, {"Options All"})),
        OP(2999, h.Apache_checkModulePhysicalPath(conf_, "php5", found)),
        // The redirect file lies in the server root's "qz" folder, which the
        // configuration names.
        OP(2999, h.Apache_RedirectVHFromHttpToHttps(conf_, "a.com", "10.0.0.3", "80")),
        OP(3000, h.Apache_StopRedirectVHFromHttpToHttps(conf_, "a.com")),
        OP(3000, h.Apache_StartRedirectVHFromHttpToHttps(conf_, "a.com")),
        OP(3000, h.Apache_DeleteRedirectVHFromHttpToHttps(conf_, "a.com")),
    });
    EXPECT_DATA(report, "badinput/toolkit.report");
}

TEST_F(BadInputTest, VirtualDirectoriesAndHandlers) {
    CQZVirtualDirectory vdir(nullptr, conf_.c_str());
    CQZWebsite web(nullptr, conf_.c_str());
    alias(web.TEMPFILE, "@TEMPFILE@");
    SDDir dir = {};
    snprintf(dir.DomainName, sizeof dir.DomainName, "a.com");
    snprintf(dir.DirPath, sizeof dir.DirPath, "%s/s/a.com/www/html", root_.c_str());
    snprintf(dir.DirName, sizeof dir.DirName, "shop");
    snprintf(dir.WebAdminPath, sizeof dir.WebAdminPath, "%s/s", root_.c_str());
    dir.Order = '1';
    StringVector list;
    const std::string report = sweep({
        OP(3000, vdir.CreateVirtualDirectory(&dir, 0, "", "")),
        OP(3000, vdir.GetVirtualDirectoryinfo(&dir)),
        OP(3000, vdir.UpdateVirtualDirectory(&dir, "", "")),
        OP(3000, vdir.DeleteVirtualDirectory(dir.DirPath)),
        OP(3000, vdir.VirtualDirectoryExists(&dir)),
        OP(3000, vdir.VirtualDirectoryList("a.com", &list)),
        OP(3000, vdir.CheckVirDir(&dir)),
        OP(0, web.EnablePhp("a.com", "mod_php7")),
        OP(2048, web.DisablePhp("a.com")),
        OP(2048, web.ISPhpEnabled("a.com")),
        OP(3000, web.getPHPEntryToDelete("a.com", conf_)),
        OP(3000, web.Php_addModule(conf_, "libphp7.so")),
        OP(3000, web.ConfigureFcgidGlobally(conf_, "mod_fcgid")),
        OP(2047, web.EnablePerl("a.com")),
        OP(2047, web.DisablePerl("a.com")),
        OP(2024, web.EnableFcgid("a.com", root_ + "/s/php-cgi", "enabled")),
        OP(2024, web.DisableFcgid("a.com", "mod_php5", "php-cgi")),
        OP(0, web.Php_disableModule(conf_, "libphp5.so")),
        OP(0, web.Php_checkModule(conf_, "php5")),
        OP(2024, web.AddHostHeader("a.com", "x.com")),
        OP(2024, web.DeleteHostHeader("a.com", "www.a.com")),
        OP(0, web.EnablePhpFpm("a.com", "8.2")),
        OP(0, web.DisablePhpFpm("a.com")),
        OP(0, web.SetPhpOpenBasedir("a.com", {"/srv/a.com"})),
    });
    EXPECT_DATA(report, "badinput/vdir_handlers.report");
}

TEST_F(BadInputTest, ParameterAndSettingsFiles) {
    FileHandling files;
    const std::string params = path("/conf/params.txt"), qzconf = path("/etc/QZ.conf");
    CQZUsers users(nullptr, "/opt", "a.com", nullptr);
    alias(users.TEMPFILE, "@USERSTEMP@");
    makeDir("/opt/etc/webusers");
    const std::string userFile = "/opt/etc/webusers/passwd.a.com";
    StringVector list;
    std::string port;
    const std::string kv = "# list\nann:1\nbob:2\n";
    fakeCommand("htpasswd", "exit 0");  // its own file handling is not under test
    const std::string report = sweep({
        {"isParamValueExistsInFile", "/conf/params.txt", kv, 2999, [&] { return show(files.isParamValueExistsInFile(params, "bob", "2", ':', '#')); }},
        {"delParamFromFile", "/conf/params.txt", kv, 2999, [&] { return show(files.delParamFromFile(params, "bob", "2", ':', '#')); }},
        {"editParamValueInFile", "/conf/params.txt", kv, 2999, [&] { return show(files.editParamValueInFile(params, "bob", "2", "3", ':', '#')); }},
        {"addParamInFile", "/conf/params.txt", kv, 0, [&] { return show(files.addParamInFile(params, "cy:4")); }},
        {"getParamFromQZConfFile", "/etc/QZ.conf", "A=\"1\"\nWebServerPort=\"8080\"\n", 120,
         [&] { port = "80"; return show(getParamFromQZConfFile(qzconf, port, "WebServerPort")) + " " + port; }},
        {"UserDelete", userFile, "ann:1\nbob:2\n", 3000, [&] { return show(users.UserDelete("bob")); }},
        {"ChangePasswd", userFile, "ann:1\nbob:2\n", 3000, [&] { return show(users.ChangePasswd("bob", "3")); }},
        {"UserList", userFile, "ann:1\nbob:2\n", 3000, [&] { list.clear(); return show(users.UserList(&list)) + " " + std::to_string(list.size()); }},
        {"UserCreate", userFile, "ann:1\nbob:2\n", 3000, [&] { return show(users.UserCreate("cy", "3")); }},
        {"UserExist", userFile, "ann:1\nbob:2\n", 3000, [&] { list.clear(); return show(users.UserExist(&list)) + " " + std::to_string(list.size()); }},
        {"UserDeleteAll", userFile, "ann:1\nbob:2\n", 3000, [&] { return show(users.UserDeleteAll()); }},
        // The folder's ".htaccess"; deleting waits two seconds a call and is
        // left to the private-folder tests.
        {"addPrivateFolder", "/conf/.htaccess", "Options -Indexes\nAuthType Basic\n", 2999,
         [&] { return show(PrivateFolder().addPrivateFolder(path("/conf"), "bob", "pw")); }},
        // Editing in place reads only the password file, which htpasswd keeps.
        {"editPrivateFolder", "/conf/.htpasswd", "ann:x\nbob:y\n", 0,
         [&] { return show(PrivateFolder().editPrivateFolder(path("/conf"), path("/conf"), "bob", "pw")); }},
    });
    EXPECT_DATA(report, "badinput/params.report");
}


// Start and stop read whole lines of any length (their 30000-character work
// buffer limits nothing), and the time-stamped scratch name of a website
// manager holds the whole folder however long it is (its buffer of 500
// characters grows to fit).
TEST_F(BadInputTest, WorkBufferAndScratchNameLengths) {
    const std::string head = "Listen 80\n<VirtualHost 10.0.0.1:80>\n\tServerName a.com\n";
    for (const size_t length : {29998, 29999, 30000, 30001}) {
        const std::string alias = "\tServerAlias " + std::string(length - 13, 'x');
        writeConf(head + alias + "\n</VirtualHost>\n");
        CQZWebsite web(nullptr, conf_.c_str());
        EXPECT_EQ(web.StopWebsite("a.com"), 30) << length;
        EXPECT_EQ(readConf(), "Listen 80\n#<VirtualHost 10.0.0.1:80>\n#\tServerName a.com\n#" + alias + "\n#</VirtualHost>\n") << length;
        EXPECT_EQ(web.StartWebsite("a.com"), 29) << length;
        EXPECT_EQ(readConf(), head + alias + "\n</VirtualHost>\n") << length;
    }
    // The name is the folder, "/" and ten digits of seconds: 499 characters
    // fill the 500 of the buffer with its end mark.
    for (const size_t length : {498, 499, 500, 501}) {
        std::string folder = root_;
        while (folder.size() < length - 11) folder += "/" + std::string(std::min<size_t>(200, length - 12 - folder.size()), 'd');
        ASSERT_EQ(folder.size(), length - 11);
        std::filesystem::create_directories(folder);
        const std::string conf = folder + "/httpd.conf";
        std::ofstream(conf) << "<VirtualHost 10.0.0.1:80>\n\tServerName a.com\n</VirtualHost>\n";
        CQZWebsite web(nullptr, conf.c_str());
        const std::string scratch = web.TEMPFILE;
        EXPECT_EQ(scratch.size(), length);
        EXPECT_EQ(scratch.substr(0, folder.size() + 1), folder + "/");
        EXPECT_EQ(web.StopWebsite("a.com"), 30) << length;
        EXPECT_EQ(readFile(conf.substr(root_.size())), "#<VirtualHost 10.0.0.1:80>\n#\tServerName a.com\n#</VirtualHost>\n") << length;
        EXPECT_FALSE(std::filesystem::exists(scratch)) << "moved over the configuration";
        std::filesystem::remove_all(root_ + "/" + folder.substr(root_.size() + 1, 200));
    }
}
