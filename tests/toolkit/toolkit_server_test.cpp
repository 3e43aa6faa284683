// Server-level directives and modules: values read outside <VirtualHost>
// blocks, lines written next to a reference or at a line number, LoadModule
// checks and additions (scripts of tests/data/toolkit).
#include "ToolkitTestFixture.h"

#include <sys/stat.h>
#include <unistd.h>

class ToolkitServerTest : public ToolkitTest {
protected:
    void TearDown() override {
        EXPECT_TRUE(!immutable_ || std::system(("chattr -i '" + conf_ + "'").c_str()) == 0);
        ToolkitTest::TearDown();
    }
    // Leaves the configuration readable but impossible to append to; false
    // when this cannot be arranged (root without chattr).
    bool forbidAppending() {
        if (getuid() != 0) return chmod(conf_.c_str(), 0444) == 0;
        immutable_ = std::system(("chattr +i '" + conf_ + "' 2>/dev/null").c_str()) == 0;
        return immutable_;
    }
    bool immutable_ = false;
};

TEST_F(ToolkitServerTest, ServerLevelValuesAndModuleChecks) { run("toolkit/server_directive_values"); }

TEST_F(ToolkitServerTest, WriteDirectivePlacesTheEntryByAReferenceOrALineNumber) {
    run("toolkit/write_directive");
    writeConf("Listen 80\n");
    if (!forbidAppending()) GTEST_SKIP() << "cannot make the file unappendable";
    EXPECT_EQ(helper.Apache_writeDirective(conf_, "Timeout 60", "NoSuch", true, -1), 1);
    EXPECT_EQ(readConf(), "Listen 80\n");
}

TEST_F(ToolkitServerTest, AddModuleGoesBeforeTheFirstLoadModuleOrBlockOrAtTheEnd) {
    run("toolkit/add_module");
    rmdir(path("/conf/httpd.conf_md").c_str());
    writeConf("ServerRoot \"/etc/httpd\"\n\nListen 80\n");
    if (!forbidAppending()) GTEST_SKIP() << "cannot make the file unappendable";
    EXPECT_PRINTS(helper.Apache_addModule(conf_, "rewrite"), 4,
                  "entry=LoadModule rewrite_module /mod_rewrite.so\napending\nUnable to open file in append mode\n");
    EXPECT_EQ(readConf(), "ServerRoot \"/etc/httpd\"\n\nListen 80\n");
}
