// WebsiteExists, ListWebsites, VHostsInIncFile and ListNginxWebsites.
#include "QZTestFixture.h"


using WebsiteQueryTest = HttpdConfTest;

TEST_F(WebsiteQueryTest, WebsiteExistsMatchesTheWholeServerNameOfLiveBlocks) {
    useConf("query/live_and_stopped_names.conf");
    CQZTrackManager tracker;
    CQZWebsite website(&tracker, conf_.c_str());
    for (auto [domain, result] : {std::pair{"spaced.com", 31}, {"trailing.com", 32}, {"trailing.com ", 31},
                                  {"first.com", 31}, {"second.com", 32}, {"stopped.com", 32}, {"prefixed.com", 32},
                                  {"server.com", 32}})
        EXPECT_EQ(website.WebsiteExists(domain), result) << domain;
    EXPECT_EQ(calls(tracker)[2] + " " + calls(tracker)[3],
              "CQZMethodName WebsiteExists CQZMethodArguments [spaced.com] [DomainName]");

    // The stopped site is still a block for DeleteWebsite.
    EXPECT_EQ(website.DeleteWebsite("stopped.com", 0), 24);
    EXPECT_EQ(readConf().find("stopped"), std::string::npos);

    const std::string missing = path("/conf/none.conf");
    EXPECT_PRINTS(CQZWebsite(&tracker, missing.c_str()).WebsiteExists("a.com"), 22,
                  "Error while opening HttpdConfFile\n");
}

TEST_F(WebsiteQueryTest, ListWebsitesReadsBlocksAndIncludedFiles) {
    makeDir("/srv/httpd/conf.d");
    writeFile("/srv/httpd/conf.d/sites.conf", "Include nested.conf\n<VirtualHost *:80>\nServerName three.com\n</VirtualHost>\n");
    makeDir("/abs");
    writeFile("/abs/four.conf", "<VirtualHost *:80>\n  ServerName four.com\n</VirtualHost>\n");
    useConf("query/blocks_and_included_files.conf");
    CQZTrackManager tracker;
    CQZWebsite website(&tracker, conf_.c_str());
    Lines list = {"kept"};
    EXPECT_PRINTS(website.ListWebsites(list), 28, rootedData("query/blocks_and_included_files.out"));
    EXPECT_EQ(list, (Lines{"kept", "one.com", "two.com ", "three.com", "four.com"}));
    EXPECT_EQ(calls(tracker)[2] + " " + calls(tracker)[3], "CQZMethodName ListWebsites CQZMethodArguments [] []");
}

TEST_F(WebsiteQueryTest, ListWebsitesFallsBackToTheDistributionServerRoot) {
    const std::string sites = "Include sites.conf\n<VirtualHost *:80>\nServerName one.com\n</VirtualHost>\n";
    CQZWebsite website(nullptr, conf_.c_str());
    Lines list;
    // An unquoted ServerRoot loses its first and last characters.
    writeConf("ServerRoot /etc/httpd\n" + sites);
    EXPECT_PRINTS(website.ListWebsites(list), 28, "server root = etc/http\nFile not found = etc/http/sites.conf\n");

    // No ServerRoot and no distribution folder: "cp", then only the main file;
    // /etc/apache2 under the system root, then /etc/httpd before it.
    writeConf(sites);
    auto listed = [&](const std::string& printed) {
        Lines names;
        EXPECT_PRINTS(website.ListWebsites(names), 28, "server root = \ncp\n" + printed);
        return names;
    };
    EXPECT_EQ(listed(""), Lines{"one.com"});
    makeDir("/etc/apache2");
    writeFile("/etc/apache2/sites.conf", "<VirtualHost *:80>\nServerName debian.com\n</VirtualHost>\n");
    EXPECT_EQ(listed(""), (Lines{"one.com", "debian.com"}));
    makeDir("/etc/httpd");
    EXPECT_EQ(listed("File not found = " + path("/etc/httpd") + "/sites.conf\n"), Lines{"one.com"});
    const std::string missing = path("/conf/none.conf");
    EXPECT_PRINTS(CQZWebsite(nullptr, missing.c_str()).ListWebsites(list), 22, "Error while opening HttpdConfFile\n");
}

TEST_F(WebsiteQueryTest, VHostsInIncFileAlwaysAnswersTrue) {
    CQZWebsite website;
    Lines names;
    EXPECT_TRUE(website.VHostsInIncFile("", names));
    EXPECT_PRINTS(website.VHostsInIncFile(path("/none.conf"), names), true, "Error while opening HttpdConfFile\n");
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
    auto names = [&](const char* list, Lines into) {
        if (list) writeFile("/list", list);
        website.ListNginxWebsites(into, path(list ? "/list" : "/no-list"));
        return into;
    };
    // Entries accumulate: "one", then "onetwo"; the final empty read of the
    // list looks at "onetwo" again.
    EXPECT_EQ(names("one\ntwo\n", {}), (Lines{"one.com;", "two.com", "two.com"}));
    EXPECT_EQ(names("tabbed", {}), Lines{}) << "a tab before server_name is not removed";
    EXPECT_EQ(names(nullptr, {"kept"}), Lines{"kept"});
}
