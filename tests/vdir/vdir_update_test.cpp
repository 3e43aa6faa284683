// GetVirtualDirectoryinfo and UpdateVirtualDirectory: reading a section back
// into the record, replacing it in the site's first block or adding one there.
#include "VirtualDirectoryTestFixture.h"

using VirtualDirectoryInfoTest = VirtualDirectoryTest;

namespace {
// The result and the fields GetVirtualDirectoryinfo fills, as one line.
std::string fields(char result, const SDDir& d) {
    std::string text = (result > ' ' ? std::string(1, result) : std::to_string(result)) + " mode " +
                       std::to_string(d.Permission) + " order " + std::to_string(d.Order) + " options ";
    for (char flag : {d.Options.Indexes, d.Options.Includes, d.Options.FollowSymLinks, d.Options.MultiViews, d.Options.ExecCGI})
        text += flag ? flag : '0';
    return text + " allow [" + d.Allow + "] deny [" + d.Deny + "] anon/perl/rails " +
           std::string({d.AnonAccess ? d.AnonAccess : '0', d.PerlEnabled ? d.PerlEnabled : '0', d.RubyOnRails ? d.RubyOnRails : '0'});
}
}  // namespace

TEST_F(VirtualDirectoryInfoTest, ReadsTheSectionOfTheSiteWithCommentedLinesLive) {
    useConf("vdir/commented_server_name.conf");
    SDDir dir = record("/s/shop");
    dir.Permission = 0777;
    dir.Options = {'x', 'x', 'x', 'x', 'x'};
    CQZTrackManager tracker;
    CQZVirtualDirectory manager(&tracker, conf_.c_str(), "/opt/qz");
    // No such folder: mode 0.
    EXPECT_EQ(fields(manager.GetVirtualDirectoryinfo(&dir), dir),
              "V mode 0 order 1 options -++0- allow [10.0.0.0/8 192.168.1.0/24] deny [all] anon/perl/rails 111");
    EXPECT_EQ(calls(tracker), (Lines{"CQZModuleName WebServerManager", "CQZMethodName GetVirtualDirectoryinfo",
                                     "CQZMethodArguments [shop.test|/s/shop] [ObjDDir->DomainName|ObjDDir->DirPath]"}));
    // Without a section in the site's block only the folder's mode is read.
    const std::string folder = path("/home/sites");
    writeConf("<VirtualHost *:80>\nServerName SHOP.test\n<Directory \"" + folder + "/\">\n</VirtualHost>\n");
    dir = record(folder.c_str());
    strcpy(dir.Allow, "mine");
    EXPECT_EQ(fields(info(dir), dir), "V mode " + std::to_string(S_IFDIR | modeOf("/home/sites")) +
                                          " order 0 options 00000 allow [mine] deny [] anon/perl/rails 000");
    // A section in the 2.4 form: Require lines are not read, the defaults stand.
    writeConf("<VirtualHost *:80>\nServerName shop.test\n\t<Directory \"/s/shop\">\n\t\tRequire all denied\n"
              "\t\tOrder Deny,Allow\n\t</Directory>\n</VirtualHost>\n");
    dir = record("/s/shop");
    EXPECT_EQ(fields(info(dir), dir), "V mode 0 order 1 options 00000 allow [All] deny [] anon/perl/rails 000");
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
        {site, 'V'},  // the site's block left open
        {site + "<Directory \"/s/shop\">\nDeny from x", 'V'},
    };
    for (const auto& [text, result] : ends) {
        writeConf(text);
        EXPECT_EQ(info(dir), result) << text;
    }
    EXPECT_STREQ(dir.Deny, "x");
    const std::string list(400, 'a');
    writeConf(site + "<Directory \"/s/shop\">\nAllow from \"" + list + "\"\nDeny from " + list + "\n</Directory>\n</VirtualHost>\n");
    EXPECT_EQ(info(dir), 'V');
    EXPECT_EQ(std::string(dir.Allow) + "|" + dir.Deny, list.substr(0, 255) + "|" + list.substr(0, 255));

    // An unclosed quote: 1 and the scratch file deleted; the update gives 'W'.
    writeConf(site + "<Directory \"/s/x\n</VirtualHost>\n");
    writeFile("/etc/apactemp", "stale");
    STEP("info, an unclosed quote", info(dir));
    STEP("update, an unclosed quote", update(dir));
    EXPECT_DATA(transcript_, "vdir/info_unclosed_quote.transcript");
}

TEST_F(VirtualDirectoryInfoTest, UpdateReplacesTheSectionOfTheFirstMatchingBlockOnly) {
    useConf("vdir/section_replaced_in_first_block.conf");
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
    useConf("vdir/section_replaced_in_first_block.conf");
    dir.PerlEnabled = 0;
    dir.AnonAccess = dir.RubyOnRails = '0';
    const size_t logged = commandLog().size();
    EXPECT_EQ(update(dir, "admin", "pw"), 'Y');
    EXPECT_DATA(readConf(), "vdir/replaced_without_handler_login_or_rails.expected");
    EXPECT_EQ(commandLog().size(), logged + 1);
    EXPECT_EQ(commandLog().back(), "mv " + path("/etc/apactemp") + " " + conf_);
    EXPECT_FALSE(exists(authFile().substr(root_.size())));
}

TEST_F(VirtualDirectoryInfoTest, UpdateAppendsASectionProtectedWhenAnonymousAccessIsZero) {
    apacheVersion("2.2.34");
    SDDir dir = record("/s/shop");
    strcpy(dir.Deny, "all");
    dir.RubyOnRails = '1';
    for (const char anonymous : {'1', '0'}) {
        dir.AnonAccess = anonymous;
        useConf("vdir/appended_to_first_block.conf");
        EXPECT_EQ(update(dir, "admin", "pw"), 'Y');
        EXPECT_DATA(readConf(), anonymous == '1' ? "vdir/appended_unprotected.expected" : "vdir/appended_protected.expected");
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
    useConf("vdir/appended_to_first_block.conf");
    strcpy(dir.DomainName, "other.test");
    EXPECT_EQ(update(dir), 'Y');
    EXPECT_EQ(readConf(), data("vdir/appended_to_first_block.conf") + "\n");
}
