// Shared fixture: a scratch system root, fake commands first on PATH, files,
// captured standard output and the stand-in tracker's calls.
#ifndef QZ_TEST_FIXTURE_H
#define QZ_TEST_FIXTURE_H

#include "TestGuard.h"
#include "libqzapache.h"

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

using Lines = std::vector<std::string>;

// A new website's record as the panel fills it (an empty text leaves a field zeroed).
VHostEntry websiteRecord(const std::string& ip, const std::string& domain, const std::string& puny,
                         const std::string& sitesFolder, char ipSwitch, const std::string& admin = "admin",
                         const std::string& user = "nobody", const std::string& port = "");

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

    static std::string data(const std::string& name);  // tests/data/<name>
    // tests/data/<name> with every @ROOT@ standing for the scratch root.
    std::string rootedData(const std::string& name) const;
    // `text` with the scratch root written as @ROOT@.
    std::string unrooted(std::string text) const;
    // tests/data/<name>, or with QZ_UPDATE_GOLDEN=1 set, `actual` written there.
    static std::string expectedData(const std::string& actual, const std::string& name);
    // The permission bits of a file under the root; -1 when it is missing.
    int modeOf(const std::string& rel) const;

    // Puts an executable script called `name` first on PATH.
    void fakeCommand(const std::string& name, const std::string& script) const;
    // A fake `name` that logs "name args..." to the command log, then runs the real one.
    void loggedCommand(const std::string& name) const;
    // The lines logged by fake commands, in order.
    Lines commandLog() const;

    void captureOutput();
    std::string capturedOutput();

    // The tracker's calls, one line each: "CQZMethodName DeleteWebsite",
    // "CQZMethodArguments [a.com] [pDName]", ...
    static Lines calls(const CQZTrackManager& tracker);
    // Whether the real htpasswd accepts the password for the user in `file`.
    static bool htpasswdAccepts(const std::string& file, const std::string& user, const std::string& password);

    // A transcript of steps (see STEP): what each returned and printed, the commands it
    // ran, the tracker calls it made and the watched files it changed.
    void watch(const std::string& rel) { watched_.push_back(rel); }
    void watchCalls(const CQZTrackManager& tracker) { tracker_ = &tracker; }
    // Writes `text` (a scratch name made of the time, say) as `as` in the transcript.
    void alias(const std::string& text, const std::string& as) { aliases_.emplace_back(text, as); }
    void beginStep();
    void endStep(const std::string& label, const std::string& result);
    // Writes the section "#### <label>" of tests/data/<inputs_> (@ROOT@ for the root;
    // "\ no newline at end" as in a transcript) to givenTo_.
    void given(const std::string& label) const;
    std::string inputs_;
    std::string givenTo_ = "/conf/httpd.conf";
    static std::string show(int result) { return std::to_string(result); }
    static std::string show(char result) { return result > ' ' && result < 127 ? std::string{'\'', result, '\''} : show(+result); }
    static std::string show(bool result) { return result ? "true" : "false"; }
    static std::string show(const std::string& result) { return "\"" + result + "\""; }
    std::string transcript_;

    std::string root_;
    std::string bin_;
    std::string savedPath_;
    bool capturing_ = false;

    TestGuard guard_;

private:
    std::vector<std::string> watched_;
    std::vector<std::pair<std::string, std::string>> aliases_;
    std::map<std::string, std::optional<std::string>> before_;
    size_t commandsBefore_ = 0, callsBefore_ = 0;
    const CQZTrackManager* tracker_ = nullptr;
};

// A test around one Apache configuration file, <root>/conf/httpd.conf.
class HttpdConfTest : public QZTest {
protected:
    void SetUp() override;
    void writeConf(const std::string& text) const { writeFile("/conf/httpd.conf", text); }
    std::string readConf() const { return readFile("/conf/httpd.conf"); }
    void useConf(const std::string& name) const { writeConf(rootedData(name)); }  // tests/data/<name>

    // Records the configuration, the manager's scratch file (written
    // @TEMPFILE@), the commands of `command` and the tracker's calls.
    void watchManager(const CQZWebsite& website, CQZTrackManager& tracker, const char* command);

    std::string conf_;  // stays put: managers borrow its characters
    std::string missing_;  // <root>/conf/missing.conf, which does not exist
};

// `actual`, the scratch root written as @ROOT@, equals tests/data/<name>.
#define EXPECT_DATA(actual, name) \
    do { const std::string actual_ = unrooted(actual); EXPECT_EQ(actual_, expectedData(actual_, name)) << (name); } while (0)
// `call` returns `result` and prints exactly `text`.
#define EXPECT_PRINTS(call, result, text)                                          \
    do {                                                                           \
        captureOutput();                                                           \
        const auto result_ = (call);                                               \
        const std::string printed_ = capturedOutput();                             \
        EXPECT_EQ(result_, result) << #call;                                       \
        EXPECT_EQ(printed_, text) << #call;                                        \
    } while (0)

// Runs `call` as a step of transcript_, under `label`; GIVEN_STEP writes the
// input labelled `label` (see given) first.
#define STEP(label, call) \
    do { beginStep(); const auto result_ = (call); endStep(label, show(result_)); } while (0)
#define GIVEN_STEP(label, call) do { given(label); STEP(label, call); } while (0)

#endif
