// Shared fixture: a scratch system root, fake commands first on PATH, files,
// captured standard output and the stand-in tracker's calls.
#ifndef QZ_TEST_FIXTURE_H
#define QZ_TEST_FIXTURE_H

#include "libqzapache.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

class QZTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // root_ + rel: a path inside the scratch system root.
    std::string path(const std::string& rel) const { return root_ + rel; }
    void writeFile(const std::string& rel, const std::string& contents) const;
    std::string readFile(const std::string& rel) const;
    bool exists(const std::string& rel) const;
    void makeDir(const std::string& rel) const;

    // A golden file of tests/data.
    static std::string data(const std::string& name);

    // Puts an executable script called `name` first on PATH.
    void fakeCommand(const std::string& name, const std::string& script) const;
    // A fake `name` that logs "name args..." to the command log, then runs
    // the real command.
    void loggedCommand(const std::string& name) const;
    // The lines logged by fake commands, in order.
    std::vector<std::string> commandLog() const;

    void captureOutput();
    std::string capturedOutput();

    // The tracker's calls, one line each: "CQZMethodName DeleteWebsite",
    // "CQZMethodArguments [a.com] [pDName]", ...
    static std::vector<std::string> calls(const CQZTrackManager& tracker);

    std::string root_;
    std::string bin_;
    std::string savedPath_;
    bool capturing_ = false;
};

// A test around one Apache configuration file, <root>/conf/httpd.conf.
class HttpdConfTest : public QZTest {
protected:
    void SetUp() override;
    void writeConf(const std::string& text) const { writeFile("/conf/httpd.conf", text); }
    std::string readConf() const { return readFile("/conf/httpd.conf"); }

    std::string conf_;  // stays put: managers borrow its characters
};

#endif
