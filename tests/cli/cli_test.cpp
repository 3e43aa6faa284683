// The qzapache program, run as a separate process: each subcommand family
// against a scratch configuration (golden transcripts of the command line,
// exit status, error lines, output and changed files), usage errors and help,
// progress lines and JSON, the machine-wide lock and --verify's rollback.
#include "QZTestFixture.h"

#include <cstring>
#include <fcntl.h>
#include <signal.h>
#include <sstream>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

struct Ran {
    int status = -1;
    std::string out, err;
};

}  // namespace

class CliTest : public HttpdConfTest {
protected:
    void SetUp() override {
        HttpdConfTest::SetUp();
        makeDir("/tmp");
        // Owners are the operations' business: chown only says what it was asked.
        fakeCommand("chown", "echo \"chown $*\" >> \"$QZ_TEST_LOG\"");
        setenv("TMPDIR", path("/tmp").c_str(), 1);   // the web users' tempnam scratch files
        makeDir("/home/shop.test/www/html");
        chmod(path("/home/shop.test/www/html").c_str(), 0750);
        useConf("cli/sites.conf");
        watch("/conf/httpd.conf");
        home_ = path("/home/");
    }
    void TearDown() override {
        unsetenv("TMPDIR");
        HttpdConfTest::TearDown();
    }

    // Runs the program with --root and --conf of the scratch root first.
    Ran qzapache(std::vector<std::string> args, bool scratchRoot = true) const {
        if (scratchRoot) args.insert(args.begin(), {"--root", root_, "--conf", conf_});
        args.insert(args.begin(), QZ_CLI);
        const std::string errFile = path("/.stderr");
        int out[2];
        if (pipe(out) != 0) return {};
        std::fflush(nullptr);
        const pid_t pid = fork();
        if (pid == 0) {
            if (!cwd_.empty() && chdir(cwd_.c_str()) != 0) _exit(126);
            dup2(out[1], 1);
            const int err = open(errFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
            dup2(err, 2);
            close(out[0]);
            std::vector<char*> argv;
            for (std::string& arg : args) argv.push_back(arg.data());
            argv.push_back(nullptr);
            execv(argv[0], argv.data());
            _exit(126);
        }
        close(out[1]);
        Ran ran;
        char buffer[4096];
        for (ssize_t got; (got = read(out[0], buffer, sizeof buffer)) > 0;) ran.out.append(buffer, static_cast<size_t>(got));
        close(out[0]);
        int status = 0;
        waitpid(pid, &status, 0);
        ran.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        ran.err = readFile("/.stderr");
        return ran;
    }

    // One step of the transcript: "== qzapache ARGS -> exit N", then its error
    // lines ("! "), its output ("> "), commands and changed files.
    void step(const std::vector<std::string>& args, bool scratchRoot = true) {
        std::string label = "qzapache";
        for (const std::string& arg : args) label += " " + arg;
        beginStep();
        const Ran ran = qzapache(args, scratchRoot);
        std::fputs(ran.out.c_str(), stdout);
        std::string result = "exit " + std::to_string(ran.status);
        for (size_t at = 0; at < ran.err.size();) {
            const size_t end = ran.err.find('\n', at);
            result += "\n! " + ran.err.substr(at, end - at);
            at = end == std::string::npos ? ran.err.size() : end + 1;
        }
        endStep(label, result);
    }

    // A fake apachectl answering -v, -V (HTTPD_ROOT = <root>/etc/httpd) and -t.
    void fakeApachectl(const std::string& check = "echo \"Syntax OK\"") const {
        fakeCommand("apachectl", "echo \"apachectl $*\" >> \"$QZ_TEST_LOG\"\n"
                                 "case \"$1\" in\n"
                                 "-v) echo 'Server version: Apache/2.4.57 (Unix)' ;;\n"
                                 "-V) echo ' -D HTTPD_ROOT=\"" + root_ + "/etc/httpd\"' ;;\n"
                                 "-t) " + check + " ;;\n"
                                 "esac");
    }

    std::string home_;   // <root>/home/, where the sites lie
    std::string cwd_;    // the program's working folder ("": the test's)
};

TEST_F(CliTest, WebsitesAndHostHeaders) {
    makeDir("/home/blog.test");
    const std::vector<std::string> create = {"create-website", "--dname", "blog.test", "--ip-address", "192.0.2.10",
                                             "--user-name", "nobody", "--server-admin", "admin", "--path", home_};
    step(create);
    step(create);   // 92: the site exists
    step({"list-websites"});
    step({"--json", "list-websites"});
    step({"website-exists", "--domain-name", "blog.test"});
    step({"website-exists", "--domain-name", "none.test"});
    step({"website-info", "--domain-name", "shop.test"});
    step({"website-info", "--domain-name", "shop.test", "--json"});
    step({"website-info", "--domain-name", "none.test"});
    step({"website-info", "--domain-name", "shop.test", "--conf", missing_});   // no record: no fields
    step({"stop-website", "--domain-name", "blog.test"});
    step({"website-status", "--domain-name", "blog.test"});
    step({"start-website", "--domain-name", "blog.test"});
    step({"website-status", "--domain-name", "blog.test", "--json"});
    step({"website-status", "--domain-name", "none.test"});
    step({"add-host-header", "--domain-name", "shop.test", "--host-header", "shop.example"});
    step({"add-host-header", "--domain-name", "shop.test", "--host-header", "shop.example"});
    step({"delete-host-header", "--domain-name", "shop.test", "--host-header", "www.shop.test"});
    step({"delete-website", "--domain-name", "blog.test"});
    EXPECT_DATA(transcript_, "cli/websites.transcript");
    EXPECT_EQ(modeOf("/home/blog.test/www"), 04701);   // the folders are the operation's own
}

TEST_F(CliTest, VirtualDirectories) {
    fakeApachectl();
    const std::string docs = path("/home/shop.test/www/html/docs");
    makeDir("/home/shop.test/www/html/docs");
    chmod(docs.c_str(), 0755);
    watch("/home/shop.test/webusers_shop.test.htpasswd");
    const std::vector<std::string> create = {"create-vdir", "--domain-name", "shop.test", "--dir-path", docs, "--web-admin-path",
                                             path("/home"), "--allow", "10.0.0.0/8", "--indexes", "-", "--exec-cgi", "+"};
    step(create);
    step(create);   // 1: the section exists
    step({"vdir-info", "--domain-name", "shop.test", "--dir-path", docs});
    step({"vdir-info", "--domain-name", "shop.test", "--dir-path", docs, "--json"});
    step({"vdir-info", "--domain-name", "none.test", "--dir-path", docs});
    step({"update-vdir", "--domain-name", "shop.test", "--dir-path", docs, "--web-admin-path", path("/home"), "--order", "0",
          "--deny", "192.0.2.0/24", "--allow", "all", "--anon-access", "1", "--perl-enabled", "1"});
    step({"list-vdirs", "--domain-name", "shop.test"});
    step({"delete-vdir", "--dir-path", docs});
    EXPECT_DATA(transcript_, "cli/vdirs.transcript");
}

TEST_F(CliTest, WebUsers) {
    makeDir("/etc/webusers");
    writeFile("/etc/webusers/passwd.shop.test", "ann:x1\n");
    watch("/etc/webusers/passwd.shop.test");
    const std::string site = "--domain-name=shop.test";
    step({"user-create", site, "--user-name", "bob", "--passwd", "s3cret"});
    step({"user-list", site});
    step({"user-list", site, "--json"});
    step({"user-passwd", site, "--user-name", "bob", "--passwd", "n3w"});
    step({"user-passwd", site, "--user-name", "carl", "--passwd", "n3w"});
    step({"user-delete", site, "--user-name", "bob"});
    step({"user-create", "--domain-name", "none.test", "--user-name", "bob", "--passwd", "x"});
    EXPECT_DATA(transcript_, "cli/webusers.transcript");
}

TEST_F(CliTest, PrivateFolders) {
    makeDir("/home/shop.test/private");
    const std::string folder = path("/home/shop.test/private");
    watch("/home/shop.test/private/.htaccess");
    step({"private-folder-add", "--folder-path", folder, "--user-name", "ann", "--user-passwd", "first pass"});
    EXPECT_TRUE(htpasswdAccepts(folder + "/.htpasswd", "ann", "first pass"));
    step({"private-folder-edit", "--new-folder-path", folder, "--old-folder-path", folder, "--user-name", "ann",
          "--user-passwd", "second"});
    EXPECT_TRUE(htpasswdAccepts(folder + "/.htpasswd", "ann", "second"));
    step({"--verbose", "private-folder-delete", "--folder-path", folder, "--user-name", "ann"});   // htpasswd's own lines
    EXPECT_FALSE(exists("/home/shop.test/private/.htpasswd"));
    EXPECT_DATA(transcript_, "cli/private.transcript");
}

TEST_F(CliTest, ScriptHandlers) {
    for (const char* name : {"chmod", "mkdir"}) fakeCommand(name, std::string("echo \"") + name + " $*\" >> \"$QZ_TEST_LOG\"");
    loggedCommand("cp");
    writeFile("/php-cgi", "#!/bin/sh\n");
    const std::string site = "--domain-name=shop.test";
    step({"enable-php", site, "--module", "mod_php7"});
    step({"php-status", site});
    step({"disable-php", site});
    step({"php-status", site, "--json"});
    step({"enable-perl", site});
    step({"disable-perl", site});
    step({"configure-fcgid"});
    step({"enable-fcgid", site, "--php-cgi-path", path("/php-cgi"), "--suexec-setting", "enabled"});
    step({"php-status", site});
    step({"disable-fcgid", site, "--php-cgi", ".setting_php/php-cgi"});
    step({"enable-php", site, "--module", "mod_php7", "--conf", missing_});
    EXPECT_DATA(transcript_, "cli/handlers.transcript");
}

TEST_F(CliTest, RedirectsApacheAndDirectives) {
    fakeApachectl();
    makeDir("/etc/httpd");
    watch("/etc/httpd/qz/shop.test.conf");
    watch("/etc/httpd/qz/shop.test.conf.stop");
    const std::string site = "--domain-name=shop.test";
    step({"redirect-https", "create", site, "--ip-address", "192.0.2.10"});
    step({"redirect-https", "stop", site});
    step({"redirect-https", "start", site, "--json"});
    step({"redirect-https", "delete", site});
    step({"apache-version"});
    step({"apache-version", "--json"});
    writeFile("/httpd.pid", "0\n");
    step({"apache-restart", "--pid-file", path("/httpd.pid")});
    step({"apache-restart"});   // no PID file under <root>/var/run
    step({"get-directive", "--directive", "Listen"});
    step({"get-directive", "--directive", "DocumentRoot", site, "--value-quoted"});
    step({"get-directive", "--directive", "Timeout"});
    step({"set-directive", "--directive", "ServerAdmin", "--value", "web@shop.test", site});
    step({"set-directive", "--directive", "Header", "--value", "set X-Site shop", site, "--add"});
    step({"set-directive", "--directive", "Timeout", "--value", "60", "--reference", "Listen"});
    step({"set-directive", "--directive", "Nothing", "--value", "1", site});
    EXPECT_DATA(transcript_, "cli/apache.transcript");

    // A graceful restart signals the process of the PID file.
    const pid_t apache = fork();
    if (apache == 0) {
        pause();
        _exit(0);
    }
    writeFile("/httpd.pid", std::to_string(apache) + "\n");
    EXPECT_EQ(qzapache({"apache-restart", "--pid-file", path("/httpd.pid")}).status, 0);
    int status = 0;
    ASSERT_EQ(waitpid(apache, &status, 0), apache);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGUSR1);
}

TEST_F(CliTest, UsageErrorsAndHelp) {
    step({}, false);
    step({"frob"});
    step({"create-website", "--dname", "a.test"});
    step({"website-exists", "--domain-name", "a.test", "--bogus", "1"});
    step({"website-exists", "--dname", "a.test"});   // one name per field: --dname is create-website's record field
    step({"website-exists", "--domain-name"});
    step({"website-exists", "--domain-name", "a.test", "--domain-name", "b.test"});
    const std::vector<std::string> site = {"create-website", "--dname", "a.test", "--ip-address", "1", "--user-name", "u",
                                           "--server-admin", "a", "--path", "/", "--ip-switch"};
    for (const char* ipSwitch : {"12", "3"}) {
        std::vector<std::string> args = site;
        args.push_back(ipSwitch);
        step(args);
    }
    step({"create-vdir", "--domain-name", "a.test", "--order", "x"});
    step({"create-vdir", "--domain-name", "a.test", "--order", "128"});
    step({"create-vdir", "--domain-name", "a.test", "--indexes", "*"});
    step({"set-directive", "--directive", "A", "--value", "1", "--add"});
    step({"set-directive", "--directive", "A", "--value", "1", "--domain-name", "a.test", "--before-reference"});
    step({"get-directive", "--directive", "A", "--value-quoted=yes"});
    step({"redirect-https"});
    step({"redirect-https create", "--domain-name", "a.test", "--ip-address", "1"});   // two words, two arguments
    step({"list-websites", "extra"});
    step({"--check-command", "true", "list-websites"});
    step({"--verify", "apache-restart"});
    step({"--root", root_, "list-websites"}, false);   // no configuration under the root
    step({"--root", root_, "--verify", "user-list", "--domain-name", "a.test"}, false);
    step({"website-exists", "--help"});
    step({"help", "redirect-https", "create"});
    EXPECT_DATA(transcript_, "cli/usage.transcript");
    // None of them locked, ran or changed anything.
    EXPECT_FALSE(exists("/run/lock/qzapache.lock"));

    // A record field takes a value of its length, not one more.
    const std::string longest(1023, 'd');
    EXPECT_EQ(qzapache({"vdir-info", "--domain-name", longest, "--dir-path", "/x"}).status, 1);
    EXPECT_EQ(qzapache({"vdir-info", "--domain-name", longest + "d", "--dir-path", "/x"}).err,
              "qzapache: --domain-name takes at most 1023 characters\n");

    // The program's help names every command; each has its own, and
    // redirect-https has one for its four actions together.
    const Ran help = qzapache({"--help"}, false);
    EXPECT_EQ(help.status, 0);
    for (const char* command :
         {"create-website", "delete-website", "website-exists", "list-websites", "stop-website", "start-website",
          "website-status", "website-info", "add-host-header", "delete-host-header", "create-vdir", "vdir-info", "update-vdir",
          "delete-vdir", "list-vdirs", "user-create", "user-delete", "user-passwd", "user-list", "private-folder-add",
          "private-folder-delete", "private-folder-edit", "enable-php", "disable-php", "php-status", "configure-fcgid",
          "enable-fcgid", "disable-fcgid", "enable-perl", "disable-perl", "redirect-https create", "redirect-https stop",
          "redirect-https start", "redirect-https delete", "apache-version", "apache-restart", "get-directive",
          "set-directive"}) {
        EXPECT_NE(help.out.find(std::string("\n  ") + command + " "), std::string::npos) << command;
        std::vector<std::string> args = {"help"};
        std::istringstream words(command);
        for (std::string word; words >> word;) args.push_back(word);
        const Ran one = qzapache(args, false);
        EXPECT_EQ(one.status, 0) << command;
        EXPECT_EQ(one.out.find("...."), std::string::npos) << command;
    }
    for (const std::vector<std::string>& args : {std::vector<std::string>{"redirect-https", "--help"}, {"help", "redirect-https"}}) {
        const Ran family = qzapache(args, false);
        EXPECT_EQ(family.status, 0);
        for (const char* action : {"create", "stop", "start", "delete"})
            EXPECT_NE(family.out.find(std::string("] redirect-https ") + action + " --domain-name"), std::string::npos) << action;
    }
}

TEST_F(CliTest, ProgressLinesOnlyWhenVerboseAndJsonStaysPure) {
    step({"list-websites"});
    step({"--verbose", "list-websites"});
    step({"--json", "--verbose", "list-websites"});
    // Quotes, backslashes, control characters and bytes that are not UTF-8
    // still make valid JSON.
    // Lead bytes F5-FF, the overlong C0 80 and the surrogate ED A0 80 are
    // not UTF-8; the four bytes of U+1F600 are.
    writeConf("<VirtualHost *:80>\n\tServerName we\"ird\\\x01\t\xc3\xa9\xff.\xf8\x80\x80.\xc0\x80.\xf5\x80\x80\x80.\xed\xa0\x80."
              "\xf0\x9f\x98\x80.test\n</VirtualHost>\n");
    step({"--json", "list-websites"});
    // Without --conf: the configuration of the apache2 layout under the root.
    makeDir("/etc/apache2");
    writeFile("/etc/apache2/apache2.conf", "<VirtualHost *:80>\n\tServerName layout.test\n</VirtualHost>\n");
    step({"--root", root_, "list-websites"}, false);
    EXPECT_DATA(transcript_, "cli/output.transcript");
}

// Four runs of website creation at once on one file, each slowed between its
// copy and its move: the machine-wide lock keeps every site.
TEST_F(CliTest, ConcurrentRunsLoseNoSite) {
    // A slow "mv" holds every run between its copy and its move.
    fakeCommand("mv", "sleep 0.4\nPATH=\"" + savedPath_ + "\" exec mv \"$@\"");
    useConf("cli/sites.conf");
    const std::vector<const char*> four = {"c.test", "d.test", "e.test", "f.test"};
    const auto sites = [&](const std::vector<const char*>& domains) {
        int count = 0;
        for (const char* domain : domains) {
            count += readConf().find(std::string("ServerName ") + domain + "\n") != std::string::npos;
            makeDir(std::string("/home/") + domain);
        }
        return count;
    };
    EXPECT_EQ(sites(four), 0);

    std::vector<pid_t> children;
    for (const char* domain : four) {
        const pid_t pid = fork();
        if (pid == 0) {
            const Ran ran = qzapache({"create-website", "--dname", domain, "--ip-address", "192.0.2.10", "--user-name", "nobody",
                                      "--server-admin", "admin", "--path", home_});
            _exit(ran.status);
        }
        children.push_back(pid);
    }
    for (const pid_t pid : children) {
        int status = -1;
        waitpid(pid, &status, 0);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }
    EXPECT_EQ(sites(four), 4);
    EXPECT_NE(readConf().find("ServerName shop.test\n"), std::string::npos);
    EXPECT_EQ(modeOf("/run/lock/qzapache.lock"), 0644);
}

// --verify: a failing syntax check puts back, byte for byte and with their
// modes, the files the operation changed, removes those it made, prints the
// checker's message and exits 1; a passing check keeps the change.
TEST_F(CliTest, VerifyRollsBackWhatTheCheckRejects) {
    const std::string before = readConf();
    chmod(conf_.c_str(), 0640);
    const bool root = chown(conf_.c_str(), 12345, 12346) == 0;   // "mv" of the operation leaves it the runner's
    makeDir("/etc/apache2/qz");
    makeDir("/etc/httpd");
    const std::string redirect = "<VirtualHost 192.0.2.10:80>\n\tServerName shop.test\n\tServerAlias www.shop.test \n</VirtualHost>\n";
    writeFile("/etc/apache2/qz/shop.test.conf", redirect);
    fakeApachectl("echo \"AH00526: Syntax error on line 7 of $3:\"; echo 'Invalid command'; exit 1");

    Ran ran = qzapache({"--verify", "add-host-header", "--domain-name", "shop.test", "--host-header", "new.test"});
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(unrooted(ran.out), "CQZWebsite::AddHostHeader -> 0: added\n"
                                 "verify: apachectl -t -f @ROOT@/conf/httpd.conf: failed; 2 files put back as they were\n"
                                 "AH00526: Syntax error on line 7 of @ROOT@/conf/httpd.conf:\n"
                                 "Invalid command\n");
    EXPECT_EQ(readConf(), before);
    EXPECT_EQ(modeOf("/conf/httpd.conf"), 0640);
    struct stat st = {};
    ASSERT_EQ(stat(conf_.c_str(), &st), 0);
    if (root) {
        EXPECT_EQ(st.st_uid, 12345u);
        EXPECT_EQ(st.st_gid, 12346u);
    }
    EXPECT_EQ(readFile("/etc/apache2/qz/shop.test.conf"), redirect);
    EXPECT_EQ(commandLog(), Lines{"apachectl -t -f " + conf_});

    // Files the operation made are removed; the JSON report says what happened.
    ran = qzapache({"--verify", "--json", "redirect-https", "create", "--domain-name", "shop.test", "--ip-address", "192.0.2.10"});
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(unrooted(ran.out),
              "{\"command\":\"redirect-https create\",\"operation\":\"ApacheHelper::Apache_RedirectVHFromHttpToHttps\","
              "\"result\":1,\"code\":\"true\",\"success\":true,\"meaning\":\"the redirect file was written\",\"fields\":{},"
              "\"list\":[],\"verify\":{\"command\":\"apachectl -t -f @ROOT@/conf/httpd.conf\",\"passed\":false,\"restored\":3,"
              "\"message\":\"AH00526: Syntax error on line 7 of @ROOT@/conf/httpd.conf:\\nInvalid command\\n\"}}\n");
    EXPECT_EQ(readConf(), before);
    EXPECT_FALSE(exists("/etc/httpd/qz/shop.test.conf"));
    EXPECT_FALSE(exists("/etc/httpd/qz/dummy.conf"));

    // A check command of the operator's own, run without a shell, while the
    // lock is still held.
    writeFile("/check", "#!/bin/sh\necho \"checked $*\"\nflock -n " + path("/run/lock/qzapache.lock") +
                            " true && { echo 'the lock is free'; exit 1; }\nexit 0\n");
    chmod(path("/check").c_str(), 0755);
    ran = qzapache({"--verify", "--check-command", path("/check") + " --strict", "delete-website", "--domain-name", "shop.test"});
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(unrooted(ran.out), "CQZWebsite::DeleteWebsite -> 24: done (also when no block named the site)\n"
                                 "verify: @ROOT@/check --strict @ROOT@/conf/httpd.conf: passed\n");
    EXPECT_EQ(readConf().find("shop.test"), std::string::npos);

    // A failed operation still fails when the check passes.
    ran = qzapache({"--verify", "--check-command", path("/check"), "website-exists", "--domain-name", "shop.test"});
    EXPECT_EQ(ran.status, 1);
}

// --verify keeps, besides the configuration, each file the operation may
// write: a private folder's files, a virtual directory's password file, a
// web-user list of a folder, the PHP CGI copy of a site, the file behind a
// linked configuration; and it finds the configuration given relative to the
// folder the program started in.
TEST_F(CliTest, VerifyPutsBackEveryFileTheOperationWrote) {
    fakeApachectl("if test -f \"$3\"; then echo \"AH00526: Syntax error in $3\"; else echo \"no file $3\"; fi; exit 1");
    const std::string folder = path("/home/shop.test/private");
    makeDir("/home/shop.test/private");
    watch("/home/shop.test/private/.htaccess");
    watch("/home/shop.test/private/.htpasswd");
    step({"--verify", "private-folder-add", "--folder-path", folder, "--user-name", "ann", "--user-passwd", "x"});

    makeDir("/home/shop.test/www/html/docs");
    watch("/home/shop.test/webusers_shop.test.htpasswd");
    step({"--verify", "create-vdir", "--domain-name", "shop.test", "--dir-path", path("/home/shop.test/www/html/docs"),
          "--web-admin-path", path("/home"), "--anon-access", "1"});

    makeDir("/etc/webusers");
    writeFile("/etc/webusers/passwd.shop.test__private_docs", "ann:x1\n");
    watch("/etc/webusers/passwd.shop.test__private_docs");
    step({"--verify", "user-create", "--domain-name", "shop.test", "--folder-path", "/private/docs", "--user-name", "bob",
          "--passwd", "s"});

    makeDir("/home/shop.test/.setting_php");
    writeFile("/home/shop.test/.setting_php/php-cgi", "old\n");
    writeFile("/php-cgi", "new\n");
    watch("/home/shop.test/.setting_php/php-cgi");
    const std::vector<std::string> enable = {"enable-fcgid", "--domain-name", "shop.test", "--php-cgi-path", path("/php-cgi")};
    std::vector<std::string> verified = enable;
    verified.insert(verified.begin(), "--verify");
    step(verified);   // the copy written over is put back
    step(enable);
    step({"--verify", "disable-fcgid", "--domain-name", "shop.test", "--php-cgi", ".setting_php/php-cgi"});   // and the deleted one

    // Appending in place writes through the link.
    writeFile("/conf/real.conf", "Listen 80\n");
    ASSERT_EQ(unlink(conf_.c_str()), 0);
    ASSERT_EQ(symlink("real.conf", conf_.c_str()), 0);
    watch("/conf/real.conf");
    step({"--verify", "configure-fcgid"});
    char target[64] = {};
    EXPECT_EQ(readlink(conf_.c_str(), target, sizeof target - 1), 9);
    EXPECT_STREQ(target, "real.conf");

    // Without a ServerRoot, ListWebsites moves into <root>/etc/httpd.
    makeDir("/etc/httpd");
    cwd_ = root_;
    step({"--root", root_, "--conf", "conf/real.conf", "--verify", "list-websites"}, false);
    EXPECT_DATA(transcript_, "cli/verify.transcript");
}

TEST_F(CliTest, PhpFpm) {
    const std::string uid = getuid() == 0 ? "4242" : std::to_string(getuid());
    const std::string gid = getgid() == 0 ? "4242" : std::to_string(getgid());
    writeFile("/etc/passwd", "shop:x:" + uid + ":" + gid + "::/:/bin/sh\n");
    writeFile("/etc/group", "shop:x:" + gid + ":\n");
    if (getuid() == 0) {
        EXPECT_EQ(chown(path("/home/shop.test/www/html").c_str(), 4242, 4242), 0);
    }
    makeDir("/etc/php/8.2/fpm/pool.d");
    fakeCommand("php-fpm8.2", "exit 0");
    fakeCommand("apachectl", "echo 'User: name=\"www-data\" id=33'; echo 'Group: name=\"www-data\" id=33'");
    watch("/etc/php/8.2/fpm/pool.d/qz-shop.test.conf");
    const std::string site = "--domain-name=shop.test";
    step({"enable-php-fpm", site, "--php-version", "8.2"});   // no modules folder: proxy_fcgi cannot be loaded
    makeDir("/conf/mods-available");
    makeDir("/conf/mods-enabled");
    writeFile("/conf/mods-available/proxy_fcgi.load", "");
    fakeCommand("a2enmod", "touch \"$APACHE_CONFDIR/mods-enabled/proxy_fcgi.load\"");
    step({"enable-php-fpm", site, "--php-version", "8.2"});
    step({"php-status", site});
    step({"php-open-basedir", site, "--paths", "/srv/a:/srv/b", "--json"});
    step({"php-open-basedir", site, "--paths", "relative"});
    step({"disable-php-fpm", site});
    step({"enable-php-fpm", site, "--php-version", "9"});
    step({"php-fpm-reload", "--php-version", "8.2"});
    step({"apache-user"});
    EXPECT_DATA(transcript_, "cli/php_fpm.transcript");
}

TEST_F(CliTest, SettingsBackMaintenanceAndErrorPages) {
    makeDir("/conf/mods-available");
    fakeCommand("a2enmod", "echo \"a2enmod $*\" >> \"$QZ_TEST_LOG\"");
    watch("/var/lib/qzapache/maintenance/shop.test/index.html");
    // The report of website-info --json, handed back as it is, then edited.
    const std::string report = qzapache({"--json", "website-info", "--domain-name", "shop.test"}).out;
    writeFile("/info.json", report);
    step({"update-website", "--domain-name", "shop.test", "--from-json", path("/info.json")});
    std::string edited = report;
    edited.replace(edited.find("\"include\":[]"), 12, "\"include\":[\"conf/extra.conf\"]");
    edited.replace(edited.find("\"server-alias\":["), 16, "\"server-alias\":[\"m\\u00fcnchen.test\",");
    writeFile("/info.json", edited);
    step({"update-website", "--domain-name", "shop.test", "--from-json", path("/info.json")});
    writeFile("/info.json", "{\"fields\":{\"alias\":[\"/a /b\"}}");
    step({"update-website", "--domain-name", "shop.test", "--from-json", path("/info.json")});
    step({"message", "on", "--domain-name", "shop.test", "--message-html", "<p>Back soon</p>", "--retry-after", "120"});
    step({"message", "off", "--domain-name", "shop.test"});
    step({"message", "--domain-name", "shop.test"});
    step({"error-page", "set", "--domain-name", "shop.test", "--status-code", "404", "--target", "/missing.html"});
    step({"error-page", "list", "--domain-name", "shop.test"});
    step({"error-page", "delete", "--domain-name", "shop.test", "--status-code", "404"});
    step({"error-page", "set", "--domain-name", "shop.test", "--status-code", "302", "--target", "/x.html"});
    EXPECT_DATA(transcript_, "cli/settings.transcript");
}
