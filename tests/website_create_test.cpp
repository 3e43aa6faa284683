// CreateWebsite and WriteWebsiteEntry: the block text for each address form,
// NameVirtualHost handling, duplicates, the folder tree and LVE ids.
#include "QZTestFixture.h"

#include <cstring>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

using Lines = std::vector<std::string>;

class CreateWebsiteTest : public HttpdConfTest {
protected:
    void SetUp() override {
        HttpdConfTest::SetUp();
        makeDir("/etc");
        makeDir("/home");
        IsPortEnabled = false;  // as in a fresh process, also when the tests share one
        loggedCommand("chmod");
        loggedCommand("chown");
    }

    // A site under <root>/home/, whose root folder the caller has made.
    VHostEntry site(const char* ip, const char* domain, const char* puny, char ipSwitch) {
        VHostEntry v = {};
        strcpy(v.IPAddress, ip);
        strcpy(v.DName, domain);
        strcpy(v.PunyCode, puny);
        strcpy(v.UserName, "nobody");
        strcpy(v.ServerAdmin, "admin");
        strcpy(v.Port, "80");
        snprintf(v.Path, sizeof v.Path, "%s/home/", root_.c_str());
        v.IPSwitch = ipSwitch;
        makeDir(std::string("/home/") + domain);
        return v;
    }

    char create(VHostEntry v) {
        CQZWebsite website(nullptr, conf_.c_str());
        return website.CreateWebsite(&v);
    }

    // The configuration against tests/data/create/<name>.expected, where @ROOT@
    // stands for the scratch root. QZ_UPDATE_GOLDEN=1 rewrites the file instead.
    void expectGolden(const std::string& name) {
        std::string actual = readConf();
        for (size_t at; (at = actual.find(root_)) != std::string::npos;) actual.replace(at, root_.size(), "@ROOT@");
        if (getenv("QZ_UPDATE_GOLDEN") != nullptr) {
            std::ofstream(std::string(QZ_TEST_DATA) + "/create/" + name + ".expected") << actual;
            return;
        }
        EXPECT_EQ(actual, data("create/" + name + ".expected")) << name;
    }

    // The address lines of the configuration.
    Lines addressLines() {
        Lines lines;
        std::istringstream in(readConf());
        for (std::string line; std::getline(in, line);)
            if (line.rfind("<VirtualHost", 0) == 0 || line.rfind("NameVirtualHost", 0) == 0) lines.push_back(line);
        return lines;
    }

    mode_t modeOf(const std::string& rel) {
        struct stat st = {};
        EXPECT_EQ(stat(path(rel).c_str(), &st), 0) << rel;
        return st.st_mode & 07777;
    }
};

TEST_F(CreateWebsiteTest, AppendsNameVirtualHostAndBlockAndBuildsTheFolderTree) {
    writeFile("/etc/QZ.conf", "WebServerPort = \"8080\"\n");
    writeConf(data("create/append_with_namevirtualhost.conf"));
    VHostEntry v = site("10.0.0.1", "example.com", "example.com", '1');
    CQZTrackManager tracker;
    CQZWebsite website(&tracker, conf_.c_str());
    captureOutput();
    EXPECT_EQ(website.CreateWebsite(&v), 94);
    EXPECT_EQ(capturedOutput(), "");
    // The leading comment lines go, since IPSwitch is not '0'.
    expectGolden("append_with_namevirtualhost");
    EXPECT_EQ(calls(tracker)[2], "CQZMethodName CreateWebsite");
    EXPECT_EQ(calls(tracker)[3], "CQZMethodArguments [example.com|10.0.0.1|" + root_ +
                                     "/home/|80|admin] [objVHost->DName|objVHost->IPAddress|objVHost->Path|"
                                     "objVHost->Port|objVHost->ServerAdmin]");

    const std::string site = "/home/example.com";
    EXPECT_EQ(modeOf(site + "/www"), 04701u);
    EXPECT_EQ(modeOf(site + "/www/html"), 04701u);
    EXPECT_EQ(modeOf(site + "/www/cgi-bin"), 04701u);
    EXPECT_EQ(modeOf(site + "/log"), 0505u);
    EXPECT_EQ(modeOf(site + "/log/httpd"), 0505u);
    EXPECT_EQ(modeOf(site + "/db"), 04707u);
    EXPECT_EQ(modeOf(site + "/special"), 04705u);
    const std::string log = path(site + "/log");
    EXPECT_EQ(commandLog(), (Lines{"chmod -R 505 " + log, "chown -R admin:qz7group " + log,
                                   "chmod -R 505 " + log + "/httpd", "chown -R admin:qz7group " + log + "/httpd"}));
    if (geteuid() == 0) {
        struct stat st = {};
        ASSERT_EQ(stat(path(site + "/www/html").c_str(), &st), 0);
        EXPECT_EQ(st.st_uid, 65534u);
        EXPECT_EQ(st.st_gid, 65534u);
    }
}

TEST_F(CreateWebsiteTest, PunycodeAliasesAndLeadingCommentsKeptForSwitchZero) {
    writeConf(data("create/punycode_keeps_leading_comments.conf"));
    captureOutput();
    EXPECT_EQ(create(site("10.0.0.1", "bücher.de", "xn--bcher-kva.de", '0')), 94);
    EXPECT_EQ(capturedOutput(), "Requested IP is IPV4\nIPV4 NameVirtualHost found with port\n");
    expectGolden("punycode_keeps_leading_comments");
}

TEST_F(CreateWebsiteTest, PortlessNameVirtualHostUntilAPortIsSeenForTheProcess) {
    writeConf("NameVirtualHost 10.0.0.1:*\nNameVirtualHost 10.0.0.2\n");
    captureOutput();
    EXPECT_EQ(create(site("10.0.0.1", "a.com", "a.com", '1')), 94);
    EXPECT_EQ(capturedOutput(), "Requested IP is IPV4\nIPV4 NameVirtualHost found without port\n"
                                "Requested IP is IPV4\n");
    EXPECT_EQ(addressLines(), (Lines{"NameVirtualHost 10.0.0.1:*", "NameVirtualHost 10.0.0.2",
                                     "<VirtualHost 10.0.0.1>"}));

    // A NameVirtualHost with the port turns the port on for every later block.
    writeConf("NameVirtualHost 10.0.0.3:80\n");
    EXPECT_EQ(create(site("10.0.0.2", "b.com", "b.com", '1')), 94);
    EXPECT_EQ(addressLines(), (Lines{"NameVirtualHost 10.0.0.3:80", "NameVirtualHost 10.0.0.2:80",
                                     "<VirtualHost 10.0.0.2:80>"}));
    writeConf("NameVirtualHost 10.0.0.4\n");
    EXPECT_EQ(create(site("10.0.0.4", "c.com", "c.com", '0')), 94);
    EXPECT_EQ(addressLines(), (Lines{"NameVirtualHost 10.0.0.4", "<VirtualHost 10.0.0.4:80>"}));
}

TEST_F(CreateWebsiteTest, IPv6AddressesAreBracketedAndCarryThePortOnlyForSwitchOne) {
    writeConf("NameVirtualHost 10.0.0.1:80\nNameVirtualHost [2001:db8::3]:*\n");
    captureOutput();
    EXPECT_EQ(create(site("2001:db8::3", "six.com", "six.com", '1')), 94);
    EXPECT_EQ(capturedOutput(), "Requested IP is IPV6\n"
                                "Requested IP is IPV6\nPicked IP is IPV6\nIPV6 NameVirtualHost found\n");
    EXPECT_EQ(addressLines(), (Lines{"NameVirtualHost 10.0.0.1:80", "NameVirtualHost [2001:db8::3]:*",
                                     "<VirtualHost [2001:db8::3]:80>"}));

    writeConf("");
    EXPECT_EQ(create(site("2001:db8::1", "one.com", "one.com", '1')), 94);
    EXPECT_EQ(create(site("2001:db8::2", "zero.com", "zero.com", '0')), 94);
    EXPECT_EQ(addressLines(), (Lines{"NameVirtualHost [2001:db8::1]:80", "<VirtualHost [2001:db8::1]:80>",
                                     "<VirtualHost [2001:db8::2]>"}));
}

TEST_F(CreateWebsiteTest, SwitchTwoGoesInsideTheAddressBlockOrRefusesIt) {
    writeConf(data("create/inside_address_block.conf"));
    captureOutput();
    EXPECT_EQ(create(site("10.0.0.7", "ip.com", "ip.com", '2')), 94);
    EXPECT_EQ(capturedOutput(), "Requested IP is IPV4\nIPV4 NameVirtualHost found without port\n");
    expectGolden("inside_address_block");

    // The address of another site's block is taken.
    const std::string before = readConf();
    EXPECT_EQ(create(site("10.0.0.1", "taken.com", "taken.com", '2')), 92);
    EXPECT_EQ(readConf(), before);
    EXPECT_FALSE(exists("/home/taken.com/www"));

    // No block for the address: folders, but no block, and still 94.
    EXPECT_EQ(create(site("10.0.0.99", "lost.com", "lost.com", '2')), 94);
    EXPECT_EQ(readConf(), before);
    EXPECT_TRUE(exists("/home/lost.com/special"));

    // An address block without a ServerName is not the address's placeholder,
    // and the next block's ServerName is not its own.
    const std::string nameless = "<VirtualHost 10.0.0.5>\n</VirtualHost>\n"
                                 "<VirtualHost 10.0.0.6>\n    ServerName other.com\n</VirtualHost>\n";
    writeConf(nameless);
    EXPECT_EQ(create(site("10.0.0.5", "nameless.com", "nameless.com", '2')), 94);
    EXPECT_EQ(readConf(), nameless);
}

TEST_F(CreateWebsiteTest, RefusalsAndFailuresLeaveTheConfiguration) {
    const std::string original = "<VirtualHost 10.0.0.1>\n    ServerName   XN--BCHER-KVA.de\n</VirtualHost>\n";
    writeConf(original);
    EXPECT_EQ(create(site("10.0.0.1", "bücher.de", "xn--bcher-kva.de", '0')), 92);
    EXPECT_EQ(readConf(), original);
    EXPECT_FALSE(exists("/home/bücher.de/www"));

    // The site root is the caller's to make: without it the first mkdir fails.
    VHostEntry v = site("10.0.0.2", "noroot.com", "noroot.com", '1');
    strcat(v.Path, "missing/");
    CQZWebsite website(nullptr, conf_.c_str());
    EXPECT_EQ(website.CreateWebsite(&v), 2);
    EXPECT_EQ(readConf(), original);

    CQZWebsite noConf(nullptr);
    EXPECT_EQ(noConf.CreateWebsite(&v), 21);
    const std::string missing = path("/conf/missing.conf");
    CQZWebsite missingConf(nullptr, missing.c_str());
    // In a missing folder neither the configuration nor the scratch file opens.
    const std::string missingFolder = path("/nodir/httpd.conf");
    CQZWebsite missingFolderConf(nullptr, missingFolder.c_str());
    captureOutput();
    EXPECT_EQ(missingConf.CreateWebsite(&v), 22);
    EXPECT_EQ(missingFolderConf.CreateWebsite(&v), 22);
    EXPECT_EQ(capturedOutput(), "Error while opening HttpdConfFile\nError while opening HttpdConfFile\n");

    std::string unwritable = path("/nodir/scratch");
    website.TEMPFILE = &unwritable[0];
    EXPECT_EQ(website.CreateWebsite(&v), 23);
    EXPECT_EQ(readConf(), original);
    EXPECT_EQ(website.CreateWebsite(nullptr), 2);
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
        EXPECT_EQ(create(site("10.0.0.1", domain.c_str(), domain.c_str(), '0')), 94);
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
