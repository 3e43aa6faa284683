// WebsiteExists, ListWebsites, VHostsInIncFile and ListNginxWebsites.
#include "QZTestFixture.h"

using Lines = std::vector<std::string>;

using WebsiteQueryTest = HttpdConfTest;

TEST_F(WebsiteQueryTest, WebsiteExistsMatchesTheWholeServerNameOfLiveBlocks) {
    writeConf(
        "ServerName server.com\n"
        "<VirtualHost 10.0.0.1:80>\n"
        "    ServerName   Spaced.COM\n"
        "</VirtualHost>\n"
        "<VirtualHost 10.0.0.1:80>\n"
        "    ServerName trailing.com \n"
        "</VirtualHost>\n"
        "<VirtualHost 10.0.0.1:80>\n"
        "    ServerName first.com\n"
        "    ServerName second.com\n"
        "</VirtualHost>\n"
        "#<VirtualHost 10.0.0.1:80>\n"
        "#    ServerName stopped.com\n"
        "#</VirtualHost>\n"
        "<VirtualHost 10.0.0.1:80>\n"
        "    ServerName www.prefixed.com\n"
        "</VirtualHost>\n");
    CQZTrackManager tracker;
    CQZWebsite website(&tracker, conf_.c_str());
    EXPECT_EQ(website.WebsiteExists("spaced.com"), 31);
    EXPECT_EQ(website.WebsiteExists("trailing.com"), 32);
    EXPECT_EQ(website.WebsiteExists("trailing.com "), 31);
    EXPECT_EQ(website.WebsiteExists("first.com"), 31);
    EXPECT_EQ(website.WebsiteExists("second.com"), 32);
    EXPECT_EQ(website.WebsiteExists("stopped.com"), 32);
    EXPECT_EQ(website.WebsiteExists("prefixed.com"), 32);
    EXPECT_EQ(website.WebsiteExists("server.com"), 32);
    EXPECT_EQ(calls(tracker)[2], "CQZMethodName WebsiteExists");
    EXPECT_EQ(calls(tracker)[3], "CQZMethodArguments [spaced.com] [DomainName]");

    // The stopped site is still a block for DeleteWebsite.
    EXPECT_EQ(website.DeleteWebsite("stopped.com", 0), 24);
    EXPECT_EQ(readConf().find("stopped"), std::string::npos);

    const std::string missing = path("/conf/none.conf");
    CQZWebsite noFile(&tracker, missing.c_str());
    captureOutput();
    EXPECT_EQ(noFile.WebsiteExists("a.com"), 22);
    EXPECT_EQ(capturedOutput(), "Error while opening HttpdConfFile\n");
}

TEST_F(WebsiteQueryTest, ListWebsitesReadsBlocksAndIncludedFiles) {
    const std::string serverRoot = path("/srv/httpd");
    makeDir("/srv/httpd/conf.d");
    writeFile("/srv/httpd/conf.d/sites.conf",
              "Include nested.conf\n"
              "<VirtualHost *:80>\n"
              "ServerName three.com\n"
              "</VirtualHost>\n");
    makeDir("/abs");
    writeFile("/abs/four.conf", "<VirtualHost *:80>\n  ServerName four.com\n</VirtualHost>\n");
    writeConf("ServerRoot \"" + serverRoot + "\"\n"
              "Include conf.d/sites.conf\n"
              "Include conf.d/*.conf\n"
              "Include conf.d\n"
              "Include " + path("/abs/four.conf") + "\n"
              "IncludeOptional extra.conf\n"
              "\n"
              "<VirtualHost *:80>\n"
              "    Include inside-a-block.conf\n"
              "    ServerName one.com\n"
              "    ServerName ignored.com\n"
              "</VirtualHost>\n"
              "# <VirtualHost *:80>\n"
              "#     ServerName commented.com\n"
              "<VirtualHost *:80>\n"
              "ServerName two.com \n"
              "</VirtualHost>\n");
    CQZTrackManager tracker;
    CQZWebsite website(&tracker, conf_.c_str());
    std::vector<std::string> list = {"kept"};
    captureOutput();
    EXPECT_EQ(website.ListWebsites(list), 28);
    EXPECT_EQ(capturedOutput(), "server root = " + serverRoot + "\n"
                                "File not found = " + serverRoot + "/conf.d/*.conf\n"
                                "Dir = " + serverRoot + "/conf.d\n"
                                "File not found = " + serverRoot + "/Optional extra.conf\n");
    EXPECT_EQ(list, (Lines{"kept", "one.com", "two.com ", "three.com", "four.com"}));
    EXPECT_EQ(calls(tracker)[2], "CQZMethodName ListWebsites");
    EXPECT_EQ(calls(tracker)[3], "CQZMethodArguments [] []");
}

TEST_F(WebsiteQueryTest, ListWebsitesFallsBackToTheDistributionServerRoot) {
    // An unquoted ServerRoot loses its first and last characters.
    writeConf("ServerRoot /etc/httpd\nInclude sites.conf\n<VirtualHost *:80>\nServerName one.com\n</VirtualHost>\n");
    CQZWebsite website(nullptr, conf_.c_str());
    std::vector<std::string> list;
    captureOutput();
    EXPECT_EQ(website.ListWebsites(list), 28);
    EXPECT_EQ(capturedOutput(), "server root = etc/http\nFile not found = etc/http/sites.conf\n");

    // No ServerRoot and no distribution folder: "cp", then only the main file.
    writeConf("Include sites.conf\n<VirtualHost *:80>\nServerName one.com\n</VirtualHost>\n");
    list.clear();
    captureOutput();
    EXPECT_EQ(website.ListWebsites(list), 28);
    EXPECT_EQ(capturedOutput(), "server root = \ncp\n");
    EXPECT_EQ(list, (Lines{"one.com"}));

    // /etc/apache2 under the system root, then /etc/httpd before it.
    makeDir("/etc/apache2");
    writeFile("/etc/apache2/sites.conf", "<VirtualHost *:80>\nServerName debian.com\n</VirtualHost>\n");
    list.clear();
    captureOutput();
    EXPECT_EQ(website.ListWebsites(list), 28);
    EXPECT_EQ(capturedOutput(), "server root = \ncp\n");
    EXPECT_EQ(list, (Lines{"one.com", "debian.com"}));

    makeDir("/etc/httpd");
    list.clear();
    captureOutput();
    EXPECT_EQ(website.ListWebsites(list), 28);
    EXPECT_EQ(capturedOutput(), "server root = \ncp\nFile not found = " + path("/etc/httpd") + "/sites.conf\n");
    EXPECT_EQ(list, (Lines{"one.com"}));

    const std::string missing = path("/conf/none.conf");
    CQZWebsite noFile(nullptr, missing.c_str());
    captureOutput();
    EXPECT_EQ(noFile.ListWebsites(list), 22);
    EXPECT_EQ(capturedOutput(), "Error while opening HttpdConfFile\n");
}

TEST_F(WebsiteQueryTest, VHostsInIncFileAlwaysAnswersTrue) {
    CQZWebsite website;
    std::vector<std::string> names;
    EXPECT_TRUE(website.VHostsInIncFile("", names));
    captureOutput();
    EXPECT_TRUE(website.VHostsInIncFile(path("/none.conf"), names));
    EXPECT_EQ(capturedOutput(), "Error while opening HttpdConfFile\n");
    writeFile("/inc.conf", "<VirtualHost *:80>\nServerName\n</VirtualHost>\n<VirtualHost *:80>\n\tServerName\ta.com\n");
    EXPECT_TRUE(website.VHostsInIncFile(path("/inc.conf"), names));
    EXPECT_EQ(names, (Lines{"", "a.com"}));
}

TEST_F(WebsiteQueryTest, ListNginxWebsitesTakesTheFirstServerName) {
    makeDir("/etc/nginx/sites-enabled");
    writeFile("/etc/nginx/sites-enabled/one", "server {\n    listen 80;\n  server_name one.com;\n}\n");
    writeFile("/etc/nginx/sites-enabled/onetwo", "server_name two.com www.two.com;\nserver_name later.com;\n");
    writeFile("/etc/nginx/sites-enabled/tabbed", "\tserver_name tabbed.com;\n");
    CQZWebsite website;
    std::vector<std::string> names;

    // Entries accumulate: "one", then "onetwo"; the final empty read of the
    // list looks at "onetwo" again.
    writeFile("/list", "one\ntwo\n");
    website.ListNginxWebsites(names, path("/list"));
    EXPECT_EQ(names, (Lines{"one.com;", "two.com", "two.com"}));

    names.clear();
    writeFile("/list", "tabbed");
    website.ListNginxWebsites(names, path("/list"));
    EXPECT_TRUE(names.empty()) << "a tab before server_name is not removed";

    names = {"kept"};
    website.ListNginxWebsites(names, path("/no-list"));
    EXPECT_EQ(names, (Lines{"kept"}));
}
