// The qzapache program, run as a separate process. Each tests/data/cli/<name>.run
// is a script of set-up lines and runs of the program; its golden transcript
// <name>.transcript holds, per run, the command line, exit status, error lines
// ("! "), output ("> "), commands and changed files. A new case is a line of a
// script, a new behaviour a new script. Script lines (@ROOT@: the scratch root):
//   run ARGS...  the program with --root and --conf of the scratch root first
//   bare ARGS... the program with ARGS only (words split at blanks, '...' groups)
//   do SHELL / show SHELL   a bash command line ($QZ_CLI: the program); show
//                writes it and its output to the transcript
//   watch REL / cwd REL (the program's working folder) / needs-root
//   fake NAME SCRIPT / logged NAME (logs, then runs the real one)
//   apachectl [CHECK] a fake answering -v, -V (HTTPD_ROOT <root>/etc/httpd), -t
#include "QZTestFixture.h"

#include <filesystem>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace {

struct Ran {
    int status = -1;
    std::string out, err;
};

// The words of a script line.
std::vector<std::string> words(const std::string& line) {
    std::vector<std::string> out;
    bool quoted = false, split = true;
    for (const char c : line) {
        if (c == ' ' && !quoted) {
            split = true;
            continue;
        }
        if (split) out.emplace_back();
        split = false;
        if (c == '\'') quoted = !quoted;
        else out.back() += c;
    }
    return out;
}

std::string shellQuoted(const std::string& word) {
    std::string out = "'";
    for (const char c : word) out += c == '\'' ? std::string("'\\''") : std::string{c};
    return out + "'";
}

}  // namespace

class CliTest : public HttpdConfTest {
protected:
    void SetUp() override {
        HttpdConfTest::SetUp();
        makeDir("/tmp");
        // Owners are the operations' business: chown only says what it was asked.
        fakeCommand("chown", "echo \"chown $*\" >> \"$QZ_TEST_LOG\"");
        setenv("TMPDIR", path("/tmp").c_str(), 1);   // the web users' tempnam scratch files
        makeDir("/home/shop.test/www/html");
        chmod(path("/home/shop.test/www/html").c_str(), 0750);
        useConf("cli/sites.conf");
        watch("/conf/httpd.conf");
        setenv("QZ_CLI", QZ_CLI, 1);
    }
    void TearDown() override {
        unsetenv("TMPDIR");
        HttpdConfTest::TearDown();
    }

    // Runs the program, with --root and --conf of the scratch root first.
    Ran qzapache(std::vector<std::string> args, bool scratchRoot = true) const {
        if (scratchRoot) args.insert(args.begin(), {"--root", root_, "--conf", conf_});
        std::string command = "cd " + shellQuoted(cwd_.empty() ? "." : cwd_) + " && exec " QZ_CLI;
        for (const std::string& arg : args) command += " " + shellQuoted(arg);
        Ran ran;
        std::fflush(nullptr);
        FILE* out = popen((command + " 2>" + shellQuoted(path("/.stderr"))).c_str(), "r");
        char buffer[4096];
        for (size_t got; (got = fread(buffer, 1, sizeof buffer, out)) > 0;) ran.out.append(buffer, got);
        const int status = pclose(out);
        ran.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        ran.err = readFile("/.stderr");
        return ran;
    }

    // One step of the transcript: "== qzapache ARGS -> exit N", then its error
    // lines ("! "), its output ("> "), commands and changed files.
    void step(const std::vector<std::string>& args, bool scratchRoot) {
        std::string label = "qzapache";
        for (const std::string& arg : args) label += " " + arg;
        beginStep();
        const Ran ran = qzapache(args, scratchRoot);
        std::fputs(ran.out.c_str(), stdout);
        std::string result = "exit " + std::to_string(ran.status);
        std::istringstream err(ran.err);
        for (std::string line; std::getline(err, line);) result += "\n! " + line;
        endStep(label, result);
    }

    // Runs one line of a script.
    void perform(std::string line) {
        for (size_t at; (at = line.find("@ROOT@")) != std::string::npos;) line.replace(at, 6, root_);
        const size_t blank = std::min(line.find(' '), line.size()), next = std::min(line.find(' ', blank + 1), line.size());
        const std::string op = line.substr(0, blank), rest = line.substr(std::min(blank + 1, line.size()));
        if (op == "run" || op == "bare") {
            step(words(rest), op == "run");
        } else if (op == "do" || op == "show") {
            FILE* shell = popen(("/bin/bash -c " + shellQuoted(rest) + " 2>&1").c_str(), "r");
            std::string out;
            char buffer[4096];
            for (size_t got; (got = fread(buffer, 1, sizeof buffer, shell)) > 0;) out.append(buffer, got);
            const int status = pclose(shell);
            if (op == "show") transcript_ += unrooted("-- " + rest + "\n" + out);
            else EXPECT_EQ(status, 0) << rest << "\n" << out;
        } else if (op == "watch") {
            watch(rest);
        } else if (op == "cwd") {
            cwd_ = path(rest);
        } else if (op == "fake") {
            fakeCommand(line.substr(blank + 1, next - blank - 1), line.substr(std::min(next + 1, line.size())));
        } else if (op == "logged") {
            loggedCommand(rest);
        } else if (op == "apachectl") {
            fakeCommand("apachectl", "echo \"apachectl $*\" >> \"$QZ_TEST_LOG\"\ncase \"$1\" in\n"
                                     "-v) echo 'Server version: Apache/2.4.57 (Unix)' ;;\n"
                                     "-V) echo ' -D HTTPD_ROOT=\"" + root_ + "/etc/httpd\"' ;;\n"
                                     "-t) " + (rest.empty() ? "echo \"Syntax OK\"" : rest) + " ;;\nesac");
        } else {
            ADD_FAILURE() << "unknown script line " << line;
        }
    }

    std::string cwd_;    // the program's working folder ("": the test's)
};

class CliScript : public CliTest, public ::testing::WithParamInterface<std::string> {};

TEST_P(CliScript, MatchesItsTranscript) {
    std::istringstream script(data("cli/" + GetParam() + ".run"));
    for (std::string line; std::getline(script, line);) {
        if (line == "needs-root" && geteuid() != 0) GTEST_SKIP() << "needs root";
        if (line.empty() || line[0] == '#' || line == "needs-root") continue;
        SCOPED_TRACE(line);
        ASSERT_NO_FATAL_FAILURE(perform(line));
    }
    EXPECT_DATA(transcript_, "cli/" + GetParam() + ".transcript");
}

// Every script of tests/data/cli.
INSTANTIATE_TEST_SUITE_P(Cli, CliScript, ::testing::ValuesIn([] {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(std::string(QZ_TEST_DATA) + "/cli"))
        if (entry.path().extension() == ".run") names.push_back(entry.path().stem().string());
    std::sort(names.begin(), names.end());
    return names;
}()), [](const auto& info) { return info.param; });
