// Concurrent callers and faults: processes and threads editing one
// configuration at once, a scratch file that cannot be written whole, and
// rewrites killed at random moments.
#include "QZTestFixture.h"
#include "RobustnessTable.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <random>
#include <sstream>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>

namespace {

// `count` blocks site0.test, site1.test, ... after a Listen line.
std::string sites(int count) {
    std::string text = "Listen 80\n";
    for (int i = 0; i < count; ++i) {
        const std::string name = "site" + std::to_string(i) + ".test";
        text += "\n<VirtualHost 10.0.0.1:80>\n\tServerName " + name + "\n\tServerAlias www." + name +
                "\n\tDocumentRoot /home/" + name + "/www/html\n\tServerAdmin admin@" + name + "\n</VirtualHost>\n";
    }
    return text;
}

// The items from `first` on sorted, each followed by `after`.
std::string sortedFrom(std::vector<std::string> items, size_t first, const std::string& after) {
    std::sort(items.begin() + static_cast<long>(first), items.end());
    std::string joined;
    for (const std::string& item : items) joined += item + after;
    return joined;
}

// The configuration's blocks in order of name, empty lines dropped (or,
// with `blocks` false, its lines in order): what must hold whatever order
// the callers came in.
std::string sorted(const std::string& text, bool blocks = true) {
    std::vector<std::string> parts(1);
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        if (!blocks) parts.push_back(line);
        else if (line.rfind("<VirtualHost", 0) == 0 || line.rfind("#<VirtualHost", 0) == 0) parts.push_back(line + "\n");
        else if (!line.empty()) parts.back() += line + "\n";
    }
    return blocks ? sortedFrom(parts, 1, "--\n") : sortedFrom({parts.begin() + 1, parts.end()}, 0, "\n");
}

// The names in a folder, in order.
std::string namesIn(const std::string& folder) {
    std::vector<std::string> names;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error)) names.push_back(entry.path().filename());
    return sortedFrom(names, 0, " ");
}

// Runs `call` in a child process, with a file-size limit when `sizeLimit`
// is not negative: its result.
std::string childResult(const std::function<int()>& call, long long sizeLimit = -1) {
    return inChild([&] { return std::to_string(call()); }, -1, sizeLimit);
}

}  // namespace

class FaultsTest : public HttpdConfTest {
protected:
    void SetUp() override {
        HttpdConfTest::SetUp();
        IsPortEnabled = false;
        for (const char* name : {"chown", "chmod"}) fakeCommand(name, "true");
        makeDir("/opt/qz/etc/webusers");
        makeDir("/etc");
        for (const char* name : {"apachectl", "httpd", "apache2"})
            fakeCommand(name, "echo 'Server version: Apache/2.4.57 (Unix)'");
        makeDir("/tmp");
        setenv("TMPDIR", path("/tmp").c_str(), 1);  // CQZUsers' scratch files
    }

    // One caller's mix of editing operations of every family on its own site
    // "w<n>.test", whose folder goes under <root><sites>: the results, in order.
    std::string worker(int n, const std::string& sites) {
        const std::string domain = "w" + std::to_string(n) + ".test";
        makeDir(sites + domain);
        writeFile("/opt/qz/etc/webusers/passwd." + domain, "");
        VHostEntry v = websiteRecord("10.0.0.1", domain, domain, path(sites), '0', "admin", "nobody", "80");
        CQZWebsite website(nullptr, conf_.c_str());
        ApacheHelper helper;
        FileHandling params;
        CQZUsers users(nullptr, "/opt/qz", domain.c_str(), nullptr);
        SDDir dir = {};
        snprintf(dir.DomainName, sizeof dir.DomainName, "%s", domain.c_str());
        snprintf(dir.DirPath, sizeof dir.DirPath, "docs");
        snprintf(dir.WebAdminPath, sizeof dir.WebAdminPath, "%s", path(sites).c_str());
        const std::string keys = path("/etc/params");
        const std::string key = "key" + std::to_string(n);
        std::vector<int> results = {
            website.CreateWebsite(&v),
            website.StopWebsite(domain.c_str()),
            website.StartWebsite(domain.c_str()),
            website.AddHostHeader(domain, "alias." + domain),
            helper.Apache_AddDirectiveInVH(conf_, domain, "ServerSignature", "Off", false),
            helper.Apache_UpdateDirectiveInVH(conf_, domain, "ServerSignature", "On", false),
            CQZVirtualDirectory(nullptr, conf_.c_str(), "/opt/qz").CreateVirtualDirectory(&dir, 0, "", ""),
            users.UserCreate("ann", "one"),
            users.ChangePasswd("ann", "two"),
            params.addParamInFile(keys, key + "=a"),
            params.editParamValueInFile(keys, key, "a", "b", '=', '#'),
        };
        if (n % 3 == 0) results.push_back(website.DeleteWebsite(domain.c_str(), 0));
        std::string text;
        for (int result : results) text += std::to_string(result) + " ";
        return text;
    }

    // The files the workers change, in a form that does not depend on their order.
    std::string outcome(int workers) {
        std::string text = sorted(readConf()) + sorted(readFile("/etc/params"), false);
        for (int n = 0; n < workers; ++n) text += readFile("/opt/qz/etc/webusers/passwd.w" + std::to_string(n) + ".test");
        return text;
    }
};

// 4 processes of 2 threads, each thread the caller of one site: every change
// kept, as when the same 8 callers run one after another.
TEST_F(FaultsTest, ConcurrentCallersLoseNothing) {
    constexpr int kProcesses = 4, kThreads = 2, kWorkers = kProcesses * kThreads;
    writeConf("Listen 80\n");
    std::vector<std::string> expected;
    for (int n = 0; n < kWorkers; ++n) expected.push_back(worker(n, "/one-by-one/"));
    EXPECT_EQ(expected[0], "94 30 29 0 0 0 83 77 76 1 1 24 ");
    EXPECT_EQ(expected[1], "94 30 29 0 0 0 83 77 76 1 1 ");
    const std::string sequential = outcome(kWorkers);

    writeConf("Listen 80\n");
    ASSERT_EQ(std::remove(path("/etc/params").c_str()), 0);
    std::vector<pid_t> children;
    for (int p = 0; p < kProcesses; ++p) {
        std::fflush(nullptr);
        const pid_t pid = fork();
        ASSERT_GE(pid, 0);
        if (pid > 0) {
            children.push_back(pid);
            continue;
        }
        if (freopen("/dev/null", "w", stdout) == nullptr) _exit(255);
        int wrong = 0;
        std::vector<std::thread> threads;
        std::vector<std::string> got(kThreads);
        for (int t = 0; t < kThreads; ++t)
            threads.emplace_back([&, t]() { got[t] = worker(p * kThreads + t, "/at-once/"); });
        for (std::thread& thread : threads) thread.join();
        for (int t = 0; t < kThreads; ++t) wrong += got[t] != expected[p * kThreads + t];
        _exit(wrong);
    }
    for (pid_t pid : children) {
        int status = 0;
        ASSERT_EQ(waitpid(pid, &status, 0), pid);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "callers with other results: " << status;
    }
    std::string concurrent = outcome(kWorkers);
    for (size_t at; (at = concurrent.find("/at-once/")) != std::string::npos;) concurrent.replace(at, 9, "/one-by-one/");
    EXPECT_EQ(concurrent, sequential);
}

// A file that cannot grow past a limit, as on a full disk, for a limit at
// each point of the write (nothing written, a first byte, each side of the
// output buffer's 64 KiB, the last byte; those below the new file's size):
// one row per operation of every family, each on a file of its own. The
// operation answers as for a scratch file that cannot be opened, the file
// is byte-identical, and no scratch file stays behind.
TEST_F(FaultsTest, WriteFailureLeavesTheFileWhole) {
    // The server root of the redirect files.
    fakeCommand("apachectl", "echo 'Server version: Apache/2.4.57 (Unix)'; echo ' -D HTTPD_ROOT=\"" +
                                 path("/etc/httpd") + "\"'");
    makeDir("/etc/httpd/qz");
    makeDir("/vhome/site5.test");
    // About 190 KB: a CustomLog line for EnablePhp, a <Directory> section
    // for DeleteVirtualDirectory, the redirect files included.
    std::string original = "Include qz/*.conf\n" + sites(1200);
    const auto insertAfter = [&](const std::string& line, const std::string& text) {
        original.insert(original.find(line) + line.size(), text);
    };
    insertAfter("\tServerAdmin admin@site600.test\n", "\tCustomLog logs/site600 combined\n");
    insertAfter("\tServerAdmin admin@site8.test\n", "\t<Directory \"/srv/old\">\n\t\tOptions None\n\t</Directory>\n");
    std::string keyLines, userLines;
    for (int i = 0; i < 8000; ++i) keyLines += "key" + std::to_string(i) + "=v\n", userLines += "user" + std::to_string(i) + ":pw\n";
    const std::string oldRedirect = "<VirtualHost 10.0.0.9:8080>\n\tServerName site4.test\n</VirtualHost>\n";
    const std::string keys = path("/conf/keys"), users = path("/opt/qz/etc/webusers/passwd.site5.test"), redirect = path("/etc/httpd/qz/site4.test.conf");
    const auto webUsers = [] { return CQZUsers(nullptr, "/opt/qz", "site5.test", nullptr); };
    const auto web = [&] { return CQZWebsite(nullptr, conf_.c_str()); };
    const auto vdirs = [&] { return CQZVirtualDirectory(nullptr, conf_.c_str(), "/opt/qz"); };
    ApacheHelper kit;
    FileHandling params;
    SDDir dir = {};
    snprintf(dir.DomainName, sizeof dir.DomainName, "site5.test");
    snprintf(dir.DirPath, sizeof dir.DirPath, "docs");
    snprintf(dir.WebAdminPath, sizeof dir.WebAdminPath, "%s", path("/vhome/").c_str());
    struct Case {
        const char* name;
        std::string file;
        const std::string& before;
        int success, failure;
        std::function<int()> call;
    };
    const std::vector<Case> cases = {
        {"DeleteWebsite", conf_, original, 24, 23, [&] { return int(web().DeleteWebsite("site7.test", 0)); }},
        {"StopWebsite", conf_, original, 30, 23, [&] { return int(web().StopWebsite("site900.test")); }},
        {"CreateWebsite", conf_, original, 94, 23, [&] {
             const std::string sites = "/home/" + std::to_string(getpid()) + "/";  // new folders each run
             makeDir(sites + "new.test");
             VHostEntry v = websiteRecord("10.0.0.2", "new.test", "new.test", path(sites), '0');
             return int(web().CreateWebsite(&v));
         }},
        {"AddHostHeader", conf_, original, 0, 1, [&] { return int(web().AddHostHeader("site9.test", "alias.site9.test")); }},
        {"EnablePhp", conf_, original, 96, 23, [&] { return web().EnablePhp("site600.test", "mod_php7"); }},
        {"CreateVirtualDirectory", conf_, original, 'S', 23, [&] { return int(vdirs().CreateVirtualDirectory(&dir, 0, "", "")); }},
        {"DeleteVirtualDirectory", conf_, original, 'U', 23, [&] { return int(vdirs().DeleteVirtualDirectory("/srv/old")); }},
        {"Apache_UpdateDirectiveInVH", conf_, original, 0, 2, [&] { return kit.Apache_UpdateDirectiveInVH(conf_, "site3.test", "ServerAdmin", "root@x", false); }},
        {"Apache_writeDirective", conf_, original, 0, 2, [&] { return kit.Apache_writeDirective(conf_, "Timeout 30", "Listen", false, -1); }},
        {"Apache_RedirectVHFromHttpToHttps", redirect, oldRedirect, 1, 0, [&] { return int(kit.Apache_RedirectVHFromHttpToHttps(conf_, "site4.test", "10.0.0.1", "80")); }},
        {"delParamFromFile", keys, keyLines, 1, 0, [&] { return params.delParamFromFile(keys, "key5", "v", '=', '#'); }},
        {"editParamValueInFile", keys, keyLines, 1, 0, [&] { return params.editParamValueInFile(keys, "key5", "v", "w", '=', '#'); }},
        {"addParamInFile", keys, keyLines, 1, 0, [&] { return params.addParamInFile(keys, "key=" + std::string(70000, 'x')); }},
        {"UserCreate", users, userLines, 'M', 'N', [&] { return int(webUsers().UserCreate("ann", std::string(70000, 'x').c_str())); }},
        {"UserDelete", users, userLines, 'O', 23, [&] { return int(webUsers().UserDelete("user5")); }},
    };
    writeConf(original);
    int injected = 0;
    for (const Case& c : cases) {
        const std::string rel = c.file.substr(root_.size());
        // Where the file and the scratch files lie: the file's folder, /etc
        // (the fixed scratch names) and TMPDIR.
        const auto names = [&] { return namesIn(path(rel.substr(0, rel.rfind('/')))) + namesIn(path("/etc")) + namesIn(path("/tmp")); };
        writeFile(rel, c.before);
        ASSERT_EQ(childResult(c.call), std::to_string(c.success)) << c.name;  // unlimited, it succeeds
        const long long written = static_cast<long long>(readFile(rel).size());
        const std::string left = names();  // with the backups a run leaves
        for (const long long limit : {0LL, 1LL, 65535LL, 65536LL, 65537LL, written - 1}) {
            if (limit >= written) continue;
            writeFile(rel, c.before);
            ++injected;
            EXPECT_EQ(childResult(c.call, limit), std::to_string(c.failure)) << c.name << " limit " << limit;
            EXPECT_TRUE(readFile(rel) == c.before) << c.name << " limit " << limit;
            EXPECT_EQ(names(), left) << c.name << " limit " << limit;
        }
        writeConf(original);
    }
    RecordProperty("injected_failures", injected);
}

// Rewrites killed with SIGKILL at random moments, 200 times (from the start
// to a little after the end of a run): the
// configuration is always the old file or the new one, whole, and the lock
// of a killed caller never holds up the next.
TEST_F(FaultsTest, KilledRewritesLeaveTheOldOrTheNewFile) {
    const auto update = [&](const std::string& value) {
        return ApacheHelper().Apache_UpdateDirectiveInVH(conf_, "site5.test", "ServerAdmin", value, false);
    };
    // The two whole files: the rewrite also drops the empty lines.
    writeConf(sites(100));
    const auto started = std::chrono::steady_clock::now();
    ASSERT_EQ(childResult([&] { return update("root@site5.test"); }), "0");
    const std::string changed = readConf();
    ASSERT_EQ(childResult([&] { return update("admin@site5.test"); }), "0");
    const std::string original = readConf();
    // Kills spread over a little more than a whole run, however loaded the machine.
    const auto run = std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - started);
    std::mt19937 random(18);
    std::uniform_int_distribution<long> pause(0, run.count() * 3 / 5);
    int killedMidway = 0;
    for (int i = 0; i < 200; ++i) {
        const std::string value = i % 2 ? "admin@site5.test" : "root@site5.test";
        std::fflush(nullptr);
        const pid_t pid = fork();
        ASSERT_GE(pid, 0);
        if (pid == 0) {
            setpgid(0, 0);  // mv and the shell that runs it die with the caller
            if (freopen("/dev/null", "w", stdout) == nullptr) _exit(255);
            _exit(update(value));
        }
        setpgid(pid, pid);
        usleep(static_cast<useconds_t>(pause(random)));
        kill(-pid, SIGKILL);
        int status = 0;
        ASSERT_EQ(waitpid(pid, &status, 0), pid);
        killedMidway += WIFSIGNALED(status);
        const std::string now = readConf();
        ASSERT_TRUE(now == original || now == changed) << "after " << i << " runs: " << now.size() << " bytes";
    }
    RecordProperty("killed_before_the_end", killedMidway);
    EXPECT_GT(killedMidway, 30);
}

// When the lock file cannot be opened (a link stands at its name), one line
// says so and the operation runs unlocked, as it always did.
TEST_F(FaultsTest, UnopenableLockFileIsReportedForeignOneReplaced) {
    makeDir("/run");
    writeFile("/run/lock", "not a folder");
    writeConf(sites(2));
    EXPECT_PRINTS(CQZWebsite(nullptr, conf_.c_str()).DeleteWebsite("site0.test", 0), 24,
                  "Cannot open the lock file " + path("/run/lock/qzapache.lock") + ": Not a directory\n");
    EXPECT_EQ(readConf(), "Listen 80\n" + sites(2).substr(sites(1).size() + 1));
    ASSERT_EQ(unlink(path("/run/lock").c_str()), 0);
    makeDir("/run/lock");

    // Another user's lock file, locked by its owner for ever, is replaced by
    // root's own (without it, the call would wait until the alarm ends the test).
    if (geteuid() != 0) return;
    const int planted = open(path("/run/lock/qzapache.lock").c_str(), O_RDWR | O_CREAT, 0666);
    ASSERT_TRUE(planted >= 0 && fchown(planted, 65534, 65534) == 0 && flock(planted, LOCK_EX) == 0);
    alarm(20);
    EXPECT_EQ(CQZWebsite(nullptr, conf_.c_str()).DeleteWebsite("site1.test", 0), 24);
    alarm(0);
    struct stat st;
    ASSERT_EQ(stat(path("/run/lock/qzapache.lock").c_str(), &st), 0);
    EXPECT_EQ(st.st_uid, 0u);
    close(planted);
}
