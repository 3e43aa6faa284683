// Manager construction: tracking calls, members, scratch-file names, copies.
#include "QZTestFixture.h"

#include <cstring>
#include <ctime>


class ManagersTest : public QZTest {
protected:
    CQZTrackManager tracker;
};

TEST_F(ManagersTest, WebsiteConstructorsTrackAndNameTheirScratchFile) {
    // Without a tracker nothing is set, and operations have no configuration
    // to touch.
    CQZWebsite bare;
    EXPECT_TRUE(bare.TEMPFILE == nullptr && bare.HttpdConfFile == nullptr && bare.TrackManager == nullptr);
    EXPECT_EQ(bare.WebsiteExists("a.com"), 21);
    EXPECT_EQ(bare.DeleteWebsite("a.com", 0), 21);

    // A tracker alone: an empty configuration name, a scratch file in /etc;
    // operations give 21, write nothing and still report themselves.
    CQZWebsite website(&tracker);
    EXPECT_EQ(website.TrackManager, &tracker);
    EXPECT_STREQ(website.HttpdConfFile, "");
    ASSERT_NE(website.TEMPFILE, nullptr);
    EXPECT_EQ(std::string(website.TEMPFILE).rfind(root_ + "/etc/", 0), 0u) << website.TEMPFILE;
    std::vector<std::string> list;
    EXPECT_EQ(website.DeleteWebsite("a.com", 0), 21);
    EXPECT_EQ(website.WebsiteExists("a.com"), 21);
    EXPECT_EQ(website.ListWebsites(list), 21);
    EXPECT_TRUE(list.empty());
    EXPECT_FALSE(exists(std::string(website.TEMPFILE).substr(root_.size())));
    EXPECT_EQ(calls(tracker), (Lines{"CQZModuleName Apache", "CQZMethodName DeleteWebsite", "CQZMethodArguments [a.com] [pDName]",
                                     "CQZMethodName WebsiteExists", "CQZMethodArguments [a.com] [DomainName]",
                                     "CQZMethodName ListWebsites", "CQZMethodArguments [] []"}));

    // With a configuration: its pointer kept, the scratch file named after
    // the time in its folder.
    CQZTrackManager named;
    const std::string conf = "/srv/conf/httpd.conf";
    const long before = static_cast<long>(time(nullptr));
    CQZWebsite withConf(&named, conf.c_str());
    const long after = static_cast<long>(time(nullptr));
    EXPECT_EQ(withConf.HttpdConfFile, conf.c_str());
    const std::string temp = withConf.TEMPFILE;
    ASSERT_EQ(temp.rfind("/srv/conf/", 0), 0u) << temp;
    const long stamp = std::stol(temp.substr(10));
    EXPECT_TRUE(stamp >= before && stamp <= after) << temp;
    EXPECT_EQ(calls(named), (Lines{"CQZModuleName Apache", "CQZModuleProperties [/srv/conf/httpd.conf] [HDCFFile]"}));
    EXPECT_EQ(std::string(CQZWebsite(&tracker, "httpd.conf").TEMPFILE).rfind("httpd.conf/", 0), 0u);
}

TEST_F(ManagersTest, CopiesOwnTheirBuffers) {
    CQZWebsite* original = new CQZWebsite(&tracker, "/srv/httpd.conf");
    CQZWebsite copy(*original);
    CQZWebsite assigned;
    assigned = *original;
    EXPECT_NE(copy.TEMPFILE, original->TEMPFILE);
    const std::string name = original->TEMPFILE;
    delete original;
    EXPECT_EQ(name, copy.TEMPFILE);
    EXPECT_EQ(name, assigned.TEMPFILE);
    CQZUsers* users = new CQZUsers(&tracker, root_.c_str(), "a.com", "/home/a/b");
    CQZUsers usersCopy(*users);
    delete users;
    EXPECT_STREQ(usersCopy.FolderPath, "_home_a_b");
    CQZVirtualDirectory* dir = new CQZVirtualDirectory(&tracker, "/srv/httpd.conf");
    CQZVirtualDirectory dirCopy(*dir);
    delete dir;
    EXPECT_EQ(std::string(dirCopy.TEMPFILE), root_ + "/etc/apactemp1");

    // A caller's own buffer put in TEMPFILE is used, never freed.
    static char callerBuffer[] = "/srv/scratch";
    CQZWebsite repointed(&tracker, "/srv/httpd.conf");
    repointed.TEMPFILE = callerBuffer;
    EXPECT_EQ(CQZWebsite(repointed).TEMPFILE, callerBuffer);
    CQZUsers repointedUsers(&tracker, root_.c_str(), "a.com", "/x");
    repointedUsers.TEMPFILE = repointedUsers.FolderPath = callerBuffer;
}

TEST_F(ManagersTest, VirtualDirectoryAndUsersConstructors) {
    CQZVirtualDirectory plain(&tracker);
    EXPECT_TRUE(plain.HttpdConfFile == nullptr && plain.InsFolder == nullptr && plain.TEMPFILE == nullptr);
    CQZVirtualDirectory withFolder(&tracker, "/srv/httpd.conf", "/opt/qz");
    EXPECT_STREQ(withFolder.HttpdConfFile, "/srv/httpd.conf");
    EXPECT_STREQ(withFolder.InsFolder, "/opt/qz");
    EXPECT_EQ(std::string(withFolder.TEMPFILE), root_ + "/etc/apactemp");
    CQZVirtualDirectory confOnly(&tracker, "/srv/httpd.conf");
    EXPECT_EQ(confOnly.InsFolder, nullptr);
    EXPECT_EQ(std::string(confOnly.TEMPFILE), root_ + "/etc/apactemp1");

    CQZUsers users(&tracker);
    EXPECT_TRUE(users.InsFolder == nullptr && users.DomainName == nullptr && users.FolderPath == nullptr);
    ASSERT_NE(users.TEMPFILE, nullptr);
    makeDir("/opt/qz");
    const std::string ins = path("/opt/qz");
    CQZUsers folderUsers(&tracker, ins.c_str(), "a.com", "/home/a/b");
    EXPECT_STREQ(folderUsers.FolderPath, "_home_a_b");
    EXPECT_STREQ(folderUsers.DomainName, "a.com");
    EXPECT_EQ(std::string(folderUsers.TEMPFILE).rfind(ins + "/", 0), 0u) << folderUsers.TEMPFILE;
    EXPECT_STREQ(CQZUsers(&tracker, ins.c_str(), "a.com", nullptr).FolderPath, "");
    EXPECT_EQ(calls(tracker), Lines(6, "CQZModuleName WebServerManager"));
}

TEST_F(ManagersTest, AddonConstructorsTrackOnlyWhereTheyShould) {
    PrivateFolder noTracker;
    EXPECT_EQ(noTracker.TrackManager, nullptr);
    PrivateFolder folder(&tracker);
    WebmailManager webmail(&tracker);
    CustomErrorPages noPages;
    EXPECT_EQ(noPages.TrackManager, nullptr);
    EXPECT_EQ(noPages.m_szHttpdConfFile, "");
    EXPECT_EQ(CustomErrorPages(&tracker, "/srv/httpd.conf").m_szHttpdConfFile, "/srv/httpd.conf");
    EXPECT_EQ(RubyOnRails().TrackManager, nullptr);
    EXPECT_EQ(RubyOnRails(&tracker, "/srv/httpd.conf").m_apacheConfFile, "/srv/httpd.conf");
    EXPECT_EQ(LveManager().trackManager, nullptr);
    LveManager lve(&tracker);
    EXPECT_EQ(lve.trackManager, &tracker);
    EXPECT_EQ(lve.apacheConfFile, "");
    EXPECT_EQ(LveManager("/srv/httpd.conf", &tracker).apacheConfFile, "/srv/httpd.conf");
    ApacheHelper helper;
    FileHandling files;
    (void)helper;
    (void)files;
    EXPECT_EQ(calls(tracker), (Lines{"CQZModuleName WebServerManager", "CQZModuleName WebmailManager",
                                     "CQZModuleName WebServerManager"}));
}
