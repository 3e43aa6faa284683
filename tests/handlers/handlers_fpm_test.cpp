// PHP-FPM per site: the pool file, the section in the site's blocks, the
// refusals that leave every file as it was, the open_basedir setting, the
// graceful reload and Apache's user and group.
#include "HandlerTestFixture.h"

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
    run("fpm/enable");

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
    writeConf(readConf() + "<VirtualHost *:80>\n    ServerName taken.com\n    DocumentRoot \"" + root_ +
              "/home/example.com/www/html\"\n</VirtualHost>\n");
    const std::string before = readConf();
    // As root, a site folder of root's is refused too.
    if (getuid() == 0) {
        EXPECT_EQ(website_->EnablePhpFpm("rooted.com", "8.2"), 1);
    }
    run("fpm/refusals");
    EXPECT_EQ(readConf(), before);
}

TEST_F(FpmTest, OpenBasedirGoesToThePoolOrTheModuleBlockAndApachesUserAndGroup) { run("fpm/open_basedir"); }

TEST_F(FpmTest, GracefulReload) {
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
