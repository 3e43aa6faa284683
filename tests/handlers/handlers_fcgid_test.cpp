// PHP through mod_fcgid: the server-level settings, the site's block with its
// settings folder, removing it again, and a site switched from the module to
// FastCGI and back off.
#include "HandlerTestFixture.h"

class FcgidTest : public HandlerTest {
protected:
    void SetUp() override {
        HandlerTest::SetUp();
        fakeCommand("chown", "echo \"chown $*\" >> \"$QZ_TEST_LOG\"");
        loggedCommand("cp");
        loggedCommand("chmod");
        makeDir("/usr/bin");
        writeFile("/usr/bin/php-cgi", "#!/bin/sh\n");
        makeDir("/home/admin/example.com/www/html");
        for (const char* scratch : {".efcgid", ".tmpfcgid", ".tmpdso"}) watch("/conf/httpd.conf" + std::string(scratch));
        watch(temp_);
        watch("/home/admin/example.com/.setting_php/php-cgi");
    }
};

TEST_F(FcgidTest, ConfigureFcgidGloballyPutsABlockBeforeEveryColumnOneIncludeOrAppendsOne) {
    makeDir("/tmp");
    loggedCommand("mkdir");
    useConf("handlers/fcgid_includes.conf");
    STEP("before every column-1 Include", website_->ConfigureFcgidGlobally(conf_, "mod_fcgid"));
    EXPECT_EQ(modeOf("/tmp/mod_fcgid"), 0777);
    STEP("the settings are there now: printed, nothing written", website_->ConfigureFcgidGlobally(conf_, "mod_fcgid"));
    std::remove(path("/tmp/mod_fcgid").c_str());
    CQZWebsite untracked;
    writeConf("Listen 80\n  Include x.conf\n");
    STEP("no column-1 Include: appended, no folder", untracked.ConfigureFcgidGlobally(conf_, "fcgid"));
    EXPECT_FALSE(exists("/tmp/mod_fcgid"));
    writeConf("<IfModule mod_fcgid.c>\n  SharememPath /run/shm\n</IfModule>\nInclude x.conf\n");
    STEP("one of the two settings is enough to write nothing", untracked.ConfigureFcgidGlobally(conf_, "mod_fcgid"));
    STEP("no configuration", untracked.ConfigureFcgidGlobally(missing_, "mod_fcgid"));
    writeConf("Listen 80\n# " + std::string(2998, 'x') + "\n");
    STEP("a line over 2999 characters: not appended to", untracked.ConfigureFcgidGlobally(conf_, "mod_fcgid"));
    std::remove(path("/conf/httpd.conf.efcgid").c_str());
    makeDir("/conf/httpd.conf.efcgid");
    writeConf("Include x.conf\n");
    STEP("the scratch file a folder", untracked.ConfigureFcgidGlobally(conf_, "mod_fcgid"));
    EXPECT_DATA(transcript_, "handlers/configure_fcgid_globally.transcript");
}

TEST_F(FcgidTest, EnableFcgidMakesTheSettingsFolderAndTheBlock) {
    writeConf(golden("module_off.expected"));
    STEP("suexec disabled", website_->EnableFcgid("example.com", path("/usr/bin/php-cgi"), "disabled"));
    EXPECT_EQ(modeOf("/home/admin/example.com/.setting_php"), 04505);
    std::remove(path("/conf/httpd.conf").c_str());
    STEP("no configuration", website_->EnableFcgid("example.com", "/usr/bin/php-cgi", "enabled"));
    // No site folder (the document root does not hold the domain): nothing
    // is made or inserted.
    writeConf("<VirtualHost *:80>\nServerName a.com\nDocumentRoot \"" + root_ + "/var/www\"\nCustomLog x\n</VirtualHost>\n");
    STEP("no site folder", website_->EnableFcgid("a.com", "/usr/bin/php-cgi", "enabled"));
    EXPECT_FALSE(exists("/var/www/.setting_php"));
    std::remove(path("/conf/httpd.conf.tmpfcgid").c_str());
    makeDir("/conf/httpd.conf.tmpfcgid");
    STEP("the scratch file a folder", website_->EnableFcgid("a.com", "/usr/bin/php-cgi", "enabled"));
    EXPECT_DATA(transcript_, "handlers/enable_fcgid.transcript");
}

TEST_F(FcgidTest, DisableFcgidRemovesABlockOfAtMostTenLines) {
    makeDir("/home/admin/a.com/.setting_php");
    writeFile("/home/admin/a.com/.setting_php/php-cgi", "");
    watch("/home/admin/a.com/.setting_php/php-cgi");
    auto site = [&](int innerLines) {
        std::string text = "<VirtualHost *:80>\n  ServerName a.com\n  DocumentRoot \"" + root_ +
                           "/home/admin/a.com/www/html\"\n  <IfModule mod_fcgid.c>\n";
        for (int i = 0; i < innerLines; ++i) text += "    SetEnv X" + std::to_string(i) + " 1\n";
        return text + " \t</IfModule>\n</VirtualHost>\n";
    };
    writeConf(site(10));
    STEP("opening line, 10 lines, closing line: too long", website_->DisableFcgid("a.com", "mod_fcgid", ".setting_php/php-cgi"));
    writeConf(site(9) + "\n");
    STEP("9 lines", website_->DisableFcgid("a.com", "mod_fcgid", ".setting_php/php-cgi"));
    STEP("no block", website_->DisableFcgid("a.com", "mod_fcgid", "x"));
    // The scratch name is the folder and the second of construction: pinned,
    // so that the step does not depend on the clock.
    CQZWebsite noConf(nullptr, missing_.c_str());
    noConf.TEMPFILE = website_->TEMPFILE;
    STEP("no configuration", noConf.DisableFcgid("a.com", "mod_fcgid", "x"));
    std::remove(path(temp_).c_str());
    makeDir(temp_);
    STEP("the scratch file a folder", website_->DisableFcgid("a.com", "mod_fcgid", "x"));
    EXPECT_DATA(transcript_, "handlers/disable_fcgid.transcript");
}

TEST_F(FcgidTest, ASiteSwitchedModuleOffFastCgiOffKeepsItsBlock) {
    useConf("handlers/sites.conf");
    // Enabling again finds the block on the line after CustomLog: nothing is
    // written and the scratch copy stays.
    STEP("module on", website_->EnablePhp("example.com", "mod_php5"));
    STEP("module on again", website_->EnablePhp("example.com", "mod_php5"));
    STEP("query", website_->ISPhpEnabled("example.com"));
    STEP("module off", website_->DisablePhp("example.com"));
    STEP("query", website_->ISPhpEnabled("example.com"));
    STEP("FastCGI on", website_->EnableFcgid("example.com", path("/usr/bin/php-cgi"), "Enabled"));
    STEP("FastCGI on again", website_->EnableFcgid("example.com", path("/usr/bin/php-cgi"), "Enabled"));
    STEP("query", website_->ISPhpEnabled("example.com"));
    STEP("FastCGI off", website_->DisableFcgid("example.com", "mod_fcgid", ".setting_php/php-cgi"));
    STEP("query", website_->ISPhpEnabled("example.com"));
    EXPECT_DATA(transcript_, "handlers/module_fastcgi_off.transcript");
    // Empty lines aside, the file is the one the site started with.
    std::string original = golden("sites.conf");
    for (size_t at; (at = original.find("\n\n")) != std::string::npos;) original.erase(at, 1);
    EXPECT_EQ(readConf(), original + "\n");
}
