// DeleteWebsite: before/after configurations, the mv it runs, messages,
// result codes and tracking.
#include "QZTestFixture.h"

using Lines = std::vector<std::string>;

class DeleteWebsiteTest : public HttpdConfTest {
protected:
    // Deletes `domain` from a copy of tests/data/delete/<name>.conf and
    // checks the result against <name>.expected.
    void expectDelete(const std::string& name, const char* domain) {
        SCOPED_TRACE(name);
        writeConf(data("delete/" + name + ".conf"));
        const std::string& conf = conf_;
        CQZTrackManager tracker;
        CQZWebsite website(&tracker, conf.c_str());
        EXPECT_EQ(website.DeleteWebsite(domain, 'N'), 24);
        EXPECT_EQ(readConf(), data("delete/" + name + ".expected"));
        EXPECT_FALSE(exists(std::string(website.TEMPFILE).substr(root_.size()))) << "the scratch file was moved";
    }
};

TEST_F(DeleteWebsiteTest, RemovesEveryMatchingBlockAndBlankLinesOutsideBlocks) {
    expectDelete("two_blocks_same_name", "example.com");
    expectDelete("stopped_site", "stopped.com");
    expectDelete("nameless_block_after_removed", "gone.com");
    expectDelete("unclosed_blocks", "gone.com");
}

TEST_F(DeleteWebsiteTest, RunsMvOfTheScratchFileAndTracks) {
    loggedCommand("mv");
    writeConf("\n\nListen 80\n\n");
    const std::string& conf = conf_;
    CQZTrackManager tracker;
    CQZWebsite website(&tracker, conf.c_str());
    const std::string temp = website.TEMPFILE;
    captureOutput();
    EXPECT_EQ(website.DeleteWebsite("nosuch.com", 0), 24);
    EXPECT_EQ(capturedOutput(), "");
    EXPECT_EQ(commandLog(), (Lines{"mv " + temp + " " + conf}));
    EXPECT_EQ(readConf(), "Listen 80\n");
    EXPECT_EQ(calls(tracker), (Lines{"CQZModuleName Apache", "CQZModuleProperties [" + conf + "] [HDCFFile]",
                                     "CQZMethodName DeleteWebsite", "CQZMethodArguments [nosuch.com] [pDName]"}));
}

TEST_F(DeleteWebsiteTest, UnopenableFilesGive22And23WithTheirMessages) {
    loggedCommand("mv");
    CQZTrackManager tracker;
    const std::string missing = path("/conf/missing.conf");
    CQZWebsite noConf(&tracker, missing.c_str());
    captureOutput();
    EXPECT_EQ(noConf.DeleteWebsite("a.com", 0), 22);
    EXPECT_EQ(capturedOutput(), "Error opening HttpdConfFile file");

    // The scratch file lies in the configuration's folder; make that
    // impossible to create by putting a folder where it would go.
    writeConf("Listen 80\n");
    const std::string& conf = conf_;
    CQZWebsite website(&tracker, conf.c_str());
    makeDir(std::string(website.TEMPFILE).substr(root_.size()));
    captureOutput();
    EXPECT_EQ(website.DeleteWebsite("a.com", 0), 23);
    EXPECT_EQ(capturedOutput(), "Error opening TEMPFILE file");
    EXPECT_EQ(readConf(), "Listen 80\n");

    // A folder is not a configuration file.
    makeDir("/conf/folder.conf");
    const std::string folder = path("/conf/folder.conf");
    CQZWebsite onFolder(&tracker, folder.c_str());
    captureOutput();
    EXPECT_EQ(onFolder.DeleteWebsite("a.com", 0), 22);
    EXPECT_EQ(onFolder.WebsiteExists("a.com"), 22);
    EXPECT_EQ(capturedOutput(), "Error opening HttpdConfFile fileError while opening HttpdConfFile\n");
    EXPECT_TRUE(commandLog().empty());
}

TEST_F(DeleteWebsiteTest, AnOverLongLineLeavesTheConfigurationAlone) {
    loggedCommand("mv");
    const std::string original = "<VirtualHost *:80>\n    ServerName a.com\n</VirtualHost>\n# " +
                                 std::string(3000, 'x') + "\nListen 80\n";
    writeConf(original);
    const std::string& conf = conf_;
    CQZWebsite website(nullptr, conf.c_str());
    EXPECT_EQ(website.DeleteWebsite("a.com", 0), 22);
    EXPECT_EQ(readConf(), original);
    EXPECT_TRUE(commandLog().empty());

    // 2999 characters still fit.
    const std::string fits = "# " + std::string(2997, 'x');
    writeConf("<VirtualHost *:80>\n    ServerName a.com\n</VirtualHost>\n" + fits + "\n");
    EXPECT_EQ(website.DeleteWebsite("a.com", 0), 24);
    EXPECT_EQ(readConf(), fits + "\n");
}
