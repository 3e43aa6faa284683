// CreateVirtualDirectory and GetPathOwner: the sections written into every
// block of a site, the access and Options lines, the password file, the
// commands, the printed progress lines and the early exits.
#include "VirtualDirectoryTestFixture.h"

#include <filesystem>
#include <unistd.h>

using CreateVirtualDirectoryTest = VirtualDirectoryTest;

namespace {
const std::string kSite = "<VirtualHost *:80>\nServerName shop.test\nDocumentRoot /s/html\n</VirtualHost>\n";
}

TEST_F(CreateVirtualDirectoryTest, WritesASectionIntoEveryBlockOfTheSite) {
    apacheVersion("2.2.34");
    useConf("vdir/every_matching_block.conf");
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
    expectGolden("every_matching_block", capturedOutput());
    EXPECT_FALSE(exists("/etc/apactemp"));
    EXPECT_TRUE(verifies("admin", "secret"));
    EXPECT_FALSE(verifies("admin", "other"));
    EXPECT_EQ(calls(tracker), (Lines{"CQZModuleName WebServerManager", "CQZMethodName CreateVirtualDirectory",
                                     "CQZMethodArguments [shop.test||10.0.0.0/8 192.168.1.0/24|all] "
                                     "[ObjDDir->DomainName|ObjDDir->DirPath|ObjDDir->Allow|ObjDDir->Deny]"}));

    // A block without DocumentRoot keeps the path of the previous matching
    // block: empty before any DocumentRoot, emptied by another site's block.
    apacheVersion("2.4.57");
    std::filesystem::remove(authFile());
    std::filesystem::remove(path("/.commands.log"));
    useConf("vdir/document_root_carried_over.conf");
    dir = record();
    dir.AnonAccess = '0';
    captureOutput();
    EXPECT_EQ(create(dir), 'S');
    expectGolden("document_root_carried_over", capturedOutput());
}

TEST_F(CreateVirtualDirectoryTest, AccessAndOptionsLinesFollowOrderAndTheApacheVersion) {
    const std::tuple<const char*, char, const char*, const char*, SOptions> cases[] = {
        {"2.4.57", 0, "1.2.3.4", "", {}},
        {"2.4.57", 0, "1.2.3.4", "5.6.7.8", {}},
        {"2.2.34", 0, "", "5.6.7.8", {}},
        {"2.2.34", '1', "", "5.6.7.8", {}},
        {"", 1, "1.2.3.4", "x", {}},
        {"2.4.57", 1, "1.2.3.4", "5.6.7.8", {}},
        {"3.0.1", 1, "", "5.6.7.8", {}},
        {"2.4.57", 1, "", "", {'+', '+', '-', '+', '-'}},
        {"2.4.57", 0, "", "", {0, 'y', 0, 0, 0}},  // neither '+' nor '-': the line, but no word
        {"2.4.57", 0, "", "", {0, 0, 0, 0, '+'}},
    };
    for (const auto& [version, order, allow, deny, options] : cases) {
        apacheVersion(version);
        SDDir dir = record("/s/shop");
        dir.PerlEnabled = '1';  // creation takes the CGI handler from ExecCGI '+' alone
        dir.Order = order;
        strcpy(dir.Allow, allow);
        strcpy(dir.Deny, deny);
        dir.Options = options;
        writeConf(kSite);
        std::string label = "Apache " + std::string(version) + ", order " + std::to_string(order) + ", allow '" + allow +
                            "', deny '" + deny + "', options ";
        for (char flag : {options.Indexes, options.Includes, options.FollowSymLinks, options.MultiViews, options.ExecCGI})
            label += flag ? flag : '0';
        STEP(label, create(dir));
    }
    EXPECT_DATA(transcript_, "vdir/access_and_options_lines.transcript");
}

TEST_F(CreateVirtualDirectoryTest, WhereASectionGoesOrWhyNoneDoes) {
    const std::string block = "<VirtualHost *:80>\nServerName shop.test\nDocumentRoot /s/html\n";
    // An existing section, or an unclosed quote: the configuration alone.
    writeConf(block + "<Directory \"/S/SHOP\">\n</Directory>\n</VirtualHost>\n");
    writeFile("/etc/apactemp", "stale");
    STEP("an existing section", create(record("/s/shop")));
    writeConf(block + "  <Directory \"/s/shop\n</VirtualHost>\n");
    writeFile("/etc/apactemp", "stale");
    STEP("an unclosed quote", create(record("/s/shop")));
    // Only the site's block is examined, and an unquoted path keeps its '>'.
    writeConf("<VirtualHost *:80>\nServerName other.test\n<Directory \"/s/shop\n</VirtualHost>\n" + block +
              "<Directory /s/shop>\n</VirtualHost>");
    STEP("only the site's block", create(record("/s/shop")));
    // The admin flag, or no block of the site: a copy with one more empty line.
    writeConf(kSite);
    STEP("the admin flag", create(record("/s/shop"), 1));
    SDDir www = record("/s/shop");
    strcpy(www.DomainName, "www.shop.test");
    STEP("no block of the site", create(www));
    EXPECT_DATA(transcript_, "vdir/create_where_a_section_goes.transcript");
}

TEST_F(CreateVirtualDirectoryTest, FailuresGive21To23WithTheConfigurationUnchanged) {
    SDDir dir = record("/s/shop");
    for (CQZVirtualDirectory manager : {CQZVirtualDirectory(nullptr), CQZVirtualDirectory(nullptr, missing_.c_str())}) {
        const char result = manager.HttpdConfFile == nullptr ? 21 : 22;
        EXPECT_EQ(manager.CreateVirtualDirectory(&dir, 0, "", ""), result);
        EXPECT_EQ(manager.GetVirtualDirectoryinfo(&dir), result);
        EXPECT_PRINTS(manager.UpdateVirtualDirectory(&dir, "", ""), result,
                      result == 22 ? "Error opening HttpdConfFile file\n" : "");
        EXPECT_EQ(manager.CreateVirtualDirectory(nullptr, 0, "", ""), 'W');
        EXPECT_EQ(manager.UpdateVirtualDirectory(nullptr, "", ""), 'W');
        EXPECT_EQ(manager.GetVirtualDirectoryinfo(nullptr), 26);
    }
    watch("/victim");
    writeConf(kSite);
    makeDir("/etc/apactemp");
    STEP("create, the scratch file a folder", create(dir));
    STEP("update, the scratch file a folder", update(dir));
    // Nor is the scratch file written through a link planted in its place.
    std::filesystem::remove(path("/etc/apactemp"));
    writeFile("/victim", "kept\n");
    ASSERT_EQ(symlink(path("/victim").c_str(), path("/etc/apactemp").c_str()), 0);
    STEP("create, the scratch file a link", create(dir));
    STEP("update, the scratch file a link", update(dir));
    // A line longer than the 2999 characters a read takes.
    std::filesystem::remove(path("/etc/apactemp"));
    writeConf(kSite + "# " + std::string(3000, 'x') + "\n");
    STEP("create, an over-long line", create(dir));
    STEP("update, an over-long line", update(dir));
    EXPECT_DATA(transcript_, "vdir/create_failures.transcript");
}

TEST_F(CreateVirtualDirectoryTest, PasswordFileIsCreatedOrKeptNeverFollowedThroughALinkAndOwnedByGetPathOwner) {
    const std::string auth = authFile().substr(root_.size());
    SDDir dir = record();
    dir.AnonAccess = '1';
    writeConf(kSite);
    EXPECT_EQ(create(dir, 0, "", "secret"), 'S');
    EXPECT_EQ(readFile(auth), "");
    EXPECT_TRUE(exists(auth) && commandsOf("htpasswd").empty());

    writeFile(auth, "old:$apr1$x$y\n");
    writeConf(kSite);
    EXPECT_EQ(create(dir, 0, "admin", "pw"), 'S');
    EXPECT_EQ(readFile(auth).rfind("old:$apr1$x$y\nadmin:", 0), 0u);
    EXPECT_TRUE(verifies("admin", "pw"));

    // A link planted where the password file goes.
    std::filesystem::remove(authFile());
    writeFile("/victim", "root:x:0:0::/root:/bin/sh\n");
    ASSERT_EQ(symlink(path("/victim").c_str(), authFile().c_str()), 0);
    writeConf(kSite);
    // Refused before anything runs: no command, the configuration as it was.
    const size_t logged = commandLog().size();
    EXPECT_EQ(create(dir, 0, "admin", "pw"), 'W');
    EXPECT_EQ(readFile("/victim"), "root:x:0:0::/root:/bin/sh\n");
    EXPECT_EQ(commandLog().size(), logged);
    EXPECT_EQ(readConf(), kSite);

    // Nobody in /etc/passwd owns the home folder: no owner, no chown or chmod.
    EXPECT_EQ(GetPathOwner(path("/home/sites/shop.test")), "webadm");
    EXPECT_EQ(GetPathOwner(path("/home/sites/none")), "");
    writeFile("/etc/passwd", "root:x:99999:0::/:/bin/sh\n");
    EXPECT_EQ(GetPathOwner(path("/home/sites/shop.test")), "");
    writeConf(kSite);
    captureOutput();
    EXPECT_EQ(create(record()), 'S');
    EXPECT_NE(capturedOutput().find("Directory Creation\nWebAdmin=\nFullPath=/s\nwriting directory entry\n"), std::string::npos);
    EXPECT_EQ(commandsOf("chmod").size(), 2u);
    std::filesystem::remove(path("/etc/passwd"));
    EXPECT_EQ(GetPathOwner(path("/home/sites/shop.test")), "");
}

TEST_F(CreateVirtualDirectoryTest, ShellMetacharactersReachTheCommandsAsPlainWords) {
    const std::string sites = "/home/it's $(touch x) `touch y`;";
    std::filesystem::create_directories(path(sites + "/shop.test"));
    writeConf(kSite);
    SDDir dir = record("/s/a b;touch z");
    snprintf(dir.WebAdminPath, sizeof dir.WebAdminPath, "%s%s", root_.c_str(), sites.c_str());
    dir.AnonAccess = '1';
    const std::string pass = "p'w $(touch q) \"`id`\";|&";
    ASSERT_EQ(chdir(root_.c_str()), 0);
    captureOutput();
    EXPECT_EQ(create(dir, 0, "admin", pass), 'S');
    const std::string out = capturedOutput();
    const std::string auth = path(sites + "/shop.test/webusers_shop.test.htpasswd");
    EXPECT_NE(out.find("command =chown -R webadm:qz7group '/s/a b;touch z'\n"), std::string::npos) << out;
    EXPECT_NE(out.find("cmd=htpasswd -b '" + root_ + "/home/it'\\''s $(touch x) `touch y`;/shop.test/"
                       "webusers_shop.test.htpasswd' admin 'p'\\''w $(touch q) \"`id`\";|&'\n"),
              std::string::npos) << out;
    EXPECT_EQ(commandsOf("chown"), (Lines{"chown [-R] [webadm:qz7group] [/s/a b;touch z]", "chown [webadm:qz7group] [" + auth + "]"}));
    EXPECT_NE(readConf().find("\t\tAuthUserFile " + auth + "\n"), std::string::npos);
    for (const char* planted : {"/x", "/y", "/z", "/q"}) EXPECT_FALSE(exists(planted)) << planted;
    EXPECT_TRUE(verifies("admin", pass, auth));
}
