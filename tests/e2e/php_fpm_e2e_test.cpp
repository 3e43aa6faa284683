// End to end: PHP-FPM pools written by the library, run by Debian's real
// php8.2-fpm and reached by the sandbox's real Apache.
//
// The php-fpm master runs with a main file of the sandbox (its PID file,
// log and sockets in the sandbox folder, no systemd) and two system users
// made for the case, one a site, deleted at the end. Needs root (users, a
// master that switches to them); skipped otherwise, or failed when
// QZ_E2E_REQUIRED is set.
#include "ApacheSandbox.h"
#include "libqzapache.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <memory>
#include <sstream>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace sandbox;

namespace {

const char* const kFpm = "/usr/sbin/php-fpm8.2";
const std::string kA = "a.example", kB = "b.example";

std::string readAll(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

bool waitFor(const std::function<bool()>& done, int tries = 100) {
    for (int i = 0; i < tries; ++i) {
        if (done()) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return done();
}

bool exists(const std::string& path) {
    struct stat st;
    return lstat(path.c_str(), &st) == 0;
}

}  // namespace

class PhpFpmEndToEnd : public ::testing::Test {
protected:
    void SetUp() override {
        std::string missing = ApacheSandbox::missingTools();
        if (access(kFpm, X_OK) != 0) missing += std::string(" ") + kFpm;
        if (geteuid() != 0) missing += " root";
        if (!missing.empty()) {
            const char* required = getenv("QZ_E2E_REQUIRED");
            if (required != nullptr && *required != '\0' && std::string(required) != "0")
                FAIL() << "needed:" << missing;
            GTEST_SKIP() << "needed:" << missing << " (scripts/test.sh installs apache2 and php8.2-fpm)";
        }
        sandbox_ = std::make_unique<ApacheSandbox>();
        ASSERT_TRUE(sandbox_->ready()) << sandbox_->problem();
        root_ = sandbox_->folder();
        conf_ = sandbox_->configuration();
        website_ = std::make_unique<CQZWebsite>(&tracker_, conf_.c_str());
        for (const std::string& site : {kA, kB}) {
            const std::string user = "qzfpm" + site.substr(0, 1) + std::to_string(getpid() % 100000);
            ASSERT_EQ(system(("useradd --system -M -U -s /usr/sbin/nologin " + user).c_str()), 0);
            users_.push_back(user);
            ASSERT_EQ(sandbox_->createWebsite(*website_, site, site), 94);
            ASSERT_EQ(system(("chown -R " + user + ": " + sandbox_->sitesFolder() + site + "/www").c_str()), 0);
        }
        // The sandbox's account files know the site users and Apache's group.
        std::string passwd = readAll(root_ + "/etc/passwd"), group;
        for (const std::string& user : users_) {
            passwd += command("getent passwd " + user);
            group += command("getent group " + user);
        }
        group += command("getent group www-data");
        ASSERT_TRUE(sandbox_->writeFile(root_ + "/etc/passwd", passwd));
        ASSERT_TRUE(sandbox_->writeFile(root_ + "/etc/group", group));

        const std::string fpm = root_ + "/etc/php/8.2/fpm";
        for (const char* sub : {"/etc/php", "/etc/php/8.2", "/etc/php/8.2/fpm", "/etc/php/8.2/fpm/pool.d", "/run",
                                "/run/php", "/var/log"})
            mkdir((root_ + sub).c_str(), 0755);
        ASSERT_TRUE(sandbox_->writeFile(fpm + "/php-fpm.conf",
                                        "[global]\npid = " + root_ + "/run/php/php8.2-fpm.pid\nerror_log = " + root_ +
                                            "/var/log/php-fpm.log\ndaemonize = yes\ninclude = " + fpm + "/pool.d/*.conf\n"));
        // php-fpm needs one pool besides the sites', as Debian's www.conf.
        ASSERT_TRUE(sandbox_->writeFile(fpm + "/pool.d/www.conf", "[www]\nuser = www-data\ngroup = www-data\nlisten = " +
                                                                      root_ + "/run/php/www.sock\npm = ondemand\npm.max_children = 2\n"));
        std::string message;
        ASSERT_TRUE(sandbox_->configurationAccepted(&message)) << message;
        ASSERT_TRUE(sandbox_->start(&message)) << message;
    }

    void TearDown() override {
        stopFpm();
        website_.reset();
        sandbox_.reset();
        for (const std::string& user : users_) system(("userdel " + user + " 2>/dev/null").c_str());
    }

    static std::string command(const std::string& line) {
        std::string out;
        if (FILE* pipe = popen(line.c_str(), "r")) {
            char buf[512];
            while (fgets(buf, sizeof buf, pipe)) out += buf;
            pclose(pipe);
        }
        return out;
    }

    std::string pidFile() const { return root_ + "/run/php/php8.2-fpm.pid"; }
    std::string socket(const std::string& site) const { return root_ + "/run/php/qz-" + site + ".sock"; }
    std::string docroot(const std::string& site) const { return sandbox_->documentRoot(site); }

    // The master's PID when it is a live php-fpm (a reload changes it).
    int masterPid() const {
        int pid = 0;
        std::ifstream(pidFile()) >> pid;
        if (pid <= 0) return 0;
        const std::string stat = readAll("/proc/" + std::to_string(pid) + "/stat");
        const size_t close = stat.rfind(')');
        if (stat.find("(php-fpm") == std::string::npos || close == std::string::npos || stat.substr(close + 2, 1) == "Z")
            return 0;
        return pid;
    }

    bool startFpm() {
        if (system((std::string(kFpm) + " -y " + root_ + "/etc/php/8.2/fpm/php-fpm.conf").c_str()) != 0) return false;
        return waitFor([&] { return masterPid() != 0; });
    }

    void stopFpm() {
        const int pid = masterPid();
        if (pid == 0) return;
        kill(pid, SIGQUIT);
        if (!waitFor([&] { return waitpid(pid, nullptr, WNOHANG) == pid || masterPid() == 0; })) kill(pid, SIGKILL);
        waitpid(pid, nullptr, WNOHANG);
    }

    bool fpmAccepts() const {
        return system((std::string(kFpm) + " -t -y " + root_ + "/etc/php/8.2/fpm/php-fpm.conf 2>/dev/null").c_str()) == 0;
    }

    ::testing::AssertionResult answers(const std::string& host, const std::string& path, const std::string& text) {
        const Reply reply = sandbox_->fetchUntil([&](const Reply& r) { return r.matches(200, text); }, host, path);
        if (reply.body.find("<?php") != std::string::npos) return ::testing::AssertionFailure() << "PHP source served";
        if (reply.matches(200, text)) return ::testing::AssertionSuccess();
        return ::testing::AssertionFailure() << "GET " << path << " (Host: " << host << ") got " << reply.summary()
                                             << "; wanted \"" << text << "\"\nerror log:\n" << sandbox_->errorLogTail()
                                             << readAll(root_ + "/var/log/php-fpm.log");
    }

    CQZTrackManager tracker_;
    std::unique_ptr<ApacheSandbox> sandbox_;
    std::unique_ptr<CQZWebsite> website_;
    std::string root_, conf_;
    std::vector<std::string> users_;
};

TEST_F(PhpFpmEndToEnd, EachSiteRunsAsItsOwnUserBehindItsOwnBasedir) {
    const std::string page = "<?php echo 'user=', posix_getpwuid(posix_geteuid())['name'], ' basedir=', ini_get('open_basedir');\n";
    for (const std::string& site : {kA, kB}) ASSERT_TRUE(sandbox_->writeFile(docroot(site) + "/who.php", page));

    // An unknown version leaves every file as it was.
    const std::string before = readAll(conf_);
    EXPECT_EQ(website_->EnablePhpFpm(kA, "7.9"), 2);
    EXPECT_EQ(readAll(conf_), before);
    EXPECT_FALSE(exists(root_ + "/etc/php/8.2/fpm/pool.d/qz-" + kA + ".conf"));

    // proxy_fcgi is not loaded yet: enabling loads it.
    EXPECT_EQ(before.find("proxy_fcgi_module"), std::string::npos);
    for (const std::string& site : {kA, kB}) ASSERT_EQ(website_->EnablePhpFpm(site, "8.2"), 96);
    EXPECT_NE(readAll(conf_).find("LoadModule proxy_fcgi_module"), std::string::npos);
    EXPECT_EQ(website_->ISPhpEnabled(kA), 4);
    ASSERT_TRUE(startFpm()) << readAll(root_ + "/var/log/php-fpm.log");
    ASSERT_TRUE(waitFor([&] { return exists(socket(kA)) && exists(socket(kB)); }));
    ASSERT_NO_FATAL_FAILURE({
        std::string report;
        ASSERT_TRUE(sandbox_->checkAndRestart(*website_, &report)) << report;
    });

    const std::string siteA = sandbox_->sitesFolder() + kA;
    EXPECT_TRUE(answers(kA, "/who.php", "user=" + users_[0] + " basedir=" + siteA + ":" + siteA + "/tmp"));
    EXPECT_TRUE(answers(kB, "/who.php", "user=" + users_[1] + " "));

    // The socket: the site's user, Apache's group, 0660.
    struct stat st;
    ASSERT_EQ(stat(socket(kA).c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0660u);
    EXPECT_EQ(command("id -u " + users_[0]), std::to_string(st.st_uid) + "\n");
    EXPECT_EQ(command("getent group www-data | cut -d: -f3"), std::to_string(st.st_gid) + "\n");

    // A .htaccess of site A pointing its .php files at B's pool changes nothing.
    ASSERT_TRUE(sandbox_->writeFile(docroot(kA) + "/.htaccess",
                                    "<FilesMatch \"\\.php$\">\nSetHandler \"proxy:unix:" + socket(kB) +
                                        "|fcgi://localhost\"\n</FilesMatch>\n"));
    EXPECT_TRUE(answers(kA, "/who.php", "user=" + users_[0] + " "));

    // Site A off PHP-FPM and its user deleted: php-fpm still passes its check
    // and reloads, and B still answers.
    EXPECT_EQ(website_->DisablePhpFpm(kA), 96);
    EXPECT_EQ(readAll(conf_).find(socket(kA)), std::string::npos);
    // Its pool's worker may still be idling: -f.
    ASSERT_EQ(system(("userdel -f " + users_[0] + " 2>/dev/null").c_str()), 0);
    EXPECT_TRUE(fpmAccepts());
    const int before_reload = masterPid();
    EXPECT_EQ(website_->CmdPhpFpmReload("8.2"), 0);
    EXPECT_TRUE(waitFor([&] { return masterPid() != 0 && masterPid() != before_reload && !exists(socket(kA)); }, 200))
        << readAll(root_ + "/var/log/php-fpm.log");
    EXPECT_TRUE(waitFor([&] { return exists(socket(kB)); }));
    std::string report;
    EXPECT_TRUE(sandbox_->checkAndRestart(*website_, &report)) << report;
    EXPECT_TRUE(answers(kB, "/who.php", "user=" + users_[1] + " "));
    const Reply plain = sandbox_->fetch(kA, "/who.php");
    EXPECT_EQ(plain.body.find("user=" + users_[0]), std::string::npos);
}
