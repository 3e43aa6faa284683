// Virtual-directory removal and lookups: before/after configurations, result
// codes, printed lines, tracking, the scratch file and RemoveDir.
#include "QZTestFixture.h"

#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

using Lines = std::vector<std::string>;

namespace {

SDDir dirRecord(const char* domain, const char* path, const char* name = "") {
    SDDir dir{};
    strncpy(dir.DomainName, domain, sizeof dir.DomainName - 1);
    strncpy(dir.DirPath, path, sizeof dir.DirPath - 1);
    strncpy(dir.DirName, name, sizeof dir.DirName - 1);
    return dir;
}

}  // namespace

class VirtualDirectoryLookupTest : public HttpdConfTest {
protected:
    void SetUp() override {
        HttpdConfTest::SetUp();
        loggedCommand("mv");
    }
    // The scratch file of the manager, relative to the root.
    std::string scratch() const { return "/etc/apactemp1"; }

    CQZTrackManager tracker_;
};

TEST_F(VirtualDirectoryLookupTest, DeleteRemovesThePathEverywhereWithBlankLines) {
    writeConf(data("vdir/every_section_of_the_path.conf"));
    CQZVirtualDirectory vdir(&tracker_, conf_.c_str());
    captureOutput();
    EXPECT_EQ(vdir.DeleteVirtualDirectory("/home/a/b"), 'U');
    EXPECT_EQ(capturedOutput(), "");
    EXPECT_EQ(readConf(), data("vdir/every_section_of_the_path.expected"));
    EXPECT_EQ(commandLog(), (Lines{"mv " + path(scratch()) + " " + conf_}));
    EXPECT_EQ(calls(tracker_), (Lines{"CQZModuleName WebServerManager", "CQZMethodName DeleteVirtualDirectory",
                                      "CQZMethodArguments [/home/a/b] [pDDir]"}));
}

TEST_F(VirtualDirectoryLookupTest, DeleteFailuresLeaveTheConfiguration) {
    CQZVirtualDirectory noConf(&tracker_);
    EXPECT_EQ(noConf.DeleteVirtualDirectory("/x"), 21);
    const std::string missing = path("/conf/missing.conf");
    CQZVirtualDirectory missingConf(&tracker_, missing.c_str());
    EXPECT_EQ(missingConf.DeleteVirtualDirectory("/x"), 22);

    const std::string unclosed = "<Directory \"/x\">\n</Directory>\n\n<Directory \"/y>\n";
    writeConf(unclosed);
    CQZVirtualDirectory vdir(&tracker_, conf_.c_str());
    EXPECT_EQ(vdir.DeleteVirtualDirectory("/x"), 1);
    EXPECT_EQ(readConf(), unclosed);
    EXPECT_FALSE(exists(scratch()));

    // A line over the 2999 characters of a read.
    const std::string overLong = "\n# " + std::string(2998, 'x') + "\n";
    writeConf(overLong);
    EXPECT_EQ(vdir.DeleteVirtualDirectory("/x"), 22);
    EXPECT_EQ(readConf(), overLong);
    EXPECT_FALSE(exists(scratch()));

    makeDir(scratch());
    writeConf("\nListen 80\n");
    EXPECT_EQ(vdir.DeleteVirtualDirectory("/x"), 23);
    EXPECT_EQ(readConf(), "\nListen 80\n");
    EXPECT_TRUE(commandLog().empty());
}

TEST_F(VirtualDirectoryLookupTest, DeleteQuotesTheFilesOfItsMv) {
    ASSERT_EQ(chdir(root_.c_str()), 0);  // an injected "touch canary" would land here
    const std::string name = "/conf/my httpd;touch canary;$(touch canary).conf", conf = path(name);
    writeFile(name, "Listen 80\n\n");
    EXPECT_EQ(CQZVirtualDirectory(nullptr, conf.c_str()).DeleteVirtualDirectory("/x"), 'U');
    EXPECT_EQ(readFile(name), "Listen 80\n");
    EXPECT_FALSE(exists("/canary"));
}

TEST_F(VirtualDirectoryLookupTest, ExistsListAndAliasLookups) {
    writeConf(data("vdir/aliases.conf"));
    const std::string original = readConf();
    CQZVirtualDirectory vdir(&tracker_, conf_.c_str());

    SDDir shop = dirRecord("shop.test", "/VAR/WWW/SHOP");
    EXPECT_EQ(vdir.VirtualDirectoryExists(&shop), 1);
    // Past the block's end, before the next block, still counts.
    SDDir after = dirRecord("shop.test", "/var/www/after");
    EXPECT_EQ(vdir.VirtualDirectoryExists(&after), 1);
    SDDir none = dirRecord("shop.test", "/var/www/none");
    EXPECT_EQ(vdir.VirtualDirectoryExists(&none), 0);
    SDDir otherSite = dirRecord("other.test", "/var/www/shop");
    EXPECT_EQ(vdir.VirtualDirectoryExists(&otherSite), 0);

    StringVector list{"kept"};
    EXPECT_EQ(vdir.VirtualDirectoryList("shop.test", &list), 0);
    EXPECT_EQ(list, (StringVector{"kept", "/var/www/shop", "shop", "/var/www/shop", "store", "/var/www/blog", "blog",
                                  "/var/www/img", "img"}));

    EXPECT_EQ(vdir.GetVDPath(conf_, "shop.test", "/shop"), "/var/www/shop");
    EXPECT_EQ(vdir.GetVDPath(conf_, "shop.test", "/loose"), "/var/www/shop");
    EXPECT_EQ(vdir.GetVDPath(conf_, "shop.test", "/SHOP"), "");
    EXPECT_EQ(vdir.GetVDPath(conf_, "other.test", "/shop"), "/var/www/other");
    EXPECT_EQ(vdir.GetVDPath(conf_, "other.test", "/img"), "");

    EXPECT_EQ(vdir.DirectoryRequired("shop.test", "/var/www/SHOP"), 1);
    EXPECT_EQ(vdir.DirectoryRequired("shop.test", "/var/www/img"), 0);
    EXPECT_EQ(vdir.DirectoryRequired("shop.test", "/var/www/blog"), 0);  // unquoted: never counted

    SDDir named = dirRecord("shop.test", "", "SHOP");
    EXPECT_EQ(vdir.CheckVirDir(&named), '}');
    SDDir commented = dirRecord("shop.test", "", "old");
    EXPECT_EQ(vdir.CheckVirDir(&commented), 'X');

    EXPECT_EQ(readConf(), original);
    EXPECT_TRUE(commandLog().empty());
    // Existence and DirectoryRequired report the info operation's name;
    // GetVDPath is not tracked.
    const Lines all = calls(tracker_);
    ASSERT_EQ(all.size(), 1u + 2 * (4 + 1 + 3 + 2));
    EXPECT_EQ(all[2], "CQZMethodArguments [shop.test|/VAR/WWW/SHOP] [ObjDDir->DomainName|ObjDDir->DirPath]");
    EXPECT_EQ(all[9] + " " + all[10], "CQZMethodName VirtualDirectoryList CQZMethodArguments [] []");
    EXPECT_EQ(all[11] + " " + all[12], "CQZMethodName GetVirtualDirectoryinfo "
                                       "CQZMethodArguments [shop.test|/var/www/SHOP] [DomainName|DirPath]");
    EXPECT_EQ(all.back(), "CQZMethodArguments [shop.test|old] [ObjDDir->DomainName|ObjDDir->DirName]");
}

TEST_F(VirtualDirectoryLookupTest, DirectoryRequiredCountsTwoAliasesOfTheSite) {
    writeConf("<VirtualHost *:80>\n    ServerName shop.test\n    Alias /a \"/var/www/two\"\n"
              "    Alias /one \"/var/www/one\"\n#   Alias /old \"/var/www/one\"\n"
              "    Alias /b \"/var/www/two\"\n</VirtualHost>\n"
              "<VirtualHost *:80>\n    ServerName other.test\n    Alias /c \"/var/www/one\"\n</VirtualHost>\n");
    CQZVirtualDirectory vdir(nullptr, conf_.c_str());
    EXPECT_EQ(vdir.DirectoryRequired("shop.test", "/var/www/two"), 1);
    // One alias of the site; the commented one and the other site's do not count.
    EXPECT_EQ(vdir.DirectoryRequired("shop.test", "/var/www/one"), 0);
}

TEST_F(VirtualDirectoryLookupTest, UnreadableLinesDeleteTheScratchFile) {
    CQZVirtualDirectory vdir(nullptr, conf_.c_str());
    SDDir dir = dirRecord("a.test", "/y", "shop");
    writeConf("<VirtualHost *:80>\nServerName a.test\n<Directory \"/x>\nAlias /shop\n</VirtualHost>\n");
    writeFile(scratch(), "left over");
    EXPECT_EQ(vdir.VirtualDirectoryExists(&dir), 1);
    EXPECT_FALSE(exists(scratch()));
    writeFile(scratch(), "left over");
    EXPECT_EQ(vdir.CheckVirDir(&dir), 1);
    EXPECT_FALSE(exists(scratch()));
    // With a target the same alias matches.
    writeConf("<VirtualHost *:80>\nServerName a.test\nAlias /shop /x\n</VirtualHost>\n");
    EXPECT_EQ(vdir.CheckVirDir(&dir), '}');
}

TEST_F(VirtualDirectoryLookupTest, ALineOverTheLimitIsExaminedCutThenEndsTheScan) {
    CQZVirtualDirectory vdir(nullptr, conf_.c_str());
    const std::string head = "<VirtualHost *:80>\nServerName a.test\n";
    const std::string tail = "\n<Directory \"/after\">\nAlias /next /n\n</VirtualHost>\n";
    writeConf(head + "<Directory \"/x\"> #" + std::string(3000, 'x') + tail);
    SDDir cut = dirRecord("a.test", "/x", "next");
    EXPECT_EQ(vdir.VirtualDirectoryExists(&cut), 1);
    SDDir after = dirRecord("a.test", "/after");
    EXPECT_EQ(vdir.VirtualDirectoryExists(&after), 0);
    EXPECT_EQ(vdir.CheckVirDir(&cut), 'X');

    const std::string alias = "Alias /shop /var/www/";
    writeConf(head + alias + std::string(3000, 't') + tail);
    SDDir shop = dirRecord("a.test", "", "shop");
    EXPECT_EQ(vdir.CheckVirDir(&shop), '}');
    EXPECT_EQ(vdir.GetVDPath(conf_, "a.test", "/shop"), "/var/www/" + std::string(2999 - alias.size(), 't'));
    EXPECT_EQ(vdir.GetVDPath(conf_, "a.test", "/next"), "");
}

TEST_F(VirtualDirectoryLookupTest, LookupsWithoutConfiguration) {
    CQZVirtualDirectory noConf(&tracker_);
    SDDir dir = dirRecord("a.test", "/x", "x");
    StringVector list;
    EXPECT_EQ(noConf.VirtualDirectoryExists(&dir) + noConf.VirtualDirectoryList("a.test", &list) +
                  noConf.DirectoryRequired("a.test", "/x") + noConf.CheckVirDir(&dir),
              4 * 21);

    const std::string missing = path("/conf/missing.conf");
    CQZVirtualDirectory vdir(&tracker_, missing.c_str());
    captureOutput();
    EXPECT_EQ(vdir.VirtualDirectoryExists(&dir) + vdir.VirtualDirectoryList("a.test", &list) +
                  vdir.DirectoryRequired("a.test", "/x") + vdir.CheckVirDir(&dir),
              4 * 22);
    EXPECT_EQ(vdir.GetVDPath(missing, "a.test", "/x"), "");
    EXPECT_EQ(capturedOutput(), "Error opening HttpdConfFile file\nError opening HttpdConfFile file\n"
                                "Error opening HttpdConfFile file\nError while opening HttpdConfFile\n");
    EXPECT_TRUE(list.empty());
}

TEST_F(VirtualDirectoryLookupTest, RemoveDirDeletesTheTreeButNotWhatLinksPointTo) {
    makeDir("/site/a/b/c");
    makeDir("/outside");
    writeFile("/site/a/b/c/deep.txt", "x");
    writeFile("/outside/keep.txt", "x");
    ASSERT_EQ(symlink(path("/outside").c_str(), path("/site/a/link").c_str()), 0);
    EXPECT_FALSE(RemoveDir(path("/site").c_str()));
    EXPECT_FALSE(exists("/site"));
    EXPECT_TRUE(exists("/outside/keep.txt"));

    EXPECT_TRUE(RemoveDir(path("/site").c_str()));
    // A dangling link cannot be stat'ed: the removal stops there.
    makeDir("/dangling");
    ASSERT_EQ(symlink(path("/nowhere").c_str(), path("/dangling/link").c_str()), 0);
    EXPECT_TRUE(RemoveDir(path("/dangling").c_str()));
    EXPECT_TRUE(exists("/dangling"));
}
