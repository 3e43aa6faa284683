// End to end: PHP-FPM pools written by the library, run by Debian's real
// php8.2-fpm and reached by the sandbox's real Apache. The php-fpm master runs
// with a main file of the sandbox (its PID file, log and sockets in the
// sandbox folder, no systemd) and a system user made for each site, deleted
// at the end. Needs root (users, a master that switches to them).
#include "EndToEnd.h"

#include <filesystem>
#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
const std::string kA = "a.example", kB = "b.example";
bool exists(const std::string& path) { return std::filesystem::exists(std::filesystem::symlink_status(path)); }
}  // namespace

class PhpFpmEndToEnd : public EndToEnd {
protected:
    void SetUp() override { build(ApacheSandbox::missingTools() + PhpFpmSandbox::missingTools(), {{kA, kA}, {kB, kB}}, true); }
};

TEST_F(PhpFpmEndToEnd, EachSiteRunsAsItsOwnUserBehindItsOwnBasedir) {
    const std::string page = "<?php echo 'user=', posix_getpwuid(posix_geteuid())['name'], ' basedir=', ini_get('open_basedir');\n";
    for (const std::string& site : {kA, kB}) ASSERT_TRUE(sandbox_->writeFile(docroot(site) + "/who.php", page));

    // An unknown version leaves every file as it was.
    const std::string before = fileText(conf_);
    EXPECT_EQ(website_->EnablePhpFpm(kA, "7.9"), 2);
    EXPECT_EQ(fileText(conf_), before);
    EXPECT_FALSE(exists(sandbox_->folder() + "/etc/php/8.2/fpm/pool.d/qz-" + kA + ".conf"));

    // proxy_fcgi is not loaded yet: enabling loads it.
    EXPECT_EQ(before.find("proxy_fcgi_module"), std::string::npos);
    for (const std::string& site : {kA, kB}) ASSERT_EQ(website_->EnablePhpFpm(site, "8.2"), 96);
    EXPECT_NE(fileText(conf_).find("LoadModule proxy_fcgi_module"), std::string::npos);
    EXPECT_EQ(website_->ISPhpEnabled(kA), 4);
    ASSERT_TRUE(fpm_->start()) << fileText(fpm_->log());
    ASSERT_TRUE(waitFor([&] { return exists(fpm_->socket(kA)) && exists(fpm_->socket(kB)); }));
    ASSERT_NO_FATAL_FAILURE(reload());

    const std::string siteA = sandbox_->sitesFolder() + kA;
    EXPECT_TRUE(answers(kA, "/who.php", 200, "user=" + users_[0] + " basedir=" + siteA + ":" + siteA + "/tmp"));
    EXPECT_TRUE(answers(kB, "/who.php", 200, "user=" + users_[1] + " "));

    // The socket: the site's user, Apache's group, 0660.
    struct stat st;
    ASSERT_EQ(stat(fpm_->socket(kA).c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0660u);
    const passwd* user = getpwnam(users_[0].c_str());
    const group* apache = getgrnam("www-data");
    ASSERT_TRUE(user && apache);
    EXPECT_EQ(st.st_uid, user->pw_uid);
    EXPECT_EQ(st.st_gid, apache->gr_gid);

    // A .htaccess of site A pointing its .php files at B's pool changes nothing.
    ASSERT_TRUE(sandbox_->writeFile(docroot(kA) + "/.htaccess", "<FilesMatch \"\\.php$\">\nSetHandler \"proxy:unix:" +
                                                                    fpm_->socket(kB) + "|fcgi://localhost\"\n</FilesMatch>\n"));
    EXPECT_TRUE(answers(kA, "/who.php", 200, "user=" + users_[0] + " "));

    // Site A off PHP-FPM and its user deleted: php-fpm still passes its check
    // and reloads, and B still answers.
    EXPECT_EQ(website_->DisablePhpFpm(kA), 96);
    EXPECT_EQ(fileText(conf_).find(fpm_->socket(kA)), std::string::npos);
    ASSERT_TRUE(fpm_->deleteUser(users_[0]));
    EXPECT_TRUE(fpm_->accepts());
    const int master = fpm_->masterPid();
    EXPECT_EQ(website_->CmdPhpFpmReload("8.2"), 0);
    EXPECT_TRUE(waitFor([&] { return fpm_->masterPid() != 0 && fpm_->masterPid() != master && !exists(fpm_->socket(kA)); }, 200))
        << fileText(fpm_->log());
    EXPECT_TRUE(waitFor([&] { return exists(fpm_->socket(kB)); }));
    ASSERT_NO_FATAL_FAILURE(reload());
    EXPECT_TRUE(answers(kB, "/who.php", 200, "user=" + users_[1] + " "));
    // A's page is run by no pool any more. Its section gone, A's .htaccess
    // (above) hands .php files to B's pool, whose open_basedir keeps A's
    // folder out: php-fpm does not open the script and answers 404.
    const Reply refused = sandbox_->fetch(kA, "/who.php");
    EXPECT_EQ(refused.status, 404) << refused.summary();
    EXPECT_EQ(refused.body, "No input file specified.\n");
    // Without that .htaccess no handler is left: Apache serves the file as
    // it serves any static file, its source text, run by nobody.
    ASSERT_EQ(unlink((docroot(kA) + "/.htaccess").c_str()), 0);
    const Reply plain = sandbox_->fetch(kA, "/who.php");
    EXPECT_EQ(plain.status, 200) << plain.summary();
    EXPECT_EQ(plain.body, page);
}
