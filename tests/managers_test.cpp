// Manager construction: tracking calls, members, scratch-file names, copies.
#include "QZTestFixture.h"

#include <cstring>
#include <ctime>

using Lines = std::vector<std::string>;

class ManagersTest : public QZTest {};

TEST_F(ManagersTest, WebsiteConstructorsTrackAndNameTheirScratchFile) {
    {
        CQZWebsite bare;
        EXPECT_EQ(bare.TEMPFILE, nullptr);
        EXPECT_EQ(bare.HttpdConfFile, nullptr);
        EXPECT_EQ(bare.TrackManager, nullptr);
        // Operations on it have no configuration to touch.
        EXPECT_EQ(bare.WebsiteExists("a.com"), 21);
        EXPECT_EQ(bare.DeleteWebsite("a.com", 0), 21);
    }
    {
        CQZTrackManager tracker;
        CQZWebsite website(&tracker);
        EXPECT_EQ(website.TrackManager, &tracker);
        EXPECT_STREQ(website.HttpdConfFile, "");
        ASSERT_NE(website.TEMPFILE, nullptr);
        EXPECT_EQ(std::string(website.TEMPFILE).rfind(root_ + "/etc/", 0), 0u) << website.TEMPFILE;
        EXPECT_EQ(calls(tracker), (Lines{"CQZModuleName Apache"}));
    }
    {
        CQZTrackManager tracker;
        const std::string conf = "/srv/conf/httpd.conf";
        const long before = static_cast<long>(time(nullptr));
        CQZWebsite website(&tracker, conf.c_str());
        const long after = static_cast<long>(time(nullptr));
        EXPECT_EQ(website.HttpdConfFile, conf.c_str());
        const std::string temp = website.TEMPFILE;
        ASSERT_EQ(temp.rfind("/srv/conf/", 0), 0u) << temp;
        const long stamp = std::stol(temp.substr(10));
        EXPECT_TRUE(stamp >= before && stamp <= after) << temp;
        EXPECT_EQ(calls(tracker), (Lines{"CQZModuleName Apache", "CQZModuleProperties [/srv/conf/httpd.conf] [HDCFFile]"}));
    }
    {
        CQZTrackManager tracker;
        CQZWebsite website(&tracker, "httpd.conf");
        EXPECT_EQ(std::string(website.TEMPFILE).rfind("httpd.conf/", 0), 0u) << website.TEMPFILE;
    }
}

TEST_F(ManagersTest, WebsiteWithoutConfigurationReturns21AndWritesNothing) {
    CQZTrackManager tracker;
    CQZWebsite website(&tracker);
    std::vector<std::string> list;
    EXPECT_EQ(website.DeleteWebsite("a.com", 0), 21);
    EXPECT_EQ(website.WebsiteExists("a.com"), 21);
    EXPECT_EQ(website.ListWebsites(list), 21);
    EXPECT_TRUE(list.empty());
    EXPECT_FALSE(exists(std::string(website.TEMPFILE).substr(root_.size())));
    EXPECT_EQ(calls(tracker), (Lines{"CQZModuleName Apache", "CQZMethodName DeleteWebsite",
                                     "CQZMethodArguments [a.com] [pDName]", "CQZMethodName WebsiteExists",
                                     "CQZMethodArguments [a.com] [DomainName]", "CQZMethodName ListWebsites",
                                     "CQZMethodArguments [] []"}));
}

TEST_F(ManagersTest, CopiesOwnTheirBuffers) {
    CQZTrackManager tracker;
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

    // A caller's own buffer put in TEMPFILE is used, never freed.
    static char callerBuffer[] = "/srv/scratch";
    CQZWebsite repointed(&tracker, "/srv/httpd.conf");
    repointed.TEMPFILE = callerBuffer;
    CQZWebsite repointedCopy(repointed);
    EXPECT_EQ(repointedCopy.TEMPFILE, callerBuffer);
    CQZUsers repointedUsers(&tracker, root_.c_str(), "a.com", "/x");
    repointedUsers.TEMPFILE = callerBuffer;
    repointedUsers.FolderPath = callerBuffer;

    CQZVirtualDirectory* dir = new CQZVirtualDirectory(&tracker, "/srv/httpd.conf");
    CQZVirtualDirectory dirCopy(*dir);
    delete dir;
    EXPECT_EQ(std::string(dirCopy.TEMPFILE), root_ + "/etc/apactemp1");
}

TEST_F(ManagersTest, VirtualDirectoryAndUsersConstructors) {
    CQZTrackManager tracker;
    CQZVirtualDirectory plain(&tracker);
    EXPECT_EQ(plain.HttpdConfFile, nullptr);
    EXPECT_EQ(plain.InsFolder, nullptr);
    EXPECT_EQ(plain.TEMPFILE, nullptr);

    CQZVirtualDirectory withFolder(&tracker, "/srv/httpd.conf", "/opt/qz");
    EXPECT_STREQ(withFolder.HttpdConfFile, "/srv/httpd.conf");
    EXPECT_STREQ(withFolder.InsFolder, "/opt/qz");
    EXPECT_EQ(std::string(withFolder.TEMPFILE), root_ + "/etc/apactemp");

    CQZVirtualDirectory confOnly(&tracker, "/srv/httpd.conf");
    EXPECT_EQ(confOnly.InsFolder, nullptr);
    EXPECT_EQ(std::string(confOnly.TEMPFILE), root_ + "/etc/apactemp1");

    CQZUsers users(&tracker);
    EXPECT_EQ(users.InsFolder, nullptr);
    EXPECT_EQ(users.DomainName, nullptr);
    EXPECT_EQ(users.FolderPath, nullptr);
    ASSERT_NE(users.TEMPFILE, nullptr);

    makeDir("/opt/qz");
    const std::string ins = path("/opt/qz");
    CQZUsers folderUsers(&tracker, ins.c_str(), "a.com", "/home/a/b");
    EXPECT_STREQ(folderUsers.FolderPath, "_home_a_b");
    EXPECT_STREQ(folderUsers.DomainName, "a.com");
    EXPECT_EQ(std::string(folderUsers.TEMPFILE).rfind(ins + "/", 0), 0u) << folderUsers.TEMPFILE;

    CQZUsers nullFolder(&tracker, ins.c_str(), "a.com", nullptr);
    EXPECT_STREQ(nullFolder.FolderPath, "");

    EXPECT_EQ(calls(tracker), Lines(6, "CQZModuleName WebServerManager"));
}

TEST_F(ManagersTest, AddonConstructorsTrackOnlyWhereTheyShould) {
    CQZTrackManager tracker;
    PrivateFolder noTracker;
    EXPECT_EQ(noTracker.TrackManager, nullptr);
    PrivateFolder folder(&tracker);
    WebmailManager webmail(&tracker);
    CustomErrorPages noPages;
    EXPECT_EQ(noPages.TrackManager, nullptr);
    EXPECT_EQ(noPages.m_szHttpdConfFile, "");
    CustomErrorPages pages(&tracker, "/srv/httpd.conf");
    EXPECT_EQ(pages.m_szHttpdConfFile, "/srv/httpd.conf");
    RubyOnRails noRails;
    EXPECT_EQ(noRails.TrackManager, nullptr);
    RubyOnRails rails(&tracker, "/srv/httpd.conf");
    EXPECT_EQ(rails.m_apacheConfFile, "/srv/httpd.conf");
    LveManager noLve;
    EXPECT_EQ(noLve.trackManager, nullptr);
    LveManager lve(&tracker);
    EXPECT_EQ(lve.trackManager, &tracker);
    EXPECT_EQ(lve.apacheConfFile, "");
    LveManager lveConf("/srv/httpd.conf", &tracker);
    EXPECT_EQ(lveConf.apacheConfFile, "/srv/httpd.conf");
    ApacheHelper helper;
    FileHandling files;
    (void)helper;
    (void)files;

    EXPECT_EQ(calls(tracker), (Lines{"CQZModuleName WebServerManager", "CQZModuleName WebmailManager",
                                     "CQZModuleName WebServerManager"}));
}
