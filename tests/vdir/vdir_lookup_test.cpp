// Virtual-directory removal and lookups: before/after configurations, result
// codes, printed lines, tracking, the scratch file and RemoveDir.
#include "AreaGolden.h"
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
    watchCalls(tracker_);
    useConf("vdir/aliases.conf");
    // Past the block's end, before the next block, still counts.
    for (auto [domain, dir] : {std::pair{"shop.test", "/VAR/WWW/SHOP"}, {"shop.test", "/var/www/after"},
                               {"shop.test", "/var/www/none"}, {"other.test", "/var/www/shop"}})
        STEP(std::string("exists ") + domain + " " + dir, exists(domain, dir));
    StringVector list{"kept"};
    STEP("list", vdir_->VirtualDirectoryList("shop.test", &list));
    STEP("listed", joined(list));
    // GetVDPath is not tracked.
    for (auto [domain, alias] : {std::pair{"shop.test", "/shop"}, {"shop.test", "/loose"}, {"shop.test", "/SHOP"},
                                 {"other.test", "/shop"}, {"other.test", "/img"}})
        STEP(std::string("path ") + domain + " " + alias, vdir_->GetVDPath(conf_, domain, alias));
    // An unquoted section is never counted; DirectoryRequired reports as the
    // info operation.
    for (const char* dir : {"/var/www/SHOP", "/var/www/img", "/var/www/blog"})
        STEP(std::string("required ") + dir, vdir_->DirectoryRequired("shop.test", dir));
    STEP("check SHOP", check("shop.test", "SHOP"));
    STEP("check old", check("shop.test", "old"));
    // Two aliases of the site to the folder make it required; the commented
    // one and the other site's do not count.
    writeConf("<VirtualHost *:80>\n    ServerName shop.test\n    Alias /a \"/var/www/two\"\n"
              "    Alias /one \"/var/www/one\"\n#   Alias /old \"/var/www/one\"\n    Alias /b \"/var/www/two\"\n"
              "</VirtualHost>\n<VirtualHost *:80>\n    ServerName other.test\n    Alias /c \"/var/www/one\"\n</VirtualHost>\n");
    STEP("required, two aliases", vdir_->DirectoryRequired("shop.test", "/var/www/two"));
    STEP("required, one alias", vdir_->DirectoryRequired("shop.test", "/var/www/one"));

    // An unclosed quote: 1, and the scratch file deleted; with a target the
    // same alias matches.
    writeConf("<VirtualHost *:80>\nServerName a.test\n<Directory \"/x>\nAlias /shop\n</VirtualHost>\n");
    writeFile(kScratch, "left over");
    STEP("exists, an unclosed quote", exists("a.test", "/y"));
    writeFile(kScratch, "left over");
    STEP("check, an unclosed quote", check("a.test", "shop", "/y"));
    writeConf("<VirtualHost *:80>\nServerName a.test\nAlias /shop /x\n</VirtualHost>\n");
    STEP("check, a target", check("a.test", "shop", "/y"));
    // A line over the limit is examined cut, then ends the scan.
    const std::string head = "<VirtualHost *:80>\nServerName a.test\n";
    const std::string tail = "\n<Directory \"/after\">\nAlias /next /n\n</VirtualHost>\n";
    writeConf(head + "<Directory \"/x\"> #" + std::string(3000, 'x') + tail);
    STEP("exists, cut", exists("a.test", "/x"));
    STEP("exists, after a long line", exists("a.test", "/after"));
    STEP("check, after a long line", check("a.test", "next", "/x"));
    const std::string alias = "Alias /shop /var/www/";
    writeConf(head + alias + std::string(3000, 't') + tail);
    STEP("check, a long alias", check("a.test", "shop"));
    STEP("path, a long alias", vdir_->GetVDPath(conf_, "a.test", "/shop"));
    STEP("path, after a long line", vdir_->GetVDPath(conf_, "a.test", "/next"));

    CQZVirtualDirectory noConf(&tracker_), vdir(&tracker_, missing_.c_str());
    SDDir d = dir("a.test", "/x", "x");
    list.clear();
    for (CQZVirtualDirectory* manager : {&noConf, &vdir}) {
        STEP("exists, no configuration", manager->VirtualDirectoryExists(&d));
        STEP("list, no configuration", manager->VirtualDirectoryList("a.test", &list));
        STEP("required, no configuration", manager->DirectoryRequired("a.test", "/x"));
        STEP("check, no configuration", manager->CheckVirDir(&d));
    }
    STEP("path, no configuration", vdir.GetVDPath(missing_, "a.test", "/x"));
    STEP("nothing listed", joined(list));
    EXPECT_DATA(transcript_, "vdir/lookups.transcript");
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
