// CreateVirtualDirectory and GetPathOwner: the sections written into every
// block of a site, the access and Options lines, the password file, the
// commands, the printed progress lines and the early exits.
#include "VirtualDirectoryTestFixture.h"

#include <filesystem>
#include <unistd.h>

class CreateVirtualDirectoryTest : public VirtualDirectoryTest {
protected:
    char create(SDDir dir, int adminFlag = 0, const std::string& name = "", const std::string& pass = "") {
        CQZVirtualDirectory manager(nullptr, conf_.c_str(), "/opt/qz");
        return manager.CreateVirtualDirectory(&dir, adminFlag, name, pass);
    }

    // The section written for a plain one-block site, by `dir`.
    Lines sectionFor(const SDDir& dir) {
        writeConf("<VirtualHost *:80>\nServerName shop.test\nDocumentRoot /s/html\n</VirtualHost>\n");
        EXPECT_EQ(create(dir), 'S');
        return section("<Directory");
    }
};

TEST_F(CreateVirtualDirectoryTest, WritesASectionIntoEveryBlockOfTheSite) {
    apacheVersion("2.2.34");
    writeConf(data("vdir/every_matching_block.conf"));
    SDDir dir = record();
    dir.Order = 1;
    strcpy(dir.Allow, "10.0.0.0/8 192.168.1.0/24");
    strcpy(dir.Deny, "all");
    dir.Options = {'-', 0, '+', '-', '+'};
    dir.AnonAccess = '1';
    CQZTrackManager tracker;
    CQZVirtualDirectory manager(&tracker, conf_.c_str(), "/opt/qz");
    captureOutput();
    EXPECT_EQ(manager.CreateVirtualDirectory(&dir, 0, "admin", "secret"), 'S');
    const std::string section = "Directory Creation\nWebAdmin=webadm\nFullPath=@PATH@\nWebadmin is empty\n"
                                "command =chown -R webadm:qz7group @PATH@\n"
                                "command =chmod -R 705 webadm:qz7group @PATH@\n"
                                "writing directory entry\nwriting anonumus off entries\n"
                                "ObjDDir->WebAdminPath=@ROOT@/home/sites\ncp1\nAuthFile=@AUTH@\ncp11\n"
                                "cmd=htpasswd -b @AUTH@ admin 'secret'\ncp2\ncp3\n";
    auto sectionAt = [&](const std::string& fullPath) {
        std::string text = section;
        for (size_t at; (at = text.find("@PATH@")) != std::string::npos;) text.replace(at, 6, fullPath);
        for (size_t at; (at = text.find("@AUTH@")) != std::string::npos;)
            text.replace(at, 6, "@ROOT@/home/sites/shop.test/webusers_shop.test.htpasswd");
        return text;
    };
    EXPECT_EQ(rooted(capturedOutput()), "Anonymous=1\nmajor=2\nminor=2\nminorMinor=34\n" +
                                            sectionAt("/home/site/shop.test") +
                                            sectionAt("/home/site/shop.test/ssl"));
    expectConf("every_matching_block");
    EXPECT_FALSE(exists("/etc/apactemp"));

    const std::string auth = authFile();
    const std::string htpasswd = "htpasswd -b " + auth + " admin secret";
    EXPECT_EQ(commandLog(), (Lines{"chown [-R] [webadm:qz7group] [/home/site/shop.test]",
                                   "chmod [-R] [705] [webadm:qz7group] [/home/site/shop.test]", htpasswd,
                                   "chown [webadm:qz7group] [" + auth + "]",
                                   "chown [-R] [webadm:qz7group] [/home/site/shop.test/ssl]",
                                   "chmod [-R] [705] [webadm:qz7group] [/home/site/shop.test/ssl]", htpasswd,
                                   "chown [webadm:qz7group] [" + auth + "]",
                                   "mv " + path("/etc/apactemp") + " " + conf_}));
    EXPECT_TRUE(verifies("admin", "secret"));
    EXPECT_FALSE(verifies("admin", "other"));
    EXPECT_EQ(calls(tracker), (Lines{"CQZModuleName WebServerManager", "CQZMethodName CreateVirtualDirectory",
                                     "CQZMethodArguments [shop.test||10.0.0.0/8 192.168.1.0/24|all] "
                                     "[ObjDDir->DomainName|ObjDDir->DirPath|ObjDDir->Allow|ObjDDir->Deny]"}));
}

TEST_F(CreateVirtualDirectoryTest, AccessAndOptionsLinesFollowOrderAndTheApacheVersion) {
    struct Case {
        const char* version;
        char order;
        const char* allow;
        const char* deny;
        Lines access;
    };
    const Case cases[] = {
        {"2.4.57", 0, "1.2.3.4", "", {}},
        {"2.4.57", 0, "1.2.3.4", "5.6.7.8", {"\t\tDeny from \"5.6.7.8\"", "\t\tAllow from \"1.2.3.4\""}},
        {"2.2.34", 0, "", "5.6.7.8", {"\t\tDeny from \"5.6.7.8\""}},
        {"2.2.34", '1', "", "5.6.7.8", {"\t\tOrder Deny,Allow"}},
        {"2.2.34", '1', "1.2.3.4", "", {"\t\tOrder Deny,Allow", "\t\tAllow from \"1.2.3.4\""}},
        {"", 1, "1.2.3.4", "x", {"\t\tOrder Deny,Allow", "\t\tAllow from \"1.2.3.4\"", "\t\tDeny from \"x\""}},
        {"2.4.57", 1, "1.2.3.4", "5.6.7.8", {"\t\tRequire all granted"}},
        {"3.0.1", 1, "", "5.6.7.8", {"\t\tRequire all denied"}},
        {"2.4.57", 1, "", "", {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.version) + " " + c.allow + "/" + c.deny);
        apacheVersion(c.version);
        SDDir dir = record("/s/shop");
        dir.Order = c.order;
        strcpy(dir.Allow, c.allow);
        strcpy(dir.Deny, c.deny);
        Lines expected = c.access;
        expected.insert(expected.begin(), "\t<Directory \"/s/shop\">");
        expected.push_back("\t</Directory>");
        EXPECT_EQ(sectionFor(dir), expected);
    }

    SDDir dir = record("/s/shop");
    dir.Options = {'+', '+', '-', '+', '-'};
    EXPECT_EQ(sectionFor(dir), (Lines{"\t<Directory \"/s/shop\">",
                                      "\t\tOptions +Indexes +Includes -ExecCGI +MultiViews -FollowSymLinks",
                                      "\t</Directory>"}));
    // A flag that is neither '+' nor '-' still asks for the line, but adds no word.
    dir.Options = {0, 'y', 0, 0, 0};
    EXPECT_EQ(sectionFor(dir), (Lines{"\t<Directory \"/s/shop\">", "\t\tOptions", "\t</Directory>"}));
    // Without a DocumentRoot the site's block names no folder.
    writeConf("<VirtualHost *:80>\nServerName shop.test\n</VirtualHost>\n");
    EXPECT_EQ(create(record("/s/shop")), 'S');
    EXPECT_EQ(section("<Directory"), (Lines{"\t<Directory \"\">", "\t</Directory>"}));
}

TEST_F(CreateVirtualDirectoryTest, AnExistingSectionOrAnUnclosedQuoteLeavesTheConfigurationAlone) {
    const std::string block = "<VirtualHost *:80>\nServerName shop.test\nDocumentRoot /s/html\n";
    const std::string cases[] = {
        block + "<Directory \"/S/SHOP\">\n</Directory>\n</VirtualHost>\n",
        block + "  <Directory \"/s/shop\n</VirtualHost>\n",
    };
    const char results[] = {1, 'W'};
    for (int i = 0; i < 2; ++i) {
        writeConf(cases[i]);
        writeFile("/etc/apactemp", "stale");
        captureOutput();
        EXPECT_EQ(create(record("/s/shop")), results[i]);
        EXPECT_EQ(capturedOutput(), std::string("Anonymous=") + '\0' + "\nmajor=2\nminor=4\nminorMinor=57\n" +
                                        (i == 0 ? "Directory already exist\n" : ""));
        EXPECT_EQ(readConf(), cases[i]);
        EXPECT_FALSE(exists("/etc/apactemp"));
    }
    EXPECT_TRUE(commandLog().empty());

    // Only the site's block is examined, and an unquoted path keeps its '>'.
    const std::string other = "<VirtualHost *:80>\nServerName other.test\n<Directory \"/s/shop\n</VirtualHost>\n";
    writeConf(other + block + "<Directory /s/shop>\n</VirtualHost>\n");
    EXPECT_EQ(create(record("/s/shop")), 'S');
    EXPECT_EQ(readConf(), other + block + "<Directory /s/shop>\n\t<Directory \"/s/shop\">\n\t</Directory>\n"
                                          "</VirtualHost>\n\n");
}

TEST_F(CreateVirtualDirectoryTest, AdminFlagOrNoSuchSiteCopiesTheFileUnchanged) {
    const std::string text = "<VirtualHost *:80>\n\tServerName shop.test\n</VirtualHost>\n# end\n";
    writeConf(text);
    EXPECT_EQ(create(record("/s/shop"), 1), 'S');
    EXPECT_EQ(readConf(), text + "\n");
    writeConf(text);
    SDDir dir = record("/s/shop");
    strcpy(dir.DomainName, "www.shop.test");
    EXPECT_EQ(create(dir), 'S');
    EXPECT_EQ(readConf(), text + "\n");
    EXPECT_EQ(commandsOf("mv").size(), 2u);
    EXPECT_TRUE(commandsOf("chown").empty());
}

TEST_F(CreateVirtualDirectoryTest, FailuresToOpenGive21To23AndANullRecordW) {
    SDDir dir = record("/s/shop");
    CQZVirtualDirectory noConf(nullptr);
    EXPECT_EQ(noConf.CreateVirtualDirectory(&dir, 0, "", ""), 21);
    const std::string missing = path("/conf/missing.conf");
    CQZVirtualDirectory missingConf(nullptr, missing.c_str(), "/opt/qz");
    EXPECT_EQ(missingConf.CreateVirtualDirectory(&dir, 0, "", ""), 22);
    writeConf("Listen 80\n");
    makeDir("/etc/apactemp");
    EXPECT_EQ(create(dir), 23);
    EXPECT_EQ(readConf(), "Listen 80\n");
    CQZVirtualDirectory manager(nullptr, conf_.c_str(), "/opt/qz");
    EXPECT_EQ(manager.CreateVirtualDirectory(nullptr, 0, "", ""), 'W');
    EXPECT_TRUE(commandLog().empty());

    // A line longer than the 2999 characters the scan reads.
    std::system(("rmdir " + path("/etc/apactemp")).c_str());
    const std::string longLine = "<VirtualHost *:80>\nServerName shop.test\n# " + std::string(3000, 'x') + "\n";
    writeConf(longLine);
    EXPECT_EQ(create(dir), 22);
    EXPECT_EQ(readConf(), longLine);
    EXPECT_FALSE(exists("/etc/apactemp"));
}

TEST_F(CreateVirtualDirectoryTest, PasswordFileIsCreatedEmptyOrKeptAndOwnedByTheSitesOwner) {
    writeConf("<VirtualHost *:80>\nServerName shop.test\nDocumentRoot /s/html\n</VirtualHost>\n");
    SDDir dir = record();
    dir.AnonAccess = '1';
    EXPECT_EQ(create(dir, 0, "", "secret"), 'S');
    EXPECT_TRUE(exists(authFile().substr(root_.size())));
    EXPECT_EQ(readFile(authFile().substr(root_.size())), "");
    EXPECT_TRUE(commandsOf("htpasswd").empty());

    // An existing file keeps its users; the new login is added to it.
    writeFile(authFile().substr(root_.size()), "old:$apr1$x$y\n");
    writeConf("<VirtualHost *:80>\nServerName shop.test\nDocumentRoot /s/html\n</VirtualHost>\n");
    EXPECT_EQ(create(dir, 0, "admin", "pw"), 'S');
    EXPECT_EQ(readFile(authFile().substr(root_.size())).rfind("old:$apr1$x$y\nadmin:", 0), 0u);
    EXPECT_TRUE(verifies("admin", "pw"));

    // Nobody in /etc/passwd owns the home folder: no owner, no chown or chmod.
    writeFile("/etc/passwd", "root:x:99999:0::/:/bin/sh\n");
    writeConf("<VirtualHost *:80>\nServerName shop.test\nDocumentRoot /s/html\n</VirtualHost>\n");
    const size_t chowns = commandsOf("chown").size();
    captureOutput();
    EXPECT_EQ(create(dir, 0, "admin", "pw2"), 'S');
    const std::string out = capturedOutput();
    EXPECT_NE(out.find("Directory Creation\nWebAdmin=\nFullPath=/s\nwriting directory entry\n"), std::string::npos);
    EXPECT_EQ(commandsOf("chown").size(), chowns);
    EXPECT_TRUE(commandsOf("chmod").size() == 2u);
}

TEST_F(CreateVirtualDirectoryTest, APasswordFileThatIsASymbolicLinkIsLeftAlone) {
    writeFile("/victim", "root:x:0:0::/root:/bin/sh\n");
    ASSERT_EQ(symlink(path("/victim").c_str(), authFile().c_str()), 0);
    writeConf("<VirtualHost *:80>\nServerName shop.test\nDocumentRoot /s/html\n</VirtualHost>\n");
    SDDir dir = record();
    dir.AnonAccess = '1';
    EXPECT_EQ(create(dir, 0, "admin", "pw"), 'S');
    EXPECT_EQ(readFile("/victim"), "root:x:0:0::/root:/bin/sh\n");
    EXPECT_TRUE(commandsOf("htpasswd").empty());
    EXPECT_EQ(commandsOf("chown"), (Lines{"chown [-R] [webadm:qz7group] [/s]"}));
}

TEST_F(CreateVirtualDirectoryTest, ShellMetacharactersReachTheCommandsAsPlainWords) {
    const std::string sites = "/home/it's $(touch x) `touch y`;";
    std::filesystem::create_directories(path(sites + "/shop.test"));
    struct stat st = {};
    ASSERT_EQ(stat(path(sites + "/shop.test").c_str(), &st), 0);
    writeConf("<VirtualHost *:80>\nServerName shop.test\nDocumentRoot /s/html\n</VirtualHost>\n");
    SDDir dir = record("/s/a b;touch z");
    snprintf(dir.WebAdminPath, sizeof dir.WebAdminPath, "%s%s", root_.c_str(), sites.c_str());
    dir.AnonAccess = '1';
    const std::string pass = "p'w $(touch q) \"`id`\";|&";
    ASSERT_EQ(chdir(root_.c_str()), 0);
    captureOutput();
    EXPECT_EQ(create(dir, 0, "admin", pass), 'S');
    const std::string out = capturedOutput();
    const std::string auth = path(sites + "/shop.test/webusers_shop.test.htpasswd");
    const std::string quotedAuth = "'" + root_ + "/home/it'\\''s $(touch x) `touch y`;/shop.test/webusers_shop.test.htpasswd'";
    EXPECT_NE(out.find("command =chown -R webadm:qz7group '/s/a b;touch z'\n"), std::string::npos) << out;
    EXPECT_NE(out.find("cmd=htpasswd -b " + quotedAuth + " admin 'p'\\''w $(touch q) \"`id`\";|&'\n"),
              std::string::npos)
        << out;
    EXPECT_EQ(commandsOf("chown"), (Lines{"chown [-R] [webadm:qz7group] [/s/a b;touch z]",
                                          "chown [webadm:qz7group] [" + auth + "]"}));
    EXPECT_NE(readConf().find("\t\tAuthUserFile " + auth + "\n"), std::string::npos);
    for (const char* planted : {"/x", "/y", "/z", "/q"}) EXPECT_FALSE(exists(planted)) << planted;
    EXPECT_TRUE(verifies("admin", pass, auth));
}

TEST_F(CreateVirtualDirectoryTest, GetPathOwnerNamesTheOwnerFromTheSystemsPasswordFile) {
    EXPECT_EQ(GetPathOwner(path("/home/sites/shop.test")), "webadm");
    EXPECT_EQ(GetPathOwner(path("/home/sites/none")), "");
    writeFile("/etc/passwd", "root:x:99999:0::/:/bin/sh\n");
    EXPECT_EQ(GetPathOwner(path("/home/sites/shop.test")), "");
    std::remove(path("/etc/passwd").c_str());
    EXPECT_EQ(GetPathOwner(path("/home/sites/shop.test")), "");
}
