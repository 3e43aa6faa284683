// The fixture of the virtual directory tests: scripts of tests/data/vdir run
// on a configuration file, a site's home folder owned by a user of the
// scratch /etc/passwd, a fake Apache of a chosen version ("apache VERSION";
// "" makes every Apache command silent), chown and chmod that only record
// their arguments, and the real htpasswd and mv, logged.
//
// A directory record is one argument, "key=value, ..." over shop.test's
// directory whose home folder lies under <root>/home/sites: domain, dir,
// name, admin (WebAdminPath), mode (octal), order (a number), options (five
// characters, '0' for none), anon, perl, rails. An operation runs on a
// manager of the installation folder /opt/qz; "@tracked" after its name on
// one with a tracker, "@plain" on a tracked one without the folder (its
// scratch file /etc/apactemp1), "@unnamed" and "@missing" on one without a
// configuration or with a missing one; "createNull", "updateNull" and
// "infoNull" pass no record.
#ifndef QZ_VIRTUAL_DIRECTORY_TEST_FIXTURE_H
#define QZ_VIRTUAL_DIRECTORY_TEST_FIXTURE_H

#include "AreaGolden.h"

#include <cstring>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <vector>

class VirtualDirectoryTest : public ScriptTest {
protected:
    void SetUp() override {
        ScriptTest::SetUp();
        makeDir("/home/sites/shop.test");
        struct stat st = {};
        ASSERT_EQ(stat(path("/home/sites/shop.test").c_str(), &st), 0);
        writeFile("/etc/passwd", "root:x:99999:0::/:/bin/sh\nwebadm:x:" + std::to_string(st.st_uid) + ":1::/:/bin/sh\n");
        verbs_["apache"] = [this](const std::string& version) {
            for (const char* name : {"apachectl", "httpd", "apache2"})
                fakeCommand(name, version.empty() ? "true" : "echo 'Server version: Apache/" + version + " (Unix)'");
        };
        verbs_["apache"]("2.4.57");
        // "name [arg] [arg] ...": each word the command received, bracketed.
        for (std::string name : {"chown", "chmod"})
            fakeCommand(name, "{ printf %s " + name + "; for a; do printf ' [%s]' \"$a\"; done; echo; } >>\"$QZ_TEST_LOG\"");
        loggedCommand("htpasswd");
        loggedCommand("mv");
        watch("/conf/httpd.conf");
        watch("/etc/apactemp");
        watchCalls(tracker_);
        using Manager = std::function<CQZVirtualDirectory()>;
        for (auto [suffix, manager] : {std::pair<const char*, Manager>{"", [this] { return CQZVirtualDirectory(nullptr, conf_.c_str(), "/opt/qz"); }},
                                       {"@tracked", [this] { return CQZVirtualDirectory(&tracker_, conf_.c_str(), "/opt/qz"); }},
                                       {"@plain", [this] { return CQZVirtualDirectory(&tracker_, conf_.c_str()); }},
                                       {"@unnamed", [] { return CQZVirtualDirectory(nullptr); }},
                                       {"@missing", [this] { return CQZVirtualDirectory(nullptr, missing_.c_str()); }}}) {
            const std::string s = suffix;
            const Manager m = manager;
            ops["create" + s] = [=](const Args& a) { SDDir d = record(a[0]); return show(m().CreateVirtualDirectory(&d, a[1].empty() ? 0 : std::stoi(a[1]), a[2], a[3])); };
            ops["info" + s] = [=](const Args& a) { SDDir d = record(a[0]); const char r = m().GetVirtualDirectoryinfo(&d); return fields(r, d); };
            ops["update" + s] = [=](const Args& a) { SDDir d = record(a[0]); return show(m().UpdateVirtualDirectory(&d, a[1], a[2])); };
            ops["delete" + s] = [=](const Args& a) { return show(m().DeleteVirtualDirectory(a[0].c_str())); };
            ops["exists" + s] = [=](const Args& a) { SDDir d = record(a[0]); return show(m().VirtualDirectoryExists(&d)); };
            ops["list" + s] = [=](const Args& a) { StringVector l{"kept"}; const char r = m().VirtualDirectoryList(a[0].c_str(), &l); return show(r) + " " + joined(l); };
            ops["path" + s] = [=](const Args& a) { return show(m().GetVDPath(a[0].empty() ? conf_ : path(a[0]), a[1], a[2])); };
            ops["required" + s] = [=](const Args& a) { return show(m().DirectoryRequired(a[0], a[1])); };
            ops["createNull" + s] = [=](const Args&) { return show(m().CreateVirtualDirectory(nullptr, 0, "", "")); };
            ops["updateNull" + s] = [=](const Args&) { return show(m().UpdateVirtualDirectory(nullptr, "", "")); };
            ops["infoNull" + s] = [=](const Args&) { return show(m().GetVirtualDirectoryinfo(nullptr)); };
            ops["check" + s] = [=](const Args& a) { SDDir d = record(a[0]); return show(m().CheckVirDir(&d)); };
        }
        ops["verifies"] = [this](const Args& a) { return show(htpasswdAccepts(a[2].empty() ? authFile() : a[2], a[0], a[1])); };
        // The logins of the password file (its hashes are salted afresh each time).
        ops["users"] = [this](const Args&) {
            std::istringstream in(readFile(authFile().substr(root_.size())));
            Lines logins;
            for (std::string line; std::getline(in, line);) logins.push_back(line.substr(0, line.find(':')));
            return exists(authFile().substr(root_.size())) ? joined(logins, "file") : std::string("no file");
        };
        ops["owner"] = [](const Args& a) { return show(GetPathOwner(a[0])); };
        ops["RemoveDir"] = [this](const Args& a) { return show(RemoveDir(path(a[0]).c_str())); };
    }

    SDDir record(const std::string& text) const {
        SDDir dir = {};
        strcpy(dir.DomainName, "shop.test");
        snprintf(dir.WebAdminPath, sizeof dir.WebAdminPath, "%s/home/sites", root_.c_str());
        for (size_t at = 0, end = 0; !text.empty() && end != std::string::npos; at = end + 2) {
            end = text.find(", ", at);
            const std::string item = text.substr(at, end == std::string::npos ? end : end - at);
            const std::string key = item.substr(0, item.find('=')), value = item.substr(item.find('=') + 1);
            char* field = key == "domain" ? dir.DomainName : key == "dir" ? dir.DirPath : key == "name" ? dir.DirName
                        : key == "admin" ? dir.WebAdminPath : key == "allow" ? dir.Allow : key == "deny" ? dir.Deny : nullptr;
            if (field) snprintf(field, key == "allow" || key == "deny" ? 256 : 1024, "%s", value.c_str());
            if (key == "mode") dir.Permission = static_cast<mode_t>(std::stoul(value, nullptr, 8));
            if (key == "order") dir.Order = static_cast<char>(std::stoi(value));
            if (key == "anon") dir.AnonAccess = value[0];
            if (key == "perl") dir.PerlEnabled = value[0];
            if (key == "rails") dir.RubyOnRails = value[0];
            char* flags[] = {&dir.Options.Indexes, &dir.Options.Includes, &dir.Options.FollowSymLinks, &dir.Options.MultiViews, &dir.Options.ExecCGI};
            for (size_t i = 0; key == "options" && i < 5; ++i) *flags[i] = value[i] == '0' ? 0 : value[i];
        }
        return dir;
    }
    // The result and the fields GetVirtualDirectoryinfo fills, as one line.
    static std::string fields(char result, const SDDir& d) {
        std::string text = show(result) + " mode " + std::to_string(d.Permission) + " order " + std::to_string(d.Order) + " options ";
        for (char flag : {d.Options.Indexes, d.Options.Includes, d.Options.FollowSymLinks, d.Options.MultiViews, d.Options.ExecCGI})
            text += flag ? flag : '0';
        return text + " allow [" + d.Allow + "] deny [" + d.Deny + "] anon/perl/rails " +
               std::string({d.AnonAccess ? d.AnonAccess : '0', d.PerlEnabled ? d.PerlEnabled : '0', d.RubyOnRails ? d.RubyOnRails : '0'});
    }
    std::string authFile() const { return path("/home/sites/shop.test/webusers_shop.test.htpasswd"); }

    CQZTrackManager tracker_;
};

#endif
