// The qzapache program, run as a separate process. Each tests/data/cli/<name>.run
// is a script of set-up lines and runs of the program; its golden transcript
// <name>.transcript holds, per run, the command line, exit status, error lines
// ("! "), output ("> "), commands and changed files. A new case is a line of a
// script, a new behaviour a new script. Script lines (words split at blanks,
// '...' groups, \n \t \\ \' \xHH escapes, @ROOT@ the scratch root):
//   run ARGS...      the program with --root and --conf of the scratch root
//   bare ARGS...     the program with ARGS only
//   save REL ARGS... as run, its output written to REL, not to the transcript
//   mkdir REL / write REL TEXT / chmod MODE REL / chown UID GID REL / rm REL
//   symlink TARGET REL / sub REL OLD NEW (in the file) / cwd REL / watch REL
//   conf NAME (tests/data/cli/NAME as the configuration) / needs-root
//   fake NAME SCRIPT / logged NAME (logs, then runs the real one)
//   apachectl [CHECK] a fake answering -v, -V (HTTPD_ROOT <root>/etc/httpd), -t
//   stat REL / link REL / accepts FILE USER PASSWORD   lines of the transcript
#include "QZTestFixture.h"

#include <fcntl.h>
#include <filesystem>
#include <signal.h>
#include <sstream>
#include <sys/stat.h>
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
    bool inWord = false, quoted = false;
    for (size_t i = 0; i < line.size(); ++i) {
        char c = line[i];
        if (!quoted && (c == ' ' || c == '\t')) {
            inWord = false;
            continue;
        }
        if (!inWord) out.emplace_back();
        inWord = true;
        if (c == '\'') {
            quoted = !quoted;
            continue;
        }
        if (c == '\\' && i + 1 < line.size()) {
            c = line[++i];
            if (c == 'n') c = '\n';
            else if (c == 't') c = '\t';
            else if (c == 'x' && i + 2 < line.size()) c = static_cast<char>(std::stoi(line.substr((i += 2) - 1, 2), nullptr, 16));
            else if (c != '\\' && c != '\'') out.back() += '\\';
        }
        out.back() += c;
    }
    return out;
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
    }
    void TearDown() override {
        unsetenv("TMPDIR");
        HttpdConfTest::TearDown();
    }

    // Runs the program, with --root and --conf of the scratch root first.
    Ran qzapache(std::vector<std::string> args, bool scratchRoot = true) const {
        if (scratchRoot) args.insert(args.begin(), {"--root", root_, "--conf", conf_});
        args.insert(args.begin(), QZ_CLI);
        int out[2];
        if (pipe(out) != 0) return {};
        std::fflush(nullptr);
        const pid_t pid = fork();
        if (pid == 0) {
            if (!cwd_.empty() && chdir(cwd_.c_str()) != 0) _exit(126);
            dup2(out[1], 1);
            dup2(open(path("/.stderr").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644), 2);
            close(out[0]);
            std::vector<char*> argv;
            for (std::string& arg : args) argv.push_back(arg.data());
            argv.push_back(nullptr);
            execv(argv[0], argv.data());
            _exit(126);
        }
        close(out[1]);
        Ran ran;
        char buffer[4096];
        for (ssize_t got; (got = read(out[0], buffer, sizeof buffer)) > 0;) ran.out.append(buffer, static_cast<size_t>(got));
        close(out[0]);
        int status = 0;
        waitpid(pid, &status, 0);
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
    void perform(std::vector<std::string> w) {
        for (std::string& word : w)
            for (size_t at; (at = word.find("@ROOT@")) != std::string::npos;) word.replace(at, 6, root_);
        const std::string& op = w[0];
        const std::vector<std::string> rest(w.begin() + 1, w.end());
        const auto mode = [](const std::string& text) { return static_cast<mode_t>(std::stoul(text, nullptr, 8)); };
        int failed = 0;
        if (op == "run" || op == "bare") step(rest, op == "run");
        else if (op == "save") writeFile(w[1], qzapache({w.begin() + 2, w.end()}).out);
        else if (op == "mkdir") makeDir(w[1]);
        else if (op == "write") writeFile(w[1], w[2]);
        else if (op == "chmod") chmod(path(w[2]).c_str(), mode(w[1]));
        else if (op == "chown") failed = chown(path(w[3]).c_str(), std::stoul(w[1]), std::stoul(w[2]));
        else if (op == "rm") failed = unlink(path(w[1]).c_str());
        else if (op == "symlink") failed = symlink(w[1].c_str(), path(w[2]).c_str());
        else if (op == "cwd") cwd_ = path(w[1]);
        else if (op == "watch") watch(w[1]);
        else if (op == "conf") useConf("cli/" + w[1]);
        else if (op == "fake") fakeCommand(w[1], w[2]);
        else if (op == "logged") loggedCommand(w[1]);
        else if (op == "apachectl")
            fakeCommand("apachectl", "echo \"apachectl $*\" >> \"$QZ_TEST_LOG\"\ncase \"$1\" in\n"
                                     "-v) echo 'Server version: Apache/2.4.57 (Unix)' ;;\n"
                                     "-V) echo ' -D HTTPD_ROOT=\"" + root_ + "/etc/httpd\"' ;;\n"
                                     "-t) " + (w.size() > 1 ? w[1] : "echo \"Syntax OK\"") + " ;;\nesac");
        else if (op == "sub") {
            std::string text = readFile(w[1]);
            const size_t at = text.find(w[2]);
            ASSERT_NE(at, std::string::npos) << w[2];
            writeFile(w[1], text.replace(at, w[2].size(), w[3]));
        } else if (op == "stat") {
            struct stat st = {};
            char line[64] = "missing";
            if (lstat(path(w[1]).c_str(), &st) == 0)
                snprintf(line, sizeof line, "%04o %u:%u", static_cast<unsigned>(st.st_mode & 07777), st.st_uid, st.st_gid);
            transcript_ += "-- stat " + w[1] + ": " + line + "\n";
        } else if (op == "link") {
            char target[256] = {};
            transcript_ += "-- link " + w[1] + ": " + (readlink(path(w[1]).c_str(), target, sizeof target - 1) < 0 ? "none" : target) + "\n";
        } else if (op == "accepts") {
            transcript_ += "-- htpasswd " + unrooted(w[1]) + " " + w[2] + " " + w[3] + ": " +
                           (htpasswdAccepts(w[1], w[2], w[3]) ? "accepted" : "refused") + "\n";
        } else {
            failed = -1;
        }
        EXPECT_EQ(failed, 0) << "script line " << op << " failed";
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
        ASSERT_NO_FATAL_FAILURE(perform(words(line)));
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

// The help of every command --help lists, and a record field's length limit.
TEST_F(CliTest, HelpOfEveryListedCommandAndFieldLengths) {
    const Ran help = qzapache({"--help"}, false);
    EXPECT_EQ(help.status, 0);
    std::string all = help.out;
    std::istringstream lines(help.out.substr(help.out.find("\nCommands:\n") + 11));
    for (std::string line; std::getline(lines, line) && !line.empty();) {
        const std::string command = line.substr(2, line.find("  ", 2) - 2);
        std::vector<std::string> args = words("help " + command);
        const Ran one = qzapache(args, false);
        all += "== qzapache help " + command + " -> exit " + std::to_string(one.status) + "\n" + one.out;
    }
    EXPECT_DATA(all, "cli/help.transcript");

    const std::string longest(1023, 'd');
    EXPECT_EQ(qzapache({"vdir-info", "--domain-name", longest, "--dir-path", "/x"}).status, 1);
    EXPECT_EQ(qzapache({"vdir-info", "--domain-name", longest + "d", "--dir-path", "/x"}).err,
              "qzapache: --domain-name takes at most 1023 characters\n");
}

// A graceful restart signals the process of the PID file.
TEST_F(CliTest, ApacheRestartSignalsThePidFilesProcess) {
    const pid_t apache = fork();
    if (apache == 0) {
        pause();
        _exit(0);
    }
    writeFile("/httpd.pid", std::to_string(apache) + "\n");
    EXPECT_EQ(qzapache({"apache-restart", "--pid-file", path("/httpd.pid")}).status, 0);
    int status = 0;
    ASSERT_EQ(waitpid(apache, &status, 0), apache);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGUSR1);
}

// Four runs of website creation at once on one file, each slowed between its
// copy and its move by a slow "mv": the machine-wide lock keeps every site.
TEST_F(CliTest, ConcurrentRunsLoseNoSite) {
    fakeCommand("mv", "sleep 0.4\nPATH=\"" + savedPath_ + "\" exec mv \"$@\"");
    std::vector<pid_t> children;
    for (const char* domain : {"c.test", "d.test", "e.test", "f.test"}) {
        makeDir(std::string("/home/") + domain);
        if (const pid_t pid = fork(); pid != 0) {
            children.push_back(pid);
            continue;
        }
        _exit(qzapache({"create-website", "--dname", domain, "--ip-address", "192.0.2.10", "--user-name", "nobody",
                        "--server-admin", "admin", "--path", path("/home/")}).status);
    }
    for (const pid_t pid : children) {
        int status = -1;
        waitpid(pid, &status, 0);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }
    for (const char* domain : {"shop", "c", "d", "e", "f"})
        EXPECT_NE(readConf().find(std::string("ServerName ") + domain + ".test\n"), std::string::npos) << domain;
    EXPECT_EQ(modeOf("/run/lock/qzapache.lock"), 0644);
}
