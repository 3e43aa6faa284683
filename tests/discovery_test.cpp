// Finding the local Apache: server root, module folder, version, init script,
// PID file, graceful restart, and the command-output and trimming helpers.
// Every command is a fake script; every fixed path lies under the scratch root.
#include "QZTestFixture.h"

#include <unistd.h>

using Lines = std::vector<std::string>;

class DiscoveryTest : public QZTest {
protected:
    // A fake apachectl answering "-V" with the given lines.
    void apachectlV(const std::string& lines) const {
        fakeCommand("apachectl", "[ \"$1\" = -V ] && printf '%s' '" + lines + "'");
    }
    // The fake "/bin/uname" under the system root, printing `text`.
    void uname(const std::string& text) const {
        fakeCommand("uname", "printf '%s' '" + text + "'");
        makeDir("/bin");
        EXPECT_EQ(symlink((bin_ + "/uname").c_str(), path("/bin/uname").c_str()), 0);
    }

    std::string serverRoot(const std::string& conf) {
        CQZWebsite website;
        return website.getApacheServerRoot(conf);
    }
    std::string modulesDir(const std::string& conf) {
        CQZWebsite website;
        return website.getApacheModulesDir(conf);
    }
};

TEST_F(DiscoveryTest, ServerRootIsTheQuotedValueOfTheFirstColumnOneDirective) {
    apachectlV(" -D HTTPD_ROOT=\"/from/apachectl\"\n");
    writeFile("/etc/httpd.conf",
              "#ServerRoot \"/commented\"\n"
              "   ServerRoot \"/indented\"\n"
              "serverroot   \"/etc/httpd\" trailing\n"
              "ServerRoot \"/second\"\n");
    EXPECT_EQ(serverRoot(path("/etc/httpd.conf")), "/etc/httpd");

    // An unquoted value ends the scan with nothing and apachectl answers.
    writeFile("/etc/httpd.conf", "ServerRoot /etc/unquoted\nServerRoot \"/second\"\n");
    EXPECT_EQ(serverRoot(path("/etc/httpd.conf")), "/from/apachectl");
    writeFile("/etc/httpd.conf", "  ServerRoot \"/indented\"\n");
    EXPECT_EQ(serverRoot(path("/etc/httpd.conf")), "/from/apachectl");
    EXPECT_EQ(serverRoot(path("/etc/missing.conf")), "/from/apachectl");
}

TEST_F(DiscoveryTest, HttpdRootFallbackCutsTheFirst49CharactersByLength) {
    const std::string conf = path("/etc/missing.conf");
    // Only the first HTTPD_ROOT line counts.
    apachectlV(" -D HTTPD_ROOT=\"/etc/httpd\"\n -D HTTPD_ROOT=\"/second\"\n");
    EXPECT_EQ(serverRoot(conf), "/etc/httpd");
    // Without a double quote the newline stays.
    apachectlV(" -D HTTPD_ROOT=/opt/apache\n");
    EXPECT_EQ(serverRoot(conf), "/opt/apache\n");
    // A line cut at 49 characters loses two more at its end.
    apachectlV(" -D HTTPD_ROOT=\"/opt/a-rather-long-installation-folder/apache\"\n");
    EXPECT_EQ(serverRoot(conf), "/opt/a-rather-long-installation");
    // "=" as the 49th character leaves nothing to take.
    apachectlV("\"" + std::string(37, 'x') + "HTTPD_ROOT=\"/etc/httpd\"\n");
    EXPECT_EQ(serverRoot(conf), "");
    apachectlV("");
    EXPECT_EQ(serverRoot(conf), "");
    fakeCommand("apachectl", "exit 127");
    EXPECT_EQ(serverRoot(conf), "");
}

TEST_F(DiscoveryTest, ModulesDirEndsAtTheFirstRelativeLoadModuleFolder) {
    apachectlV("");
    uname("Linux host 6.1 x86_64 GNU/Linux\n");
    makeDir("/usr/lib64/httpd/modules");
    makeDir("/etc/httpd/conf");
    const std::string conf = path("/etc/httpd/conf/httpd.conf");
    writeFile("/etc/httpd/conf/httpd.conf",
              "ServerRoot \"/etc/httpd\"\n"
              "\n"
              "  LoadModule a_module /usr/lib64/httpd/modules/mod_a.so\n"
              "loadmodule   php5_module modules/libphp5.so\n"
              "LoadModule b_module other/mod_b.so\n");
    EXPECT_EQ(modulesDir(conf), "/etc/httpd/modules");

    // Without a ServerRoot the configuration's folder stands in for it.
    writeFile("/etc/httpd/conf/httpd.conf", "LoadModule x_module lib/apache/mod_x.so\n");
    EXPECT_EQ(modulesDir(conf), path("/etc/httpd/conf") + "/lib/apache");
    // A file name without a folder is taken whole, as if it were one.
    writeFile("/etc/httpd/conf/httpd.conf", "LoadModule x_module  mod_x.so\n");
    EXPECT_EQ(modulesDir(conf), path("/etc/httpd/conf") + "/mod_x.so");
}

TEST_F(DiscoveryTest, ModulesDirTriesTheCandidateFoldersOfTheMachineType) {
    apachectlV("");
    makeDir("/etc/httpd");
    const std::string conf = path("/etc/httpd/httpd.conf");
    writeFile("/etc/httpd/httpd.conf",
              "LoadModule a_module /opt/first/mod_a.so\n"
              "LoadModule b_module /opt/last/mod_b.so\n");

    // No candidate folder: the last absolute folder of the file.
    uname("Linux host 6.1 x86_64 GNU/Linux\n");
    EXPECT_EQ(modulesDir(conf), "/opt/last");

    makeDir("/usr/lib64/apache2/modules");
    makeDir("/usr/lib/apache2/modules");
    makeDir("/usr/lib/httpd/modules");
    EXPECT_EQ(modulesDir(conf), path("/usr/lib64/apache2/modules"));
    makeDir("/usr/lib64/httpd/modules");
    EXPECT_EQ(modulesDir(conf), path("/usr/lib64/httpd/modules"));
    EXPECT_EQ(modulesDir(path("/etc/missing.conf")), path("/usr/lib64/httpd/modules"));

    // Only the last line uname prints decides: here 32-bit.
    fakeCommand("uname", "printf 'Linux host x86_64\\ni686\\n'");
    EXPECT_EQ(modulesDir(conf), path("/usr/lib/httpd/modules"));
    ASSERT_EQ(rmdir(path("/usr/lib/httpd/modules").c_str()), 0);
    EXPECT_EQ(modulesDir(conf), path("/usr/lib/apache2/modules"));
    ASSERT_EQ(rmdir(path("/usr/lib/apache2/modules").c_str()), 0);
    EXPECT_EQ(modulesDir(conf), "/opt/last") << "the 32-bit list has no lib64 folder";

    // uname printing nothing: no candidate is tried.
    fakeCommand("uname", "exit 0");
    EXPECT_EQ(modulesDir(conf), "/opt/last");
    EXPECT_EQ(modulesDir(path("/etc/missing.conf")), "");
}
