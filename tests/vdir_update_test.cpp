// GetVirtualDirectoryinfo and UpdateVirtualDirectory: reading a section back
// into the record, replacing it in the site's first block or adding one there.
#include "VirtualDirectoryTestFixture.h"

#include <sys/stat.h>

class VirtualDirectoryInfoTest : public VirtualDirectoryTest {
protected:
    char info(SDDir& dir) {
        CQZVirtualDirectory manager(nullptr, conf_.c_str(), "/opt/qz");
        return manager.GetVirtualDirectoryinfo(&dir);
    }
    char update(SDDir dir, const std::string& name = "", const std::string& pass = "") {
        CQZVirtualDirectory manager(nullptr, conf_.c_str(), "/opt/qz");
        return manager.UpdateVirtualDirectory(&dir, name, pass);
    }
    static std::string options(const SOptions& o) {
        std::string text;
        for (char flag : {o.Indexes, o.Includes, o.FollowSymLinks, o.MultiViews, o.ExecCGI}) text += flag ? flag : '0';
        return text;
    }
};

TEST_F(VirtualDirectoryInfoTest, ReadsTheSectionOfTheSiteWithCommentedLinesLive) {
    writeConf(data("vdir/commented_server_name.conf"));
    SDDir dir = record("/s/shop");
    dir.Permission = 0777;
    dir.Options = {'x', 'x', 'x', 'x', 'x'};
    CQZTrackManager tracker;
    CQZVirtualDirectory manager(&tracker, conf_.c_str(), "/opt/qz");
    EXPECT_EQ(manager.GetVirtualDirectoryinfo(&dir), 'V');
    EXPECT_EQ(dir.Permission, 0u);  // no such folder
    EXPECT_EQ(dir.Order, 1);
    EXPECT_EQ(options(dir.Options), "-++0-");
    EXPECT_STREQ(dir.Allow, "10.0.0.0/8 192.168.1.0/24");
    EXPECT_STREQ(dir.Deny, "all");
    EXPECT_EQ(dir.AnonAccess, '1');
    EXPECT_EQ(dir.PerlEnabled, '1');
    EXPECT_EQ(dir.RubyOnRails, '1');
    EXPECT_EQ(calls(tracker), (Lines{"CQZModuleName WebServerManager", "CQZMethodName GetVirtualDirectoryinfo",
                                     "CQZMethodArguments [shop.test|/s/shop] [ObjDDir->DomainName|ObjDDir->DirPath]"}));

    // Without a section in the site's block the record keeps its values, but
    // for the folder's mode.
    writeConf("<VirtualHost *:80>\nServerName SHOP.test\n</VirtualHost>\n<VirtualHost *:80>\nServerName shop.test\n"
              "<Directory \"" + path("/home/sites") + "\">\n</Directory>\n</VirtualHost>\n");
    SDDir kept = record(path("/home/sites").c_str());
    strcpy(kept.Allow, "mine");
    kept.Order = 0;
    EXPECT_EQ(info(kept), 'V');
    struct stat st = {};
    ASSERT_EQ(stat(path("/home/sites").c_str(), &st), 0);
    EXPECT_EQ(kept.Permission, st.st_mode);
    EXPECT_STREQ(kept.Allow, "mine");
    EXPECT_EQ(kept.Order, 0);
    EXPECT_TRUE(commandLog().empty());
}

TEST_F(VirtualDirectoryInfoTest, ReadsBackWhatCreationWrote) {
    const std::string site = "<VirtualHost *:80>\nServerName shop.test\nDocumentRoot /s/html\n</VirtualHost>\n";
    SDDir made = record("/s/shop");
    made.Order = 1;
    strcpy(made.Allow, "1.2.3.4");
    strcpy(made.Deny, "5.6.7.8");
    made.Options = {'+', '-', 0, '+', '+'};
    made.AnonAccess = '1';
    for (const char* version : {"2.2.34", "2.4.57"}) {
        SCOPED_TRACE(version);
        apacheVersion(version);
        writeConf(site);
        CQZVirtualDirectory manager(nullptr, conf_.c_str(), "/opt/qz");
        ASSERT_EQ(manager.CreateVirtualDirectory(&made, 0, "", ""), 'S');
        SDDir read = record("/S/SHOP");
        EXPECT_EQ(info(read), 'V');
        EXPECT_EQ(options(read.Options), "+-0++");
        EXPECT_EQ(read.AnonAccess, '1');
        EXPECT_EQ(read.PerlEnabled, '1');
        EXPECT_EQ(read.Order, 1);
        // The 2.4 Require lines are not read: the defaults stand.
        EXPECT_STREQ(read.Allow, version[2] == '2' ? "1.2.3.4" : "All");
        EXPECT_STREQ(read.Deny, version[2] == '2' ? "5.6.7.8" : "");
    }
}

TEST_F(VirtualDirectoryInfoTest, EndsWithoutABlockAndBoundsTheLists) {
    writeConf("<VirtualHost *:80>\nServerName other.test\n</VirtualHost>\n");
    SDDir dir = record("/s/shop");
    EXPECT_EQ(info(dir), 26);
    writeConf("");
    EXPECT_EQ(info(dir), 26);
    // The site's block left open at the end reads as one without the section.
    writeConf("<VirtualHost *:80>\nServerName shop.test\n");
    EXPECT_EQ(info(dir), 'V');
    // The section read up to the end of the file.
    writeConf("<VirtualHost *:80>\nServerName shop.test\n<Directory \"/s/shop\">\nDeny from x");
    EXPECT_EQ(info(dir), 'V');
    EXPECT_STREQ(dir.Deny, "x");

    const std::string list(400, 'a');
    writeConf("<VirtualHost *:80>\nServerName shop.test\n<Directory \"/s/shop\">\nAllow from \"" + list +
              "\"\nDeny from " + list + "\n</Directory>\n</VirtualHost>\n");
    EXPECT_EQ(info(dir), 'V');
    EXPECT_EQ(std::string(dir.Allow), list.substr(0, 255));
    EXPECT_EQ(std::string(dir.Deny), list.substr(0, 255));

    const std::string unclosed = "<VirtualHost *:80>\nServerName shop.test\n<Directory \"/s/x\n</VirtualHost>\n";
    writeConf(unclosed);
    writeFile("/etc/apactemp", "stale");
    EXPECT_EQ(info(dir), 1);
    EXPECT_FALSE(exists("/etc/apactemp"));
    EXPECT_EQ(readConf(), unclosed);

    CQZVirtualDirectory noConf(nullptr);
    EXPECT_EQ(noConf.GetVirtualDirectoryinfo(&dir), 21);
    const std::string missing = path("/conf/missing.conf");
    CQZVirtualDirectory missingConf(nullptr, missing.c_str());
    EXPECT_EQ(missingConf.GetVirtualDirectoryinfo(&dir), 22);
    EXPECT_EQ(missingConf.GetVirtualDirectoryinfo(nullptr), 26);
}

TEST_F(VirtualDirectoryInfoTest, UpdateReplacesTheSectionOfTheFirstMatchingBlockOnly) {
    writeConf(data("vdir/section_replaced_in_first_block.conf"));
    SDDir dir = record("/s/shop");
    dir.Order = 1;
    strcpy(dir.Allow, "10.0.0.0/8");
    dir.Options = {'+', 0, 0, 0, '+'};
    dir.PerlEnabled = '1';
    dir.AnonAccess = '1';
    dir.RubyOnRails = '1';
    CQZTrackManager tracker;
    CQZVirtualDirectory manager(&tracker, conf_.c_str(), "/opt/qz");
    captureOutput();
    EXPECT_EQ(manager.UpdateVirtualDirectory(&dir, "admin", "pw"), 'Y');
    const std::string auth = authFile();
    EXPECT_EQ(capturedOutput(), "ObjDDir->Order=\x01\nObjDDir->Allow=10.0.0.0/8\nmajor=2\nminor=4\nminorMinor=57\n"
                                "cmd=htpasswd -b " + auth + " admin 'pw'\n");
    expectConf("section_replaced_in_first_block");
    EXPECT_EQ(commandLog(), (Lines{"htpasswd -b " + auth + " admin pw", "chown [webmaster:qz7group] [" + auth + "]",
                                   "mv " + path("/etc/apactemp") + " " + conf_}));
    EXPECT_TRUE(verifies("admin", "pw"));
    EXPECT_EQ(calls(tracker),
              (Lines{"CQZModuleName WebServerManager", "CQZMethodName UpdateVirtualDirectory",
                     "CQZMethodArguments [shop.test|/s/shop|10.0.0.0/8||" + path("/home/sites") +
                         "] [ObjDDir->DomainName|ObjDDir->DirPath|ObjDDir->Allow|ObjDDir->Deny|ObjDDir->WebAdminPath]"}));
}

TEST_F(VirtualDirectoryInfoTest, UpdateAppendsASectionProtectedWhenAnonymousAccessIsZero) {
    apacheVersion("2.2.34");
    const std::string block = "<VirtualHost *:80>\n  ServerName shop.test\n  ServerAdmin @shop.test\n";
    const std::string text = block + "</VirtualHost>\n" + block + "</VirtualHost>\n";
    SDDir dir = record("/s/shop");
    dir.Order = 0;
    strcpy(dir.Deny, "all");
    dir.RubyOnRails = '1';
    dir.AnonAccess = '1';
    writeConf(text);
    EXPECT_EQ(update(dir, "admin", "pw"), 'Y');
    const std::string opening = "\t<Directory \"/s/shop\">\n\t\tDeny from \"all\"\n";
    EXPECT_EQ(readConf(), block + opening + "\t</Directory>\n</VirtualHost>\n" + block + "</VirtualHost>\n\n");
    EXPECT_FALSE(exists(authFile().substr(root_.size())));

    dir.AnonAccess = '0';
    writeConf(text);
    EXPECT_EQ(update(dir, "admin", "pw"), 'Y');
    EXPECT_EQ(rooted(readConf()), block + opening +
                                      "\t\tAuthType Basic\n\t\tAuthName \"Restricted Area\"\n"
                                      "\t\tAuthUserFile @ROOT@/home/sites/shop.test/webusers_shop.test.htpasswd\n"
                                      "\t\trequire valid-user\n\t</Directory>\n</VirtualHost>\n" +
                                      block + "</VirtualHost>\n\n");
    EXPECT_TRUE(verifies("admin", "pw"));
    EXPECT_TRUE(commandsOf("chown").empty());  // the ServerAdmin address has no local part

    // No password given: the file is made, nobody is added.
    std::remove(authFile().c_str());
    writeConf("<VirtualHost *:80>\nServerName shop.test\nServerAdmin root\n</VirtualHost>\n");
    EXPECT_EQ(update(dir, "admin", ""), 'Y');
    EXPECT_EQ(readFile(authFile().substr(root_.size())), "");
    EXPECT_TRUE(commandsOf("chown").empty());
    EXPECT_EQ(commandsOf("htpasswd").size(), 2u);  // the first update's and the check's
}

TEST_F(VirtualDirectoryInfoTest, UpdateFailuresAndASiteWithoutABlock) {
    const std::string text = "<VirtualHost *:80>\nServerName other.test\n<Directory \"/s/shop\">\n</VirtualHost>\n";
    writeConf(text);
    EXPECT_EQ(update(record("/s/shop")), 'Y');
    EXPECT_EQ(readConf(), text + "\n");

    const std::string unclosed = "<VirtualHost *:80>\nServerName shop.test\n<Directory \"/s/shop\n</VirtualHost>\n";
    writeConf(unclosed);
    EXPECT_EQ(update(record("/s/shop")), 'W');
    EXPECT_EQ(readConf(), unclosed);
    EXPECT_FALSE(exists("/etc/apactemp"));

    SDDir dir = record("/s/shop");
    CQZVirtualDirectory noConf(nullptr);
    EXPECT_EQ(noConf.UpdateVirtualDirectory(&dir, "", ""), 21);
    const std::string missing = path("/conf/missing.conf");
    CQZVirtualDirectory missingConf(nullptr, missing.c_str(), "/opt/qz");
    captureOutput();
    EXPECT_EQ(missingConf.UpdateVirtualDirectory(&dir, "", ""), 22);
    EXPECT_EQ(capturedOutput(), "Error opening HttpdConfFile file\n");
    makeDir("/etc/apactemp");
    captureOutput();
    EXPECT_EQ(update(dir), 23);
    EXPECT_EQ(capturedOutput(), "Error opening TEMPFILE file\n");
    EXPECT_EQ(readConf(), unclosed);
    EXPECT_EQ(missingConf.UpdateVirtualDirectory(nullptr, "", ""), 'W');
    EXPECT_EQ(commandsOf("mv").size(), 1u);
}
