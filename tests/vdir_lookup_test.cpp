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

class VirtualDirectoryTest : public HttpdConfTest {
protected:
    void SetUp() override {
        HttpdConfTest::SetUp();
        loggedCommand("mv");
    }
    // The scratch file of the manager, relative to the root.
    std::string scratch() const { return "/etc/apactemp1"; }

    CQZTrackManager tracker_;
};

TEST_F(VirtualDirectoryTest, DeleteRemovesThePathEverywhereWithBlankLines) {
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

TEST_F(VirtualDirectoryTest, DeleteFailuresLeaveTheConfiguration) {
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

TEST_F(VirtualDirectoryTest, DeleteQuotesTheFilesOfItsMv) {
    // An injected command would create "canary" in the working folder.
    ASSERT_EQ(chdir(root_.c_str()), 0);
    const std::string name = "/conf/my httpd;touch canary;$(touch canary).conf";
    writeFile(name, "Listen 80\n\n");
    const std::string conf = path(name);
    CQZVirtualDirectory vdir(nullptr, conf.c_str());
    EXPECT_EQ(vdir.DeleteVirtualDirectory("/x"), 'U');
    EXPECT_EQ(readFile(name), "Listen 80\n");
    EXPECT_FALSE(exists("/canary"));
}

TEST_F(VirtualDirectoryTest, ExistsListAndAliasLookups) {
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
    EXPECT_EQ(vdir.GetVDPath(conf_, "shop.test", "/blog"), "/var/www/blog");
    EXPECT_EQ(vdir.GetVDPath(conf_, "shop.test", "/loose"), "/var/www/shop");
    EXPECT_EQ(vdir.GetVDPath(conf_, "shop.test", "/SHOP"), "");
    EXPECT_EQ(vdir.GetVDPath(conf_, "shop.test", "shop"), "");
    EXPECT_EQ(vdir.GetVDPath(conf_, "other.test", "/shop"), "/var/www/other");
    EXPECT_EQ(vdir.GetVDPath(conf_, "other.test", "/img"), "");

    EXPECT_EQ(vdir.DirectoryRequired("shop.test", "/var/www/SHOP"), 1);
    EXPECT_EQ(vdir.DirectoryRequired("shop.test", "/var/www/img"), 0);
    EXPECT_EQ(vdir.DirectoryRequired("shop.test", "/var/www/blog"), 0);  // unquoted: never counted
    EXPECT_EQ(vdir.DirectoryRequired("other.test", "/var/www/other"), 0);

    SDDir named = dirRecord("shop.test", "", "SHOP");
    EXPECT_EQ(vdir.CheckVirDir(&named), '}');
    SDDir blog = dirRecord("shop.test", "", "blog");
    EXPECT_EQ(vdir.CheckVirDir(&blog), '}');
    SDDir commented = dirRecord("shop.test", "", "old");
    EXPECT_EQ(vdir.CheckVirDir(&commented), 'X');

    EXPECT_EQ(readConf(), original);
    EXPECT_TRUE(commandLog().empty());
    const Lines all = calls(tracker_);
    EXPECT_EQ(Lines(all.begin() + 1, all.begin() + 3),
              (Lines{"CQZMethodName GetVirtualDirectoryinfo",
                     "CQZMethodArguments [shop.test|/VAR/WWW/SHOP] [ObjDDir->DomainName|ObjDDir->DirPath]"}));
    EXPECT_EQ(Lines(all.begin() + 9, all.begin() + 11),
              (Lines{"CQZMethodName VirtualDirectoryList", "CQZMethodArguments [] []"}));
    EXPECT_EQ(Lines(all.begin() + 11, all.begin() + 13),
              (Lines{"CQZMethodName GetVirtualDirectoryinfo",
                     "CQZMethodArguments [shop.test|/var/www/SHOP] [DomainName|DirPath]"}));
    EXPECT_EQ(Lines(all.end() - 2, all.end()),
              (Lines{"CQZMethodName CheckVirDir", "CQZMethodArguments [shop.test|old] [ObjDDir->DomainName|ObjDDir->DirName]"}));
    EXPECT_EQ(all.size(), 1u + 2 * 4 + 2 + 2 * 4 + 2 * 3);  // GetVDPath is not tracked
}

TEST_F(VirtualDirectoryTest, UnreadableLinesDeleteTheScratchFile) {
    CQZVirtualDirectory vdir(nullptr, conf_.c_str());
    writeConf("<VirtualHost *:80>\nServerName a.test\n<Directory \"/x>\n</VirtualHost>\n");
    writeFile(scratch(), "left over");
    SDDir dir = dirRecord("a.test", "/y");
    EXPECT_EQ(vdir.VirtualDirectoryExists(&dir), 1);
    EXPECT_FALSE(exists(scratch()));

    writeConf("<VirtualHost *:80>\nServerName a.test\nAlias /shop\n</VirtualHost>\n");
    writeFile(scratch(), "left over");
    SDDir named = dirRecord("a.test", "", "shop");
    EXPECT_EQ(vdir.CheckVirDir(&named), 1);
    EXPECT_FALSE(exists(scratch()));
    // With a target the same alias matches.
    writeConf("<VirtualHost *:80>\nServerName a.test\nAlias /shop /x\n</VirtualHost>\n");
    EXPECT_EQ(vdir.CheckVirDir(&named), '}');
}

TEST_F(VirtualDirectoryTest, LookupsWithoutConfiguration) {
    CQZVirtualDirectory noConf(&tracker_);
    SDDir dir = dirRecord("a.test", "/x", "x");
    StringVector list;
    EXPECT_EQ(noConf.VirtualDirectoryExists(&dir), 21);
    EXPECT_EQ(noConf.VirtualDirectoryList("a.test", &list), 21);
    EXPECT_EQ(noConf.DirectoryRequired("a.test", "/x"), 21);
    EXPECT_EQ(noConf.CheckVirDir(&dir), 21);

    const std::string missing = path("/conf/missing.conf");
    CQZVirtualDirectory vdir(&tracker_, missing.c_str());
    captureOutput();
    EXPECT_EQ(vdir.VirtualDirectoryExists(&dir), 22);
    EXPECT_EQ(vdir.VirtualDirectoryList("a.test", &list), 22);
    EXPECT_EQ(vdir.DirectoryRequired("a.test", "/x"), 22);
    EXPECT_EQ(vdir.CheckVirDir(&dir), 22);
    EXPECT_EQ(vdir.GetVDPath(missing, "a.test", "/x"), "");
    EXPECT_EQ(capturedOutput(), "Error opening HttpdConfFile file\nError opening HttpdConfFile file\n"
                                "Error opening HttpdConfFile file\nError while opening HttpdConfFile\n");
    EXPECT_TRUE(list.empty());
}

TEST_F(VirtualDirectoryTest, RemoveDirDeletesTheTreeButNotWhatLinksPointTo) {
    makeDir("/site/a/b/c");
    makeDir("/outside");
    writeFile("/site/top.txt", "x");
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
