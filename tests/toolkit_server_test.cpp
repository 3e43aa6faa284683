// Server-level directives and modules: values read outside <VirtualHost>
// blocks, lines written next to a reference or at a line number, LoadModule
// checks and additions, with their printed words, backups and scratch files.
#include "ToolkitTestFixture.h"

#include <sys/stat.h>
#include <unistd.h>

class ToolkitServerTest : public ToolkitTest {
protected:
    void TearDown() override {
        if (immutable_) {
            EXPECT_EQ(std::system(("chattr -i '" + file_ + "'").c_str()), 0);
        }
        ToolkitTest::TearDown();
    }

    // Leaves the configuration readable but impossible to append to; false
    // when this cannot be arranged (root without chattr).
    bool forbidAppending() {
        if (getuid() != 0) return chmod(file_.c_str(), 0444) == 0;
        immutable_ = std::system(("chattr +i '" + file_ + "' 2>/dev/null").c_str()) == 0;
        return immutable_;
    }


    bool immutable_ = false;
};

TEST_F(ToolkitServerTest, GetDirectiveValueReadsTheFirstServerLevelLine) {
    const std::string file = golden("server_directive_values");
    std::string value = "stale";
    // A prefix match: Listen finds ListenBacklog first.
    EXPECT_EQ(helper.Apache_getDirectiveValue(file, "Listen", value, false), 0);
    EXPECT_EQ(value, "511");
    EXPECT_EQ(helper.Apache_getDirectiveValue(file, "timeout", value, false), 0);
    EXPECT_EQ(value, "300  ");
    EXPECT_EQ(helper.Apache_getDirectiveValue(file, "php_admin_value open_basedir", value, false), 0);
    EXPECT_EQ(value, "/home:/tmp");
    // A name ending in a blank is a whole word already.
    EXPECT_EQ(helper.Apache_getDirectiveValue(file, "Listen ", value, false), 0);
    EXPECT_EQ(value, "80");
    EXPECT_TRUE(helper.Apache_isDirectiveWithValueExists(file, "Listen ", "80", false));

    captureOutput();
    EXPECT_EQ(helper.Apache_getDirectiveValue(file, "DocumentRoot", value, true), 0);
    EXPECT_EQ(capturedOutput(), "returning with quote\n");
    EXPECT_EQ(value, "/var/www/html");

    // The first matching line decides: no quotes there gives 3.
    captureOutput();
    EXPECT_EQ(helper.Apache_getDirectiveValue(file, "PidFile", value, true), 3);
    EXPECT_EQ(helper.Apache_getDirectiveValue(file, "ErrorLog", value, true), 3);
    EXPECT_EQ(capturedOutput(), "");
    EXPECT_EQ(value, "");

    value = "stale";
    EXPECT_EQ(helper.Apache_getDirectiveValue(file, "ServerName", value, false), 6);
    EXPECT_EQ(value, "");
    EXPECT_EQ(helper.Apache_getDirectiveValue(file, "", value, false), 2);
    EXPECT_EQ(helper.Apache_getDirectiveValue(path("/conf/missing.conf"), "Listen", value, false), 1);
    EXPECT_EQ(helper.Apache_getDirectiveValue(path("/conf"), "Listen", value, false), 1);
}

TEST_F(ToolkitServerTest, GetDirectiveValueStopsAtOverLongLines) {
    // Lines of a skipped block hold at most 118 characters, others 2998.
    const std::string fits = "<VirtualHost *:80>\n# " + std::string(116, 'x') + "\n</VirtualHost>\n# " +
                             std::string(2996, 'y') + "\nListen 80\n";
    std::string value;
    EXPECT_EQ(helper.Apache_getDirectiveValue(conf(fits), "Listen", value, false), 0);
    EXPECT_EQ(value, "80");

    const std::string longInBlock =
        "<VirtualHost *:80>\n# " + std::string(117, 'x') + "\n</VirtualHost>\nListen 80\n";
    EXPECT_EQ(helper.Apache_getDirectiveValue(conf(longInBlock), "Listen", value, false), 6);
    const std::string longOutside = "# " + std::string(2997, 'y') + "\nListen 80\n";
    EXPECT_EQ(helper.Apache_getDirectiveValue(conf(longOutside), "Listen", value, false), 6);
}

TEST_F(ToolkitServerTest, IsDirectiveWithValueExistsComparesTheWholeValue) {
    const std::string file = golden("server_directive_with_value");
    captureOutput();
    // Every server-level line of the name is compared whole (a trailing
    // blank differs); by prefix, IncludeOptional carries the value too.
    EXPECT_TRUE(helper.Apache_isDirectiveWithValueExists(file, "Include", "qz/*.conf", false));
    EXPECT_EQ(capturedOutput(), "without quotes\nwithout quotes\nwithout quotes\nfound\n");

    captureOutput();
    EXPECT_TRUE(helper.Apache_isDirectiveWithValueExists(file, "PidFile", "/run/apache.pid", true));
    EXPECT_EQ(capturedOutput(), "returning with quote\nreturning with quote\n");

    captureOutput();
    EXPECT_FALSE(helper.Apache_isDirectiveWithValueExists(file, "Include", "vhost.conf", false));
    EXPECT_FALSE(helper.Apache_isDirectiveWithValueExists(file, "PidFile", "noquotes", true));
    EXPECT_EQ(capturedOutput(), "without quotes\nwithout quotes\nwithout quotes\nwithout quotes\n"
                                "returning with quote\nreturning with quote\n");

    captureOutput();
    EXPECT_FALSE(helper.Apache_isDirectiveWithValueExists(file, "", "", false));
    EXPECT_FALSE(helper.Apache_isDirectiveWithValueExists(path("/conf/missing.conf"), "Include", "x", false));
    EXPECT_EQ(capturedOutput(), "");

    // A bare <VirtualHost> opens nothing: the lines after it are server-level.
    const std::string bare = conf("<VirtualHost>\nInclude inside.conf\n</VirtualHost>\n");
    captureOutput();
    EXPECT_TRUE(helper.Apache_isDirectiveWithValueExists(bare, "Include", "inside.conf", false));
    EXPECT_EQ(capturedOutput(), "without quotes\nfound\n");
}

TEST_F(ToolkitServerTest, WriteDirectivePlacesTheEntryByTheFirstServerLevelReference) {
    expectRewrite("server_level_reference", "server_level_reference.before", ".qzbackup.rt", ".wd",
                  [this] { return helper.Apache_writeDirective(file_, "Include qz/*.conf", "Include", true, -1); });
    expectRewrite("server_level_reference", "server_level_reference.after", ".qzbackup.rt", ".wd",
                  [this] { return helper.Apache_writeDirective(file_, "Include qz/*.conf", "Include", false, 1); });
}

TEST_F(ToolkitServerTest, WriteDirectiveWithoutReferenceAppendsOrCountsLines) {
    // Found only inside a block: appended to the untouched file.
    const std::string inBlock = "<VirtualHost *:80>\n    ServerName a.com\n\n</VirtualHost>\n";
    const std::string file = conf(inBlock);
    EXPECT_EQ(helper.Apache_writeDirective(file, "ServerName www.a.com", "ServerName", true, -1), 0);
    EXPECT_EQ(confText(), inBlock + "ServerName www.a.com\n");
    EXPECT_FALSE(exists("/conf/httpd.conf.wd"));
    EXPECT_EQ(commandLog(), (Lines{"cp " + file + " " + file + ".qzbackup.rt"}));

    // Line numbers count empty lines; an empty line carrying the number takes
    // the entry with it.
    const std::string numbered = "Listen 80\n\nServerAdmin root@localhost\nUser apache\nGroup apache\n";
    conf(numbered);
    EXPECT_EQ(helper.Apache_writeDirective(file, "Timeout 60", "NoSuch", true, 4), 0);
    EXPECT_EQ(confText(), "Listen 80\nServerAdmin root@localhost\nTimeout 60\nUser apache\nGroup apache\n");
    EXPECT_FALSE(exists("/conf/httpd.conf.wd1"));
    for (int line : {2, 99}) {
        conf(numbered);
        EXPECT_EQ(helper.Apache_writeDirective(file, "Timeout 60", "NoSuch", true, line), 0);
        EXPECT_EQ(confText(), "Listen 80\nServerAdmin root@localhost\nUser apache\nGroup apache\n");
    }
    EXPECT_EQ(commandLog().back(), "mv " + file + ".wd1 " + file);
}

TEST_F(ToolkitServerTest, WriteDirectiveFailures) {
    const std::string missing = path("/conf/missing.conf");
    EXPECT_EQ(helper.Apache_writeDirective(missing, "Listen 80", "Listen", true, -1), 1);
    EXPECT_FALSE(exists("/conf/missing.conf"));

    const std::string file = conf("Listen 80\n");
    makeDir("/conf/httpd.conf.wd");
    EXPECT_EQ(helper.Apache_writeDirective(file, "Timeout 60", "Listen", true, -1), 2);
    EXPECT_EQ(confText(), "Listen 80\n");

    ASSERT_EQ(rmdir(path("/conf/httpd.conf.wd").c_str()), 0);
    makeDir("/conf/httpd.conf.wd1");
    EXPECT_EQ(helper.Apache_writeDirective(file, "Timeout 60", "NoSuch", true, 1), 2);
    EXPECT_FALSE(exists("/conf/httpd.conf.wd"));
    EXPECT_EQ(confText(), "Listen 80\n");

    if (!forbidAppending()) GTEST_SKIP() << "cannot make the file unappendable";
    EXPECT_EQ(helper.Apache_writeDirective(file, "Timeout 60", "NoSuch", true, -1), 1);
    EXPECT_EQ(confText(), "Listen 80\n");
}

TEST_F(ToolkitServerTest, CheckModuleSeesLoadModuleLinesBeforeTheFirstBlock) {
    const std::string file = conf(
        "#LoadModule rewrite_module modules/mod_rewrite.so\n"
        "\n"
        "  LoadModule   php5_module modules/libphp5.so\n"
        "<VirtualHost *:80>\n"
        "</VirtualHost>\n"
        "LoadModule ssl_module modules/mod_ssl.so\n");
    bool isExist = false;
    EXPECT_EQ(helper.Apache_checkModule(file, "PHP", isExist), 0);
    EXPECT_TRUE(isExist);
    EXPECT_EQ(helper.Apache_checkModule(file, "rewrite", isExist), 2);
    EXPECT_FALSE(isExist);
    EXPECT_EQ(helper.Apache_checkModule(file, "ssl", isExist), 2);
    isExist = true;
    EXPECT_EQ(helper.Apache_checkModule(path("/conf/missing.conf"), "ssl", isExist), 1);
    EXPECT_FALSE(isExist);
}

TEST_F(ToolkitServerTest, CheckModulePhysicalPathLooksInTheModulesFolder) {
    makeDir("/srv/modules");
    writeFile("/srv/modules/mod_rewrite.so", "");
    const std::string file = conf("ServerRoot \"" + path("/srv") + "\"\nLoadModule x_module modules/mod_x.so\n");
    bool isExist = false;
    EXPECT_EQ(helper.Apache_checkModulePhysicalPath(file, "rewrite", isExist), 0);
    EXPECT_TRUE(isExist);
    EXPECT_EQ(helper.Apache_checkModulePhysicalPath(file, "absent", isExist), 4);
    EXPECT_FALSE(isExist);

    // Nothing before the first block, or nothing at all: nothing to examine.
    conf("\n<VirtualHost *:80>\nServerRoot \"" + path("/srv") + "\"\nLoadModule x_module modules/mod_x.so\n");
    isExist = true;
    EXPECT_EQ(helper.Apache_checkModulePhysicalPath(file, "rewrite", isExist), 4);
    EXPECT_FALSE(isExist);
    conf("\n\n");
    EXPECT_EQ(helper.Apache_checkModulePhysicalPath(file, "rewrite", isExist), 4);
    EXPECT_EQ(helper.Apache_checkModulePhysicalPath(path("/conf/missing.conf"), "rewrite", isExist), 1);
}

TEST_F(ToolkitServerTest, AddModuleGoesBeforeTheFirstServerLevelLoadModule) {
    captureOutput();
    expectRewrite("module_before_first_loadmodule", "module_before_first_loadmodule", ".qzbackup.rt", "_md",
                  [this] { return helper.Apache_addModule(file_, "rewrite"); });
    EXPECT_EQ(capturedOutput(), "entry=LoadModule rewrite_module modules/mod_rewrite.so\nLoadModule found\n");
}

TEST_F(ToolkitServerTest, AddModuleElseGoesBeforeTheFirstBlockWithAFullUsrLibPath) {
    // The one candidate modules folder of both machine types.
    makeDir("/usr/lib/httpd/modules");
    const std::string file = golden("module_before_first_vhost");
    const std::string modules = path("/usr/lib/httpd/modules");
    captureOutput();
    EXPECT_EQ(helper.Apache_addModule(file, "rewrite"), 0);
    EXPECT_EQ(capturedOutput(),
              "entry=LoadModule rewrite_module " + modules + "/mod_rewrite.so\nVirtualHost found\n");
    std::string expected = data("toolkit/module_before_first_vhost.expected");
    expected.replace(expected.find("@ROOT@"), 6, root_);
    EXPECT_EQ(confText(), expected);
    EXPECT_FALSE(exists("/conf/httpd.conf_md"));
}

TEST_F(ToolkitServerTest, AddModuleElseAppendsToTheUntouchedFile) {
    // No LoadModule line, no modules folder: the entry has an empty folder.
    const std::string original = "ServerRoot \"/etc/httpd\"\n\nListen 80\n";
    const std::string file = conf(original);
    captureOutput();
    EXPECT_EQ(helper.Apache_addModule(file, "rewrite"), 0);
    EXPECT_EQ(capturedOutput(), "entry=LoadModule rewrite_module /mod_rewrite.so\napending\n");
    EXPECT_EQ(confText(), original + "LoadModule rewrite_module /mod_rewrite.so\n");
    EXPECT_FALSE(exists("/conf/httpd.conf_md"));
    EXPECT_EQ(commandLog(), (Lines{"cp " + file + " " + file + ".qzbackup.rt"}));

    conf(original);
    if (!forbidAppending()) GTEST_SKIP() << "cannot make the file unappendable";
    captureOutput();
    EXPECT_EQ(helper.Apache_addModule(file, "rewrite"), 4);
    EXPECT_EQ(capturedOutput(),
              "entry=LoadModule rewrite_module /mod_rewrite.so\napending\nUnable to open file in append mode\n");
    EXPECT_EQ(confText(), original);
}

TEST_F(ToolkitServerTest, AddModuleFailsBeforePrintingWhenAFileDoesNotOpen) {
    captureOutput();
    EXPECT_EQ(helper.Apache_addModule(path("/conf/missing.conf"), "rewrite"), 1);
    const std::string file = conf("LoadModule a_module modules/mod_a.so\n");
    makeDir("/conf/httpd.conf_md");
    EXPECT_EQ(helper.Apache_addModule(file, "rewrite"), 2);
    EXPECT_EQ(capturedOutput(), "");
    EXPECT_EQ(confText(), "LoadModule a_module modules/mod_a.so\n");
}
