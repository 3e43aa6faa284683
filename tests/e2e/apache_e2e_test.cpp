// End to end: what the library writes is served by a real Apache.
//
// Every case builds a sandbox (ApacheSandbox: its own server root, port,
// PID file and logs in a scratch folder, which is also the library's system
// root), creates two websites through the library, one with a punycode
// name, checks the configuration with "apachectl -t", starts the server and
// then edits the configuration through the library only. After every edit
// Apache must accept the configuration and restart gracefully through
// CmdApchRestart; requests go to 127.0.0.1 with the site's Host header. The
// fixture's teardown stops the server whatever happened.
#include "ApacheSandbox.h"
#include "libqzapache.h"

#include <gtest/gtest.h>

#include <memory>
#include <sys/stat.h>

using sandbox::ApacheSandbox;
using sandbox::Login;
using sandbox::Reply;

namespace {

const std::string kShop = "shop.example";
const std::string kBooks = "bücher.example";  // the name as the panel shows it
const std::string kBooksAscii = "xn--bcher-kva.example";
const std::string kDefaultPage = "Default site of the sandbox";

std::string welcome(const std::string& site) { return "Welcome to " + site; }

}  // namespace

class ApacheEndToEnd : public ::testing::Test {
protected:
    void SetUp() override {
        const std::string missing = ApacheSandbox::missingTools();
        if (!missing.empty())
            GTEST_SKIP() << "a real Apache is needed and these are missing: " << missing
                         << " (scripts/test.sh installs apache2, apache2-utils and curl)";
        sandbox_ = std::make_unique<ApacheSandbox>();
        ASSERT_TRUE(sandbox_->ready()) << sandbox_->problem();
        conf_ = sandbox_->configuration();
        website_ = std::make_unique<CQZWebsite>(&tracker_, conf_.c_str());
        ASSERT_NO_FATAL_FAILURE(createSite(kShop, kShop));
        ASSERT_NO_FATAL_FAILURE(createSite(kBooks, kBooksAscii));
        std::string message;
        ASSERT_TRUE(sandbox_->configurationAccepted(&message)) << message;
        ASSERT_TRUE(sandbox_->start(&message)) << message;
    }

    void TearDown() override {
        website_.reset();
        sandbox_.reset();  // stops the server
    }

    void createSite(const std::string& name, const std::string& ascii) {
        VHostEntry site = sandbox_->website(name, ascii);
        ASSERT_EQ(website_->CreateWebsite(&site), 94);
        ASSERT_TRUE(sandbox_->writeFile(sandbox_->documentRoot(name) + "/index.html", welcome(name) + "\n"));
    }

    // After an edit: Apache accepts the configuration and is asked for a graceful restart.
    void reload() {
        std::string message;
        ASSERT_TRUE(sandbox_->configurationAccepted(&message)) << message;
        ASSERT_EQ(website_->CmdApchRestart(sandbox_->pidFile().c_str()), 0);
    }

    // Whether GET `path` with Host `host` gets `status` and a body holding
    // `text` (or, for a redirect, exactly the Location `text`), asking again
    // for a few seconds while a restart takes effect.
    ::testing::AssertionResult answers(const std::string& host, const std::string& path, int status,
                                       const std::string& text, const Login& login = {}) {
        const auto wanted = [&](const Reply& reply) { return reply.matches(status, text); };
        const Reply reply = sandbox_->fetchUntil(wanted, host, path, login);
        if (wanted(reply)) return ::testing::AssertionSuccess();
        return ::testing::AssertionFailure()
               << "GET " << path << " (Host: " << host << (login.user.empty() ? "" : ", user " + login.user)
               << ") got " << reply.summary() << "; wanted " << status << " \"" << text
               << "\"\nerror log:\n" << sandbox_->errorLogTail();
    }

    std::string docroot(const std::string& site) const { return sandbox_->documentRoot(site); }

    CQZTrackManager tracker_;
    std::unique_ptr<ApacheSandbox> sandbox_;
    std::string conf_;
    std::unique_ptr<CQZWebsite> website_;
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
    const std::string folder = docroot(kShop) + "/members";
    ASSERT_EQ(mkdir(folder.c_str(), 0755), 0);
    ASSERT_TRUE(sandbox_->writeFile(folder + "/index.html", "Members only\n"));
    EXPECT_TRUE(answers(kShop, "/members/", 200, "Members only"));

    SDDir dir = {};
    snprintf(dir.DomainName, sizeof dir.DomainName, "%s", kShop.c_str());
    snprintf(dir.DirPath, sizeof dir.DirPath, "%s", folder.c_str());
    // The webadmin's password file goes to <WebAdminPath>/<domain>/, the site root.
    snprintf(dir.WebAdminPath, sizeof dir.WebAdminPath, "%s/home", sandbox_->folder().c_str());
    dir.AnonAccess = '1';
    CQZVirtualDirectory directories(&tracker_, conf_.c_str());
    EXPECT_EQ(directories.CreateVirtualDirectory(&dir, 0, "webadmin", "s3cret pass"), 'S');
    ASSERT_NO_FATAL_FAILURE(reload());

    EXPECT_TRUE(answers(kShop, "/members/", 401, "Unauthorized"));
    EXPECT_TRUE(answers(kShop, "/members/", 200, "Members only", {"webadmin", "s3cret pass"}));
    EXPECT_TRUE(answers(kShop, "/members/", 401, "Unauthorized", {"webadmin", "wrong"}));
    EXPECT_TRUE(answers(kShop, "/", 200, welcome(kShop)));
}

TEST_F(ApacheEndToEnd, PrivateFolderAdmitsItsUsersAndNobodyElse) {
    const std::string folder = docroot(kBooks) + "/private";
    ASSERT_EQ(mkdir(folder.c_str(), 0755), 0);
    ASSERT_TRUE(sandbox_->writeFile(folder + "/index.html", "Private pages\n"));
    const Login alice{"alice", "alice's pw"}, bob{"bob", "bob pw"};
    PrivateFolder folders(&tracker_);

    // The files live in the folder itself: Apache reads them on every request.
    EXPECT_EQ(folders.addPrivateFolder(folder, alice.user, alice.password), 1602);
    EXPECT_TRUE(answers(kBooksAscii, "/private/", 401, "Unauthorized"));
    EXPECT_TRUE(answers(kBooksAscii, "/private/", 200, "Private pages", alice));
    EXPECT_TRUE(answers(kBooksAscii, "/private/", 401, "Unauthorized", {"alice", "bob pw"}));

    EXPECT_EQ(folders.addPrivateFolder(folder, bob.user, bob.password), 1602);
    EXPECT_TRUE(answers(kBooksAscii, "/private/", 200, "Private pages", bob));
    EXPECT_TRUE(answers(kBooksAscii, "/private/", 200, "Private pages", alice));

    EXPECT_EQ(folders.deletePrivateFolder(folder, alice.user), 1603);
    EXPECT_TRUE(answers(kBooksAscii, "/private/", 401, "Unauthorized", alice));
    EXPECT_TRUE(answers(kBooksAscii, "/private/", 200, "Private pages", bob));
    EXPECT_TRUE(answers(kBooksAscii, "/private/", 401, "Unauthorized"));

    // Without users the folder is no longer protected.
    EXPECT_EQ(folders.deletePrivateFolder(folder, bob.user), 1603);
    EXPECT_TRUE(answers(kBooksAscii, "/private/", 200, "Private pages"));
    std::string message;
    EXPECT_TRUE(sandbox_->configurationAccepted(&message)) << message;
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
    EXPECT_TRUE(helper.Apache_RedirectVHFromHttpToHttps(conf_, kShop, "127.0.0.1", sandbox_->portText()));
    ASSERT_NO_FATAL_FAILURE(reload());
    EXPECT_TRUE(answers(kShop, "/cart?id=7", 301, redirected));
    EXPECT_TRUE(answers(kBooksAscii, "/", 200, welcome(kBooks)));

    EXPECT_TRUE(helper.Apache_StopRedirectVHFromHttpToHttps(conf_, kShop));
    ASSERT_NO_FATAL_FAILURE(reload());
    EXPECT_TRUE(answers(kShop, "/", 200, welcome(kShop)));

    EXPECT_TRUE(helper.Apache_StartRedirectVHFromHttpToHttps(conf_, kShop));
    ASSERT_NO_FATAL_FAILURE(reload());
    EXPECT_TRUE(answers(kShop, "/cart?id=7", 301, redirected));

    EXPECT_TRUE(helper.Apache_DeleteRedirectVHFromHttpToHttps(conf_, kShop));
    ASSERT_NO_FATAL_FAILURE(reload());
    EXPECT_TRUE(answers(kShop, "/", 200, welcome(kShop)));
}

TEST_F(ApacheEndToEnd, PerlScriptRunsOnlyWhilePerlIsEnabled) {
    const std::string script = docroot(kShop) + "/hello.pl";
    ASSERT_TRUE(sandbox_->writeFile(script,
                                    "#!/usr/bin/perl\n"
                                    "print \"Content-Type: text/plain\\n\\n\";\n"
                                    "print \"Perl says \", 6 * 7, \"\\n\";\n",
                                    0755));
    const std::string source = "#!/usr/bin/perl", output = "Perl says 42";
    EXPECT_TRUE(answers(kShop, "/hello.pl", 200, source));

    // Perl CGI is switched in the document root's own section, which a new
    // website does not have: the toolkit adds it, allowing CGI there.
    ApacheHelper helper;
    EXPECT_EQ(helper.Apache_addDirectoryTag(conf_, kShop, docroot(kShop), {"Options +ExecCGI"}), 0);
    EXPECT_EQ(website_->EnablePerl(kShop), 0);
    ASSERT_NO_FATAL_FAILURE(reload());
    EXPECT_TRUE(answers(kShop, "/hello.pl", 200, output));

    EXPECT_EQ(website_->DisablePerl(kShop), 0);
    ASSERT_NO_FATAL_FAILURE(reload());
    EXPECT_TRUE(answers(kShop, "/hello.pl", 200, source));
}

TEST_F(ApacheEndToEnd, DeletedWebsiteFallsBackToTheDefaultSite) {
    EXPECT_EQ(website_->DeleteWebsite(kBooks.c_str(), 0), 24);
    EXPECT_EQ(website_->WebsiteExists(kBooks.c_str()), 32);
    ASSERT_NO_FATAL_FAILURE(reload());
    EXPECT_TRUE(answers(kBooksAscii, "/", 200, kDefaultPage));
    EXPECT_TRUE(answers("www." + kBooksAscii, "/", 200, kDefaultPage));
    EXPECT_TRUE(answers(kShop, "/", 200, welcome(kShop)));
}
