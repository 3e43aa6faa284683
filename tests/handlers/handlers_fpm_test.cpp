// PHP-FPM per site: the pool file, the section in the site's blocks, the
// refusals that leave every file as it was, the open_basedir setting, the
// graceful reload and Apache's user and group.
#include "HandlerTestFixture.h"

#include <csignal>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

class FpmTest : public HandlerTest {
protected:
    void SetUp() override {
        HandlerTest::SetUp();
        // The site's owner: a user of the root's account files (as root, an
        // id no real account needs).
        const unsigned id = getuid() == 0 ? 4242 : getuid();
        writeFile("/etc/passwd", "site1:x:" + std::to_string(id) + ":" + std::to_string(getgid() == 0 ? 4242 : getgid()) +
                                     "::/home/example.com:/bin/sh\n");
        writeFile("/etc/group", "site1:x:" + std::to_string(getgid() == 0 ? 4242 : getgid()) + ":\n");
        for (const char* site : {"example.com", "module.com", "rooted.com", "linked.com"}) makeDir(std::string("/home/") + site);
        makeDir("/home/example.com/www/html");
        makeDir("/home/module.com/www/html");
        makeDir("/home/rooted.com/www/html");
        EXPECT_EQ(symlink(path("/home/example.com/www").c_str(), path("/home/linked.com/www").c_str()), 0);
        if (getuid() == 0) {
            for (const char* dir : {"/home/example.com/www/html", "/home/module.com/www/html"})
                EXPECT_EQ(chown(path(dir).c_str(), 4242, 4242), 0);
        }
        for (const char* version : {"8.1", "8.2"}) makeDir(std::string("/etc/php/") + version + "/fpm/pool.d");
        writeFile("/etc/php/8.2/fpm/pool.d/www.conf", "[www]\nuser = www-data\n");
        writeFile("/etc/php/8.1/fpm/pool.d/qz-example.com.conf", "[qz-example.com]\n");
        // php-fpm's check refuses while <root>/refuse exists.
        fakeCommand("php-fpm8.2", "echo \"php-fpm8.2 $*\" >> \"$QZ_TEST_LOG\"\n"
                                  "[ -e \"" + root_ + "/refuse\" ] && { echo 'ERROR: cannot get uid'; exit 78; }\nexit 0");
        fakeCommand("apachectl", "echo 'User: name=\"www-data\" id=33'; echo 'Group: name=\"www-data\" id=33'");
        fakeCommand("a2enmod", "echo \"a2enmod $*\" >> \"$QZ_TEST_LOG\"\n"
                               "touch \"$APACHE_CONFDIR/mods-enabled/proxy_fcgi.load\"");
        useConf("fpm/sites.conf");
        for (const char* file : {"/etc/php/8.2/fpm/pool.d/qz-example.com.conf", "/etc/php/8.1/fpm/pool.d/qz-example.com.conf",
                                 "/etc/php/8.2/fpm/pool.d/www.conf", "/conf/mods-enabled/proxy_fcgi.load"})
            watch(file);
    }
};

TEST_F(FpmTest, EnableWritesThePoolAndTheSectionsDisableTakesThemBackByteForByte) {
    STEP("LoadModule lines where there is no Debian layout", website_->EnablePhpFpm("example.com", "8.2"));
    EXPECT_EQ(modeOf("/home/example.com/tmp"), 0700);
    STEP("ISPhpEnabled", website_->ISPhpEnabled("example.com"));
    STEP("disable", website_->DisablePhpFpm("example.com"));
    STEP("disable again: nothing to remove", website_->DisablePhpFpm("example.com"));
    const std::string withModules = readConf();
    makeDir("/conf/mods-available");
    makeDir("/conf/mods-enabled");
    writeFile("/conf/mods-available/proxy_fcgi.load", "");
    STEP("a2enmod on Debian's layout", website_->EnablePhpFpm("example.com", "8.2"));
    STEP("enable again: the same file", website_->EnablePhpFpm("example.com", "8.2"));
    STEP("disable, the name in another case", website_->DisablePhpFpm("Example.COM"));
    EXPECT_EQ(readConf(), withModules);
    website_->EnablePhpFpm("example.com", "8.2");
    STEP("the site is deleted: its pools go", website_->DeleteWebsite("example.com", 0));
    EXPECT_DATA(transcript_, "fpm/enable.transcript");

    // A socket path that would pass 107 characters names a hash instead.
    const std::string longName = std::string(100, 'l') + ".example";
    makeDir("/home/" + longName + "/www/html");
    if (getuid() == 0) {
        EXPECT_EQ(chown(path("/home/" + longName + "/www/html").c_str(), 4242, 4242), 0);
    }
    writeConf("<VirtualHost *:80>\nServerName " + longName + "\nDocumentRoot \"" + root_ + "/home/" + longName +
              "/www/html\"\n</VirtualHost>\n");
    ASSERT_EQ(website_->EnablePhpFpm(longName, "8.2"), 96);
    const std::string pool = readFile("/etc/php/8.2/fpm/pool.d/qz-" + longName + ".conf");
    const size_t listen = pool.find("listen = "), end = pool.find('\n', listen);
    const std::string socket = pool.substr(listen + 9, end - listen - 9);
    EXPECT_LE(socket.size(), 107u);
    EXPECT_EQ(socket.size(), (root_ + "/run/php/qz-0123456789abcdef.sock").size()) << socket;
    EXPECT_NE(readConf().find("proxy:unix:" + socket + "|"), std::string::npos);
}

TEST_F(FpmTest, RefusalsLeaveEveryFileAsItWas) {
    writeFile("/etc/php/8.1/fpm/pool.d/mine.conf", "[qz-taken.com]\n");
    writeConf(readConf() + "<VirtualHost *:80>\n    ServerName taken.com\n    DocumentRoot \"" + root_ +
              "/home/example.com/www/html\"\n</VirtualHost>\n");
    struct Row {
        const char* domain;
        const char* version;
        int result;
    };
    const Row rows[] = {
        {"example.com", "9.9", 2},   {"example.com", "8", 2},      {"example.com", "8.2;id", 2},
        {"nowhere.com", "8.2", 1},   {"stopped.com", "8.2", 1},    {"linked.com", "8.2", 1},
        {"module.com", "8.2", 3},    {"taken.com", "8.2", 4},      {"../x", "8.2", 1},
    };
    const std::string before = readConf();
    for (const Row& row : rows) {
        EXPECT_EQ(website_->EnablePhpFpm(row.domain, row.version), row.result) << row.domain << " " << row.version;
        EXPECT_EQ(readConf(), before) << row.domain;
    }
    if (getuid() == 0) {
        EXPECT_EQ(website_->EnablePhpFpm("rooted.com", "8.2"), 1);
    }
    writeFile("/refuse", "");
    STEP("php-fpm refuses: the pool file goes back", website_->EnablePhpFpm("example.com", "8.2"));
    EXPECT_FALSE(exists("/home/example.com/tmp")) << "a refusal leaves no tmp folder behind";
    STEP("no configuration", CQZWebsite(nullptr, missing_.c_str()).EnablePhpFpm("example.com", "8.2"));
    EXPECT_DATA(transcript_, "fpm/refusals.transcript");
    EXPECT_EQ(readConf(), before);
}

TEST_F(FpmTest, OpenBasedirGoesToThePoolOrTheModuleBlock) {
    writeFile("/etc/php/8.2/fpm/pool.d/qz-example.com.conf", "[qz-example.com]\nphp_admin_value[open_basedir] = \"/a\"\npm = ondemand\n");
    STEP("pool", website_->SetPhpOpenBasedir("example.com", {"/home/example.com", "/usr/share/php"}));
    STEP("pool, no paths", website_->SetPhpOpenBasedir("example.com", {}));
    STEP("pool without the setting", website_->SetPhpOpenBasedir("example.com", {"/srv"}));
    STEP("module block", website_->SetPhpOpenBasedir("module.com", {"/home/module.com"}));
    STEP("module block, again", website_->SetPhpOpenBasedir("module.com", {"/home/module.com/www"}));
    STEP("module block, no paths", website_->SetPhpOpenBasedir("module.com", {}));
    STEP("no handler", website_->SetPhpOpenBasedir("rooted.com", {"/x"}));
    STEP("no such site", website_->SetPhpOpenBasedir("nowhere.com", {"/x"}));
    EXPECT_DATA(transcript_, "fpm/open_basedir.transcript");
    const std::string before = readConf();
    for (const char* bad : {"relative", "/a:/b", "/a\nb", "/a\"b", "/a/../b", "/a/..", "/a$b", "/a\\b", ""})
        EXPECT_EQ(website_->SetPhpOpenBasedir("module.com", {"/ok", bad}), 6) << bad;
    EXPECT_EQ(readConf(), before);
}

TEST_F(FpmTest, ApacheUserGroupAndReload) {
    struct Row {
        const char* apachectl;
        const char* envvars;
        const char* conf;
        const char* answer;
    };
    const Row rows[] = {
        {"echo 'User: name=\"www-data\" id=33'; echo 'Group: name=\"web\" id=34'", "", "", "true www-data web"},
        {"exit 1", "export APACHE_RUN_USER=apache\nAPACHE_RUN_GROUP=\"apgroup\"\n", "", "true apache apgroup"},
        {"exit 1", "export APACHE_RUN_USER=${SUFFIX}\n", "User daemon\nGroup daemon\n", "true daemon daemon"},
        {"exit 1", "", "<VirtualHost *:80>\nUser x\n</VirtualHost>\nUser ${APACHE_RUN_USER}\n", "false  "},
    };
    makeDir("/etc/apache2");
    for (const Row& row : rows) {
        fakeCommand("apachectl", row.apachectl);
        writeFile("/etc/apache2/envvars", row.envvars);
        writeFile("/etc/apache2/apache2.conf", row.conf);
        std::string user = "old", group = "old";
        const bool found = getApacheUserGroup(user, group);
        EXPECT_EQ(std::string(found ? "true " : "false ") + user + " " + group, row.answer);
    }

    // A php-fpm master stand-in: a script of that name that notes SIGUSR2.
    makeDir("/run/php");
    fakeCommand("php-fpm8.2", "trap 'echo reloaded > \"" + root_ + "/reloaded\"; exit 0' USR2\n"
                              "echo $$ > \"" + root_ + "/run/php/php8.2-fpm.pid\"\nwhile :; do sleep 0.05; done");
    const pid_t child = fork();
    if (child == 0) {
        execlp("php-fpm8.2", "php-fpm8.2", static_cast<char*>(nullptr));
        _exit(127);
    }
    for (int i = 0; i < 100 && !exists("/run/php/php8.2-fpm.pid"); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(20));
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_EQ(website_->CmdPhpFpmReload("8.1"), 1);   // no PID file
    EXPECT_EQ(website_->CmdPhpFpmReload("../8"), 1);  // not a version
    EXPECT_EQ(website_->CmdPhpFpmReload("8.2"), 0);
    EXPECT_EQ(calls(tracker_).back(), "CQZMethodArguments [8.2] [PhpVersion]");
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(readFile("/reloaded"), "reloaded\n");
    writeFile("/run/php/php8.2-fpm.pid", std::to_string(getpid()) + "\n");
    EXPECT_EQ(website_->CmdPhpFpmReload("8.2"), 1);  // not a php-fpm
}
