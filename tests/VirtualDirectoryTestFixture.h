// The fixture of the virtual directory tests: a configuration file, a site's
// home folder owned by a user of the scratch /etc/passwd, a fake Apache of a
// chosen version, chown and chmod that only record their arguments, and the
// real htpasswd and mv, logged.
#ifndef QZ_VIRTUAL_DIRECTORY_TEST_FIXTURE_H
#define QZ_VIRTUAL_DIRECTORY_TEST_FIXTURE_H

#include "QZTestFixture.h"

#include <cstring>
#include <string>
#include <sys/stat.h>
#include <vector>

class VirtualDirectoryTest : public HttpdConfTest {
protected:

    void SetUp() override {
        HttpdConfTest::SetUp();
        makeDir("/home/sites/shop.test");
        struct stat st = {};
        ASSERT_EQ(stat(path("/home/sites/shop.test").c_str(), &st), 0);
        writeFile("/etc/passwd", "root:x:99999:0::/:/bin/sh\nwebadm:x:" + std::to_string(st.st_uid) + ":1::/:/bin/sh\n");
        apacheVersion("2.4.57");
        // "name [arg] [arg] ...": each word the command received, bracketed.
        for (std::string name : {"chown", "chmod"})
            fakeCommand(name, "{ printf %s " + name + "; for a; do printf ' [%s]' \"$a\"; done; echo; } >>\"$QZ_TEST_LOG\"");
        loggedCommand("htpasswd");
        loggedCommand("mv");
        watch("/conf/httpd.conf");
        watch("/etc/apactemp");
    }

    // "apachectl -v" reports this version; "" makes every Apache command silent.
    void apacheVersion(const std::string& version) {
        for (const char* name : {"apachectl", "httpd", "apache2"})
            fakeCommand(name, version.empty() ? "true" : "echo 'Server version: Apache/" + version + " (Unix)'");
    }

    // A directory of shop.test, whose home folder lies under <root>/home/sites.
    SDDir record(const char* dirPath = "") {
        SDDir dir = {};
        strcpy(dir.DomainName, "shop.test");
        strcpy(dir.DirPath, dirPath);
        snprintf(dir.WebAdminPath, sizeof dir.WebAdminPath, "%s/home/sites", root_.c_str());
        return dir;
    }
    std::string authFile() const { return path("/home/sites/shop.test/webusers_shop.test.htpasswd"); }

    CQZVirtualDirectory manager() { return CQZVirtualDirectory(nullptr, conf_.c_str(), "/opt/qz"); }
    char create(SDDir dir, int adminFlag = 0, const std::string& name = "", const std::string& pass = "") {
        return manager().CreateVirtualDirectory(&dir, adminFlag, name, pass);
    }
    char info(SDDir& dir) { return manager().GetVirtualDirectoryinfo(&dir); }
    char update(SDDir dir, const std::string& name = "", const std::string& pass = "") {
        return manager().UpdateVirtualDirectory(&dir, name, pass);
    }

    bool verifies(const std::string& user, const std::string& pass, const std::string& file = "") const {
        return htpasswdAccepts(file.empty() ? authFile() : file, user, pass);
    }

    // The configuration, the printed lines and the command log against
    // tests/data/vdir/<name>.expected, .out and .commands.
    void expectGolden(const std::string& name, const std::string& printed) const {
        EXPECT_DATA(readConf(), "vdir/" + name + ".expected");
        EXPECT_DATA(printed, "vdir/" + name + ".out");
        std::string commands;
        for (const std::string& line : commandLog()) commands += line + "\n";
        EXPECT_DATA(commands, "vdir/" + name + ".commands");
    }

    // Lines of the command log that start with `name`.
    Lines commandsOf(const std::string& name) const {
        Lines lines;
        for (const std::string& line : commandLog())
            if (line.rfind(name + " ", 0) == 0) lines.push_back(line);
        return lines;
    }
};

#endif
