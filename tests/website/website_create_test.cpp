// CreateWebsite and WriteWebsiteEntry: the block text for each address form,
// NameVirtualHost handling, duplicates, the folder tree and LVE ids.
#include "QZTestFixture.h"

#include <cstring>
#include <sys/stat.h>
#include <unistd.h>


class CreateWebsiteTest : public HttpdConfTest {
protected:
    void SetUp() override {
        HttpdConfTest::SetUp();
        makeDir("/home");
        IsPortEnabled = false;  // as in a fresh process, also when the tests share one
        loggedCommand("chmod");
        loggedCommand("chown");
    }

    // A site under <root>/home/, whose root folder the caller has made.
    VHostEntry site(const char* ip, const char* domain, const char* puny, char ipSwitch) {
        makeDir(std::string("/home/") + domain);
        return websiteRecord(ip, domain, puny, root_ + "/home/", ipSwitch, "admin", "nobody", "80");
    }
    int create(const char* ip, const char* domain, char ipSwitch) {
        VHostEntry v = site(ip, domain, domain, ipSwitch);
        return CQZWebsite(nullptr, conf_.c_str()).CreateWebsite(&v);
    }

};

TEST_F(CreateWebsiteTest, AppendsNameVirtualHostAndBlockAndBuildsTheFolderTree) {
    writeFile("/etc/QZ.conf", "WebServerPort = \"8080\"\n");
    useConf("create/append_with_namevirtualhost.conf");
    VHostEntry v = site("10.0.0.1", "example.com", "example.com", '1');
    CQZTrackManager tracker;
    CQZWebsite website(&tracker, conf_.c_str());
    EXPECT_PRINTS(website.CreateWebsite(&v), 94, "");
    // The leading comment lines go, since IPSwitch is not '0'.
    EXPECT_DATA(readConf(), "create/append_with_namevirtualhost.expected");
    EXPECT_EQ(calls(tracker)[2], "CQZMethodName CreateWebsite");
    EXPECT_EQ(calls(tracker)[3], "CQZMethodArguments [example.com|10.0.0.1|" + root_ +
                                     "/home/|80|admin] [objVHost->DName|objVHost->IPAddress|objVHost->Path|"
                                     "objVHost->Port|objVHost->ServerAdmin]");

    const std::string site = "/home/example.com";
    for (auto [folder, mode] : {std::pair{"/www", 04701}, {"/www/html", 04701}, {"/www/cgi-bin", 04701},
                                {"/log", 0505}, {"/log/httpd", 0505}, {"/db", 04707}, {"/special", 04705}})
        EXPECT_EQ(modeOf(site + folder), mode) << folder;
    const std::string log = path(site + "/log");
    EXPECT_EQ(commandLog(), (Lines{"chmod -R 505 " + log, "chown -R admin:qz7group " + log,
                                   "chmod -R 505 " + log + "/httpd", "chown -R admin:qz7group " + log + "/httpd"}));
    struct stat st = {};
    ASSERT_EQ(stat(path(site + "/www/html").c_str(), &st), 0);
    EXPECT_TRUE(geteuid() != 0 || (st.st_uid == 65534 && st.st_gid == 65534)) << st.st_uid << ":" << st.st_gid;
}

TEST_F(CreateWebsiteTest, PunycodeAliasesAndLeadingCommentsKeptForSwitchZero) {
    useConf("create/punycode_keeps_leading_comments.conf");
    VHostEntry v = site("10.0.0.1", "bücher.de", "xn--bcher-kva.de", '0');
    EXPECT_PRINTS(CQZWebsite(nullptr, conf_.c_str()).CreateWebsite(&v), 94,
                  "Requested IP is IPV4\nIPV4 NameVirtualHost found with port\n");
    EXPECT_DATA(readConf(), "create/punycode_keeps_leading_comments.expected");
}

TEST_F(CreateWebsiteTest, NameVirtualHostPortsAndIPv6Brackets) {
    inputs_ = "create/addresses.inputs";
    watch("/conf/httpd.conf");
    GIVEN_STEP("a.com, a portless NameVirtualHost", create("10.0.0.1", "a.com", '1'));
    GIVEN_STEP("b.com, a NameVirtualHost with the port turns it on for every later block", create("10.0.0.2", "b.com", '1'));
    GIVEN_STEP("c.com, switch 0 and the port on", create("10.0.0.4", "c.com", '0'));
    GIVEN_STEP("six.com, IPv6 bracketed", create("2001:db8::3", "six.com", '1'));
    GIVEN_STEP("one.com, IPv6 with the port for switch 1", create("2001:db8::1", "one.com", '1'));
    STEP("zero.com, IPv6 without the port for switch 0", create("2001:db8::2", "zero.com", '0'));
    EXPECT_DATA(transcript_, "create/name_virtual_host_ports.transcript");
}

TEST_F(CreateWebsiteTest, SwitchTwoGoesInsideTheAddressBlockOrRefusesIt) {
    useConf("create/inside_address_block.conf");
    EXPECT_PRINTS(create("10.0.0.7", "ip.com", '2'), 94, "Requested IP is IPV4\nIPV4 NameVirtualHost found without port\n");
    EXPECT_DATA(readConf(), "create/inside_address_block.expected");

    // The address of another site's block is taken: 92, no folders. No block
    // for the address: folders, but no block, and still 94.
    const std::string before = readConf();
    EXPECT_EQ(create("10.0.0.1", "taken.com", '2'), 92);
    EXPECT_FALSE(exists("/home/taken.com/www"));
    EXPECT_EQ(create("10.0.0.99", "lost.com", '2'), 94);
    EXPECT_TRUE(exists("/home/lost.com/special"));
    EXPECT_EQ(readConf(), before);

    // The next block's ServerName is not its own either.
    inputs_ = "create/addresses.inputs";
    watch("/conf/httpd.conf");
    GIVEN_STEP("an address block without a ServerName is no placeholder", create("10.0.0.5", "nameless.com", '2'));
    EXPECT_DATA(transcript_, "create/nameless_address_block.transcript");
}

TEST_F(CreateWebsiteTest, RefusalsAndFailuresLeaveTheConfiguration) {
    const std::string original = "<VirtualHost 10.0.0.1>\n    ServerName   XN--BCHER-KVA.de\n</VirtualHost>\n";
    writeConf(original);
    VHostEntry puny = site("10.0.0.1", "bücher.de", "xn--bcher-kva.de", '0');
    CQZWebsite website(nullptr, conf_.c_str());
    EXPECT_EQ(website.CreateWebsite(&puny), 92);
    EXPECT_FALSE(exists("/home/bücher.de/www"));

    // The site root is the caller's to make: without it the first mkdir fails.
    VHostEntry v = site("10.0.0.2", "noroot.com", "noroot.com", '1');
    strcat(v.Path, "missing/");
    EXPECT_EQ(website.CreateWebsite(&v), 2);
    EXPECT_EQ(CQZWebsite(nullptr).CreateWebsite(&v), 21);
    // In a missing folder neither the configuration nor the scratch file opens.
    const std::string missingFolder = path("/nodir/httpd.conf");
    for (const std::string& conf : {missing_, missingFolder})
        EXPECT_PRINTS(CQZWebsite(nullptr, conf.c_str()).CreateWebsite(&v), 22, "Error while opening HttpdConfFile\n");
    std::string unwritable = path("/nodir/scratch");
    website.TEMPFILE = &unwritable[0];
    EXPECT_EQ(website.CreateWebsite(&v), 23);
    EXPECT_EQ(website.CreateWebsite(nullptr), 2);
    EXPECT_EQ(readConf(), original);
}

TEST_F(CreateWebsiteTest, LveIdFollowsTheHighestOnCloudLinuxOnly) {
    const std::string withIds =
        "<VirtualHost 10.0.0.1>\n\t<Directory \"/a\">\n\t\tLVEId 7\n\t</Directory>\n</VirtualHost>\n"
        "#<VirtualHost 10.0.0.1>\n#\t<Directory \"/b\">\n#\t\tLVEId 12\n#\t</Directory>\n#</VirtualHost>\n";
    auto lveLine = [&](const char* handler, const char* suexec, const std::string& conf) {
        writeFile("/etc/QZ.conf", std::string("PHPHandler=\"") + handler + "\"\nSUexecSetting=\"" + suexec + "\"\n");
        writeConf(conf);
        static int n = 0;
        const std::string domain = "lve" + std::to_string(++n) + ".com";
        EXPECT_EQ(create("10.0.0.1", domain.c_str(), '0'), 94);
        const std::string text = readConf();
        const size_t at = text.find("\t\tLVEId ", conf.size());
        return at == std::string::npos ? std::string() : text.substr(at + 2, text.find('\n', at) - at - 2);
    };
    EXPECT_EQ(lveLine("dso", "", withIds), "") << "not CloudLinux";
    writeFile("/etc/CloudLinux-release", "CloudLinux release 8\n");
    EXPECT_EQ(lveLine("dso", "", withIds), "LVEId 13");
    EXPECT_EQ(lveLine("fcgid", "disabled", withIds), "LVEId 13");
    EXPECT_EQ(lveLine("fcgid", "enabled", withIds), "");
    EXPECT_EQ(lveLine("suphp", "disabled", withIds), "");
    EXPECT_EQ(lveLine("dso", "", "Listen 80\n"), "") << "the first site gets none";
    EXPECT_EQ(ExtractHighestLVEid(conf_), 0);
    EXPECT_TRUE(ISCloudLinux());
}
