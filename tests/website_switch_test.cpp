// StopWebsite, StartWebsite, GetWebsiteStatus, PauseWebsite and
// ContinueWebsite: before/after configurations, the mv, messages and codes.
#include "QZTestFixture.h"

using Lines = std::vector<std::string>;

class WebsiteSwitchTest : public HttpdConfTest {
protected:
    void SetUp() override {
        HttpdConfTest::SetUp();
        loggedCommand("mv");
    }
};

TEST_F(WebsiteSwitchTest, StopThenStartGivesTheBlockBackWithoutBlankLines) {
    writeConf(data("switch/running.conf"));
    CQZTrackManager tracker;
    CQZWebsite website(&tracker, conf_.c_str());
    const std::string temp = website.TEMPFILE;
    EXPECT_EQ(website.GetWebsiteStatus("example.com"), 34);

    EXPECT_EQ(website.StopWebsite("example.com"), 30);
    EXPECT_EQ(readConf(), data("switch/running.stopped"));
    captureOutput();
    EXPECT_EQ(website.GetWebsiteStatus("EXAMPLE.com"), 33);
    EXPECT_EQ(website.GetWebsiteStatus("keep.com"), 34);
    EXPECT_EQ(capturedOutput(), "Example.COM\nkeep.com\n");

    // Stopped lines are comments already: a second stop changes nothing.
    EXPECT_EQ(website.StopWebsite("example.com"), 30);
    EXPECT_EQ(website.StartWebsite("example.com"), 29);
    EXPECT_EQ(readConf(), data("switch/running.started"));
    EXPECT_EQ(website.GetWebsiteStatus("example.com"), 34);
    EXPECT_EQ(commandLog(), (Lines{"mv " + temp + " " + conf_, "mv " + temp + " " + conf_}));

    // Both report under the stop operation's name; the status query reports nothing.
    EXPECT_EQ(calls(tracker), (Lines{"CQZModuleName Apache", "CQZModuleProperties [" + conf_ + "] [HDCFFile]",
                                     "CQZMethodName StopWebsite", "CQZMethodArguments [example.com] [DomainName]",
                                     "CQZMethodName StopWebsite", "CQZMethodArguments [example.com] [DomainName]",
                                     "CQZMethodName StopWebsite", "CQZMethodArguments [example.com] [DomainName]"}));
}

TEST_F(WebsiteSwitchTest, StartRemovesEveryLeadingMarkAndNoMatchMovesNothing) {
    writeConf(data("switch/double_marks.conf"));
    CQZWebsite website(nullptr, conf_.c_str());
    const std::string temp = std::string(website.TEMPFILE).substr(root_.size());
    EXPECT_EQ(website.StartWebsite("twice.org"), 29);
    EXPECT_EQ(readConf(), data("switch/double_marks.started"));
    EXPECT_EQ(commandLog().size(), 1u);

    // No such site (a trailing blank is part of the name): 29 and 30 all the
    // same, the scratch file written, the configuration left.
    EXPECT_EQ(website.StartWebsite("twice.org "), 29);
    EXPECT_EQ(website.StopWebsite("nosuch.org"), 30);
    EXPECT_EQ(commandLog().size(), 1u);
    // The scratch file shows the stop's pass: the comment line moved up.
    EXPECT_EQ(readFile(temp), "  # kept: a mark after white space\n<VirtualHost 10.0.0.2>\n"
                              "  ServerName twice.org\n</VirtualHost>\n");
    EXPECT_EQ(readConf(), data("switch/double_marks.started"));
}

TEST_F(WebsiteSwitchTest, StatusNeedsABlankAfterServerNameAndAnOpenBlock) {
    writeFile("/conf/httpd.conf",
              "ServerName outside.com\n"
              "<VirtualHost 10.0.0.1>\n"
              "\tServerName\ttabbed.com\n"
              "</VirtualHost>\n"
              "<VirtualHost 10.0.0.1>\n"
              "    ServerName first.com\n"
              "    ServerName second.com\n"
              "</VirtualHost>\n"
              "  #  ServerName loose.com\n"
              "<virtualhost 10.0.0.1>\n"
              "  #  servername   Spaced.com\n"
              "</VirtualHost>\n");
    CQZWebsite website(nullptr, conf_.c_str());
    captureOutput();
    EXPECT_EQ(website.GetWebsiteStatus("tabbed.com"), 1);
    EXPECT_EQ(website.GetWebsiteStatus("outside.com"), 1);
    EXPECT_EQ(website.GetWebsiteStatus("second.com"), 1);
    EXPECT_EQ(website.GetWebsiteStatus("loose.com"), 1);
    EXPECT_EQ(website.GetWebsiteStatus("spaced.com"), 33);
    EXPECT_EQ(capturedOutput(), "Spaced.com\n");
    EXPECT_EQ(website.PauseWebsite("spaced.com"), 0);
    EXPECT_EQ(website.ContinueWebsite(nullptr), 0);
}

TEST_F(WebsiteSwitchTest, MissingConfigurationGives21Or22) {
    CQZWebsite noConf(nullptr);
    EXPECT_EQ(noConf.GetWebsiteStatus("a.com"), 21);
    const std::string missing = path("/conf/missing.conf");
    CQZWebsite website(nullptr, missing.c_str());
    captureOutput();
    EXPECT_EQ(website.GetWebsiteStatus("a.com"), 22);
    EXPECT_EQ(website.StopWebsite("a.com"), 22);
    EXPECT_EQ(website.StartWebsite("a.com"), 22);
    // An empty configuration name is not special to start and stop: it does not open.
    EXPECT_EQ(noConf.StopWebsite("a.com"), 22);
    std::string fourMessages;
    for (int i = 0; i < 4; ++i) fourMessages += "Error while opening HttpdConfFile\n";
    EXPECT_EQ(capturedOutput(), fourMessages);
    EXPECT_TRUE(commandLog().empty());
}
