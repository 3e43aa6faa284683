// DeleteWebsite: before/after configurations, the mv it runs, messages,
// result codes and tracking.
#include "QZTestFixture.h"


class DeleteWebsiteTest : public HttpdConfTest {
protected:
    void SetUp() override {
        HttpdConfTest::SetUp();
        loggedCommand("mv");
    }
};

TEST_F(DeleteWebsiteTest, RemovesEveryMatchingBlockAndBlankLinesOutsideBlocks) {
    for (auto [name, domain] : {std::pair{"two_blocks_same_name", "example.com"}, {"stopped_site", "stopped.com"},
                                {"nameless_block_after_removed", "gone.com"}, {"unclosed_blocks", "gone.com"}}) {
        SCOPED_TRACE(name);
        useConf("delete/" + std::string(name) + ".conf");
        CQZWebsite website(nullptr, conf_.c_str());
        EXPECT_EQ(website.DeleteWebsite(domain, 'N'), 24);
        EXPECT_EQ(readConf(), data("delete/" + std::string(name) + ".expected"));
        EXPECT_FALSE(exists(std::string(website.TEMPFILE).substr(root_.size()))) << "the scratch file was moved";
    }
}

TEST_F(DeleteWebsiteTest, RunsMvOfTheScratchFileAndTracks) {
    writeConf("\n\nListen 80\n\n");
    CQZTrackManager tracker;
    CQZWebsite website(&tracker, conf_.c_str());
    EXPECT_PRINTS(website.DeleteWebsite("nosuch.com", 0), 24, "");
    EXPECT_EQ(commandLog(), (Lines{"mv " + std::string(website.TEMPFILE) + " " + conf_}));
    EXPECT_EQ(readConf(), "Listen 80\n");
    EXPECT_EQ(calls(tracker), (Lines{"CQZModuleName Apache", "CQZModuleProperties [" + conf_ + "] [HDCFFile]",
                                     "CQZMethodName DeleteWebsite", "CQZMethodArguments [nosuch.com] [pDName]"}));
}

TEST_F(DeleteWebsiteTest, UnopenableFilesAndOverLongLinesLeaveTheConfiguration) {
    EXPECT_PRINTS(CQZWebsite(nullptr, missing_.c_str()).DeleteWebsite("a.com", 0), 22, "Error opening HttpdConfFile file");
    // The scratch file lies in the configuration's folder; make that
    // impossible to create by putting a folder where it would go.
    writeConf("Listen 80\n");
    CQZWebsite website(nullptr, conf_.c_str());
    makeDir(std::string(website.TEMPFILE).substr(root_.size()));
    EXPECT_PRINTS(website.DeleteWebsite("a.com", 0), 23, "Error opening TEMPFILE file");
    EXPECT_EQ(readConf(), "Listen 80\n");
    // A folder is not a configuration file.
    makeDir("/conf/folder.conf");
    const std::string folder = path("/conf/folder.conf");
    CQZWebsite onFolder(nullptr, folder.c_str());
    EXPECT_PRINTS(onFolder.DeleteWebsite("a.com", 0), 22, "Error opening HttpdConfFile file");
    EXPECT_PRINTS(onFolder.WebsiteExists("a.com"), 22, "Error while opening HttpdConfFile\n");

    // A line over 2999 characters: 22, the file as it was; 2999 still fit.
    std::remove(std::string(website.TEMPFILE).c_str());
    const std::string block = "<VirtualHost *:80>\n    ServerName a.com\n</VirtualHost>\n";
    const std::string overLong = block + "# " + std::string(3000, 'x') + "\nListen 80\n";
    writeConf(overLong);
    EXPECT_EQ(website.DeleteWebsite("a.com", 0), 22);
    EXPECT_EQ(readConf(), overLong);
    EXPECT_TRUE(commandLog().empty());
    const std::string fits = "# " + std::string(2997, 'x') + "\n";
    writeConf(block + fits);
    EXPECT_EQ(website.DeleteWebsite("a.com", 0), 24);
    EXPECT_EQ(readConf(), fits);
}
