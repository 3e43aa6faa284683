// StopWebsite, StartWebsite, GetWebsiteStatus, PauseWebsite and
// ContinueWebsite: before/after configurations, the mv, messages and codes.
#include "QZTestFixture.h"


class WebsiteSwitchTest : public HttpdConfTest {
protected:
    void SetUp() override {
        HttpdConfTest::SetUp();
        loggedCommand("mv");
    }
};

TEST_F(WebsiteSwitchTest, StopThenStartGivesTheBlockBackWithoutBlankLines) {
    useConf("switch/running.conf");
    CQZTrackManager tracker;
    CQZWebsite website(&tracker, conf_.c_str());
    const std::string mv = "mv " + std::string(website.TEMPFILE) + " " + conf_;
    EXPECT_EQ(website.GetWebsiteStatus("example.com"), 34);
    EXPECT_EQ(website.StopWebsite("example.com"), 30);
    EXPECT_EQ(readConf(), data("switch/running.stopped"));
    EXPECT_PRINTS(website.GetWebsiteStatus("EXAMPLE.com"), 33, "Example.COM\n");
    EXPECT_PRINTS(website.GetWebsiteStatus("keep.com"), 34, "keep.com\n");

    // Stopped lines are comments already: a second stop changes nothing.
    EXPECT_EQ(website.StopWebsite("example.com"), 30);
    EXPECT_EQ(website.StartWebsite("example.com"), 29);
    EXPECT_EQ(readConf(), data("switch/running.started"));
    EXPECT_EQ(website.GetWebsiteStatus("example.com"), 34);
    EXPECT_EQ(commandLog(), (Lines{mv, mv}));

    // Both report under the stop operation's name; the status query reports nothing.
    Lines reported = {"CQZModuleName Apache", "CQZModuleProperties [" + conf_ + "] [HDCFFile]"};
    for (int call = 0; call < 3; ++call)
        reported.insert(reported.end(), {"CQZMethodName StopWebsite", "CQZMethodArguments [example.com] [DomainName]"});
    EXPECT_EQ(calls(tracker), reported);
}

TEST_F(WebsiteSwitchTest, StartRemovesEveryLeadingMarkAndNoMatchMovesNothing) {
    useConf("switch/double_marks.conf");
    CQZWebsite website(nullptr, conf_.c_str());
    EXPECT_EQ(website.StartWebsite("twice.org"), 29);
    EXPECT_EQ(readConf(), data("switch/double_marks.started"));
    EXPECT_EQ(commandLog().size(), 1u);

    // No such site (a trailing blank is part of the name): 29 and 30 all the
    // same, the scratch file written, the configuration left.
    EXPECT_EQ(website.StartWebsite("twice.org "), 29);
    EXPECT_EQ(website.StopWebsite("nosuch.org"), 30);
    EXPECT_EQ(commandLog().size(), 1u);
    // The scratch file shows the stop's pass: the comment line moved up.
    EXPECT_EQ(readFile(std::string(website.TEMPFILE).substr(root_.size())),
              "  # kept: a mark after white space\n<VirtualHost 10.0.0.2>\n  ServerName twice.org\n</VirtualHost>\n");
    EXPECT_EQ(readConf(), data("switch/double_marks.started"));
}

TEST_F(WebsiteSwitchTest, StatusNeedsABlankAfterServerNameAndAnOpenBlock) {
    useConf("switch/status_names.conf");
    CQZWebsite website(nullptr, conf_.c_str());
    for (const char* domain : {"tabbed.com", "outside.com", "second.com", "loose.com"})
        EXPECT_PRINTS(website.GetWebsiteStatus(domain), 1, "");
    EXPECT_PRINTS(website.GetWebsiteStatus("spaced.com"), 33, "Spaced.com\n");
    EXPECT_EQ(website.PauseWebsite("spaced.com"), 0);
    EXPECT_EQ(website.ContinueWebsite(nullptr), 0);
}

TEST_F(WebsiteSwitchTest, MissingConfigurationGives21Or22) {
    CQZWebsite noConf(nullptr);
    EXPECT_EQ(noConf.GetWebsiteStatus("a.com"), 21);
    CQZWebsite website(nullptr, missing_.c_str());
    const std::string message = "Error while opening HttpdConfFile\n";
    EXPECT_PRINTS(website.GetWebsiteStatus("a.com"), 22, message);
    EXPECT_PRINTS(website.StopWebsite("a.com"), 22, message);
    EXPECT_PRINTS(website.StartWebsite("a.com"), 22, message);
    // An empty configuration name is not special to start and stop: it does not open.
    EXPECT_PRINTS(noConf.StopWebsite("a.com"), 22, message);
    EXPECT_TRUE(commandLog().empty());
}
