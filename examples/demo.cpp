// Demonstration: the library configures a real Apache.
//
// A sandboxed server (ApacheSandbox: the system's Apache with its own
// configuration, on 127.0.0.1 and a free port, every file in one scratch
// folder) is set up, started, and then changed through the library's
// operations only: websites created, stopped, started and deleted, a
// password-protected virtual directory, a private folder and its users, a
// host header, an HTTPS redirect and Perl CGI. After each change Apache
// checks the configuration ("apachectl -t") and restarts gracefully
// (CmdApchRestart), and curl shows what the server now answers.
//
//   qzapache-demo [FOLDER]   FOLDER: an existing, empty scratch folder, left in
//                            place (default: a new one under /tmp, removed at the end)
//
// The library's own messages go to library.log in the scratch folder. The
// exit status is 1 when a result code or an answer was not the one expected.
#include "ApacheSandbox.h"
#include "PhpFpmSandbox.h"
#include "libqzapache.h"

#include <cctype>
#include <fcntl.h>
#include <iostream>
#include <memory>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

using namespace sandbox;

namespace {

// Sends standard output and error (the library's messages and those of the
// commands it runs) to a log file while it lives.
class Quiet {
public:
    explicit Quiet(const std::string& log) {
        std::cout.flush();
        fflush(stdout);
        out_ = dup(1);
        err_ = dup(2);
        const int fd = open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
        if (fd >= 0) {
            dup2(fd, 1);
            dup2(fd, 2);
            close(fd);
        }
    }
    ~Quiet() {
        std::cout.flush();
        fflush(stdout);
        dup2(out_, 1);
        dup2(err_, 2);
        close(out_);
        close(err_);
    }

private:
    int out_, err_;
};

// Characters on screen, not bytes: "bücher" is six wide.
size_t width(const std::string& text) {
    size_t n = 0;
    for (unsigned char c : text) n += (c & 0xC0) != 0x80;
    return n;
}

class Demo {
public:
    explicit Demo(ApacheSandbox& box) : box_(box), conf_(box.configuration()), log_(box.folder() + "/library.log") {}

    int run();

private:
    void line(const std::string& left, const std::string& right) {
        std::cout << "   " << left << std::string(width(left) < 56 ? 56 - width(left) : 1, ' ') << "-> " << right
                  << "\n";
    }
    // One operation of the library: what it was, its result code and what
    // that means; flags a code that is not the expected one.
    template <typename Call, typename Code>
    void op(const std::string& what, Call call, Code expected, const std::string& meaning) {
        decltype(call()) code{};
        {
            Quiet quiet(log_);
            code = call();
        }
        line(what, show(code) + "  (" + meaning + ")");
        if (code != static_cast<decltype(code)>(expected)) {
            std::cout << "      UNEXPECTED: wanted " << show(static_cast<decltype(code)>(expected)) << "\n";
            ++failures_;
        }
    }
    // A step of the demonstration's own (a folder, a page) that must work.
    void need(bool done, const std::string& what) {
        if (done) return;
        std::cout << "      FAILED: " << what << "\n";
        ++failures_;
    }
    static std::string show(char code) {
        return isalpha(static_cast<unsigned char>(code)) ? std::string("'") + code + "'" : std::to_string(+code);
    }
    static std::string show(int code) { return std::to_string(code); }
    static std::string show(bool value) { return value ? "true" : "false"; }

    // "apachectl -t", then the graceful restart (only while the server runs).
    void reload() {
        std::string report;
        bool done;
        {
            Quiet quiet(log_);
            done = box_.checkAndRestart(*website_, &report);
        }
        line("apachectl -t; CmdApchRestart(pid file)", report);
        if (!done) ++failures_;
    }

    // What curl gets, waiting a moment for a restart to take effect; flags an
    // answer that is not the expected one.
    void get(const std::string& host, const std::string& path, int status, const std::string& text,
             const Login& login = {}) {
        const auto wanted = [&](const Reply& reply) { return reply.matches(status, text); };
        const Reply reply = box_.fetchUntil(wanted, host, path, login);
        std::string who = login.user.empty() ? "" : "  as " + login.user + ":" + login.password;
        line("curl " + host + path + who, reply.summary());
        if (!wanted(reply)) {
            std::cout << "      UNEXPECTED: wanted " << status << " with \"" << text << "\"\n";
            ++failures_;
        }
    }

    void title(const std::string& text) { std::cout << "\n" << text << "\n"; }
    void createSite(const std::string& name, const std::string& ascii);

    ApacheSandbox& box_;
    const std::string conf_;
    const std::string log_;
    CQZTrackManager tracker_;
    std::unique_ptr<CQZWebsite> website_;
    int failures_ = 0;
};

void Demo::createSite(const std::string& name, const std::string& ascii) {
    op("CreateWebsite " + name + (name == ascii ? "" : " (" + ascii + ")"),
       [&] { return box_.createWebsite(*website_, name, ascii); }, 94, "94 = created");
}

int Demo::run() {
    {
        Quiet quiet(log_);
        website_ = std::make_unique<CQZWebsite>(&tracker_, conf_.c_str());
    }
    const std::string shopRoot = box_.documentRoot(kShop), booksRoot = box_.documentRoot(kBooks);
    const std::string welcomeShop = welcome(kShop), welcomeBooks = welcome(kBooks);

    title("1. Two new websites, one with an internationalised name; Apache is started");
    createSite(kShop, kShop);
    createSite(kBooks, kBooksAscii);
    std::string message;
    const bool accepted = box_.configurationAccepted(&message);
    line("apachectl -t", accepted ? "Syntax OK" : "REJECTED: " + message);
    // Apache 2.4 accepts the NameVirtualHost line new websites bring, with a warning.
    std::istringstream said(accepted ? message : "");
    for (std::string text; std::getline(said, text);)
        if (text != "Syntax OK") std::cout << "      Apache notes: " << text << "\n";
    if (!accepted || !box_.start(&message)) {
        std::cout << "   the server did not start:\n" << message;
        return 1;
    }
    line("apachectl -k start", "running, PID " + std::to_string(box_.runningPid()));
    get(kShop, "/", 200, welcomeShop);
    get("www." + kShop, "/", 200, welcomeShop);
    get(kBooksAscii, "/", 200, welcomeBooks);
    get("www." + kBooksAscii, "/", 200, welcomeBooks);

    title("2. A website stopped (its block commented out), then started again");
    op("StopWebsite " + kShop, [&] { return website_->StopWebsite(kShop.c_str()); }, 30, "30 = stopped");
    reload();
    get(kShop, "/", 200, kDefaultPage);
    op("StartWebsite " + kShop, [&] { return website_->StartWebsite(kShop.c_str()); }, 29, "29 = started");
    reload();
    get(kShop, "/", 200, welcomeShop);

    title("3. A virtual directory without anonymous access, for the webadmin");
    SDDir dir = box_.virtualDirectory(kShop, "members");
    need(box_.addFolder(dir.DirPath, "Members only"), "the folder members/ with its index page");
    CQZVirtualDirectory directories(&tracker_, conf_.c_str());
    op("CreateVirtualDirectory " + kShop + "/members",
       [&] { return directories.CreateVirtualDirectory(&dir, 0, "webadmin", "s3cret"); }, 'S', "'S' = created");
    reload();
    get(kShop, "/members/", 401, "Unauthorized");
    get(kShop, "/members/", 200, "Members only", {"webadmin", "s3cret"});
    get(kShop, "/members/", 401, "Unauthorized", {"webadmin", "guess"});

    title("4. A private folder (.htaccess and .htpasswd): two users, then one deleted");
    // Apache reads these files on every request, and "apachectl -t" does not
    // read .htaccess files: the answers are the proof of each edit.
    const std::string privateFolder = booksRoot + "/private";
    need(box_.addFolder(privateFolder, "Private pages"), "the folder private/ with its index page");
    PrivateFolder folders(&tracker_);
    op("addPrivateFolder .../private alice",
       [&] { return folders.addPrivateFolder(privateFolder, "alice", "alice-pw"); }, 1602, "1602 = added");
    get(kBooksAscii, "/private/", 401, "Unauthorized");
    get(kBooksAscii, "/private/", 200, "Private pages", {"alice", "alice-pw"});
    get(kBooksAscii, "/private/", 401, "Unauthorized", {"alice", "guess"});
    get(kBooksAscii, "/private/", 401, "Unauthorized", {"bob", "bob-pw"});
    op("addPrivateFolder .../private bob", [&] { return folders.addPrivateFolder(privateFolder, "bob", "bob-pw"); },
       1602, "1602 = added");
    get(kBooksAscii, "/private/", 200, "Private pages", {"bob", "bob-pw"});
    get(kBooksAscii, "/private/", 401, "Unauthorized", {"carol", "carol-pw"});
    op("deletePrivateFolder .../private alice", [&] { return folders.deletePrivateFolder(privateFolder, "alice"); },
       1603, "1603 = deleted");
    get(kBooksAscii, "/private/", 401, "Unauthorized", {"alice", "alice-pw"});
    get(kBooksAscii, "/private/", 200, "Private pages", {"bob", "bob-pw"});

    title("5. A host header added, then deleted");
    op("AddHostHeader " + kShop + " store.example", [&] { return website_->AddHostHeader(kShop, "store.example"); },
       0, "0 = added");
    reload();
    get("store.example", "/", 200, welcomeShop);
    op("DeleteHostHeader " + kShop + " store.example",
       [&] { return website_->DeleteHostHeader(kShop, "store.example"); }, 0, "0 = deleted");
    reload();
    get("store.example", "/", 200, kDefaultPage);

    title("6. An HTTPS redirect file: created, stopped, started, deleted");
    ApacheHelper helper;
    const std::string port = box_.portText(), https = "https://" + kShop + "/cart?id=7";
    op("Apache_RedirectVHFromHttpToHttps " + kShop,
       [&] { return helper.Apache_RedirectVHFromHttpToHttps(conf_, kShop, "127.0.0.1", port); }, true, "written");
    reload();
    get(kShop, "/cart?id=7", 301, https);
    op("Apache_StopRedirectVHFromHttpToHttps", [&] { return helper.Apache_StopRedirectVHFromHttpToHttps(conf_, kShop); },
       true, ".conf renamed .conf.stop");
    reload();
    get(kShop, "/", 200, welcomeShop);
    op("Apache_StartRedirectVHFromHttpToHttps",
       [&] { return helper.Apache_StartRedirectVHFromHttpToHttps(conf_, kShop); }, true, ".conf.stop renamed .conf");
    reload();
    get(kShop, "/cart?id=7", 301, https);
    op("Apache_DeleteRedirectVHFromHttpToHttps",
       [&] { return helper.Apache_DeleteRedirectVHFromHttpToHttps(conf_, kShop); }, true, "file deleted");
    reload();
    get(kShop, "/", 200, welcomeShop);

    title("7. Perl CGI enabled for a site, then disabled");
    need(box_.writePerlScript(kShop), "the script " + kPerlScript);
    op("Apache_addDirectoryTag <docroot> Options +ExecCGI",
       [&] { return helper.Apache_addDirectoryTag(conf_, kShop, shopRoot, {"Options +ExecCGI"}); }, 0,
       "0 = section added");
    reload();
    get(kShop, kPerlScript, 200, kPerlSource);
    op("EnablePerl " + kShop, [&] { return website_->EnablePerl(kShop); }, 0, "0 = AddHandler cgi-script added");
    reload();
    get(kShop, kPerlScript, 200, kPerlOutput);
    op("DisablePerl " + kShop, [&] { return website_->DisablePerl(kShop); }, 0, "0 = AddHandler removed");
    reload();
    get(kShop, kPerlScript, 200, kPerlSource);

    title("8. A website deleted: its names fall back to the default site");
    op("DeleteWebsite " + kBooks, [&] { return website_->DeleteWebsite(kBooks.c_str(), 0); }, 24, "24 = deleted");
    reload();
    get(kBooksAscii, "/", 200, kDefaultPage);
    get(kShop, "/", 200, welcomeShop);

    title("9. PHP-FPM: the shop's PHP in a pool of its own, run as the site's own user");
    const std::string missing = PhpFpmSandbox::missingTools();
    if (!missing.empty()) {
        line("skipped", "needs" + missing);
        return failures_;
    }
    PhpFpmSandbox fpm(box_);
    const std::string user = fpm.siteUser(kShop);
    need(fpm.ready() && !user.empty(), "php-fpm's main file and the site user " + user);
    need(box_.writeFile(shopRoot + "/who.php", "<?php echo 'PHP runs as ', posix_getpwuid(posix_geteuid())['name'], "
                                               "', open_basedir ', ini_get('open_basedir');\n"),
         "the page who.php");
    op("EnablePhpFpm " + kShop + " 8.2", [&] { return website_->EnablePhpFpm(kShop, "8.2"); }, 96,
       "96 = pool written and checked, proxy_fcgi loaded");
    need(fpm.start() && waitFor([&] { return access(fpm.socket(kShop).c_str(), F_OK) == 0; }),
         "php-fpm started on the sandbox's sockets");
    line("php-fpm8.2 -y <sandbox>/etc/php/8.2/fpm/php-fpm.conf", "running, PID " + std::to_string(fpm.masterPid()));
    reload();
    get(kShop, "/who.php", 200, "PHP runs as " + user);
    op("ISPhpEnabled " + kShop, [&] { return website_->ISPhpEnabled(kShop); }, 4, "4 = PHP-FPM");
    op("DisablePhpFpm " + kShop, [&] { return website_->DisablePhpFpm(kShop); }, 96, "96 = section and pool removed");
    op("CmdPhpFpmReload 8.2", [&] { return website_->CmdPhpFpmReload("8.2"); }, 0, "0 = SIGUSR2 sent");
    reload();
    return failures_;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string missing = ApacheSandbox::missingTools();
    if (!missing.empty()) {
        std::cerr << "qzapache-demo needs Debian's apache2, apache2-utils and curl; missing: " << missing
                  << "\n(./scripts/demo.sh installs them)\n";
        return 2;
    }
    int failures = 0;
    {
        ApacheSandbox box(argc > 1 ? argv[1] : "");
        if (!box.ready()) {
            std::cerr << "qzapache-demo: " << box.problem() << "\n";
            return 2;
        }
        std::cout << "libqzapache drives a real Apache on 127.0.0.1:" << box.port() << ".\n"
                  << "Scratch folder (the library's system root): " << box.folder() << "\n"
                  << "Configuration: " << box.configuration() << "; the library's messages: "
                  << box.folder() << "/library.log\n";
        failures = Demo(box).run();
        box.stop();
        std::cout << "\nServer stopped" << (box.runningPid() == 0 ? "; nothing is left running.\n" : " - NOT.\n");
    }
    if (failures != 0) std::cout << failures << " answer(s) were not the expected ones.\n";
    return failures == 0 ? 0 : 1;
}
