// Finding the local Apache: server root, module folder, version, init script,
// PID file, graceful restart, and the command-output and trimming helpers.
// Every command is a fake script; every fixed path lies under the scratch root.
#include "QZTestFixture.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>


class DiscoveryTest : public QZTest {
protected:
    // A fake apachectl answering "-V" with the given lines.
    void apachectlV(const std::string& lines) const {
        fakeCommand("apachectl", "[ \"$1\" = -V ] && printf '%s' '" + lines + "'");
    }
    // Whether this machine's "/bin/uname -a" names x86_64 on its last line:
    // the command is the machine's own, as the library runs it.
    static bool machineIs64() {
        FILE* pipe = popen("/bin/uname -a", "r");
        std::string last;
        char buf[2000];
        while (pipe != nullptr && fgets(buf, sizeof buf, pipe) != nullptr) last = buf;
        if (pipe != nullptr) pclose(pipe);
        return last.find("x86_64") != std::string::npos;
    }
    std::string serverRoot(const std::string& conf) { return website.getApacheServerRoot(path(conf)); }
    std::string modulesDir(const std::string& conf) { return website.getApacheModulesDir(path(conf)); }
    CQZWebsite website;
    ApacheHelper helper;
};

TEST_F(DiscoveryTest, ServerRootIsTheQuotedValueOfTheFirstColumnOneDirectiveElseApachectls) {
    apachectlV(" -D HTTPD_ROOT=\"/from/apachectl\"\n");
    writeFile("/etc/httpd.conf", "#ServerRoot \"/commented\"\n   ServerRoot \"/indented\"\n"
                                 "serverroot   \"/etc/httpd\" trailing\nServerRoot \"/second\"\n");
    EXPECT_EQ(serverRoot("/etc/httpd.conf"), "/etc/httpd");
    // An unquoted value ends the scan with nothing and apachectl answers.
    writeFile("/etc/httpd.conf", "ServerRoot /etc/unquoted\nServerRoot \"/second\"\n");
    EXPECT_EQ(serverRoot("/etc/httpd.conf"), "/from/apachectl");

    // apachectl's first HTTPD_ROOT line, its first 49 characters by length.
    const std::pair<std::string, const char*> answers[] = {
        {" -D HTTPD_ROOT=\"/etc/httpd\"\n -D HTTPD_ROOT=\"/second\"\n", "/etc/httpd"},
        {" -D HTTPD_ROOT=/opt/apache\n", "/opt/apache\n"},  // without a double quote the newline stays
        // A line cut at 49 characters loses two more at its end.
        {" -D HTTPD_ROOT=\"/opt/a-rather-long-installation-folder/apache\"\n", "/opt/a-rather-long-installation"},
        {"\"" + std::string(37, 'x') + "HTTPD_ROOT=\"/etc/httpd\"\n", ""},  // "=" as the 49th character leaves nothing
        {"", ""},
    };
    for (const auto& [lines, root] : answers) {
        apachectlV(lines);
        EXPECT_EQ(serverRoot("/etc/missing.conf"), root) << lines;
    }
}

TEST_F(DiscoveryTest, ModulesDirEndsAtTheFirstRelativeLoadModuleFolder) {
    apachectlV("");
    makeDir("/usr/lib64/httpd/modules");
    makeDir("/usr/lib/httpd/modules");
    makeDir("/etc/httpd/conf");
    const std::string conf = "/etc/httpd/conf/httpd.conf";
    writeFile(conf, "ServerRoot \"/etc/httpd\"\n\n  LoadModule a_module /usr/lib64/httpd/modules/mod_a.so\n"
                    "loadmodule   php5_module modules/libphp5.so\nLoadModule b_module other/mod_b.so\n");
    EXPECT_EQ(modulesDir(conf), "/etc/httpd/modules");
    // Without a ServerRoot the configuration's folder stands in for it.
    writeFile(conf, "LoadModule x_module lib/apache/mod_x.so\n");
    EXPECT_EQ(modulesDir(conf), path("/etc/httpd/conf") + "/lib/apache");
    // A file name without a folder is taken whole, as if it were one.
    writeFile(conf, "LoadModule x_module  mod_x.so\n");
    EXPECT_EQ(modulesDir(conf), path("/etc/httpd/conf") + "/mod_x.so");
}

TEST_F(DiscoveryTest, ModulesDirTriesTheCandidateFoldersOfTheMachineType) {
    apachectlV("");
    makeDir("/etc/httpd");
    const std::string conf = "/etc/httpd/httpd.conf";
    writeFile(conf, "LoadModule a_module /opt/first/mod_a.so\nLoadModule b_module /opt/last/mod_b.so\n");
    // No candidate folder: the last absolute folder of the file.
    EXPECT_EQ(modulesDir(conf), "/opt/last");
    // 64-bit: lib64/httpd, lib64/apache2, lib/apache2, lib/httpd; 32-bit:
    // lib/httpd, lib/apache2.
    const bool is64 = machineIs64();
    makeDir("/usr/lib/httpd/modules");
    makeDir("/usr/lib/apache2/modules");
    EXPECT_EQ(modulesDir(conf), path(is64 ? "/usr/lib/apache2/modules" : "/usr/lib/httpd/modules"));
    makeDir("/usr/lib64/apache2/modules");
    EXPECT_EQ(modulesDir(conf), path(is64 ? "/usr/lib64/apache2/modules" : "/usr/lib/httpd/modules"));
    makeDir("/usr/lib64/httpd/modules");
    EXPECT_EQ(modulesDir(conf), path(is64 ? "/usr/lib64/httpd/modules" : "/usr/lib/httpd/modules"));
    // A configuration that does not open goes straight to the candidates.
    EXPECT_EQ(modulesDir("/etc/missing.conf"), path(is64 ? "/usr/lib64/httpd/modules" : "/usr/lib/httpd/modules"));
}

TEST_F(DiscoveryTest, VersionComesFromTheFirstLineOfTheFirstCommandThatSaysEnough) {
    // "major.minor.minorMinor | commands run" with the three commands
    // printing the given text ("" for a command that is not installed).
    auto version = [&](const std::string& apachectl, const std::string& httpd = "", const std::string& apache2 = "") {
        for (const auto& [name, output] : {std::pair{"apachectl", apachectl}, {"httpd", httpd}, {"apache2", apache2}})
            fakeCommand(name, "echo \"" + std::string(name) + " $*\" >> \"$QZ_TEST_LOG\"\n[ \"$1\" = -v ] && printf '" + output + "'");
        unlink(path("/.commands.log").c_str());
        int major = 0, minor = 0, minorMinor = 0;
        captureOutput();
        getApacheVersion(major, minor, minorMinor);
        const std::string parts[] = {std::to_string(major), std::to_string(minor), std::to_string(minorMinor)};
        EXPECT_EQ(capturedOutput(), "major=" + parts[0] + "\nminor=" + parts[1] + "\nminorMinor=" + parts[2] + "\n");
        std::string run;
        for (const std::string& line : commandLog()) run += (run.empty() ? "" : ",") + line;
        return parts[0] + "." + parts[1] + "." + parts[2] + " | " + run;
    };
    EXPECT_EQ(version("Server version: Apache/2.4.57 (Unix)\\nServer built: today\\n", "Apache/9.9.9"), "2.4.57 | apachectl -v");
    EXPECT_EQ(version("abcd\\n", "Server version: Apache/2.2.15 (CentOS)\\n"), "2.2.15 | apachectl -v,httpd -v");
    // A carriage return or the byte 255 ends the line too.
    EXPECT_EQ(version("", "Apache/2.2\\r.15\\n"), "2.-1.-1 | apachectl -v,httpd -v");
    EXPECT_EQ(version("", "", "Apache/2.4\\3776.1\\n"), "2.-1.-1 | apachectl -v,httpd -v,apache2 -v");
    // Missing parts stay -1; five characters are accepted but too short to parse.
    EXPECT_EQ(version("Apache/2\\n", "Apache/2.4.1"), "-1.-1.-1 | apachectl -v");
    EXPECT_EQ(version("Server version: Apache/2.4.\\n"), "2.4.-1 | apachectl -v");
    EXPECT_EQ(version("2.4.6\\n", "Apache/2.4.1"), "-1.-1.-1 | apachectl -v");
    EXPECT_EQ(version("", "", ""), "-1.-1.-1 | apachectl -v,httpd -v,apache2 -v");
}

TEST_F(DiscoveryTest, InitScriptAndPidFileArePlainEntriesWithAnApacheName) {
    EXPECT_EQ(website.getApacheServicePath(), "") << "no /etc/init.d";
    makeDir("/etc/init.d/apache2");
    for (const char* name : {"httpd.bak", "apache-old", "sshd"}) writeFile(std::string("/etc/init.d/") + name, "");
    ASSERT_EQ(symlink("nowhere", path("/etc/init.d/httpd").c_str()), 0);
    EXPECT_EQ(website.getApacheServicePath(), "");
    writeFile("/etc/init.d/httpd2", "");
    EXPECT_EQ(website.getApacheServicePath(), path("/etc/init.d/httpd2"));

    EXPECT_EQ(website.getApachePIDFilePath(), "") << "no /var/run";
    makeDir("/var/run/httpd");
    writeFile("/var/run/sshd.pid", "1");
    EXPECT_EQ(website.getApachePIDFilePath(), "") << "a folder named httpd is not a PID file";
    writeFile("/var/run/httpd/httpd.pid", "1");
    EXPECT_EQ(website.getApachePIDFilePath(), path("/var/run/httpd/httpd.pid"));
    writeFile("/var/run/old-httpd.pid", "1");
    EXPECT_EQ(website.getApachePIDFilePath(), path("/var/run/old-httpd.pid"));
    ASSERT_EQ(unlink(path("/var/run/old-httpd.pid").c_str()), 0);
    writeFile("/var/run/myapache2", "1");
    EXPECT_EQ(website.getApachePIDFilePath(), path("/var/run/myapache2"));
}

TEST_F(DiscoveryTest, GracefulRestartSendsSignal10ToAPositivePid) {
    const std::string pidFile = path("/var/run/httpd.pid");
    makeDir("/var/run");
    EXPECT_EQ(website.CmdApchRestart(nullptr), 1);
    EXPECT_EQ(website.CmdApchRestart(pidFile.c_str()), 1) << "no PID file";
    for (const char* text : {"0\n", "-12\n", "apache\n", ""}) {
        writeFile("/var/run/httpd.pid", text);
        EXPECT_EQ(website.CmdApchRestart(pidFile.c_str()), 1) << text;
    }
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        execlp("sleep", "sleep", "30", static_cast<char*>(nullptr));
        _exit(127);
    }
    writeFile("/var/run/httpd.pid", "  " + std::to_string(child) + "\n");
    EXPECT_EQ(website.CmdApchRestart(pidFile.c_str()), 0);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == 10) << status;
}

TEST_F(DiscoveryTest, CommandOutputAppendsEveryLineWithItsNewline) {
    Lines lines{"kept"};
    EXPECT_EQ(helper.GetCommandOutput("printf 'one\\n\\ntwo\\nlast'", lines), 0);
    EXPECT_EQ(lines, (Lines{"kept", "one\n", "\n", "two\n", "last"}));
    lines.clear();
    EXPECT_EQ(helper.GetCommandOutput("true", lines), 0);
    EXPECT_EQ(lines, Lines{});
}

TEST_F(DiscoveryTest, CommandThatCannotStartGives1AndTheFixedMessage) {
    apachectlV(" -D HTTPD_ROOT=\"/etc/httpd\"\n");
    // One run first, while descriptors are free: the sanitizer builds check
    // the output streams on first use with a pipe of their own.
    Lines lines;
    ASSERT_EQ(helper.GetCommandOutput("true", lines), 0);
    testing::internal::CaptureStderr();
    // No descriptor left for the pipe: popen fails.
    rlimit saved{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &saved), 0);
    const int lowest = dup(0);
    ASSERT_GE(lowest, 0);
    close(lowest);
    rlimit tight = saved;
    tight.rlim_cur = static_cast<rlim_t>(lowest);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &tight), 0);
    const int result = helper.GetCommandOutput("echo hello", lines);
    const std::string root = helper.Apache_GetHttpdRootPath();
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &saved), 0);
    EXPECT_EQ(result, 1);
    EXPECT_EQ(lines, Lines{});
    EXPECT_EQ(root, "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Error opening file 'apachectl -V'\nError opening file 'apachectl -V'\n");
}

TEST_F(DiscoveryTest, HttpdRootPathIsTheLastHttpdRootLineUnquoted) {
    const std::pair<const char*, const char*> answers[] = {
        {"Server version: Apache/2.4.6\n -D HTTPD_ROOT=\"/etc/httpd\"\r\n -D SERVER_CONFIG_FILE=\"conf/httpd.conf\"\n", "/etc/httpd"},
        {" -D HTTPD_ROOT=\"/etc/httpd\"\n -D HTTPD_ROOT=/usr/local/apache2\n", "/usr/local/apache2"},
        // Two quotes and nothing between: the left trim keeps them, the right one takes both.
        {" -D HTTPD_ROOT=\"\"\n", ""},
        {"HTTPD_ROOT\n", "HTTPD_ROOT"},
        {" -D SERVER_CONFIG_FILE=\"conf/httpd.conf\"\n", ""},
    };
    for (auto [lines, root] : answers) {
        apachectlV(lines);
        EXPECT_EQ(helper.Apache_GetHttpdRootPath(), root) << lines;
    }
    // Trimming differs on a text made only of trimmed characters.
    EXPECT_EQ(helper.TrimLeftChars("\"\"", "\""), "\"\"");
    EXPECT_EQ(helper.TrimRightChars("\"\"", "\""), "");
    EXPECT_EQ(helper.TrimLeftChars(" \t\"/etc/httpd\" ", " \t\""), "/etc/httpd\" ");
    EXPECT_EQ(helper.TrimRightChars(" /etc/httpd\"\r\n", "\r\n\""), " /etc/httpd");
}

TEST_F(DiscoveryTest, IsDirectoryExistsOnlyForFolders) {
    makeDir("/srv/www");
    writeFile("/srv/file", "");
    EXPECT_TRUE(helper.IsDirectoryExists(path("/srv/www")));
    EXPECT_FALSE(helper.IsDirectoryExists(path("/srv/file")));
    EXPECT_FALSE(helper.IsDirectoryExists(path("/srv/missing")));
}
