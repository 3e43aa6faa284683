// qzbench: times one representative operation of every family on
// configurations of N websites, each next to its floor in the same run:
// reading the file once (queries) or copying it to a scratch file and running
// the same shell "mv" (rewrites). The operations work on a site near the end
// of the file, in a scratch system root whose fake apachectl answers the
// version question; cp and mv are the real ones, since they are part of the
// floor.
//
//   qzbench --files DIR --sizes 100,1000 [--mem_out FILE] [benchmark flags]
//     DIR holds sites-N.conf for every size (see qzbench-generate).
//   qzbench --mem OP FILE SITES
//     runs OP once on a copy of FILE in a fresh process and prints, on
//     standard error, "QZMEM <peak before> <peak after>" (VmHWM, kB).
#include "SiteModel.h"

#include "ApacheHelper.h"
#include "CQZTrackManager.h"
#include "CQZVirtualDirectory.h"
#include "CQZWebsite.h"
#include "QZSystemRoot.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <functional>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

// ---- Files ----------------------------------------------------------------------

// Reads `path` to its end through a 64 KiB buffer; the bytes seen.
size_t readOnce(const std::string& path) {
    static char buffer[1 << 16];
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) throw std::runtime_error("cannot open " + path);
    size_t total = 0;
    for (ssize_t got; (got = ::read(fd, buffer, sizeof buffer)) > 0;) total += static_cast<size_t>(got);
    ::close(fd);
    return total;
}

// Copies `from` over `to` through a 64 KiB buffer.
void copyFile(const std::string& from, const std::string& to) {
    static char buffer[1 << 16];
    const int in = ::open(from.c_str(), O_RDONLY | O_CLOEXEC);
    const int out = ::open(to.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (in < 0 || out < 0) throw std::runtime_error("cannot copy " + from + " to " + to);
    for (ssize_t got; (got = ::read(in, buffer, sizeof buffer)) > 0;)
        if (::write(out, buffer, static_cast<size_t>(got)) != got) throw std::runtime_error("short write " + to);
    ::close(in);
    ::close(out);
}

bool sameContents(const std::string& a, const std::string& b) {
    std::ifstream fa(a, std::ios::binary), fb(b, std::ios::binary);
    std::stringstream sa, sb;
    sa << fa.rdbuf();
    sb << fb.rdbuf();
    return sa.str() == sb.str();
}

long peakKb() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.rfind("VmHWM:", 0) == 0) return std::atol(line.c_str() + 6);
    return -1;
}

// ---- The scratch system root ------------------------------------------------------

struct ScratchRoot {
    ScratchRoot() {
        std::string tmpl = (getenv("TMPDIR") ? std::string(getenv("TMPDIR")) : std::string("/tmp")) + "/qzbench-root.XXXXXX";
        std::vector<char> dir(tmpl.begin(), tmpl.end());
        dir.push_back(0);
        if (mkdtemp(dir.data()) == nullptr) throw std::runtime_error("mkdtemp " + tmpl);
        root = dir.data();
        for (const char* sub : {"/conf", "/bin", "/etc", "/home"}) mkdir((root + sub).c_str(), 0755);
        std::ofstream(root + "/etc/passwd") << "root:x:0:0:root:/root:/bin/sh\n";
        const std::string apachectl = root + "/bin/apachectl";
        std::ofstream(apachectl) << "#!/bin/sh\necho 'Server version: Apache/2.4.57 (Unix)'\n";
        chmod(apachectl.c_str(), 0755);
        setenv("PATH", (root + "/bin:" + std::string(getenv("PATH") ? getenv("PATH") : "/usr/bin:/bin")).c_str(), 1);
        qz::setSystemRoot(root);
        conf = root + "/conf/httpd.conf";
    }
    ~ScratchRoot() {
        const std::string command = "rm -rf '" + root + "'";
        if (std::system(command.c_str()) != 0) std::cerr << "could not remove " << root << "\n";
    }
    std::string root, conf;
};

// ---- The operations ---------------------------------------------------------------

enum class Kind { Query, Rewrite };

struct Operation {
    const char* name;
    Kind kind;
    int expected;  // the result of the operation on its working path
    std::function<int(const std::string& conf, const bench::Site& site)> run;
};

SDDir virtualDirectory(const bench::Site& site, const std::string& root, const std::string& path) {
    SDDir dir{};
    snprintf(dir.DomainName, sizeof dir.DomainName, "%s", site.domain().c_str());
    snprintf(dir.DirPath, sizeof dir.DirPath, "%s", path.c_str());
    snprintf(dir.WebAdminPath, sizeof dir.WebAdminPath, "%s/home", root.c_str());
    dir.Order = 1;
    dir.Options.Indexes = '+';
    dir.AnonAccess = '0';
    snprintf(dir.Allow, sizeof dir.Allow, "All");
    return dir;
}

const std::vector<Operation>& operations() {
    static const std::vector<Operation> ops = {
        {"WebsiteExists", Kind::Query, 31,
         [](const std::string& conf, const bench::Site& s) {
             CQZTrackManager tracker;
             CQZWebsite website(&tracker, conf.c_str());
             return static_cast<int>(website.WebsiteExists(s.domain().c_str()));
         }},
        {"GetWebsiteInfo", Kind::Query, 27,  // 27: its document root does not exist here
         [](const std::string& conf, const bench::Site& s) {
             CQZTrackManager tracker;
             CQZWebsite website(&tracker, conf.c_str());
             const std::string domain = s.domain();
             UpdateVHost info{};
             info.pDomain = domain.c_str();
             return static_cast<int>(website.GetWebsiteInfo(&info));
         }},
        {"Apache_getDirectiveInVH", Kind::Query, 0,
         [](const std::string& conf, const bench::Site& s) {
             std::string value;
             return ApacheHelper().Apache_getDirectiveInVH(conf, s.domain(), "DocumentRoot", value, true);
         }},
        {"DeleteWebsite", Kind::Rewrite, 24,
         [](const std::string& conf, const bench::Site& s) {
             CQZTrackManager tracker;
             CQZWebsite website(&tracker, conf.c_str());
             return static_cast<int>(website.DeleteWebsite(s.domain().c_str(), 0));
         }},
        {"StopWebsite", Kind::Rewrite, 30,
         [](const std::string& conf, const bench::Site& s) {
             CQZTrackManager tracker;
             CQZWebsite website(&tracker, conf.c_str());
             return static_cast<int>(website.StopWebsite(s.domain().c_str()));
         }},
        {"Apache_UpdateDirectiveInVH", Kind::Rewrite, 0,
         [](const std::string& conf, const bench::Site& s) {
             return ApacheHelper().Apache_UpdateDirectiveInVH(conf, s.domain(), "ServerAlias",
                                                              "www." + s.domain() + " new." + s.domain(), false);
         }},
        {"Apache_AddDirectiveInVH", Kind::Rewrite, 0,
         [](const std::string& conf, const bench::Site& s) {
             return ApacheHelper().Apache_AddDirectiveInVH(conf, s.domain(), "DirectoryIndex", "index.php index.html",
                                                           false);
         }},
        {"CreateVirtualDirectory", Kind::Rewrite, 'S',
         [](const std::string& conf, const bench::Site& s) {
             CQZTrackManager tracker;
             CQZVirtualDirectory directories(&tracker, conf.c_str());
             SDDir dir = virtualDirectory(s, qz::systemRoot(), s.root() + "/www/html/blog");
             return static_cast<int>(directories.CreateVirtualDirectory(&dir, 0, "", ""));
         }},
        {"DeleteVirtualDirectory", Kind::Rewrite, 'U',
         [](const std::string& conf, const bench::Site& s) {
             CQZTrackManager tracker;
             CQZVirtualDirectory directories(&tracker, conf.c_str());
             return static_cast<int>(directories.DeleteVirtualDirectory(bench::virtualDirectoryPath(s).c_str()));
         }},
        {"EnablePhp", Kind::Rewrite, 96,
         [](const std::string& conf, const bench::Site& s) {
             CQZTrackManager tracker;
             CQZWebsite website(&tracker, conf.c_str());
             return website.EnablePhp(s.domain(), "mod_php5");
         }},
    };
    return ops;
}

// The scratch file of CQZVirtualDirectory(tracker, conf) lies under the
// system root's /etc; the others beside the configuration.
const Operation* findOperation(const std::string& name) {
    for (const Operation& op : operations())
        if (name == op.name) return &op;
    return nullptr;
}

// ---- Timing ---------------------------------------------------------------------------

double seconds(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

struct SizeSetup {
    long sites;
    std::string pristine;  // the generated file, never written
};

// Runs the operation once on a fresh copy and checks that it took its
// working path: its expected result, and a changed file for a rewrite.
void checkOperation(const Operation& op, const SizeSetup& size, const ScratchRoot& root) {
    copyFile(size.pristine, root.conf);
    const int result = op.run(root.conf, bench::targetSite(size.sites));
    if (result != op.expected)
        throw std::runtime_error(std::string(op.name) + " returned " + std::to_string(result) + " on " +
                                 std::to_string(size.sites) + " sites");
    if (op.kind == Kind::Rewrite && sameContents(size.pristine, root.conf))
        throw std::runtime_error(std::string(op.name) + " left the file unchanged");
}

void benchOperation(benchmark::State& state, const Operation& op, const SizeSetup& size, const ScratchRoot& root) {
    const bench::Site site = bench::targetSite(size.sites);
    copyFile(size.pristine, root.conf);
    for (auto _ : state) {
        if (op.kind == Kind::Rewrite) copyFile(size.pristine, root.conf);
        const auto start = std::chrono::steady_clock::now();
        const int result = op.run(root.conf, site);
        state.SetIterationTime(seconds(start));
        benchmark::DoNotOptimize(result);
    }
    state.counters["bytes"] = static_cast<double>(readOnce(size.pristine));
}

void benchReadFloor(benchmark::State& state, const SizeSetup& size, const ScratchRoot& root) {
    copyFile(size.pristine, root.conf);
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        benchmark::DoNotOptimize(readOnce(root.conf));
        state.SetIterationTime(seconds(start));
    }
}

void benchCopyMoveFloor(benchmark::State& state, const SizeSetup& size, const ScratchRoot& root) {
    const std::string scratch = root.conf + "_floor";
    const std::string move = "mv " + scratch + " " + root.conf;
    for (auto _ : state) {
        copyFile(size.pristine, root.conf);
        const auto start = std::chrono::steady_clock::now();
        copyFile(root.conf, scratch);
        if (std::system(move.c_str()) != 0) throw std::runtime_error("mv failed");
        state.SetIterationTime(seconds(start));
    }
}

// ---- Peak memory, one fresh process an operation ----------------------------------------

int memoryChild(const std::string& opName, const std::string& file, long sites) {
    ScratchRoot root;
    copyFile(file, root.conf);
    const long before = peakKb();
    if (opName == "ReadFloor") {
        benchmark::DoNotOptimize(readOnce(root.conf));
    } else if (opName == "CopyMoveFloor") {
        copyFile(root.conf, root.conf + "_floor");
        if (std::system(("mv " + root.conf + "_floor " + root.conf).c_str()) != 0) return 1;
    } else if (const Operation* op = findOperation(opName)) {
        op->run(root.conf, bench::targetSite(sites));
    } else {
        std::cerr << "unknown operation " << opName << "\n";
        return 2;
    }
    std::cerr << "QZMEM " << before << " " << peakKb() << "\n";
    return 0;
}

void measureMemory(const std::vector<SizeSetup>& sizes, const std::string& out) {
    std::ofstream report(out);
    report << "operation\tsites\tbytes\tpeak_before_kb\tpeak_after_kb\n";
    std::vector<std::string> names = {"ReadFloor", "CopyMoveFloor"};
    for (const Operation& op : operations()) names.push_back(op.name);
    for (const SizeSetup& size : sizes) {
        const size_t bytes = readOnce(size.pristine);
        for (const std::string& name : names) {
            const std::string command = "/proc/" + std::to_string(getpid()) + "/exe --mem " + name + " '" +
                                        size.pristine + "' " + std::to_string(size.sites) + " 2>&1 >/dev/null";
            FILE* child = popen(command.c_str(), "r");
            long before = -1, after = -1;
            char line[256];
            while (child != nullptr && fgets(line, sizeof line, child) != nullptr)
                sscanf(line, "QZMEM %ld %ld", &before, &after);
            if (child != nullptr) pclose(child);
            report << name << "\t" << size.sites << "\t" << bytes << "\t" << before << "\t" << after << "\n";
        }
    }
}

std::vector<long> parseSizes(const std::string& text) {
    std::vector<long> sizes;
    std::stringstream in(text);
    for (std::string item; std::getline(in, item, ',');) sizes.push_back(std::atol(item.c_str()));
    return sizes;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        if (argc == 5 && std::string(argv[1]) == "--mem") return memoryChild(argv[2], argv[3], std::atol(argv[4]));

        std::string files, memOut;
        std::vector<long> sizeList;
        std::vector<char*> rest = {argv[0]};
        for (int i = 1; i < argc; ++i) {
            const std::string arg = argv[i];
            if (arg == "--files" && i + 1 < argc) files = argv[++i];
            else if (arg == "--sizes" && i + 1 < argc) sizeList = parseSizes(argv[++i]);
            else if (arg == "--mem_out" && i + 1 < argc) memOut = argv[++i];
            else rest.push_back(argv[i]);
        }
        if (files.empty() || sizeList.empty()) {
            std::cerr << "usage: qzbench --files DIR --sizes N,N,... [--mem_out FILE] [benchmark flags]\n";
            return 2;
        }
        int restCount = static_cast<int>(rest.size());
        benchmark::Initialize(&restCount, rest.data());
        if (benchmark::ReportUnrecognizedArguments(restCount, rest.data())) return 2;

        std::vector<SizeSetup> sizes;
        for (long n : sizeList) sizes.push_back({n, files + "/sites-" + std::to_string(n) + ".conf"});

        // What the library prints goes nowhere; the report goes to standard error.
        const int devnull = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
        std::cout.flush();
        dup2(devnull, STDOUT_FILENO);

        static ScratchRoot root;
        for (const SizeSetup& size : sizes) {
            for (const Operation& op : operations()) checkOperation(op, size, root);
            const std::string n = std::to_string(size.sites);
            benchmark::RegisterBenchmark(("ReadFloor/" + n).c_str(),
                                         [&size](benchmark::State& s) { benchReadFloor(s, size, root); })
                ->UseManualTime()->Unit(benchmark::kMillisecond);
            benchmark::RegisterBenchmark(("CopyMoveFloor/" + n).c_str(),
                                         [&size](benchmark::State& s) { benchCopyMoveFloor(s, size, root); })
                ->UseManualTime()->Unit(benchmark::kMillisecond);
            for (const Operation& op : operations())
                benchmark::RegisterBenchmark((std::string(op.name) + "/" + n).c_str(),
                                             [&op, &size](benchmark::State& s) { benchOperation(s, op, size, root); })
                    ->UseManualTime()->Unit(benchmark::kMillisecond);
        }
        benchmark::ConsoleReporter display;
        display.SetOutputStream(&std::cerr);
        display.SetErrorStream(&std::cerr);
        benchmark::RunSpecifiedBenchmarks(&display);
        benchmark::Shutdown();
        if (!memOut.empty()) measureMemory(sizes, memOut);
        return 0;
    } catch (const std::exception& e) {
        std::cerr << "qzbench: " << e.what() << "\n";
        return 1;
    }
}
