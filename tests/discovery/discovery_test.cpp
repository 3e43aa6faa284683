// Finding the local Apache: server root, module folder, version, init script,
// PID file, graceful restart, and the command-output and trimming helpers.
// Every command is a fake script; every fixed path lies under the scratch root.
#include "AreaGolden.h"
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

TEST_F(DiscoveryTest, ServerRootModulesDirVersionInitScriptAndPidFile) {
    // The quoted value of the first column-1 ServerRoot, else apachectl's.
    apachectlV(" -D HTTPD_ROOT=\"/from/apachectl\"\n");
    writeFile("/etc/httpd.conf", "#ServerRoot \"/commented\"\n   ServerRoot \"/indented\"\n"
                                 "serverroot   \"/etc/httpd\" trailing\nServerRoot \"/second\"\n");
    STEP("server root, first column-1 line", serverRoot("/etc/httpd.conf"));
    writeFile("/etc/httpd.conf", "ServerRoot /etc/unquoted\nServerRoot \"/second\"\n");
    STEP("server root, unquoted: apachectl answers", serverRoot("/etc/httpd.conf"));
    // apachectl's first HTTPD_ROOT line, its first 49 characters by length:
    // without a double quote the newline stays; a line cut at 49 characters
    // loses two more at its end; "=" as the 49th character leaves nothing.
    for (const std::string& lines : {std::string(" -D HTTPD_ROOT=\"/etc/httpd\"\n -D HTTPD_ROOT=\"/second\"\n"),
                                     std::string(" -D HTTPD_ROOT=/opt/apache\n"),
                                     std::string(" -D HTTPD_ROOT=\"/opt/a-rather-long-installation-folder/apache\"\n"),
                                     "\"" + std::string(37, 'x') + "HTTPD_ROOT=\"/etc/httpd\"\n", std::string()}) {
        apachectlV(lines);
        STEP("server root from apachectl: " + lines, serverRoot("/etc/missing.conf"));
    }
    // The modules folder ends at the first relative LoadModule folder; the
    // configuration's folder stands in for a missing ServerRoot; a file name
    // without a folder is taken whole.
    apachectlV("");
    makeDir("/usr/lib64/httpd/modules");
    makeDir("/usr/lib/httpd/modules");
    makeDir("/etc/httpd/conf");
    const std::string conf = "/etc/httpd/conf/httpd.conf";
    writeFile(conf, "ServerRoot \"/etc/httpd\"\n\n  LoadModule a_module /usr/lib64/httpd/modules/mod_a.so\n"
                    "loadmodule   php5_module modules/libphp5.so\nLoadModule b_module other/mod_b.so\n");
    STEP("modules, the first relative folder", modulesDir(conf));
    writeFile(conf, "LoadModule x_module lib/apache/mod_x.so\n");
    STEP("modules, no ServerRoot", modulesDir(conf));
    writeFile(conf, "LoadModule x_module  mod_x.so\n");
    STEP("modules, a file name alone", modulesDir(conf));
    // The version: the first line of the first command that says enough; a
    // carriage return or the byte 255 ends the line too; missing parts stay
    // -1; five characters are accepted but too short to parse.
    auto version = [&](const std::string& apachectl, const std::string& httpd = "", const std::string& apache2 = "") {
        for (const auto& [name, output] : {std::pair{"apachectl", apachectl}, {"httpd", httpd}, {"apache2", apache2}})
            fakeCommand(name, "echo \"" + std::string(name) + " $*\" >> \"$QZ_TEST_LOG\"\n[ \"$1\" = -v ] && printf '" + output + "'");
        int major = 0, minor = 0, minorMinor = 0;
        getApacheVersion(major, minor, minorMinor);
        return std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(minorMinor);
    };
    STEP("version", version("Server version: Apache/2.4.57 (Unix)\\nServer built: today\\n", "Apache/9.9.9"));
    STEP("version, httpd", version("abcd\\n", "Server version: Apache/2.2.15 (CentOS)\\n"));
    STEP("version, a carriage return", version("", "Apache/2.2\\r.15\\n"));
    STEP("version, the byte 255", version("", "", "Apache/2.4\\3776.1\\n"));
    STEP("version, Apache/2", version("Apache/2\\n", "Apache/2.4.1"));
    STEP("version, no minor minor", version("Server version: Apache/2.4.\\n"));
    STEP("version, five characters", version("2.4.6\\n", "Apache/2.4.1"));
    STEP("version, nothing", version("", "", ""));
    // The init script and the PID file: plain entries with an Apache name.
    STEP("init script, no /etc/init.d", website.getApacheServicePath());
    makeDir("/etc/init.d/apache2");
    for (const char* name : {"httpd.bak", "apache-old", "sshd"}) writeFile(std::string("/etc/init.d/") + name, "");
    ASSERT_EQ(symlink("nowhere", path("/etc/init.d/httpd").c_str()), 0);
    STEP("init script, a folder, a link and other names", website.getApacheServicePath());
    writeFile("/etc/init.d/httpd2", "");
    STEP("init script", website.getApacheServicePath());
    STEP("PID file, no /var/run", website.getApachePIDFilePath());
    makeDir("/var/run/httpd");
    writeFile("/var/run/sshd.pid", "1");
    STEP("PID file, a folder named httpd", website.getApachePIDFilePath());
    writeFile("/var/run/httpd/httpd.pid", "1");
    STEP("PID file, in the folder", website.getApachePIDFilePath());
    writeFile("/var/run/old-httpd.pid", "1");
    STEP("PID file, old-httpd.pid", website.getApachePIDFilePath());
    ASSERT_EQ(unlink(path("/var/run/old-httpd.pid").c_str()), 0);
    writeFile("/var/run/myapache2", "1");
    STEP("PID file, myapache2", website.getApachePIDFilePath());
    // apachectl's last HTTPD_ROOT line, unquoted; trimming differs on a text
    // made only of trimmed characters.
    for (const char* lines : {"Server version: Apache/2.4.6\n -D HTTPD_ROOT=\"/etc/httpd\"\r\n -D SERVER_CONFIG_FILE=\"c\"\n",
                              " -D HTTPD_ROOT=\"/etc/httpd\"\n -D HTTPD_ROOT=/usr/local/apache2\n", " -D HTTPD_ROOT=\"\"\n",
                              "HTTPD_ROOT\n", " -D SERVER_CONFIG_FILE=\"conf/httpd.conf\"\n"}) {
        apachectlV(lines);
        STEP(std::string("httpd root: ") + lines, helper.Apache_GetHttpdRootPath());
    }
    STEP("trim left", helper.TrimLeftChars("\"\"", "\"") + "|" + helper.TrimLeftChars(" \t\"/etc/httpd\" ", " \t\""));
    STEP("trim right", helper.TrimRightChars("\"\"", "\"") + "|" + helper.TrimRightChars(" /etc/httpd\"\r\n", "\r\n\""));
    // Command output: every line with its newline, appended.
    Lines lines{"kept"};
    STEP("command output", helper.GetCommandOutput("printf 'one\\n\\ntwo\\nlast'", lines));
    STEP("lines", joined(lines));
    lines.clear();
    STEP("command output, nothing", helper.GetCommandOutput("true", lines));
    STEP("no lines", joined(lines));
    makeDir("/srv/www");
    writeFile("/srv/file", "");
    for (const char* folder : {"/srv/www", "/srv/file", "/srv/missing"})
        STEP(std::string("is a folder: ") + folder, helper.IsDirectoryExists(path(folder)));
    EXPECT_DATA(transcript_, "discovery/discovery.transcript");
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
