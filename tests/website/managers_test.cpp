// Managers: what each constructor reports, where its scratch file goes, and
// copies that own their buffers.
#include "QZTestFixture.h"

#include <ctime>

using ManagersTest = QZTest;

TEST_F(ManagersTest, ConstructorsReportAndNameTheirScratchFiles) {
    CQZTrackManager tracker;
    // Without a tracker nothing is set; with one alone the configuration
    // name is empty and the scratch file in /etc. Operations give 21, write
    // nothing and still report themselves.
    CQZWebsite bare, website(&tracker);
    EXPECT_TRUE(bare.TEMPFILE == nullptr && bare.HttpdConfFile == nullptr && bare.TrackManager == nullptr);
    std::vector<std::string> list;
    EXPECT_EQ(bare.DeleteWebsite("a.com", 0) + website.DeleteWebsite("a.com", 0) + website.WebsiteExists("a.com") +
              website.ListWebsites(list) + static_cast<int>(list.size()), 4 * 21);
    EXPECT_STREQ(website.HttpdConfFile, "");
    EXPECT_EQ(std::string(website.TEMPFILE).rfind(root_ + "/etc/", 0), 0u) << website.TEMPFILE;
    EXPECT_FALSE(exists(std::string(website.TEMPFILE).substr(root_.size())));
    // With a configuration: the scratch file named after the time in its folder.
    const long before = static_cast<long>(time(nullptr));
    CQZWebsite withConf(&tracker, "/srv/conf/httpd.conf");
    const std::string temp = withConf.TEMPFILE;
    ASSERT_EQ(temp.rfind("/srv/conf/", 0), 0u) << temp;
    EXPECT_TRUE(std::stol(temp.substr(10)) >= before && std::stol(temp.substr(10)) <= static_cast<long>(time(nullptr)));
    EXPECT_EQ(std::string(CQZWebsite(&tracker, "httpd.conf").TEMPFILE).rfind("httpd.conf/", 0), 0u);
    EXPECT_EQ(std::string(CQZVirtualDirectory(&tracker, "/srv/httpd.conf", "/opt/qz").TEMPFILE), root_ + "/etc/apactemp");
    EXPECT_EQ(std::string(CQZVirtualDirectory(&tracker, "/srv/httpd.conf").TEMPFILE), root_ + "/etc/apactemp1");
    EXPECT_EQ(CQZVirtualDirectory(&tracker).TEMPFILE, nullptr);
    makeDir("/opt/qz");
    const std::string ins = path("/opt/qz");
    CQZUsers users(&tracker, ins.c_str(), "a.com", "/home/a/b");
    EXPECT_STREQ(users.FolderPath, "_home_a_b");
    EXPECT_EQ(std::string(users.TEMPFILE).rfind(ins + "/", 0), 0u) << users.TEMPFILE;
    EXPECT_STREQ(CQZUsers(&tracker, ins.c_str(), "a.com", nullptr).FolderPath, "");
    // The addons: only some report, and never without a tracker.
    PrivateFolder folder(&tracker), untracked;
    WebmailManager webmail(&tracker);
    EXPECT_EQ(untracked.TrackManager, nullptr);
    EXPECT_EQ(CustomErrorPages(&tracker, "/srv/httpd.conf").m_szHttpdConfFile, "/srv/httpd.conf");
    EXPECT_EQ(LveManager("/srv/httpd.conf", &tracker).apacheConfFile, "/srv/httpd.conf");
    transcript_ = "";
    for (const std::string& line : calls(tracker)) transcript_ += line + "\n";
    EXPECT_DATA(transcript_, "managers/constructor_calls.transcript");
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
