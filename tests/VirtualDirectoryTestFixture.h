// The fixture of the virtual directory tests: a configuration file, a site's
// home folder owned by a user of the scratch /etc/passwd, a fake Apache of a
// chosen version, chown and chmod that only record their arguments, and the
// real htpasswd and mv, logged.
#ifndef QZ_VIRTUAL_DIRECTORY_TEST_FIXTURE_H
#define QZ_VIRTUAL_DIRECTORY_TEST_FIXTURE_H

#include "QZTestFixture.h"

#include <cstring>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <vector>

class VirtualDirectoryTest : public HttpdConfTest {
protected:
    using Lines = std::vector<std::string>;

    void SetUp() override {
        HttpdConfTest::SetUp();
        makeDir("/home/sites/shop.test");
        struct stat st = {};
        ASSERT_EQ(stat(path("/home/sites/shop.test").c_str(), &st), 0);
        writeFile("/etc/passwd", "root:x:99999:0:root:/root:/bin/sh\nwebadm:x:" + std::to_string(st.st_uid) +
                                     ":100::/home/webadm:/bin/sh\n");
        apacheVersion("2.4.57");
        for (const char* name : {"chown", "chmod"}) {
            // "name [arg] [arg] ...": each word the command received, bracketed.
            fakeCommand(name, std::string("{ printf '%s' ") + name +
                                  "; for a in \"$@\"; do printf ' [%s]' \"$a\"; done; echo; } >> \"$QZ_TEST_LOG\"");
        }
        loggedCommand("htpasswd");
        loggedCommand("mv");
    }

    // "apachectl -v" reports this version; an empty one reports nothing from
    // any of the Apache commands.
    void apacheVersion(const std::string& version) {
        const std::string line = version.empty() ? "" : "echo 'Server version: Apache/" + version + " (Unix)'";
        for (const char* name : {"apachectl", "httpd", "apache2"}) fakeCommand(name, line.empty() ? "true" : line);
    }

    // A protected directory of shop.test, with the site's home folder under
    // <root>/home/sites.
    SDDir record(const char* dirPath = "") {
        SDDir dir = {};
        strcpy(dir.DomainName, "shop.test");
        strcpy(dir.DirPath, dirPath);
        snprintf(dir.WebAdminPath, sizeof dir.WebAdminPath, "%s/home/sites", root_.c_str());
        return dir;
    }

    std::string authFile() const { return path("/home/sites/shop.test/webusers_shop.test.htpasswd"); }

    // Whether the real htpasswd accepts the password for the user.
    bool verifies(const std::string& user, const std::string& pass, const std::string& file = "") const {
        auto quoted = [](std::string text) {
            for (size_t at = 0; (at = text.find('\'', at)) != std::string::npos; at += 4) text.replace(at, 1, "'\\''");
            return "'" + text + "'";
        };
        const std::string command = "htpasswd -vb " + quoted(file.empty() ? authFile() : file) + " " + quoted(user) +
                                    " " + quoted(pass) + " 2>/dev/null";
        return std::system(command.c_str()) == 0;
    }

    // Text with the scratch root written as @ROOT@.
    std::string rooted(std::string text) const {
        for (size_t at; (at = text.find(root_)) != std::string::npos;) text.replace(at, root_.size(), "@ROOT@");
        return text;
    }

    // The configuration against tests/data/vdir/<name>.expected.
    void expectConf(const std::string& name) const {
        EXPECT_EQ(rooted(readConf()), data("vdir/" + name + ".expected")) << name;
    }

    // The configuration's lines from the first one that starts with `first`
    // (after white space) to the next "</Directory>", both included.
    Lines section(const std::string& first) const {
        Lines lines;
        std::istringstream in(readConf());
        for (std::string line; std::getline(in, line);) {
            const size_t text = line.find_first_not_of(" \t");
            if (lines.empty() && (text == std::string::npos || line.compare(text, first.size(), first) != 0)) continue;
            lines.push_back(line);
            if (line == "\t</Directory>") break;
        }
        return lines;
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
