// The fixture of the directive toolkit tests: one configuration file under
// the scratch root, "cp" and "mv" logged, golden files of tests/data/toolkit.
#ifndef QZ_TOOLKIT_TEST_FIXTURE_H
#define QZ_TOOLKIT_TEST_FIXTURE_H

#include "QZTestFixture.h"

#include <string>
#include <vector>

class ToolkitTest : public HttpdConfTest {
protected:

    void SetUp() override {
        HttpdConfTest::SetUp();
        loggedCommand("cp");
        loggedCommand("mv");
    }

    // Writes the configuration file and returns its full path.
    std::string conf(const std::string& contents) {
        writeConf(contents);
        return file_;
    }
    // The configuration file from tests/data/toolkit/<name>.conf.
    std::string golden(const std::string& name) { return conf(data("toolkit/" + name + ".conf")); }
    std::string confText() const { return readConf(); }
    static std::string expected(const std::string& name) { return data("toolkit/" + name + ".expected"); }

    // Runs `edit` on tests/data/toolkit/<name>.conf; it must return 0 and
    // leave <expectedName>.expected, a backup copy of the input, no scratch
    // file, and run exactly the backup "cp" and the "mv" of the scratch file.
    template <class Edit>
    void expectRewrite(const std::string& name, const std::string& expectedName, const std::string& backup,
                       const std::string& scratch, Edit&& edit) {
        SCOPED_TRACE(expectedName);
        golden(name);
        const std::string original = confText();
        const Lines before = commandLog();
        EXPECT_EQ(edit(), 0);
        EXPECT_EQ(confText(), expected(expectedName));
        EXPECT_EQ(readFile("/conf/httpd.conf" + backup), original);
        EXPECT_FALSE(exists("/conf/httpd.conf" + scratch));
        Lines commands = before;
        commands.push_back("cp " + file_ + " " + file_ + backup);
        commands.push_back("mv " + file_ + scratch + " " + file_);
        EXPECT_EQ(commandLog(), commands);
    }

    // Watches the configuration and the files beside it with these suffixes,
    // and these other files.
    void watchConf(std::initializer_list<std::string> suffixes = {}, std::initializer_list<std::string> others = {}) {
        watch("/conf/httpd.conf");
        for (const std::string& suffix : suffixes) watch("/conf/httpd.conf" + suffix);
        for (const std::string& other : others) watch(other);
    }

    const std::string& file_ = conf_;
    ApacheHelper helper;
};

#endif
