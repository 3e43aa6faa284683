#include "PhpFpmSandbox.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <dirent.h>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace sandbox {

namespace {

std::string readAll(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

// What a command line printed; only names this file builds go in.
std::string output(const std::string& line) {
    std::string out;
    if (FILE* pipe = popen(line.c_str(), "r")) {
        char buf[512];
        while (fgets(buf, sizeof buf, pipe)) out += buf;
        pclose(pipe);
    }
    return out;
}

}  // namespace

bool waitFor(const std::function<bool()>& done, int tries) {
    for (int i = 0; i < tries; ++i) {
        if (done()) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return done();
}

std::string PhpFpmSandbox::missingTools() {
    std::string missing;
    if (access(kFpm, X_OK) != 0) missing += std::string(" ") + kFpm;
    if (geteuid() != 0) missing += " root";
    return missing;
}

PhpFpmSandbox::PhpFpmSandbox(const ApacheSandbox& box) : box_(box), root_(box.folder()) {
    const std::string fpm = root_ + "/etc/php/8.2/fpm";
    for (const char* sub : {"/etc/php", "/etc/php/8.2", "/etc/php/8.2/fpm", "/etc/php/8.2/fpm/pool.d", "/run",
                            "/run/php", "/var/log"})
        mkdir((root_ + sub).c_str(), 0755);
    ready_ = box_.writeFile(fpm + "/php-fpm.conf", "[global]\npid = " + root_ + "/run/php/php8.2-fpm.pid\nerror_log = " +
                                                       log() + "\ndaemonize = yes\ninclude = " + fpm + "/pool.d/*.conf\n") &&
             box_.writeFile(fpm + "/pool.d/www.conf", "[www]\nuser = www-data\ngroup = www-data\nlisten = " + root_ +
                                                          "/run/php/www.sock\npm = ondemand\npm.max_children = 2\n") &&
             box_.writeFile(root_ + "/etc/group", output("getent group www-data"));
}

PhpFpmSandbox::~PhpFpmSandbox() {
    stop();
    for (const std::string& user : users_) deleteUser(user);
}

std::string PhpFpmSandbox::siteUser(const std::string& site) {
    const std::string user = "qzfpm" + site.substr(0, 1) + std::to_string(getpid() % 100000);
    if (system(("useradd --system -M -U -s /usr/sbin/nologin " + user + " 2>/dev/null").c_str()) != 0) return "";
    users_.push_back(user);
    const bool done = system(("chown -R " + user + ": " + box_.sitesFolder() + site + "/www").c_str()) == 0 &&
                      box_.writeFile(root_ + "/etc/passwd", readAll(root_ + "/etc/passwd") + output("getent passwd " + user)) &&
                      box_.writeFile(root_ + "/etc/group", readAll(root_ + "/etc/group") + output("getent group " + user));
    return done ? user : "";
}

bool PhpFpmSandbox::deleteUser(const std::string& user) {
    return system(("userdel -f " + user + " 2>/dev/null").c_str()) == 0;
}

bool PhpFpmSandbox::start() {
    if (system((std::string(kFpm) + " -y " + root_ + "/etc/php/8.2/fpm/php-fpm.conf").c_str()) != 0) return false;
    return waitFor([&] { return masterPid() != 0; });
}

void PhpFpmSandbox::stop() {
    const int pid = masterPid();
    if (pid == 0) return;
    kill(pid, SIGQUIT);
    // The daemonised master is the sandbox's child (a subreaper): reaped here.
    if (!waitFor([&] { return waitpid(pid, nullptr, WNOHANG) == pid || masterPid() == 0; })) kill(pid, SIGKILL);
    waitpid(pid, nullptr, WNOHANG);
    // Each reload leaves the old master behind as a zombie child of ours.
    if (DIR* proc = opendir("/proc")) {
        while (const dirent* entry = readdir(proc)) {
            const int child = atoi(entry->d_name);
            const std::string stat = child > 0 ? readAll("/proc/" + std::to_string(child) + "/stat") : "";
            const size_t close = stat.rfind(')');
            if (stat.find("(php-fpm") == std::string::npos || close == std::string::npos) continue;
            int parent = 0;
            char state = 0;
            if (sscanf(stat.c_str() + close + 1, " %c %d", &state, &parent) == 2 && state == 'Z' && parent == getpid())
                waitpid(child, nullptr, WNOHANG);
        }
        closedir(proc);
    }
}

int PhpFpmSandbox::masterPid() const {
    int pid = 0;
    std::ifstream(root_ + "/run/php/php8.2-fpm.pid") >> pid;
    if (pid <= 0) return 0;
    const std::string stat = readAll("/proc/" + std::to_string(pid) + "/stat");
    const size_t close = stat.rfind(')');
    // A zombie has stopped.
    if (stat.find("(php-fpm") == std::string::npos || close == std::string::npos || stat.substr(close + 2, 1) == "Z")
        return 0;
    return pid;
}

bool PhpFpmSandbox::accepts() const {
    return system((std::string(kFpm) + " -t -y " + root_ + "/etc/php/8.2/fpm/php-fpm.conf 2>/dev/null").c_str()) == 0;
}

std::string PhpFpmSandbox::socket(const std::string& site) const { return root_ + "/run/php/qz-" + site + ".sock"; }

std::string PhpFpmSandbox::log() const { return root_ + "/var/log/php-fpm.log"; }

}  // namespace sandbox
