// Virtual-directory removal and lookups: before/after configurations, result
// codes, printed lines, tracking, the scratch file and RemoveDir.
#include "QZTestFixture.h"

#include <cstring>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>


class VirtualDirectoryLookupTest : public HttpdConfTest {
protected:
    void SetUp() override {
        HttpdConfTest::SetUp();
        loggedCommand("mv");
        watch("/conf/httpd.conf");
        watch(kScratch);
        vdir_ = std::make_unique<CQZVirtualDirectory>(&tracker_, conf_.c_str());
    }
    static SDDir dir(const char* domain, const char* path, const char* name = "") {
        SDDir dir{};
        strncpy(dir.DomainName, domain, sizeof dir.DomainName - 1);
        strncpy(dir.DirPath, path, sizeof dir.DirPath - 1);
        strncpy(dir.DirName, name, sizeof dir.DirName - 1);
        return dir;
    }
    int exists(const char* domain, const char* path) {
        SDDir d = dir(domain, path);
        return vdir_->VirtualDirectoryExists(&d);
    }
    int check(const char* domain, const char* name, const char* path = "") {
        SDDir d = dir(domain, path, name);
        return vdir_->CheckVirDir(&d);
    }
    static constexpr const char* kScratch = "/etc/apactemp1";  // the manager's scratch file
    using QZTest::exists;
    CQZTrackManager tracker_;
    std::unique_ptr<CQZVirtualDirectory> vdir_;
};

TEST_F(VirtualDirectoryLookupTest, DeleteRemovesThePathEverywhereWithBlankLines) {
    useConf("vdir/every_section_of_the_path.conf");
    EXPECT_PRINTS(vdir_->DeleteVirtualDirectory("/home/a/b"), 'U', "");
    EXPECT_EQ(readConf(), data("vdir/every_section_of_the_path.expected"));
    EXPECT_EQ(commandLog(), (Lines{"mv " + path(kScratch) + " " + conf_}));
    EXPECT_EQ(calls(tracker_), (Lines{"CQZModuleName WebServerManager", "CQZMethodName DeleteVirtualDirectory",
                                      "CQZMethodArguments [/home/a/b] [pDDir]"}));
}

TEST_F(VirtualDirectoryLookupTest, DeleteFailuresLeaveTheConfiguration) {
    STEP("no configuration named", CQZVirtualDirectory(nullptr).DeleteVirtualDirectory("/x"));
    STEP("no configuration", CQZVirtualDirectory(nullptr, missing_.c_str()).DeleteVirtualDirectory("/x"));
    CQZVirtualDirectory vdir(nullptr, conf_.c_str());
    writeConf("<Directory \"/x\">\n</Directory>\n\n<Directory \"/y>\n");
    STEP("an unclosed quote", vdir.DeleteVirtualDirectory("/x"));
    writeConf("\n# " + std::string(2998, 'x') + "\n");
    STEP("a line over the 2999 characters of a read", vdir.DeleteVirtualDirectory("/x"));
    makeDir(kScratch);
    writeConf("\nListen 80\n");
    STEP("the scratch file a folder", vdir.DeleteVirtualDirectory("/x"));
    EXPECT_DATA(transcript_, "vdir/delete_failures.transcript");
}

TEST_F(VirtualDirectoryLookupTest, ExistsListAndAliasLookups) {
    useConf("vdir/aliases.conf");
    // Past the block's end, before the next block, still counts.
    EXPECT_EQ(exists("shop.test", "/VAR/WWW/SHOP"), 1);
    EXPECT_EQ(exists("shop.test", "/var/www/after"), 1);
    EXPECT_EQ(exists("shop.test", "/var/www/none"), 0);
    EXPECT_EQ(exists("other.test", "/var/www/shop"), 0);
    StringVector list{"kept"};
    EXPECT_EQ(vdir_->VirtualDirectoryList("shop.test", &list), 0);
    EXPECT_EQ(list, (StringVector{"kept", "/var/www/shop", "shop", "/var/www/shop", "store", "/var/www/blog", "blog",
                                  "/var/www/img", "img"}));
    EXPECT_EQ(vdir_->GetVDPath(conf_, "shop.test", "/shop"), "/var/www/shop");
    EXPECT_EQ(vdir_->GetVDPath(conf_, "shop.test", "/loose"), "/var/www/shop");
    EXPECT_EQ(vdir_->GetVDPath(conf_, "shop.test", "/SHOP"), "");
    EXPECT_EQ(vdir_->GetVDPath(conf_, "other.test", "/shop"), "/var/www/other");
    EXPECT_EQ(vdir_->GetVDPath(conf_, "other.test", "/img"), "");
    EXPECT_EQ(vdir_->DirectoryRequired("shop.test", "/var/www/SHOP"), 1);
    EXPECT_EQ(vdir_->DirectoryRequired("shop.test", "/var/www/img"), 0);
    EXPECT_EQ(vdir_->DirectoryRequired("shop.test", "/var/www/blog"), 0);  // unquoted: never counted
    EXPECT_EQ(check("shop.test", "SHOP"), '}');
    EXPECT_EQ(check("shop.test", "old"), 'X');
    EXPECT_EQ(readConf(), data("vdir/aliases.conf"));
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

    // Two aliases of the site to the folder make it required; the commented
    // one and the other site's do not count.
    writeConf("<VirtualHost *:80>\n    ServerName shop.test\n    Alias /a \"/var/www/two\"\n"
              "    Alias /one \"/var/www/one\"\n#   Alias /old \"/var/www/one\"\n    Alias /b \"/var/www/two\"\n"
              "</VirtualHost>\n<VirtualHost *:80>\n    ServerName other.test\n    Alias /c \"/var/www/one\"\n</VirtualHost>\n");
    EXPECT_EQ(vdir_->DirectoryRequired("shop.test", "/var/www/two"), 1);
    EXPECT_EQ(vdir_->DirectoryRequired("shop.test", "/var/www/one"), 0);
}

TEST_F(VirtualDirectoryLookupTest, UnreadableAndOverLongLines) {
    // An unclosed quote: 1, and the scratch file deleted; with a target the
    // same alias matches.
    writeConf("<VirtualHost *:80>\nServerName a.test\n<Directory \"/x>\nAlias /shop\n</VirtualHost>\n");
    writeFile(kScratch, "left over");
    EXPECT_EQ(exists("a.test", "/y"), 1);
    EXPECT_FALSE(exists(kScratch));
    writeFile(kScratch, "left over");
    EXPECT_EQ(check("a.test", "shop", "/y"), 1);
    EXPECT_FALSE(exists(kScratch));
    writeConf("<VirtualHost *:80>\nServerName a.test\nAlias /shop /x\n</VirtualHost>\n");
    EXPECT_EQ(check("a.test", "shop", "/y"), '}');

    // A line over the limit is examined cut, then ends the scan.
    const std::string head = "<VirtualHost *:80>\nServerName a.test\n";
    const std::string tail = "\n<Directory \"/after\">\nAlias /next /n\n</VirtualHost>\n";
    writeConf(head + "<Directory \"/x\"> #" + std::string(3000, 'x') + tail);
    EXPECT_EQ(exists("a.test", "/x"), 1);
    EXPECT_EQ(exists("a.test", "/after"), 0);
    EXPECT_EQ(check("a.test", "next", "/x"), 'X');
    const std::string alias = "Alias /shop /var/www/";
    writeConf(head + alias + std::string(3000, 't') + tail);
    EXPECT_EQ(check("a.test", "shop"), '}');
    EXPECT_EQ(vdir_->GetVDPath(conf_, "a.test", "/shop"), "/var/www/" + std::string(2999 - alias.size(), 't'));
    EXPECT_EQ(vdir_->GetVDPath(conf_, "a.test", "/next"), "");
}

TEST_F(VirtualDirectoryLookupTest, LookupsWithoutConfiguration) {
    CQZVirtualDirectory noConf(&tracker_);
    SDDir d = dir("a.test", "/x", "x");
    StringVector list;
    EXPECT_EQ(noConf.VirtualDirectoryExists(&d) + noConf.VirtualDirectoryList("a.test", &list) +
                  noConf.DirectoryRequired("a.test", "/x") + noConf.CheckVirDir(&d), 4 * 21);
    CQZVirtualDirectory vdir(&tracker_, missing_.c_str());
    const std::string error = "Error opening HttpdConfFile file\n";
    EXPECT_PRINTS(vdir.VirtualDirectoryExists(&d), 22, error);
    EXPECT_PRINTS(vdir.VirtualDirectoryList("a.test", &list), 22, "");
    EXPECT_PRINTS(vdir.DirectoryRequired("a.test", "/x"), 22, error);
    EXPECT_PRINTS(vdir.CheckVirDir(&d), 22, error);
    EXPECT_PRINTS(vdir.GetVDPath(missing_, "a.test", "/x"), "", "Error while opening HttpdConfFile\n");
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
