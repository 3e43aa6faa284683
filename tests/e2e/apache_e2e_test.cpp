// End to end: what the library writes is served by a real Apache. Every case
// starts with two websites created through the library, one with a punycode
// name, then edits the configuration through the library only; after every
// edit Apache must accept it and restart gracefully.
#include "EndToEnd.h"

#include <arpa/inet.h>
#include <filesystem>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

class ApacheEndToEnd : public EndToEnd {
protected:
    void SetUp() override { build(ApacheSandbox::missingTools(), {{kShop, kShop}, {kBooks, kBooksAscii}}); }
};

TEST_F(ApacheEndToEnd, NewWebsitesAnswerByNameAndByTheirWwwAlias) {
    EXPECT_TRUE(answers(kShop, "/", 200, welcome(kShop)));
    EXPECT_TRUE(answers("www." + kShop, "/", 200, welcome(kShop)));
    // A punycode site answers by its ASCII name and that name's www. alias.
    EXPECT_TRUE(answers(kBooksAscii, "/", 200, welcome(kBooks)));
    EXPECT_TRUE(answers("www." + kBooksAscii, "/", 200, welcome(kBooks)));
    EXPECT_TRUE(answers("unknown.example", "/", 200, kDefaultPage));
}

TEST_F(ApacheEndToEnd, StoppedWebsiteFallsToTheDefaultSiteUntilStarted) {
    EXPECT_EQ(website_->StopWebsite(kShop.c_str()), 30);
    EXPECT_EQ(website_->GetWebsiteStatus(kShop), 33);
    ASSERT_NO_FATAL_FAILURE(reload());
    EXPECT_TRUE(answers(kShop, "/", 200, kDefaultPage));
    EXPECT_TRUE(answers(kBooksAscii, "/", 200, welcome(kBooks)));
    EXPECT_EQ(website_->StartWebsite(kShop.c_str()), 29);
    EXPECT_EQ(website_->GetWebsiteStatus(kShop), 34);
    ASSERT_NO_FATAL_FAILURE(reload());
    EXPECT_TRUE(answers(kShop, "/", 200, welcome(kShop)));
}

TEST_F(ApacheEndToEnd, VirtualDirectoryWithoutAnonymousAccessWantsTheWebadminLogin) {
    SDDir dir = sandbox_->virtualDirectory(kShop, "members");
    ASSERT_TRUE(sandbox_->addFolder(dir.DirPath, "Members only"));
    EXPECT_TRUE(answers(kShop, "/members/", 200, "Members only"));
    CQZVirtualDirectory directories(&tracker_, conf_.c_str());
    EXPECT_EQ(directories.CreateVirtualDirectory(&dir, 0, "webadmin", "s3cret pass"), 'S');
    ASSERT_NO_FATAL_FAILURE(reload());
    EXPECT_TRUE(answers(kShop, "/members/", 401, "Unauthorized"));
    EXPECT_TRUE(answers(kShop, "/members/", 200, "Members only", {"webadmin", "s3cret pass"}));
    EXPECT_TRUE(answers(kShop, "/members/", 401, "Unauthorized", {"webadmin", "wrong"}));
    EXPECT_TRUE(answers(kShop, "/", 200, welcome(kShop)));
}

// A private folder's files live in the folder and Apache reads them on every
// request; "apachectl -t" does not read .htaccess files, so it is the answers
// that prove each edit (the check still runs after each).
TEST_F(ApacheEndToEnd, PrivateFolderAdmitsItsUsersAndNobodyElse) {
    const std::string folder = docroot(kBooks) + "/private";
    ASSERT_TRUE(sandbox_->addFolder(folder, "Private pages"));
    const Login alice{"alice", "alice's pw"}, bob{"bob", "bob pw"}, carol{"carol", "carol pw"}, none{};
    PrivateFolder folders(&tracker_);
    const std::string in = "Private pages", out = "Unauthorized";
    // Each edit, then who gets in and who does not.
    const std::vector<std::pair<std::function<int()>, std::vector<std::pair<Login, bool>>>> edits = {
        {[&] { return folders.addPrivateFolder(folder, alice.user, alice.password); },
         {{none, false}, {alice, true}, {{"alice", "bob pw"}, false}, {bob, false}}},
        {[&] { return folders.addPrivateFolder(folder, bob.user, bob.password); }, {{bob, true}, {alice, true}, {carol, false}}},
        {[&] { return folders.deletePrivateFolder(folder, alice.user); }, {{alice, false}, {bob, true}, {none, false}}},
        // Without users the folder is no longer protected.
        {[&] { return folders.deletePrivateFolder(folder, bob.user); }, {{none, true}}},
    };
    for (size_t i = 0; i < edits.size(); ++i) {
        EXPECT_EQ(edits[i].first(), i < 2 ? 1602 : 1603) << "edit " << i;
        std::string message;
        EXPECT_TRUE(sandbox_->configurationAccepted(&message)) << message;
        for (const auto& [login, admitted] : edits[i].second)
            EXPECT_TRUE(answers(kBooksAscii, "/private/", admitted ? 200 : 401, admitted ? in : out, login))
                << "edit " << i << ", user " << login.user;
    }
}

TEST_F(ApacheEndToEnd, HostHeaderIsServedWhileListed) {
    EXPECT_TRUE(answers("store.example", "/", 200, kDefaultPage));
    EXPECT_EQ(website_->AddHostHeader(kShop, "store.example"), 0);
    ASSERT_NO_FATAL_FAILURE(reload());
    EXPECT_TRUE(answers("store.example", "/", 200, welcome(kShop)));
    EXPECT_TRUE(answers("www." + kShop, "/", 200, welcome(kShop)));
    EXPECT_EQ(website_->DeleteHostHeader(kShop, "store.example"), 0);
    ASSERT_NO_FATAL_FAILURE(reload());
    EXPECT_TRUE(answers("store.example", "/", 200, kDefaultPage));
    EXPECT_TRUE(answers("www." + kShop, "/", 200, welcome(kShop)));
}

TEST_F(ApacheEndToEnd, HttpsRedirectAnswersWhileItsFileIsActive) {
    ApacheHelper helper;
    const std::string redirected = "https://" + kShop + "/cart?id=7";
    // create, stop, start, delete: whether the redirect is then active.
    const std::vector<std::pair<std::function<bool()>, bool>> steps = {
        {[&] { return helper.Apache_RedirectVHFromHttpToHttps(conf_, kShop, "127.0.0.1", sandbox_->portText()); }, true},
        {[&] { return helper.Apache_StopRedirectVHFromHttpToHttps(conf_, kShop); }, false},
        {[&] { return helper.Apache_StartRedirectVHFromHttpToHttps(conf_, kShop); }, true},
        {[&] { return helper.Apache_DeleteRedirectVHFromHttpToHttps(conf_, kShop); }, false}};
    for (const auto& [edit, active] : steps) {
        EXPECT_TRUE(edit());
        ASSERT_NO_FATAL_FAILURE(reload());
        EXPECT_TRUE(active ? answers(kShop, "/cart?id=7", 301, redirected) : answers(kShop, "/", 200, welcome(kShop)));
        EXPECT_TRUE(answers(kBooksAscii, "/", 200, welcome(kBooks)));
    }
}

// Perl CGI is switched in the document root's own section, which a new
// website does not have: the toolkit adds it, allowing CGI there. CGI allowed
// is not yet CGI run.
TEST_F(ApacheEndToEnd, PerlScriptRunsOnlyWhilePerlIsEnabled) {
    ASSERT_TRUE(sandbox_->writePerlScript(kShop));
    EXPECT_TRUE(answers(kShop, kPerlScript, 200, kPerlSource));
    ApacheHelper helper;
    const std::vector<std::pair<std::function<int()>, std::string>> steps = {
        {[&] { return helper.Apache_addDirectoryTag(conf_, kShop, docroot(kShop), {"Options +ExecCGI"}); }, kPerlSource},
        {[&] { return website_->EnablePerl(kShop); }, kPerlOutput},
        {[&] { return website_->DisablePerl(kShop); }, kPerlSource}};
    for (const auto& [edit, served] : steps) {
        EXPECT_EQ(edit(), 0);
        ASSERT_NO_FATAL_FAILURE(reload());
        EXPECT_TRUE(answers(kShop, kPerlScript, 200, served));
    }
}

TEST_F(ApacheEndToEnd, DeletedWebsiteFallsBackToTheDefaultSite) {
    EXPECT_EQ(website_->DeleteWebsite(kBooks.c_str(), 0), 24);
    EXPECT_EQ(website_->WebsiteExists(kBooks.c_str()), 32);
    ASSERT_NO_FATAL_FAILURE(reload());
    EXPECT_TRUE(answers(kBooksAscii, "/", 200, kDefaultPage));
    EXPECT_TRUE(answers("www." + kBooksAscii, "/", 200, kDefaultPage));
    EXPECT_TRUE(answers(kShop, "/", 200, welcome(kShop)));
}

// Only a live server started with the sandbox's own configuration is ever
// signalled: not one whose number a stale PID file holds (here another
// sandbox's), and not a stopped one (CmdApchRestart signals whatever number
// the PID file holds).
TEST_F(ApacheEndToEnd, OnlyTheSandboxsOwnLiveServerIsSignalled) {
    const int pid = sandbox_->runningPid();
    ASSERT_NE(pid, 0);
    std::string report;
    {
        ApacheSandbox other;
        ASSERT_TRUE(other.ready()) << other.problem();
        ASSERT_TRUE(other.writeFile(other.pidFile(), std::to_string(pid) + "\n"));
        EXPECT_EQ(other.runningPid(), 0);
        EXPECT_FALSE(other.checkAndRestart(*website_, &report));
        other.stop();
    }  // its destructor stops "its" server once more
    EXPECT_EQ(sandbox_->runningPid(), pid);
    EXPECT_TRUE(answers(kShop, "/", 200, welcome(kShop)));
    sandbox_->stop();
    EXPECT_FALSE(sandbox_->checkAndRestart(*website_, &report));
    EXPECT_EQ(report, "Syntax OK; the server is not running, no restart signalled");
}

TEST_F(ApacheEndToEnd, SettingsWrittenBackErrorPagesAndMaintenanceAreServed) {
    const std::string site = sandbox_->sitesFolder() + kShop;
    ASSERT_TRUE(sandbox_->addFolder(site + "/extra", "Extra pages"));
    ASSERT_TRUE(sandbox_->writeFile(docroot(kShop) + "/missing.html", "Custom not found"));
    UpdateVHost info = {};
    info.pDomain = kShop.c_str();
    ASSERT_EQ(website_->GetWebsiteInfo(&info), 25);
    info.pDomain = kShop.c_str();
    info.Alias.push_back({"/extra", site + "/extra"});
    info.Redirect.push_back({"/old", "http://" + kShop + "/new"});
    EXPECT_EQ(website_->UpdateWebsite(&info), 96);
    EXPECT_EQ(CustomErrorPages(&tracker_, conf_).setErrorPage(kShop, 404, "/missing.html"), 0);
    ASSERT_NO_FATAL_FAILURE(reload());
    EXPECT_TRUE(answers(kShop, "/extra/", 200, "Extra pages"));
    EXPECT_TRUE(answers(kShop, "/old", 302, "http://" + kShop + "/new"));
    EXPECT_TRUE(answers(kShop, "/nothing-here", 404, "Custom not found"));

    // A value with a newline would add a directive: refused, nothing written.
    const std::string before = fileText(conf_);
    info.Alias.push_back({"/x", site + "\nRequire all granted"});
    EXPECT_EQ(website_->UpdateWebsite(&info), 1);
    EXPECT_EQ(fileText(conf_), before);

    // Maintenance: 503 with the page and Retry-After, which the customer's
    // .htaccess cannot undo; certificate renewals still reach the site.
    ASSERT_TRUE(sandbox_->writeFile(docroot(kShop) + "/.htaccess",
                                    "RewriteEngine Off\nErrorDocument 503 default\nHeader always unset Retry-After\n"));
    std::filesystem::create_directories(docroot(kShop) + "/.well-known/acme-challenge");
    ASSERT_TRUE(sandbox_->writeFile(docroot(kShop) + "/.well-known/acme-challenge/t0k3n", "token for the CA"));
    EXPECT_EQ(website_->EnableMessage(kShop, "<h1>Back in ten minutes</h1>", 600), 96);
    ASSERT_NO_FATAL_FAILURE(reload());
    EXPECT_TRUE(answers(kShop, "/", 503, "Back in ten minutes"));
    EXPECT_TRUE(answers(kShop, "/extra/", 503, "Back in ten minutes"));
    EXPECT_TRUE(answers(kShop, "/.well-known/acme-challenge/t0k3n", 200, "token for the CA"));
    EXPECT_TRUE(answers(kBooksAscii, "/", 200, welcome(kBooks)));
    std::string head;
    if (FILE* pipe = popen(("curl -s -o /dev/null -D - -H 'Host: " + kShop + "' http://127.0.0.1:" + sandbox_->portText() + "/").c_str(), "r")) {
        char buffer[4096];
        for (size_t got; (got = fread(buffer, 1, sizeof buffer, pipe)) > 0;) head.append(buffer, got);
        pclose(pipe);
    }
    EXPECT_NE(head.find("Retry-After: 600\r\n"), std::string::npos) << head;

    // The blocks are again what they were; the module stays loaded.
    EXPECT_EQ(website_->DisableMessage(kShop), 96);
    std::string after = fileText(conf_);
    const std::string module = "<IfModule !headers_module>\nLoadModule headers_module " +
                               std::string(ApacheSandbox::kModules) + "/mod_headers.so\n</IfModule>\n";
    ASSERT_NE(after.find(module), std::string::npos);
    EXPECT_EQ(after.erase(after.find(module), module.size()), before);
    ASSERT_NO_FATAL_FAILURE(reload());
    EXPECT_TRUE(answers(kShop, "/", 200, welcome(kShop)));
}

// The sandbox itself: a redirect is judged by its Location, any other answer
// by its body.
TEST(ApacheSandboxReply, MatchesByLocationOnlyForRedirects) {
    const Reply created{201, "Created", "/new", "made it", ""}, moved{301, "Moved", "https://x/", "<a>moved</a>", ""};
    EXPECT_TRUE(created.matches(201, "made it"));
    EXPECT_FALSE(created.matches(201, "/new"));
    EXPECT_TRUE(moved.matches(301, "https://x/"));
    EXPECT_FALSE(moved.matches(301, "moved"));
}

// The sandbox writes etc/passwd, etc/QZ.conf, bin/apachectl ... into its
// folder: only an existing, empty one is accepted, a refused folder is left
// as it was, and without a scratch folder nothing is touched or signalled
// (its PID file would otherwise be the system's /var/run/apache2.pid).
TEST(ApacheSandboxFolder, OnlyAnExistingEmptyFolderIsUsed) {
    char scratch[] = "/tmp/qz-sandbox-test-XXXXXX";
    ASSERT_NE(mkdtemp(scratch), nullptr);
    const std::string folder = scratch;
    ASSERT_EQ(mkdir((folder + "/full").c_str(), 0755), 0);
    ASSERT_TRUE(std::ofstream(folder + "/full/keep") << "mine\n");
    for (const std::string& refused : {folder + "/full", folder + "/missing", folder + "/full/keep"}) {
        ApacheSandbox box(refused);
        EXPECT_EQ(box.problem(), "the sandbox's folder must be an existing, empty folder other than /: " + refused);
    }
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder + "/full"), {}), 1);
    EXPECT_FALSE(std::filesystem::exists(folder + "/missing"));
    std::filesystem::remove_all(folder + "/full");
    EXPECT_TRUE(ApacheSandbox(folder).ready());
    EXPECT_TRUE(std::filesystem::exists(folder + "/etc/QZ.conf"));  // left in place
    std::filesystem::remove_all(folder);

    const char* oldTmp = getenv("TMPDIR");
    const std::string savedTmp = oldTmp ? oldTmp : "", path = getenv("PATH");
    setenv("TMPDIR", "/nonexistent", 1);
    {
        ApacheSandbox box;
        EXPECT_EQ(box.problem(), "cannot make a scratch folder /nonexistent/qz-apache-XXXXXX");
        EXPECT_EQ(box.runningPid(), 0);
        EXPECT_FALSE(box.start());
        EXPECT_EQ(getenv("PATH"), path);
    }
    EXPECT_EQ(getenv("PATH"), path);
    oldTmp ? setenv("TMPDIR", savedTmp.c_str(), 1) : unsetenv("TMPDIR");
}

// The port is free when the sandbox is made, but another program may take it
// before the server starts: start() then moves the sites to another port.
TEST_F(EndToEnd, StartMovesToAnotherPortWhenItsPortIsTaken) {
    int taken = 0, holder = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    build(ApacheSandbox::missingTools(), {{kShop, kShop}}, false, [&] {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_port = htons(taken = sandbox_->port());
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        ASSERT_EQ(bind(holder, reinterpret_cast<sockaddr*>(&address), sizeof address) | listen(holder, 1), 0);
    });
    if (IsSkipped() || HasFatalFailure()) return;
    EXPECT_NE(sandbox_->port(), taken);
    EXPECT_TRUE(answers(kShop, "/", 200, welcome(kShop)));
    close(holder);
}
