// Writing a website's settings back: the round trip over every golden and
// generated configuration, edits on generated ones read back as asked; the
// scripts of tests/data/update: the edits and refusals of one hand-made file,
// the maintenance message and custom error pages.
#include "WebsiteTestFixture.h"

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

class UpdateWebsiteTest : public WebsiteTest {
protected:
    // The record handed back after `change`.
    int update(const std::function<void(UpdateVHost&)>& change, const char* domain = "a.test") {
        UpdateVHost v = record(domain);
        change(v);
        return site_->UpdateWebsite(&v);
    }
};

TEST_F(UpdateWebsiteTest, AnUntouchedRecordLeavesEveryConfigurationAsItIs) {
    loggedCommand("mv");
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


TEST_F(UpdateWebsiteTest, EditsGoNextToTheirKindInEveryBlockOfTheSite) { run("update/edits"); }
TEST_F(UpdateWebsiteTest, MaintenanceLinesComeAndGoWithTheBlocksLeftAsTheyWere) { run("update/maintenance"); }
TEST_F(UpdateWebsiteTest, ErrorPagesAreOneLinePerCodeInEveryBlock) { run("update/error_pages"); }
