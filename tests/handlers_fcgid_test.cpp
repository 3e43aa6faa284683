// PHP through mod_fcgid: the server-level settings, the site's block with its
// settings folder, removing it again, and a site switched from the module to
// FastCGI and back off.
#include "HandlerTestFixture.h"

#include <sys/stat.h>

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
    }

    std::string settings() const { return path("/home/admin/example.com/.setting_php"); }
    // The four commands that give the site its copy of the PHP CGI program.
    Lines settingCommands() const {
        return {"chown admin:qz7group " + settings(), "cp " + path("/usr/bin/php-cgi") + " " + settings() + "/.",
                "chown admin:qz7group " + settings() + "/php-cgi", "chmod 505 " + settings() + "/php-cgi"};
    }
    int mode(const std::string& rel) const {
        struct stat st;
        return stat(path(rel).c_str(), &st) == 0 ? static_cast<int>(st.st_mode & 07777) : -1;
    }
};

TEST_F(FcgidTest, ConfigureFcgidGloballyPutsABlockBeforeEveryColumnOneInclude) {
    makeDir("/tmp");
    loggedCommand("mkdir");
    useConf("fcgid_includes");
    CQZWebsite website(&tracker_);
    captureOutput();
    EXPECT_EQ(website.ConfigureFcgidGlobally(conf_, "mod_fcgid"), 0);
    EXPECT_EQ(capturedOutput(), "SocketPath=\nSharememPath=\n");
    EXPECT_EQ(readConf(), golden("fcgid_includes.expected"));
    const std::string folder = path("/tmp/mod_fcgid");
    Lines commands;
    for (int block = 0; block < 3; ++block) commands.insert(commands.end(), {"mkdir " + folder, "chmod 777 " + folder});
    commands.push_back(mvOf(conf_ + ".efcgid"));
    EXPECT_EQ(commandLog(), commands);
    EXPECT_EQ(mode("/tmp/mod_fcgid"), 0777);

    // The settings are there now: printed, and nothing written.
    captureOutput();
    EXPECT_EQ(website.ConfigureFcgidGlobally(conf_, "mod_fcgid"), 0);
    EXPECT_EQ(capturedOutput(), "SocketPath=/tmp/mod_fcgid/\nSharememPath=/tmp/mod_fcgid/fcgid_shm\n");
    EXPECT_EQ(readConf(), golden("fcgid_includes.expected"));
    EXPECT_EQ(commandLog().size(), commands.size());
    Lines reported = {"CQZModuleName Apache"};
    for (int call = 0; call < 2; ++call)
        add(reported, tracked("ConfigureFcgidGlobally", conf_ + "|mod_fcgid", "HttpdConfFile|Module"));
    EXPECT_EQ(calls(tracker_), reported);
}

TEST_F(FcgidTest, ConfigureFcgidGloballyAppendsWithoutAnInclude) {
    CQZWebsite website;
    writeConf("Listen 80\n  Include x.conf\n");
    captureOutput();
    EXPECT_EQ(website.ConfigureFcgidGlobally(conf_, "fcgid"), 0);
    EXPECT_EQ(readConf(), "Listen 80\n  Include x.conf\n<IfModule fcgid.c>\n\tSocketPath /tmp/mod_fcgid/\n"
                          "\tSharememPath /tmp/mod_fcgid/fcgid_shm\n</IfModule>\n");
    EXPECT_FALSE(exists("/tmp/mod_fcgid"));
    // One of the two settings is enough to write nothing.
    const std::string shm = "<IfModule mod_fcgid.c>\n  SharememPath /run/shm\n</IfModule>\nInclude x.conf\n";
    writeConf(shm);
    EXPECT_EQ(website.ConfigureFcgidGlobally(conf_, "mod_fcgid"), 0);
    EXPECT_EQ(readConf(), shm);
    EXPECT_EQ(website.ConfigureFcgidGlobally(missing_, "mod_fcgid"), 1);
    // A line over 2999 characters: not appended to.
    const std::string overLong = "Listen 80\n# " + std::string(2998, 'x') + "\n";
    writeConf(overLong);
    EXPECT_EQ(website.ConfigureFcgidGlobally(conf_, "mod_fcgid"), 1);
    EXPECT_EQ(readConf(), overLong);
    std::remove(path("/conf/httpd.conf.efcgid").c_str());
    makeDir("/conf/httpd.conf.efcgid");
    writeConf("Include x.conf\n");
    EXPECT_EQ(website.ConfigureFcgidGlobally(conf_, "mod_fcgid"), 2);
    EXPECT_EQ(capturedOutput(), "SocketPath=\nSharememPath=\nSocketPath=\nSharememPath=/run/shm\n"
                                "SocketPath=\nSharememPath=\nSocketPath=\nSharememPath=\n"
                                "SocketPath=\nSharememPath=\n");
    EXPECT_TRUE(commandLog().empty());
}

TEST_F(FcgidTest, EnableFcgidMakesTheSettingsFolderAndTheBlock) {
    writeConf(golden("module_off.expected"));
    CQZWebsite website(&tracker_, conf_.c_str());
    captureOutput();
    EXPECT_EQ(website.EnableFcgid("example.com", path("/usr/bin/php-cgi"), "disabled"), 96);
    EXPECT_EQ(capturedOutput(), "suexecSetting=disabled\ncreating .setting_php directory\n");
    EXPECT_EQ(mode("/home/admin/example.com/.setting_php"), 04505);
    EXPECT_TRUE(exists("/home/admin/example.com/.setting_php/php-cgi"));
    Lines commands = settingCommands();
    commands.push_back(mvOf(conf_ + ".tmpfcgid"));
    EXPECT_EQ(commandLog(), commands);
    std::string expected = golden("fcgid_on.expected");
    const std::string suexec = "\t\tSuexecUserGroup admin qz7group\n";
    expected.erase(expected.find(suexec), suexec.size());
    EXPECT_EQ(readConf(), expected);
    Lines reported = constructed();
    add(reported, tracked("EnableFcgid", "example.com|" + path("/usr/bin/php-cgi") + "|disabled",
                       "DomainName|phpCGIPath|suexecSetting"));
    EXPECT_EQ(calls(tracker_), reported);
}

TEST_F(FcgidTest, EnableFcgidFailuresAndSitesWithoutAFolder) {
    CQZWebsite website(&tracker_, conf_.c_str());
    captureOutput();
    EXPECT_EQ(website.EnableFcgid("example.com", "/usr/bin/php-cgi", "enabled"), 21);
    EXPECT_TRUE(exists("/conf/httpd.conf.tmpfcgid"));
    // No site folder (the document root does not hold the domain): nothing
    // is made or inserted.
    const std::string text = "<VirtualHost *:80>\nServerName a.com\nDocumentRoot \"" + root_ +
                             "/var/www\"\nCustomLog x\n</VirtualHost>\n";
    writeConf(text);
    EXPECT_EQ(website.EnableFcgid("a.com", "/usr/bin/php-cgi", "enabled"), 96);
    EXPECT_EQ(readConf(), text);
    EXPECT_FALSE(exists("/var/www/.setting_php"));
    std::remove(path("/conf/httpd.conf.tmpfcgid").c_str());
    makeDir("/conf/httpd.conf.tmpfcgid");
    EXPECT_EQ(website.EnableFcgid("a.com", "/usr/bin/php-cgi", "enabled"), 23);
    EXPECT_EQ(capturedOutput(), "suexecSetting=enabled\nsuexecSetting=enabled\nsuexecSetting=enabled\n");
    EXPECT_TRUE(commandLog().empty());
}

TEST_F(FcgidTest, DisableFcgidRemovesABlockOfAtMostTenLines) {
    CQZWebsite website(&tracker_, conf_.c_str());
    const std::string temp = website.TEMPFILE;
    makeDir("/home/admin/a.com/.setting_php");
    writeFile("/home/admin/a.com/.setting_php/php-cgi", "");
    auto site = [&](int innerLines) {
        std::string text = "<VirtualHost *:80>\n  ServerName a.com\n  DocumentRoot \"" + root_ +
                           "/home/admin/a.com/www/html\"\n  <IfModule mod_fcgid.c>\n";
        for (int i = 0; i < innerLines; ++i) text += "    SetEnv X" + std::to_string(i) + " 1\n";
        return text + " \t</IfModule>\n</VirtualHost>\n";
    };
    // Opening line, 10 lines, closing line: too long, nothing changes.
    writeConf(site(10));
    EXPECT_EQ(website.DisableFcgid("a.com", "mod_fcgid", ".setting_php/php-cgi"), 87);
    EXPECT_EQ(readConf(), site(10));
    EXPECT_TRUE(commandLog().empty());

    writeConf(site(9) + "\n");
    EXPECT_EQ(website.DisableFcgid("a.com", "mod_fcgid", ".setting_php/php-cgi"), 96);
    EXPECT_EQ(readConf(), "<VirtualHost *:80>\n  ServerName a.com\n  DocumentRoot \"" + root_ +
                              "/home/admin/a.com/www/html\"\n</VirtualHost>\n\n");
    EXPECT_FALSE(exists("/home/admin/a.com/.setting_php/php-cgi"));
    EXPECT_EQ(commandLog(), Lines{mvOf(temp)});

    // No block: 96, the configuration as it was.
    EXPECT_EQ(website.DisableFcgid("a.com", "mod_fcgid", "x"), 96);
    EXPECT_EQ(commandLog().size(), 1u);
    CQZWebsite missing(&tracker_, missing_.c_str());
    EXPECT_EQ(missing.DisableFcgid("a.com", "mod_fcgid", "x"), 21);
    std::remove(temp.c_str());
    makeDir(temp.substr(root_.size()));
    EXPECT_EQ(website.DisableFcgid("a.com", "mod_fcgid", "x"), 23);
}

TEST_F(FcgidTest, ASiteSwitchedModuleOffFastCgiOffKeepsItsBlock) {
    useConf("sites");
    CQZWebsite website(&tracker_, conf_.c_str());
    captureOutput();
    EXPECT_EQ(website.EnablePhp("example.com", "mod_php5"), 96);
    EXPECT_EQ(readConf(), golden("module_on.expected"));
    EXPECT_FALSE(exists("/conf/httpd.conf.tmpdso"));
    // Enabling again finds the block on the line after CustomLog: nothing is
    // written and the scratch copy stays.
    EXPECT_EQ(website.EnablePhp("example.com", "mod_php5"), 96);
    EXPECT_EQ(readConf(), golden("module_on.expected"));
    EXPECT_EQ(readFile("/conf/httpd.conf.tmpdso"), golden("module_on.expected") + "\n");
    EXPECT_EQ(website.ISPhpEnabled("example.com"), 1);
    EXPECT_EQ(website.DisablePhp("example.com"), 0);
    EXPECT_EQ(readConf(), golden("module_off.expected"));
    EXPECT_EQ(website.ISPhpEnabled("example.com"), 0);
    EXPECT_EQ(website.EnableFcgid("example.com", path("/usr/bin/php-cgi"), "Enabled"), 96);
    EXPECT_EQ(readConf(), golden("fcgid_on.expected"));
    EXPECT_EQ(website.EnableFcgid("example.com", path("/usr/bin/php-cgi"), "Enabled"), 96);
    EXPECT_EQ(readConf(), golden("fcgid_on.expected"));
    EXPECT_EQ(readFile("/conf/httpd.conf.tmpfcgid"), golden("fcgid_on.expected") + "\n");
    EXPECT_EQ(website.ISPhpEnabled("example.com"), 3);
    EXPECT_EQ(website.DisableFcgid("example.com", "mod_fcgid", ".setting_php/php-cgi"), 96);
    EXPECT_EQ(readConf(), golden("fcgid_off.expected"));
    EXPECT_EQ(website.ISPhpEnabled("example.com"), 0);
    EXPECT_EQ(capturedOutput(), "mod_php5\ndso enabled\nsuexecSetting=Enabled\ncreating .setting_php directory\n"
                                "suexecSetting=Enabled\nmod_fcgid\nfcgid enabled\n");
    const Lines setting = settingCommands();
    Lines commands = {mvOf(conf_ + ".tmpdso"), mvOf(website.TEMPFILE)};
    commands.insert(commands.end(), setting.begin(), setting.end());
    commands.push_back(mvOf(conf_ + ".tmpfcgid"));
    commands.insert(commands.end(), setting.begin(), setting.end());
    commands.push_back(mvOf(website.TEMPFILE));
    EXPECT_EQ(commandLog(), commands);
    // Only the FastCGI operations report themselves.
    const Lines enable = tracked("EnableFcgid", "example.com|" + path("/usr/bin/php-cgi") + "|Enabled",
                                 "DomainName|phpCGIPath|suexecSetting");
    Lines reported = constructed();
    add(reported, enable);
    add(reported, enable);
    add(reported,
        tracked("DisableFcgid", "example.com|mod_fcgid|.setting_php/php-cgi", "DomainName|ModuleName|PHPCGI"));
    EXPECT_EQ(calls(tracker_), reported);
    EXPECT_FALSE(exists("/home/admin/example.com/.setting_php/php-cgi"));

    // Empty lines aside, the file is the one the site started with.
    std::string original = golden("sites.conf");
    for (size_t at; (at = original.find("\n\n")) != std::string::npos;) original.erase(at, 1);
    EXPECT_EQ(readConf(), original + "\n");
}
