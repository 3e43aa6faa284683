// Writing a website's settings back: the round trip over every golden and
// generated configuration, edits on generated ones read back as asked, the
// edits and refusals of one hand-made file, the maintenance message and
// custom error pages.
#include "QZTestFixture.h"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <memory>
#include <random>
#include <unistd.h>

namespace {

const char* const kLists[] = {"ProxyPass", "ProxyPassReverse", "Alias", "ScriptAlias", "Redirect", "ErrorDoc",
                              "ServerAlias", "Include", "DirIndex", "DocRootPath"};

// Every list of the record, one line each.
std::string lists(UpdateVHost& v) {
    std::string text;
    for (NameValueVector* list : {&v.ProxyPass, &v.ProxyPassReverse, &v.Alias, &v.ScriptAlias, &v.Redirect, &v.ErrorDoc}) {
        for (const NameValueSt& nv : *list) text += "[" + nv.Name + "=" + nv.Value + "]";
        text += "\n";
    }
    for (StringVector* list : {&v.ServerAlias, &v.Include, &v.DirIndex, &v.DocRootPath}) {
        for (const std::string& word : *list) text += "[" + word + "]";
        text += "\n";
    }
    return text;
}

// A configuration with a.test's blocks (80, and sometimes 443 or stopped)
// among other sites whose names hold "a.test", each block drawing lines
// from the shapes hand-made blocks have.
std::string generateConf(std::mt19937& random) {
    const auto pick = [&](size_t n) { return static_cast<size_t>(random() % n); };
    const std::string shapes[] = {
        "\tAlias /x@ \"/srv/x@\"", "\tAlias /y@ /srv/y@", "  AliasMatch ^/m(.*) /srv/m$1",
        "\tScriptAlias /cgi-bin/ \"/home/a.test/cgi-bin/\"", "\tScriptAlias /s@/ /opt/s@/",
        "\tProxyPass /api@ http://127.0.0.1:8080/@", "\tProxyPassReverse /api@ http://127.0.0.1:8080/@",
        "\tRedirect permanent /old@ http://a.test/new@", "\tRedirectMatch 301 ^/r(.*) /s$1",
        "\tRedirect \"/q q@\" http://x.test/", "\tRedirect /p@ http://p.test/", "\tErrorDocument 404 /404.html",
        "\tErrorDocument 50@ \"Oops @\"", "\tServerAlias www.a.test x@.a.test", "\tServerAlias  y@.test  z.test",
        "ServerAlias", "\tInclude conf/x@.conf", "\tIncludeOptional conf/opt@.conf",
        "\tDirectoryIndex index.php index.html", "# Alias /c /d", "#Alias /commented@ /x", "",
        "\t<Directory \"/home/a.test\">\n\t\tDirectoryIndex in@.html\n\t\tAllowOverride All\n\t</Directory>",
        "DocumentRoot /home/a.test/www@", "\tDocumentRoot \"/home/a.test/www/html@\"", "\tCustomLog logs/a combined",
        "\tRewriteEngine On", "\tSetEnv Alias@ x"};
    std::string text = pick(2) ? "ServerRoot \"/etc/httpd\"\nListen 80\n" : "";
    if (pick(8) == 0) text += std::string("# a NUL \0 byte\n", 15);  // kept, byte for byte
    const char* names[] = {"a.test", "www.a.test", "a.test.example", "b.test"};
    const size_t blocks = 1 + pick(4);
    bool site = false;
    for (size_t b = 0; b < blocks || !site; ++b) {
        const std::string name = names[b < blocks ? pick(4) : 0];
        site = site || name == "a.test";
        std::string block = "<VirtualHost *:" + std::string(pick(2) ? "80" : "443") + ">\n";
        if (name == "a.test" && pick(4) == 0) block += "\tDocumentRoot \"/home/a.test/early\"\n";
        block += "\tServerName " + name + "\n";
        if (name != "a.test") block += "\tServerAlias www." + name + " o" + std::to_string(b) + "." + name + "\n";
        for (size_t n = pick(9); n-- > 0;) {
            std::string line = shapes[pick(sizeof shapes / sizeof shapes[0])];
            for (size_t at; (at = line.find('@')) != std::string::npos;) line.replace(at, 1, std::to_string(pick(3)));
            block += line + "\n";
        }
        block += "</VirtualHost>\n";
        if (pick(5) == 0) {  // stopped: every line commented out
            std::string stopped;
            for (size_t at = 0, end; (end = block.find('\n', at)) != std::string::npos; at = end + 1)
                stopped += "#" + block.substr(at, end - at + 1);
            block = stopped;
        }
        text += (pick(3) ? "\n" : "") + block;
    }
    if (pick(4) == 0 && !text.empty()) text.pop_back();  // no end of line at the end
    return text;
}

// Drops and adds entries the way the panel's editor does, with values the
// operation accepts. ProxyPass lines are left alone: only the first of a
// block is read back, and a ProxyPassReverse standing first reads as one.
void editRecord(UpdateVHost& v, std::mt19937& random) {
    const auto pick = [&](size_t n) { return static_cast<size_t>(random() % n); };
    const auto edit = [&](auto& list, auto fresh, bool atEnd = false) {
        for (size_t n = pick(3); n-- > 0 && !list.empty();) list.erase(list.begin() + pick(list.size()));
        for (size_t n = pick(3); n-- > 0;)
            list.insert(list.begin() + (atEnd ? list.size() : pick(list.size() + 1)), fresh(pick(100)));
    };
    const auto s = [](size_t k) { return std::to_string(k); };
    edit(v.Alias, [&](size_t k) { return NameValueSt{"/n" + s(k), k % 2 ? "/srv/n" + s(k) : "/srv/with space"}; });
    edit(v.ScriptAlias, [&](size_t k) { return NameValueSt{"/c" + s(k) + "/", "/opt/c" + s(k) + "/"}; });
    edit(v.Redirect, [&](size_t k) {
        return k % 2 ? NameValueSt{"/r" + s(k), "http://r.test/" + s(k)} : NameValueSt{"seeother", "/t" + s(k) + " http://t.test/"};
    });
    edit(v.ErrorDoc, [&](size_t k) { return NameValueSt{s(400 + k), k % 2 ? "/e" + s(k) + ".html" : "Error text " + s(k)}; });
    edit(v.ServerAlias, [&](size_t k) { return "n" + s(k) + ".a.test"; });
    // An added Include is a line of its own: among the words of a line such
    // as "IncludeOptional x" it could only go after them.
    edit(v.Include, [&](size_t k) { return "conf/n" + s(k) + ".conf"; }, true);
    edit(v.DirIndex, [&](size_t k) { return "i" + s(k) + ".html"; });
    if (!v.DocRootPath.empty() && pick(2)) {  // one root moved, wherever it stands
        const std::string from = v.DocRootPath[pick(v.DocRootPath.size())], to = "/home/a.test/moved " + s(pick(100));
        std::replace(v.DocRootPath.begin(), v.DocRootPath.end(), from, to);
    }
}

}  // namespace

class UpdateWebsiteTest : public HttpdConfTest {
protected:
    void SetUp() override {
        HttpdConfTest::SetUp();
        loggedCommand("mv");
        fakeCommand("a2enmod", "echo \"a2enmod $* (APACHE_CONFDIR=$APACHE_CONFDIR)\" >> \"$QZ_TEST_LOG\"");
        site = std::make_unique<CQZWebsite>(&tracker, conf_.c_str());
        alias(site->TEMPFILE, "TEMPFILE");
        watch("/conf/httpd.conf");
    }
    // GetWebsiteInfo's record of the domain.
    UpdateVHost record(const char* domain) {
        UpdateVHost v = {};
        v.pDomain = domain;
        captureOutput();
        site->GetWebsiteInfo(&v);
        capturedOutput();
        v.pDomain = domain;
        return v;
    }
    // The record handed back after `change`.
    int update(const std::function<void(UpdateVHost&)>& change, const char* domain = "a.test") {
        UpdateVHost v = record(domain);
        change(v);
        return site->UpdateWebsite(&v);
    }

    CQZTrackManager tracker;
    std::unique_ptr<CQZWebsite> site;
};

TEST_F(UpdateWebsiteTest, AnUntouchedRecordLeavesEveryConfigurationAsItIs) {
    // Every golden configuration of the test data, for every name it serves.
    size_t sites = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(QZ_TEST_DATA)) {
        const std::string name = entry.path().lexically_relative(QZ_TEST_DATA).string();
        if (entry.path().extension() != ".conf") continue;
        const std::string text = rootedData(name);
        for (size_t at = 0; (at = text.find("ServerName ", at)) != std::string::npos; ++at) {
            const std::string domain = text.substr(at + 11, text.find_first_of("\n ", at + 11) - at - 11);
            writeConf(text);
            sites += update([](UpdateVHost&) {}, domain.c_str()) == 96;
            EXPECT_EQ(readConf(), text) << name << " " << domain;
        }
    }
    EXPECT_GT(sites, 40u);
    EXPECT_EQ(commandLog(), Lines{});
    // And generated ones, where an edited record is then read back as it was
    // handed over, and handing that back changes nothing.
    std::mt19937 random(22);
    for (int round = 0; round < 300; ++round) {
        const std::string text = generateConf(random);
        writeConf(text);
        ASSERT_EQ(update([](UpdateVHost&) {}), 96) << text;
        ASSERT_EQ(readConf(), text);
        std::string wanted;
        ASSERT_EQ(update([&](UpdateVHost& v) {
                      editRecord(v, random);
                      wanted = lists(v);
                  }),
                  96)
            << text;
        std::string back;
        const std::string edited = readConf();
        EXPECT_EQ(edited.find(std::string("\0 byte", 6)) == std::string::npos, text.find('\0') == std::string::npos);
        EXPECT_EQ(update([&](UpdateVHost& v) { back = lists(v); }), 96);
        EXPECT_EQ(back, wanted) << text << "\n----\n" << edited;
        EXPECT_EQ(readConf(), edited);
        if (HasFailure()) break;
    }
}

TEST_F(UpdateWebsiteTest, EditsGoNextToTheirKindInEveryBlockOfTheSite) {
    makeDir("/home");
    makeDir("/home/a.test");
    makeDir("/home/a.test/www");
    makeDir("/home/a.test/www/html");
    const std::string link = path("/home/a.test/link");
    ASSERT_EQ(symlink(path("/home/a.test/www").c_str(), link.c_str()), 0);
    const std::pair<const char*, std::function<void(UpdateVHost&)>> edits[] = {
        {"an alias and a redirect added",
         [](UpdateVHost& v) {
             v.Alias.push_back({"/new", "/srv/new dir"});
             v.Redirect.push_back({"temp", "/later http://a.test/"});
         }},
        {"the middle alias word dropped, whole words only",
         [](UpdateVHost& v) { v.ServerAlias = {"www.a.test"}; }},
        {"document root moved, its folder given mode 750",
         [&](UpdateVHost& v) {
             v.DocRootPath = {path("/home/a.test/www")};
             v.AccessMode = 040750;
         }},
        {"an error page text and a directory index added",
         [](UpdateVHost& v) {
             v.ErrorDoc.push_back({"500", "Sorry, later"});
             v.DirIndex.push_back("index.php");
         }},
        {"an entry dropped and one changed",
         [](UpdateVHost& v) {
             v.Alias.erase(v.Alias.begin());
             v.Redirect[0].Value = "/old http://a.test/newer";
         }},
        // Refused, nothing written.
        {"a newline in a value", [](UpdateVHost& v) { v.Alias.push_back({"/x", "/srv/x\nRequire all granted"}); }},
        {"a quote in a name", [](UpdateVHost& v) { v.Alias.push_back({"/x\"y", "/srv/x"}); }},
        {"a final backslash", [](UpdateVHost& v) { v.ScriptAlias.push_back({"/cgi/", "/srv/cgi\\"}); }},
        {"Redirect moved", [](UpdateVHost& v) { v.Redirect.push_back({"moved", "/a http://b.test/"}); }},
        {"Redirect 200", [](UpdateVHost& v) { v.Redirect.push_back({"200", "/a http://b.test/"}); }},
        {"Redirect gone with a target", [](UpdateVHost& v) { v.Redirect.push_back({"gone", "/a http://b.test/"}); }},
        {"Redirect to a relative path", [](UpdateVHost& v) { v.Redirect.push_back({"/a", "b.html"}); }},
        {"an empty ErrorDocument", [](UpdateVHost& v) { v.ErrorDoc.push_back({"404", ""}); }},
        {"an ErrorDocument path of two words", [](UpdateVHost& v) { v.ErrorDoc.push_back({"404", "/a b.html"}); }},
        {"ErrorDocument 302", [](UpdateVHost& v) { v.ErrorDoc.push_back({"302", "/x.html"}); }},
        {"an alias of two words", [](UpdateVHost& v) { v.ServerAlias.push_back("x.test y.test"); }},
        {"an alias that b.test answers to", [](UpdateVHost& v) { v.ServerAlias.push_back("WWW.B.TEST"); }},
        {"a second document root", [](UpdateVHost& v) { v.DocRootPath.push_back("/srv/www"); }},
        {"a document root with ..", [](UpdateVHost& v) { v.DocRootPath = {"/home/a.test/../b.test"}; }},
        {"a mode on a link, refused after the edit",
         [&](UpdateVHost& v) {
             v.ServerAlias.push_back("new.a.test");
             v.DirPath = link.c_str();
             v.AccessMode = 0777;
         }},
    };
    for (const auto& [label, edit] : edits) {
        writeConf(rootedData("update/site.conf"));
        UpdateVHost v = record("a.test");
        edit(v);
        beginStep();
        const int result = site->UpdateWebsite(&v);
        char mode[8];
        snprintf(mode, sizeof mode, "%o", modeOf("/home/a.test/www") & 0777);
        endStep(label, show(result) + ", www mode " + mode);
    }
    // The site must exist; a configuration must be named and readable.
    UpdateVHost other = {};
    other.pDomain = "c.test";
    STEP("no such site", site->UpdateWebsite(&other));
    CQZWebsite none(nullptr), missing(nullptr, missing_.c_str());
    UpdateVHost v = {};
    v.pDomain = "a.test";
    EXPECT_EQ(none.UpdateWebsite(&v), 21);
    EXPECT_PRINTS(missing.UpdateWebsite(&v), 22, "Error while opening HttpdConfFile\n");
    EXPECT_DATA(transcript_, "update/edits.transcript");
    EXPECT_EQ(calls(tracker)[4] + " " + calls(tracker)[5],
              "CQZMethodName UpdateWebsite CQZMethodArguments [a.test] [ObjUVHost->pDomain]");
}

TEST_F(UpdateWebsiteTest, MaintenanceLinesComeAndGoWithTheBlocksLeftAsTheyWere) {
    const std::string page = "/var/lib/qzapache/maintenance/a.test/index.html";
    watch(page);
    watchCalls(tracker);
    const std::string original = rootedData("update/site.conf");
    writeConf(original);
    makeDir("/conf/mods-available");  // Debian's layout: a2enmod
    STEP("on, Debian layout", +site->EnableMessage("a.test", "<h1>Back soon</h1>\n", 600));
    STEP("on again: page and Retry-After replaced", +site->EnableMessage("a.test", "<p>Later</p>", 3600));
    STEP("off", +site->DisableMessage("a.test"));
    EXPECT_EQ(readConf(), original);
    STEP("off when it is not on", +site->DisableMessage("a.test"));
    // a2enmod fails: the modules come first, so nothing is written.
    fakeCommand("a2enmod", "echo \"a2enmod $* (APACHE_CONFDIR=$APACHE_CONFDIR)\" >> \"$QZ_TEST_LOG\"; exit 1");
    STEP("a2enmod fails", +site->EnableMessage("a.test", "x", 5));
    EXPECT_FALSE(exists("/var/lib/qzapache/maintenance/a.test"));
    // Elsewhere the modules are loaded by lines ahead of the first block,
    // once; a stopped site gets its lines commented out like the rest.
    rmdir(path("/conf/mods-available").c_str());
    writeConf("LoadModule mime_module /usr/lib/apache2/modules/mod_mime.so\n" + original +
              "#<VirtualHost *:80>\n#\tServerName c.test\n#</VirtualHost>\n");
    STEP("on, LoadModule lines", +site->EnableMessage("a.test", "x", 5));
    STEP("on again", +site->EnableMessage("a.test", "x", 5));
    STEP("a stopped site", +site->EnableMessage("c.test", "x", 5));
    // Refused, nothing written.
    STEP("no such site", +site->EnableMessage("b.test.example", "x", 5));
    STEP("a domain that is a path", +site->EnableMessage("../a.test", "x", 5));
    STEP("an empty page", +site->EnableMessage("a.test", "", 5));
    STEP("a control character in the page", +site->EnableMessage("a.test", "a\x1b[2Jb", 5));
    STEP("Retry-After 0", +site->EnableMessage("a.test", "x", 0));
    STEP("off, no such site", +site->DisableMessage("b.test.example"));
    CQZWebsite none(nullptr);
    EXPECT_EQ(none.EnableMessage("a.test", "x", 5), 21);
    EXPECT_EQ(none.DisableMessage("a.test"), 21);
    EXPECT_DATA(transcript_, "update/maintenance.transcript");
    // Deleting the site takes its page along, and no other site's.
    EXPECT_PRINTS(site->DeleteWebsite("a.test", 0), 24, "");
    EXPECT_FALSE(exists("/var/lib/qzapache/maintenance/a.test"));
    EXPECT_TRUE(exists("/var/lib/qzapache/maintenance/c.test/index.html"));
}

TEST_F(UpdateWebsiteTest, ErrorPagesAreOneLinePerCodeInEveryBlock) {
    CustomErrorPages pages(&tracker, conf_);
    watchCalls(tracker);
    writeConf(rootedData("update/site.conf"));
    ASSERT_EQ(site->EnableMessage("a.test", "x", 5), 96);
    STEP("404 replaced, added to the 443 block", pages.setErrorPage("a.test", 404, "/missing.html"));
    STEP("410 text after the last one, ahead of maintenance", pages.setErrorPage("a.test", 410, "\"Gone for good\""));
    STEP("500 URL", pages.setErrorPage("a.test", 500, "https://status.a.test/"));
    STEP("404 the same again", pages.setErrorPage("a.test", 404, "/missing.html"));
    STEP("404 deleted", pages.deleteErrorPage("a.test", 404));
    NameValueVector listed = {{"stale", "entry"}};
    STEP("listed", pages.listErrorPages("a.test", listed));
    std::string text;
    for (const NameValueSt& nv : listed) text += nv.Name + "=" + nv.Value + ";";
    EXPECT_EQ(text, "410=Gone for good;500=https://status.a.test/;");
    // Refused, nothing written.
    for (auto [code, target] : {std::pair{302, "/x.html"}, {600, "/x.html"}, {404, "x.html"}, {404, "/a b"},
                                {404, "\"a\"b\""}, {404, "/x\nRequire all granted"}, {404, "ftp://x/"}, {404, ""}})
        STEP(std::to_string(code) + " " + target, pages.setErrorPage("a.test", code, target));
    STEP("delete 302", pages.deleteErrorPage("a.test", 302));
    STEP("no such site", pages.setErrorPage("c.test", 404, "/x.html"));
    STEP("list, no such site", pages.listErrorPages("c.test", listed));
    CustomErrorPages none(nullptr, ""), missing(nullptr, missing_);
    EXPECT_EQ(none.setErrorPage("a.test", 404, "/x.html"), 21);
    EXPECT_EQ(missing.deleteErrorPage("a.test", 404), 22);
    EXPECT_EQ(missing.listErrorPages("a.test", listed), 22);
    EXPECT_DATA(transcript_, "update/error_pages.transcript");
}
