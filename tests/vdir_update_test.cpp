// GetVirtualDirectoryinfo and UpdateVirtualDirectory: reading a section back
// into the record, replacing it in the site's first block or adding one there.
#include "VirtualDirectoryTestFixture.h"

using VirtualDirectoryInfoTest = VirtualDirectoryTest;

namespace {
std::string flags(const SOptions& o) {
    std::string text;
    for (char flag : {o.Indexes, o.Includes, o.FollowSymLinks, o.MultiViews, o.ExecCGI}) text += flag ? flag : '0';
    return text;
}
}  // namespace

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
    EXPECT_EQ(flags(dir.Options), "-++0-");
    EXPECT_STREQ(dir.Allow, "10.0.0.0/8 192.168.1.0/24");
    EXPECT_STREQ(dir.Deny, "all");
    EXPECT_EQ(std::string({dir.AnonAccess, dir.PerlEnabled, dir.RubyOnRails}), "111");
    EXPECT_EQ(calls(tracker), (Lines{"CQZModuleName WebServerManager", "CQZMethodName GetVirtualDirectoryinfo",
                                     "CQZMethodArguments [shop.test|/s/shop] [ObjDDir->DomainName|ObjDDir->DirPath]"}));

    // Without a section in the site's block only the folder's mode is read.
    const std::string folder = path("/home/sites");
    writeConf("<VirtualHost *:80>\nServerName SHOP.test\n<Directory \"" + folder + "/\">\n</VirtualHost>\n");
    SDDir kept = record(folder.c_str());
    strcpy(kept.Allow, "mine");
    EXPECT_EQ(info(kept), 'V');
    struct stat st = {};
    ASSERT_EQ(stat(folder.c_str(), &st), 0);
    EXPECT_EQ(kept.Permission, st.st_mode);
    EXPECT_STREQ(kept.Allow, "mine");
    EXPECT_EQ(kept.Order, 0);

    // A section in the 2.4 form: Require lines are not read, the defaults stand.
    writeConf("<VirtualHost *:80>\nServerName shop.test\n\t<Directory \"/s/shop\">\n\t\tRequire all denied\n"
              "\t\tOrder Deny,Allow\n\t</Directory>\n</VirtualHost>\n");
    EXPECT_EQ(info(kept = record("/s/shop")), 'V');
    EXPECT_EQ(std::string(kept.Allow) + "|" + kept.Deny + "|" + char('0' + kept.Order), "All||1");
}

TEST_F(VirtualDirectoryInfoTest, EndsWithoutABlockOrAtALongLineAndBoundsTheLists) {
    SDDir dir = record("/s/shop");
    const std::string site = "<VirtualHost *:80>\nServerName shop.test\n";
    const std::string longLine = "# " + std::string(3000, 'x') + "\n";
    const std::pair<std::string, char> ends[] = {
        {"<VirtualHost *:80>\nServerName other.test\n</VirtualHost>\n", 26},
        // A line over 2999 characters ends the search without an answer.
        {longLine + site + "</VirtualHost>\n", 22},
        {site + "<Directory \"/s/shop\">\n" + longLine + "</Directory>\n</VirtualHost>\n", 22},
        {"", 26},
        {"<VirtualHost *:80>\nServerName shop.test\n", 'V'},  // the site's block left open
        {"<VirtualHost *:80>\nServerName shop.test\n<Directory \"/s/shop\">\nDeny from x", 'V'},
    };
    for (const auto& [text, result] : ends) {
        writeConf(text);
        EXPECT_EQ(info(dir), result) << text;
    }
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
    EXPECT_EQ(update(dir), 'W');
    EXPECT_EQ(readConf(), unclosed);
    EXPECT_TRUE(commandLog().empty());
}

TEST_F(VirtualDirectoryInfoTest, UpdateReplacesTheSectionOfTheFirstMatchingBlockOnly) {
    writeConf(data("vdir/section_replaced_in_first_block.conf"));
    SDDir dir = record("/s/shop");
    dir.Order = 1;
    strcpy(dir.Allow, "10.0.0.0/8");
    dir.Options = {'+', 0, 0, 0, '+'};
    dir.PerlEnabled = dir.AnonAccess = dir.RubyOnRails = '1';
    CQZTrackManager tracker;
    CQZVirtualDirectory manager(&tracker, conf_.c_str(), "/opt/qz");
    captureOutput();
    EXPECT_EQ(manager.UpdateVirtualDirectory(&dir, "admin", "pw"), 'Y');
    expectGolden("section_replaced_in_first_block", capturedOutput());
    EXPECT_TRUE(verifies("admin", "pw"));
    EXPECT_EQ(calls(tracker),
              (Lines{"CQZModuleName WebServerManager", "CQZMethodName UpdateVirtualDirectory",
                     "CQZMethodArguments [shop.test|/s/shop|10.0.0.0/8||" + path("/home/sites") +
                         "] [ObjDDir->DomainName|ObjDDir->DirPath|ObjDDir->Allow|ObjDDir->Deny|ObjDDir->WebAdminPath]"}));

    // The handler line follows PerlEnabled, not ExecCGI; AnonAccess '0' and a
    // RubyOnRails other than '1' leave out the login and the Rails lines.
    std::remove(authFile().c_str());
    writeConf(data("vdir/section_replaced_in_first_block.conf"));
    dir.PerlEnabled = 0;
    dir.AnonAccess = dir.RubyOnRails = '0';
    const size_t logged = commandLog().size();
    EXPECT_EQ(update(dir, "admin", "pw"), 'Y');
    EXPECT_EQ(rooted(readConf()), data("vdir/replaced_without_handler_login_or_rails.expected"));
    const Lines log = commandLog();
    EXPECT_EQ(Lines(log.begin() + logged, log.end()), (Lines{"mv " + path("/etc/apactemp") + " " + conf_}));
    EXPECT_FALSE(exists(authFile().substr(root_.size())));
}

TEST_F(VirtualDirectoryInfoTest, UpdateAppendsASectionProtectedWhenAnonymousAccessIsZero) {
    apacheVersion("2.2.34");
    SDDir dir = record("/s/shop");
    strcpy(dir.Deny, "all");
    dir.RubyOnRails = '1';
    for (const char anonymous : {'1', '0'}) {
        dir.AnonAccess = anonymous;
        writeConf(data("vdir/appended_to_first_block.conf"));
        EXPECT_EQ(update(dir, "admin", "pw"), 'Y');
        const std::string name = anonymous == '1' ? "appended_unprotected" : "appended_protected";
        EXPECT_EQ(rooted(readConf()), data("vdir/" + name + ".expected")) << name;
        EXPECT_EQ(exists(authFile().substr(root_.size())), anonymous == '0');
    }
    EXPECT_TRUE(verifies("admin", "pw"));

    // No password given: the file is made, nobody is added. A ServerAdmin
    // without a local part before an "@" gives the file no owner.
    std::remove(authFile().c_str());
    writeConf("<VirtualHost *:80>\nServerName shop.test\nServerAdmin root\n</VirtualHost>\n");
    EXPECT_EQ(update(dir, "admin", ""), 'Y');
    EXPECT_EQ(readFile(authFile().substr(root_.size())), "");
    EXPECT_TRUE(commandsOf("chown").empty());
    EXPECT_EQ(commandsOf("htpasswd").size(), 2u);  // the first update's and the check's

    // No block of the site: a copy with one more empty line.
    writeConf(data("vdir/appended_to_first_block.conf"));
    strcpy(dir.DomainName, "other.test");
    EXPECT_EQ(update(dir), 'Y');
    EXPECT_EQ(readConf(), data("vdir/appended_to_first_block.conf") + "\n");
}
