#include "QZTestFixture.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {
std::string slurp(const std::string& file, bool* found = nullptr) {
    std::ifstream in(file, std::ios::binary);
    if (found) *found = in.good();
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

// `text` with each `from` written as `to`.
std::string replaced(std::string text, const std::string& from, const std::string& to) {
    for (size_t at = from.empty() ? std::string::npos : text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) text.replace(at, from.size(), to);
    return text;
}
}  // namespace

VHostEntry websiteRecord(const std::string& ip, const std::string& domain, const std::string& puny,
                         const std::string& sitesFolder, char ipSwitch, const std::string& admin,
                         const std::string& user, const std::string& port) {
    VHostEntry v = {};
    snprintf(v.IPAddress, sizeof v.IPAddress, "%s", ip.c_str());
    snprintf(v.DName, sizeof v.DName, "%s", domain.c_str());
    snprintf(v.PunyCode, sizeof v.PunyCode, "%s", puny.c_str());
    snprintf(v.UserName, sizeof v.UserName, "%s", user.c_str());
    snprintf(v.ServerAdmin, sizeof v.ServerAdmin, "%s", admin.c_str());
    snprintf(v.Port, sizeof v.Port, "%s", port.c_str());
    snprintf(v.Path, sizeof v.Path, "%s", sitesFolder.c_str());
    v.IPSwitch = ipSwitch;
    return v;
}

namespace {
// The tools every test finds faked (silent, exit 127) first on PATH.
const char* const kFakedTools[] = {
    "apachectl", "apache2ctl", "httpd", "httpd2", "apache2", "a2enmod", "a2dismod", "a2query", "systemctl", "service",
    "php", "php-cgi", "php-fpm", "php-fpm7.4", "php-fpm8.0", "php-fpm8.1", "php-fpm8.2", "php-fpm8.3", "php-fpm8.4"};
}  // namespace

void QZTest::SetUp() {
    char templ[] = "/tmp/qzapache-test-XXXXXX";
    ASSERT_NE(mkdtemp(templ), nullptr);
    root_ = templ;
    bin_ = root_ + "/.fakebin";
    makeDir("/.fakebin");
    makeDir("/etc");
    if (const std::string why = guard_.arm(root_ + "/.guard"); !why.empty()) {
        guard_.disarm();
        if (getenv("QZ_GUARD_REQUIRED") != nullptr) FAIL() << "the unit-test guard cannot be set up: " << why;
        static bool told = false;
        if (!told) fprintf(stderr, "note: unit-test guard off (%s)\n", why.c_str());
        told = true;
    }
    qz::setSystemRoot(root_);
    const char* oldPath = getenv("PATH");
    savedPath_ = oldPath ? oldPath : "/usr/bin:/bin";
    setenv("PATH", (bin_ + ":" + savedPath_).c_str(), 1);
    // Every Apache, PHP and service tool the library may start answers as
    // if it were not installed, unless a test puts its own fake in place.
    for (const char* tool : kFakedTools) fakeCommand(tool, "exit 127");
    setenv("QZ_TEST_LOG", (root_ + "/.commands.log").c_str(), 1);
    // tempnam prefers TMPDIR to the folder it is given, so the scratch names
    // the managers make depend on it; tests that want it set it themselves.
    unsetenv("TMPDIR");
}

void QZTest::TearDown() {
    if (capturing_) capturedOutput();
    for (const std::string& finding : guard_.findings())
        ADD_FAILURE() << "a unit test must stay in its scratch root and start no real server tool: " << finding;
    guard_.disarm();
    qz::setSystemRoot("");
    setenv("PATH", savedPath_.c_str(), 1);
    if (chdir("/") != 0) ADD_FAILURE() << "chdir /";
    if (!root_.empty() && root_.rfind("/tmp/qzapache-test-", 0) == 0) {
        EXPECT_EQ(std::system(("rm -rf '" + root_ + "'").c_str()), 0);
    }
}

void QZTest::writeFile(const std::string& rel, const std::string& contents) const {
    std::ofstream out(path(rel), std::ios::binary | std::ios::trunc);
    ASSERT_TRUE(out.good()) << path(rel);
    out << contents;
}

std::string QZTest::readFile(const std::string& rel) const { return slurp(path(rel)); }

bool QZTest::exists(const std::string& rel) const { return access(path(rel).c_str(), F_OK) == 0; }

void QZTest::makeDir(const std::string& rel) const {
    std::error_code error;
    std::filesystem::create_directories(path(rel), error);
    EXPECT_FALSE(error) << "cannot make " << path(rel) << ": " << error.message();
}

std::string QZTest::data(const std::string& name) {
    bool found = false;
    std::string text = slurp(std::string(QZ_TEST_DATA) + "/" + name, &found);
    EXPECT_TRUE(found) << "missing golden file " << name;
    return text;
}

std::string QZTest::rootedData(const std::string& name) const { return replaced(data(name), "@ROOT@", root_); }

std::string QZTest::unrooted(std::string text) const { return replaced(text, root_, "@ROOT@"); }

std::string QZTest::expectedData(const std::string& actual, const std::string& name) {
    if (getenv("QZ_UPDATE_GOLDEN") == nullptr) return data(name);
    std::ofstream(std::string(QZ_TEST_DATA) + "/" + name, std::ios::binary) << actual;
    return actual;
}

int QZTest::modeOf(const std::string& rel) const {
    struct stat st;
    return stat(path(rel).c_str(), &st) == 0 ? static_cast<int>(st.st_mode & 07777) : -1;
}

void QZTest::fakeCommand(const std::string& name, const std::string& script) const {
    std::ofstream(bin_ + "/" + name, std::ios::trunc) << "#!/bin/sh\n" << script << "\n";
    chmod((bin_ + "/" + name).c_str(), 0755);
}

void QZTest::loggedCommand(const std::string& name) const {
    fakeCommand(name, "echo \"" + name + " $*\" >> \"$QZ_TEST_LOG\"\n"
                      "PATH=\"" + savedPath_ + "\" exec " + name + " \"$@\"");
}

Lines QZTest::commandLog() const {
    Lines lines;
    std::istringstream in(slurp(root_ + "/.commands.log"));
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

void QZTest::captureOutput() {
    testing::internal::CaptureStdout();
    capturing_ = true;
}

std::string QZTest::capturedOutput() {
    capturing_ = false;
    return testing::internal::GetCapturedStdout();
}

Lines QZTest::calls(const CQZTrackManager& tracker) {
    auto list = [](const StringVector& items) {
        std::string text = "[";
        for (size_t i = 0; i < items.size(); ++i) text += (i ? "|" : "") + items[i];
        return text + "]";
    };
    std::vector<std::string> lines;
    for (const auto& call : tracker.calls) {
        if (call.function == "CQZModuleName" || call.function == "CQZMethodName")
            lines.push_back(call.function + " " + call.text);
        else
            lines.push_back(call.function + " " + list(call.values) + " " + list(call.names));
    }
    return lines;
}

namespace {
// `text` with `prefix` before each line, control characters other than tabs
// in caret notation ("^@" for a NUL), and a mark when it does not end in a
// newline.
std::string block(const std::string& text, const std::string& prefix = "") {
    std::string out;
    bool lineStart = true;
    for (const char c : text) {
        if (lineStart) out += prefix;
        lineStart = c == '\n';
        if ((c >= 0 && c < ' ' && c != '\t' && c != '\n') || c == 127) out += {'^', static_cast<char>(c ^ 0x40)};
        else out += c;
    }
    return text.empty() || text.back() == '\n' ? out : out + "\n\\ no newline at end\n";
}
}  // namespace

void QZTest::given(const std::string& label) const {
    const std::string text = "\n" + rootedData(inputs_), mark = "\n#### " + label + "\n";
    size_t at = text.find(mark);
    ASSERT_NE(at, std::string::npos) << "no input \"" << label << "\" in " << inputs_;
    at += mark.size();
    const size_t next = text.find("\n#### ", at - 1);
    std::string section = text.substr(at, next == std::string::npos ? std::string::npos : next + 1 - at);
    const std::string noNewline = "\n\\ no newline at end\n";
    if (section.size() >= noNewline.size() && section.compare(section.size() - noNewline.size(), noNewline.size(), noNewline) == 0)
        section.resize(section.size() - noNewline.size());
    writeFile(givenTo_, section);
}

void QZTest::beginStep() {
    before_.clear();
    for (const std::string& rel : watched_) before_[rel] = exists(rel) ? std::optional(readFile(rel)) : std::nullopt;
    commandsBefore_ = commandLog().size();
    callsBefore_ = tracker_ ? calls(*tracker_).size() : 0;
    captureOutput();
}

void QZTest::endStep(const std::string& label, const std::string& result) {
    const std::string printed = capturedOutput();
    std::string text = "== " + label + " -> " + result + "\n" + block(printed, "> ");
    const std::vector<std::string> commands = commandLog();
    for (size_t i = commandsBefore_; i < commands.size(); ++i) text += "$ " + commands[i] + "\n";
    const std::vector<std::string> tracked = tracker_ ? calls(*tracker_) : std::vector<std::string>{};
    for (size_t i = callsBefore_; i < tracked.size(); ++i) text += "@ " + tracked[i] + "\n";
    for (const std::string& rel : watched_)
        if (const auto now = exists(rel) ? std::optional(readFile(rel)) : std::nullopt; now != before_[rel])
            text += "--- " + rel + (now ? "\n" + block(*now) : " removed\n");
    for (const auto& [name, as] : aliases_) text = replaced(text, name, as);
    transcript_ += unrooted(text);
}

bool QZTest::htpasswdAccepts(const std::string& file, const std::string& user, const std::string& password) {
    const pid_t pid = fork();
    if (pid == 0) {
        execlp("htpasswd", "htpasswd", "-vb", file.c_str(), user.c_str(), password.c_str(), static_cast<char*>(nullptr));
        _exit(127);
    }
    int status = 0;
    return waitpid(pid, &status, 0) == pid && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

void HttpdConfTest::SetUp() {
    QZTest::SetUp();
    makeDir("/conf");
    conf_ = path("/conf/httpd.conf");
    missing_ = path("/conf/missing.conf");
}

void HttpdConfTest::watchManager(const CQZWebsite& website, CQZTrackManager& tracker, const char* command) {
    loggedCommand(command);
    const std::string scratch = std::string(website.TEMPFILE).substr(root_.size());
    for (const std::string& file : {std::string("/conf/httpd.conf"), scratch}) watch(file);
    watchCalls(tracker);
    alias(website.TEMPFILE, "@TEMPFILE@");
    alias(scratch, "@TEMPFILE@");
}
