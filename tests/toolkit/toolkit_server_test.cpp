// Server-level directives and modules: values read outside <VirtualHost>
// blocks, lines written next to a reference or at a line number, LoadModule
// checks and additions, with their printed words, backups and scratch files.
#include "ToolkitTestFixture.h"

#include <sys/stat.h>
#include <unistd.h>

class ToolkitServerTest : public ToolkitTest {
protected:
    void TearDown() override {
        EXPECT_TRUE(!immutable_ || std::system(("chattr -i '" + file_ + "'").c_str()) == 0);
        ToolkitTest::TearDown();
    }
    // Leaves the configuration readable but impossible to append to; false
    // when this cannot be arranged (root without chattr).
    bool forbidAppending() {
        if (getuid() != 0) return chmod(file_.c_str(), 0444) == 0;
        immutable_ = std::system(("chattr +i '" + file_ + "' 2>/dev/null").c_str()) == 0;
        return immutable_;
    }
    // "<result> <value>", the value "stale" before the call.
    std::string get(const std::string& file, const char* name, bool quoted) {
        std::string value = "stale";
        return std::to_string(helper.Apache_getDirectiveValue(file, name, value, quoted)) + " " + value;
    }
    // "<result> <isExist>" of a module check, isExist `before` first.
    std::string check(const std::string& file, const char* name, bool before, bool physical = false) {
        bool isExist = before;
        const int result = physical ? helper.Apache_checkModulePhysicalPath(file, name, isExist)
                                    : helper.Apache_checkModule(file, name, isExist);
        return std::to_string(result) + (isExist ? " true" : " false");
    }
    bool immutable_ = false;
};

TEST_F(ToolkitServerTest, GetDirectiveValueReadsTheFirstServerLevelLine) {
    const std::string file = golden("server_directive_values");
    // A prefix match: Listen finds ListenBacklog first; a name ending in a
    // blank is a whole word already.
    EXPECT_PRINTS(get(file, "Listen", false), "0 511", "");
    EXPECT_PRINTS(get(file, "timeout", false), "0 300  ", "");
    EXPECT_PRINTS(get(file, "php_admin_value open_basedir", false), "0 /home:/tmp", "");
    EXPECT_PRINTS(get(file, "Listen ", false), "0 80", "");
    EXPECT_TRUE(helper.Apache_isDirectiveWithValueExists(file, "Listen ", "80", false));
    EXPECT_PRINTS(get(file, "DocumentRoot", true), "0 /var/www/html", "returning with quote\n");
    // The first matching line decides: no quotes there gives 3.
    EXPECT_PRINTS(get(file, "PidFile", true), "3 ", "");
    EXPECT_PRINTS(get(file, "ErrorLog", true), "3 ", "");
    EXPECT_EQ(get(file, "ServerName", false), "6 ");
    std::string value;
    EXPECT_EQ(helper.Apache_getDirectiveValue(file, "", value, false), 2);
    EXPECT_EQ(helper.Apache_getDirectiveValue(missing_, "Listen", value, false), 1);
    EXPECT_EQ(helper.Apache_getDirectiveValue(path("/conf"), "Listen", value, false), 1);

    // Lines of a skipped block hold at most 118 characters, others 2998.
    const std::string block = "<VirtualHost *:80>\n# ";
    EXPECT_EQ(get(conf(block + std::string(116, 'x') + "\n</VirtualHost>\n# " + std::string(2996, 'y') + "\nListen 80\n"),
                  "Listen", false), "0 80");
    EXPECT_EQ(get(conf(block + std::string(117, 'x') + "\n</VirtualHost>\nListen 80\n"), "Listen", false).substr(0, 2), "6 ");
    EXPECT_EQ(get(conf("# " + std::string(2997, 'y') + "\nListen 80\n"), "Listen", false).substr(0, 2), "6 ");
}

TEST_F(ToolkitServerTest, IsDirectiveWithValueExistsComparesTheWholeValue) {
    const std::string file = golden("server_directive_with_value");
    // Every server-level line of the name is compared whole (a trailing
    // blank differs); by prefix, IncludeOptional carries the value too.
    EXPECT_PRINTS(helper.Apache_isDirectiveWithValueExists(file, "Include", "qz/*.conf", false), true,
                  "without quotes\nwithout quotes\nwithout quotes\nfound\n");
    EXPECT_PRINTS(helper.Apache_isDirectiveWithValueExists(file, "PidFile", "/run/apache.pid", true), true,
                  "returning with quote\nreturning with quote\n");
    EXPECT_PRINTS(helper.Apache_isDirectiveWithValueExists(file, "Include", "vhost.conf", false), false,
                  "without quotes\nwithout quotes\nwithout quotes\nwithout quotes\n");
    EXPECT_PRINTS(helper.Apache_isDirectiveWithValueExists(file, "PidFile", "noquotes", true), false,
                  "returning with quote\nreturning with quote\n");
    EXPECT_PRINTS(helper.Apache_isDirectiveWithValueExists(file, "", "", false), false, "");
    EXPECT_PRINTS(helper.Apache_isDirectiveWithValueExists(missing_, "Include", "x", false), false, "");
    // A bare <VirtualHost> opens nothing: the lines after it are server-level.
    const std::string bare = conf("<VirtualHost>\nInclude inside.conf\n</VirtualHost>\n");
    EXPECT_PRINTS(helper.Apache_isDirectiveWithValueExists(bare, "Include", "inside.conf", false), true,
                  "without quotes\nfound\n");
}

TEST_F(ToolkitServerTest, WriteDirectivePlacesTheEntryByAReferenceOrALineNumber) {
    // By the first server-level reference, before or after it.
    expectRewrite("server_level_reference", "server_level_reference.before", ".qzbackup.rt", ".wd",
                  [this] { return helper.Apache_writeDirective(file_, "Include qz/*.conf", "Include", true, -1); });
    expectRewrite("server_level_reference", "server_level_reference.after", ".qzbackup.rt", ".wd",
                  [this] { return helper.Apache_writeDirective(file_, "Include qz/*.conf", "Include", false, 1); });

    watchConf({".wd", ".wd1"});
    watch("/conf/missing.conf");
    auto write = [this](const char* entry, const char* reference, int line) {
        return helper.Apache_writeDirective(file_, entry, reference, true, line);
    };
    // Found only inside a block: appended to the untouched file.
    conf("<VirtualHost *:80>\n    ServerName a.com\n\n</VirtualHost>\n");
    STEP("the reference only inside a block", write("ServerName www.a.com", "ServerName", -1));
    // Line numbers count empty lines; an empty line carrying the number takes
    // the entry with it.
    const std::string numbered = "Listen 80\n\nServerAdmin root@localhost\nUser apache\nGroup apache\n";
    for (int line : {4, 2, 99}) {
        conf(numbered);
        STEP("at line " + std::to_string(line), write("Timeout 60", "NoSuch", line));
    }
    STEP("no input", helper.Apache_writeDirective(missing_, "Listen 80", "Listen", true, -1));
    conf("Listen 80\n");
    makeDir("/conf/httpd.conf.wd");
    STEP("the scratch file a folder", write("Timeout 60", "Listen", -1));
    ASSERT_EQ(rmdir(path("/conf/httpd.conf.wd").c_str()), 0);
    makeDir("/conf/httpd.conf.wd1");
    STEP("the numbered scratch file a folder", write("Timeout 60", "NoSuch", 1));
    EXPECT_DATA(transcript_, "toolkit/write_directive.transcript");

    if (!forbidAppending()) GTEST_SKIP() << "cannot make the file unappendable";
    EXPECT_EQ(write("Timeout 60", "NoSuch", -1), 1);
    EXPECT_EQ(confText(), "Listen 80\n");
}

TEST_F(ToolkitServerTest, CheckModuleSeesLoadModuleLinesBeforeTheFirstBlock) {
    const std::string file = conf("#LoadModule rewrite_module modules/mod_rewrite.so\n\n"
                                  "  LoadModule   php5_module modules/libphp5.so\n<VirtualHost *:80>\n</VirtualHost>\n"
                                  "LoadModule ssl_module modules/mod_ssl.so\n");
    EXPECT_EQ(check(file, "PHP", false), "0 true");
    EXPECT_EQ(check(file, "rewrite", true), "2 false");
    EXPECT_EQ(check(file, "ssl", false), "2 false");
    EXPECT_EQ(check(missing_, "ssl", true), "1 false");

    // The physical file, looked for in the modules folder.
    makeDir("/srv/modules");
    writeFile("/srv/modules/mod_rewrite.so", "");
    const std::string server = "ServerRoot \"" + path("/srv") + "\"\nLoadModule x_module modules/mod_x.so\n";
    conf(server);
    EXPECT_EQ(check(file, "rewrite", false, true), "0 true");
    EXPECT_EQ(check(file, "absent", true, true), "4 false");
    // Nothing before the first block, or nothing at all: nothing to examine.
    conf("\n<VirtualHost *:80>\n" + server);
    EXPECT_EQ(check(file, "rewrite", true, true), "4 false");
    conf("\n\n");
    EXPECT_EQ(check(file, "rewrite", true, true).substr(0, 1), "4");
    EXPECT_EQ(check(missing_, "rewrite", true, true).substr(0, 1), "1");
}

TEST_F(ToolkitServerTest, AddModuleGoesBeforeTheFirstLoadModuleOrBlockOrAtTheEnd) {
    captureOutput();
    expectRewrite("module_before_first_loadmodule", "module_before_first_loadmodule", ".qzbackup.rt", "_md",
                  [this] { return helper.Apache_addModule(file_, "rewrite"); });
    EXPECT_EQ(capturedOutput(), "entry=LoadModule rewrite_module modules/mod_rewrite.so\nLoadModule found\n");

    watchConf({"_md"});
    watch("/conf/missing.conf");
    // Else before the first block, with a full path in the one candidate
    // modules folder of both machine types.
    makeDir("/usr/lib/httpd/modules");
    golden("module_before_first_vhost");
    STEP("no server-level LoadModule", helper.Apache_addModule(file_, "rewrite"));
    ASSERT_EQ(rmdir(path("/usr/lib/httpd/modules").c_str()), 0);
    // No LoadModule line, no modules folder: appended to the untouched file,
    // with an empty folder.
    conf("ServerRoot \"/etc/httpd\"\n\nListen 80\n");
    STEP("no LoadModule, no modules folder", helper.Apache_addModule(file_, "rewrite"));
    // A file that does not open: nothing printed.
    STEP("no input", helper.Apache_addModule(missing_, "rewrite"));
    conf("LoadModule a_module modules/mod_a.so\n");
    makeDir("/conf/httpd.conf_md");
    STEP("the scratch file a folder", helper.Apache_addModule(file_, "rewrite"));
    EXPECT_DATA(transcript_, "toolkit/add_module.transcript");

    ASSERT_EQ(rmdir(path("/conf/httpd.conf_md").c_str()), 0);
    conf("ServerRoot \"/etc/httpd\"\n\nListen 80\n");
    if (!forbidAppending()) GTEST_SKIP() << "cannot make the file unappendable";
    EXPECT_PRINTS(helper.Apache_addModule(file_, "rewrite"), 4,
                  "entry=LoadModule rewrite_module /mod_rewrite.so\napending\nUnable to open file in append mode\n");
    EXPECT_EQ(confText(), "ServerRoot \"/etc/httpd\"\n\nListen 80\n");
}
