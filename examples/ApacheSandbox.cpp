#include "ApacheSandbox.h"

#include "QZSystemRoot.h"
#include "libqzapache.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <netinet/in.h>
#include <pwd.h>
#include <sys/prctl.h>
#include <sstream>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <string_view>
#include <time.h>
#include <unistd.h>

namespace sandbox {
namespace {

const char* const kNeededModules[] = {
    "mpm_prefork", "authn_core", "authn_file", "authz_core", "authz_host", "authz_user", "auth_basic",
    "access_compat", "alias", "dir", "mime", "rewrite", "cgi", "log_config",
};

void pause(int milliseconds) {
    struct timespec t = {milliseconds / 1000, (milliseconds % 1000) * 1000000L};
    nanosleep(&t, nullptr);
}

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

bool isExecutable(const std::string& path) { return access(path.c_str(), X_OK) == 0; }

std::string moduleFile(const char* module) {
    return std::string(ApacheSandbox::kModules) + "/mod_" + module + ".so";
}

// Whether the server has the module compiled in ("apache2 -l" lists
// "mod_<name>.c"); such a module is not loaded (Debian's log_config is one).
bool builtIn(const char* module) {
    FILE* list = popen((std::string(ApacheSandbox::kServer) + " -l 2>/dev/null").c_str(), "r");
    if (list == nullptr) return false;
    const std::string wanted = std::string("mod_") + module + ".c";
    bool found = false;
    char line[256];
    while (fgets(line, sizeof line, list) != nullptr) {
        std::string name = line;
        name.erase(0, name.find_first_not_of(" \t"));
        name.erase(name.find_last_not_of(" \t\r\n") + 1);
        found = found || name == wanted;
    }
    pclose(list);
    return found;
}

// An existing folder (not a link to one) without entries.
bool isEmptyFolder(const std::string& path) {
    struct stat st;
    if (lstat(path.c_str(), &st) != 0 || !S_ISDIR(st.st_mode)) return false;
    DIR* dir = opendir(path.c_str());
    if (dir == nullptr) return false;
    bool empty = true;
    while (const dirent* entry = readdir(dir))
        if (strcmp(entry->d_name, ".") != 0 && strcmp(entry->d_name, "..") != 0) empty = false;
    closedir(dir);
    return empty;
}

bool onPath(const std::string& program) {
    const char* path = getenv("PATH");
    std::stringstream folders(path ? path : "/usr/bin:/bin");
    std::string folder;
    while (std::getline(folders, folder, ':'))
        if (!folder.empty() && isExecutable(folder + "/" + program)) return true;
    return false;
}

// Paths go unquoted into sed expressions and Apache directives: only plain
// characters are accepted.
bool plainPath(const std::string& path) {
    if (path.empty() || path[0] != '/') return false;
    for (char c : path)
        if (!isalnum(static_cast<unsigned char>(c)) && !strchr("/._-", c)) return false;
    return true;
}

int freeLoopbackPort() {
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) return 0;
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    int port = 0;
    if (bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
        getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) == 0)
        port = ntohs(address.sin_port);
    close(fd);
    return port;
}

int pidIn(const std::string& pidFile) {
    std::ifstream in(pidFile);
    int pid = 0;
    in >> pid;
    return pid > 0 ? pid : 0;
}

// Whether `pid` is a live (not zombie) Apache process started with the
// configuration file `conf` (the sandbox's apachectl always passes -f <conf>):
// only such a process is ever signalled, so a stale PID file whose number now
// belongs to another process, another sandbox's server or the system's
// Apache cannot make us kill it.
bool isLiveServer(int pid, const std::string& conf) {
    if (pid <= 0) return false;
    const std::string proc = "/proc/" + std::to_string(pid);
    std::ifstream stat(proc + "/stat");
    std::string line;
    if (!std::getline(stat, line)) return false;
    const size_t open = line.find('('), close = line.rfind(')');
    if (open == std::string::npos || close == std::string::npos || close + 2 >= line.size()) return false;
    const std::string name = line.substr(open + 1, close - open - 1);
    const std::string server = std::filesystem::path(ApacheSandbox::kServer).filename();
    if (name != server || line[close + 2] == 'Z') return false;
    // The arguments, each ended by a NUL.
    const std::string args = readFile(proc + "/cmdline");
    for (size_t start = 0, end; start < args.size(); start = end + 1) {
        end = args.find('\0', start);
        if (end == std::string::npos) end = args.size();
        if (std::string_view(args).substr(start, end - start) == conf) return true;
    }
    return false;
}

// SIGTERM, a bounded wait, then SIGKILL to the server's process group (it is
// a session leader, its children are in that group).
void stopServer(int pid, const std::string& conf) {
    if (!isLiveServer(pid, conf)) return;
    kill(pid, SIGTERM);
    for (int i = 0; i < 100 && isLiveServer(pid, conf); ++i) pause(100);
    if (!isLiveServer(pid, conf)) return;
    kill(-pid, SIGKILL);
    kill(pid, SIGKILL);
    for (int i = 0; i < 20 && isLiveServer(pid, conf); ++i) pause(100);
}

std::string firstLine(const std::string& text) {
    size_t start = text.find_first_not_of(" \t\r\n");
    if (start == std::string::npos) return "";
    std::string line = text.substr(start, text.find_first_of("\r\n", start) - start);
    return line.size() > 70 ? line.substr(0, 67) + "..." : line;
}

std::string mainConfiguration(const std::string& folder, const std::string& serverRoot, int port) {
    std::ostringstream conf;
    conf << "ServerRoot \"" << serverRoot << "\"\n"
         << "# A throw-away server: loopback only, and every file it writes stays in\n"
         << "# " << folder << ".\n"
         << "ServerName localhost\n"
         << "Listen 127.0.0.1:" << port << "\n"
         << "PidFile \"" << folder << "/var/run/apache2.pid\"\n"
         << "DefaultRuntimeDir \"" << serverRoot << "/run\"\n"
         << "Mutex file:" << serverRoot << "/lock default\n"
         << "ErrorLog \"" << serverRoot << "/logs/error.log\"\n"
         << "LogLevel warn\n";
    // Children drop to www-data when the server starts as root (ignored otherwise).
    if (getpwnam("www-data") != nullptr) conf << "User www-data\nGroup www-data\n";
    // missingTools() has made sure every module is there.
    for (const char* module : kNeededModules)
        if (!builtIn(module)) conf << "LoadModule " << module << "_module " << moduleFile(module) << "\n";
    conf << "StartServers 2\nMinSpareServers 1\nMaxSpareServers 4\nMaxRequestWorkers 16\n"
         << "TypesConfig \"" << serverRoot << "/mime.types\"\n"
         << "LogFormat \"%h %l %u %t \\\"%r\\\" %>s %b \\\"%{Referer}i\\\" \\\"%{User-Agent}i\\\"\" combined\n"
         << "DirectoryIndex index.html\n"
         << "<Directory />\n\tAllowOverride None\n\tRequire all denied\n</Directory>\n"
         << "<Directory \"" << folder << "/home\">\n\tRequire all granted\n</Directory>\n"
         << "<Directory \"" << folder << "/default\">\n\tRequire all granted\n</Directory>\n"
         << "# The first virtual host of the port answers for every other name.\n"
         << "<VirtualHost 127.0.0.1:" << port << ">\n"
         << "\tServerName localhost\n"
         << "\tDocumentRoot \"" << folder << "/default\"\n"
         << "</VirtualHost>\n"
         << "IncludeOptional conf.d/*.conf\n";
    return conf.str();
}

// apachectl and httpd of the sandbox: the real server with the sandbox's
// server root and configuration. "-V" reports the sandbox as HTTPD_ROOT and
// SERVER_CONFIG_FILE even when the configuration does not parse, so that no
// caller ever falls back to the real /etc/apache2.
std::string controlScript(const std::string& serverRoot, const std::string& conf) {
    std::ostringstream script;
    script << "#!/bin/sh\n"
           << "server=" << ApacheSandbox::kServer << "\n"
           << "root=" << serverRoot << "\n"
           << "conf=" << conf << "\n"
           << "if [ \"${1:-}\" = -V ]; then\n"
           << "  \"$server\" -d \"$root\" -f \"$conf\" -V | grep -v -e HTTPD_ROOT -e SERVER_CONFIG_FILE\n"
           << "  echo \" -D HTTPD_ROOT=\\\"$root\\\"\"\n"
           << "  echo \" -D SERVER_CONFIG_FILE=\\\"$conf\\\"\"\n"
           << "  exit 0\n"
           << "fi\n"
           << "exec \"$server\" -d \"$root\" -f \"$conf\" \"$@\"\n";
    return script.str();
}

}  // namespace

std::string welcome(const std::string& site) { return "Welcome to " + site; }

bool Reply::matches(int wantedStatus, const std::string& text) const {
    if (status != wantedStatus) return false;
    return status / 100 == 3 ? location == text : body.find(text) != std::string::npos;
}

std::string Reply::summary() const {
    if (status == 0) return "no answer (" + firstLine(error) + ")";
    std::string text = std::to_string(status);
    if (!location.empty()) return text + ", Location: " + location;
    if (status >= 400) return text + " " + reason;
    return text + " \"" + firstLine(body) + "\"";
}

std::string ApacheSandbox::missingTools() {
    std::string missing;
    if (!isExecutable(kServer)) missing += std::string(" ") + kServer;
    if (access(kModules, R_OK) != 0) missing += std::string(" ") + kModules;
    for (const char* program : {"curl", "htpasswd", "perl"})
        if (!onPath(program)) missing += std::string(" ") + program;
    for (const char* module : kNeededModules)
        if (access(moduleFile(module).c_str(), R_OK) != 0 && !builtIn(module)) missing += " " + moduleFile(module);
    return missing.empty() ? missing : missing.substr(1);
}

ApacheSandbox::ApacheSandbox(std::string folder) : folder_(std::move(folder)) {
    if (folder_.empty()) {
        const char* tmp = getenv("TMPDIR");
        const std::string wanted = std::string(tmp && *tmp ? tmp : "/tmp") + "/qz-apache-XXXXXX";
        std::string pattern = wanted;
        if (mkdtemp(pattern.data()) == nullptr) {
            problem_ = "cannot make a scratch folder " + wanted;
            folder_.clear();
            return;
        }
        folder_ = pattern;
        ownFolder_ = true;
    } else if (!usableFolder()) {
        return;
    }
    if (!build()) return;
    // The watcher is started before this process becomes a subreaper, so that
    // it is handed to init, not to us (see startWatcher()).
    startWatcher();
    // The server detaches from "apachectl -k start"; as a subreaper this
    // process becomes its parent and reaps it once stopped, where the
    // machine's init might leave it a zombie.
    prctl(PR_GET_CHILD_SUBREAPER, &savedSubreaper_);
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    const char* path = getenv("PATH");
    savedPath_ = path ? path : "/usr/bin:/bin";
    setenv("PATH", (folder_ + "/bin:" + savedPath_).c_str(), 1);
    savedRoot_ = qz::systemRoot();
    qz::setSystemRoot(folder_);
    built_ = true;
}

ApacheSandbox::~ApacheSandbox() {
    if (built_) {
        stop();
        setenv("PATH", savedPath_.c_str(), 1);
        qz::setSystemRoot(savedRoot_);
        prctl(PR_SET_CHILD_SUBREAPER, savedSubreaper_);
    }
    stopWatcher();
    if (ownFolder_) {
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }
}

// A folder given by the caller must be an existing, empty folder other than
// "/": the sandbox writes etc/passwd, etc/QZ.conf, bin/apachectl ... into it.
bool ApacheSandbox::usableFolder() {
    char* real = realpath(folder_.c_str(), nullptr);
    const bool root = real != nullptr && strcmp(real, "/") == 0;
    free(real);
    if (!root && isEmptyFolder(folder_)) return true;
    problem_ = "the sandbox's folder must be an existing, empty folder other than /: " + folder_;
    return false;
}

bool ApacheSandbox::build() {
    if (!plainPath(folder_)) {
        problem_ = "the scratch folder must be an absolute path of letters, digits and ._-/: " + folder_;
        return false;
    }
    port_ = freeLoopbackPort();
    if (port_ == 0) {
        problem_ = "no free port on 127.0.0.1";
        return false;
    }
    // The server's children (www-data) must reach the sites under home/.
    chmod(folder_.c_str(), 0755);
    const std::string root = serverRoot();
    for (const char* sub : {"/etc", "/etc/apache2", "/etc/apache2/conf.d", "/etc/apache2/logs",
                                   "/etc/apache2/run", "/etc/apache2/lock", "/var", "/var/run", "/home",
                                   "/default", "/bin", "/sandbox"})
        mkdir((folder_ + sub).c_str(), 0755);

    const struct passwd* me = getpwuid(geteuid());
    std::ostringstream users;
    if (me != nullptr)
        users << me->pw_name << ":x:" << me->pw_uid << ":" << me->pw_gid << "::" << me->pw_dir << ":"
              << me->pw_shell << "\n";
    const bool written =
        writeFile(folder_ + "/etc/QZ.conf", "WebServerPort=\"" + portText() + "\"\n") &&
        writeFile(folder_ + "/etc/passwd", users.str()) &&
        writeFile(root + "/mime.types", "text/html html htm\ntext/plain txt\n") &&
        writeFile(folder_ + "/default/index.html", kDefaultPage + "\n") &&
        writeFile(configuration(), mainConfiguration(folder_, root, port_)) &&
        writeFile(folder_ + "/bin/apachectl", controlScript(root, configuration()), 0755) &&
        writeFile(folder_ + "/bin/httpd", controlScript(root, configuration()), 0755);
    if (!written) problem_ = "cannot write the sandbox's files under " + folder_;
    return written;
}

// Another free port: every "127.0.0.1:<old port>" of the main configuration
// (Listen, the virtual hosts written so far) and QZ.conf's WebServerPort.
bool ApacheSandbox::movePort() {
    const int port = freeLoopbackPort();
    if (port == 0 || port == port_) return false;
    const std::string old = "127.0.0.1:" + portText(), now = "127.0.0.1:" + std::to_string(port);
    std::string conf = readFile(configuration());
    for (size_t at = conf.find(old); at != std::string::npos; at = conf.find(old, at + 1))
        if (at + old.size() == conf.size() || !isdigit(static_cast<unsigned char>(conf[at + old.size()])))
            conf.replace(at, old.size(), now);
    port_ = port;
    return writeFile(configuration(), conf) &&
           writeFile(folder_ + "/etc/QZ.conf", "WebServerPort=\"" + portText() + "\"\n");
}

bool ApacheSandbox::writeFile(const std::string& path, const std::string& text, unsigned mode) const {
    {
        std::ofstream out(path, std::ios::binary | std::ios::trunc);
        if (!(out << text)) return false;
    }
    return chmod(path.c_str(), mode) == 0;
}

VHostEntry ApacheSandbox::website(const std::string& name, const std::string& punycode) const {
    VHostEntry site = {};
    const struct passwd* me = getpwuid(geteuid());
    const char* user = me ? me->pw_name : "root";
    snprintf(site.IPAddress, sizeof site.IPAddress, "127.0.0.1");
    snprintf(site.DName, sizeof site.DName, "%s", name.c_str());
    snprintf(site.PunyCode, sizeof site.PunyCode, "%s", punycode.c_str());
    snprintf(site.UserName, sizeof site.UserName, "%s", user);
    snprintf(site.ServerAdmin, sizeof site.ServerAdmin, "%s", user);
    snprintf(site.Port, sizeof site.Port, "%d", port_);
    snprintf(site.Path, sizeof site.Path, "%s", sitesFolder().c_str());
    site.IPSwitch = '1';
    mkdir((sitesFolder() + name).c_str(), 0755);
    return site;
}

int ApacheSandbox::createWebsite(CQZWebsite& website, const std::string& name, const std::string& ascii) const {
    VHostEntry site = this->website(name, ascii);
    const int created = website.CreateWebsite(&site);
    return writeFile(documentRoot(name) + "/index.html", welcome(name) + "\n") ? created : -1;
}

SDDir ApacheSandbox::virtualDirectory(const std::string& site, const std::string& sub) const {
    SDDir dir = {};
    snprintf(dir.DomainName, sizeof dir.DomainName, "%s", site.c_str());
    snprintf(dir.DirPath, sizeof dir.DirPath, "%s/%s", documentRoot(site).c_str(), sub.c_str());
    snprintf(dir.WebAdminPath, sizeof dir.WebAdminPath, "%s/home", folder_.c_str());
    dir.AnonAccess = '1';
    return dir;
}

bool ApacheSandbox::addFolder(const std::string& path, const std::string& text) const {
    return mkdir(path.c_str(), 0755) == 0 && writeFile(path + "/index.html", text + "\n");
}

bool ApacheSandbox::writePerlScript(const std::string& site) const {
    return writeFile(documentRoot(site) + kPerlScript,
                     kPerlSource + "\nprint \"Content-Type: text/plain\\n\\n\";\nprint \"Perl says \", 6 * 7, \"\\n\";\n",
                     0755);
}

std::string ApacheSandbox::documentRoot(const std::string& name) const { return sitesFolder() + name + "/www/html"; }

int ApacheSandbox::run(const std::vector<std::string>& argv, std::string* output, int seconds) const {
    const std::string outFile = folder_ + "/sandbox/command.out";
    const pid_t child = fork();
    if (child < 0) return -1;
    if (child == 0) {
        // Close-on-exec: only the copies on 0, 1 and 2 reach the program (a
        // daemonised apache2 would keep any other copy of command.out open).
        // Should 0, 1 or 2 be closed here, a descriptor that lands there is
        // moved up first (dup2 replaces 0, 1 and 2 in any case).
        const auto aboveStandard = [](int fd) { return fd >= 0 && fd <= 2 ? fcntl(fd, F_DUPFD_CLOEXEC, 3) : fd; };
        const int out = aboveStandard(open(outFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
        const int in = aboveStandard(open("/dev/null", O_RDONLY | O_CLOEXEC));
        if (out < 0 || in < 0) _exit(127);
        dup2(in, 0);
        dup2(out, 1);
        dup2(out, 2);
        std::vector<char*> args;
        for (const std::string& arg : argv) args.push_back(const_cast<char*>(arg.c_str()));
        args.push_back(nullptr);
        execvp(args[0], args.data());
        _exit(127);
    }
    int status = 0;
    pid_t done = 0;
    for (int i = 0; i < seconds * 100 && (done = waitpid(child, &status, WNOHANG)) == 0; ++i) pause(10);
    int result = -1;
    if (done == child && WIFEXITED(status)) {
        result = WEXITSTATUS(status);
    } else if (done == 0) {
        kill(child, SIGKILL);
        waitpid(child, &status, 0);
    }
    if (output != nullptr) *output = readFile(outFile) + (done == 0 ? "(stopped after the time limit)\n" : "");
    return result;
}

bool ApacheSandbox::configurationAccepted(std::string* message) const {
    std::string out;
    const bool accepted = run({folder_ + "/bin/apachectl", "-t"}, &out, 30) == 0;
    if (message != nullptr) *message = out;
    return accepted;
}

bool ApacheSandbox::checkAndRestart(CQZWebsite& website, std::string* report) const {
    std::string message, line;
    bool done = false;
    if (!configurationAccepted(&message)) {
        line = "REJECTED: " + message;
    } else if (runningPid() == 0) {
        line = "Syntax OK; the server is not running, no restart signalled";
    } else {
        const int restarted = website.CmdApchRestart(pidFile().c_str());
        done = restarted == 0;
        line = "Syntax OK; " + std::to_string(restarted) + (done ? " (graceful restart signalled)" : "");
    }
    if (report != nullptr) *report = line;
    return done;
}

bool ApacheSandbox::start(std::string* message) {
    if (!built_) {
        if (message != nullptr) *message = problem_;
        return false;
    }
    std::string out;
    int status = -1;
    // The port was free when it was chosen; another process may have taken
    // it since. A few other ports are tried then.
    for (int attempt = 0; attempt < 5; ++attempt) {
        status = run({folder_ + "/bin/apachectl", "-k", "start"}, &out, 30);
        if (status == 0 || (out + errorLogTail()).find("Address already in use") == std::string::npos ||
            !movePort())
            break;
        std::ofstream(serverRoot() + "/logs/error.log", std::ios::trunc);
    }
    // A failed "apachectl -k start" leaves no server to wait for.
    for (int i = 0; status == 0 && i < 100 && runningPid() == 0; ++i) pause(100);
    bool answered = false;
    if (status == 0 && runningPid() != 0)
        answered = fetchUntil([](const Reply& reply) { return reply.status != 0; }, "localhost").status != 0;
    if (!answered) {
        if (message != nullptr) *message = out + errorLogTail();
        stop();
    }
    return answered;
}

int ApacheSandbox::runningPid() const {
    if (!built_) return 0;
    const int pid = pidIn(pidFile());
    return isLiveServer(pid, configuration()) ? pid : 0;
}

void ApacheSandbox::stop() {
    if (!built_) return;
    const int pid = pidIn(pidFile());
    stopServer(pid, configuration());
    // Reaps the server, which is this process's child (see the constructor).
    if (pid > 0) waitpid(pid, nullptr, WNOHANG);
}

// A watcher waits on a pipe. The destructor, after stopping the server
// itself, writes one byte and closes it: the watcher then just ends. Should
// this process die first, the pipe closes without that byte, and the watcher
// stops the server of the PID file and removes a folder of our own.
// It is a grandchild in a session of its own whose parent ends at once, so it
// is handed to init: neither a signal to our process group nor a kill of our
// process tree (ctest's time limit) reaches it.
void ApacheSandbox::startWatcher() {
    int fds[2];
    if (pipe2(fds, O_CLOEXEC) != 0) return;
    const std::string pidPath = pidFile(), conf = configuration();
    const pid_t child = fork();
    if (child < 0) {
        close(fds[0]);
        close(fds[1]);
        return;
    }
    if (child == 0) {
        setsid();
        if (fork() != 0) _exit(0);
        const int null = open("/dev/null", O_RDWR);
        if (null >= 0) {
            dup2(null, 0);
            dup2(null, 1);
            dup2(null, 2);
        }
        // Nothing of ours is held open (another pipe's reader would wait on it).
        struct rlimit files = {1024, 1024};
        getrlimit(RLIMIT_NOFILE, &files);
        for (int fd = 3; fd < static_cast<int>(std::min<rlim_t>(files.rlim_cur, 65536)); ++fd)
            if (fd != fds[0]) close(fd);
        if (chdir("/") != 0) _exit(0);
        char byte;
        ssize_t n;
        while ((n = read(fds[0], &byte, 1)) < 0 && errno == EINTR) {
        }
        if (n == 1) _exit(0);
        stopServer(pidIn(pidPath), conf);
        if (ownFolder_) {
            std::error_code ignored;
            std::filesystem::remove_all(folder_, ignored);
        }
        _exit(0);
    }
    close(fds[0]);
    waitpid(child, nullptr, 0);
    watcherPipe_ = fds[1];
}

void ApacheSandbox::stopWatcher() {
    if (watcherPipe_ < 0) return;
    const char done = 'q';
    if (write(watcherPipe_, &done, 1) != 1) {
        // The watcher then cleans up as if this process had died: harmless.
    }
    close(watcherPipe_);
    watcherPipe_ = -1;
}

Reply ApacheSandbox::fetch(const std::string& host, const std::string& path, const Login& login,
                           double seconds) const {
    const std::string body = folder_ + "/sandbox/body", headers = folder_ + "/sandbox/headers";
    std::remove(body.c_str());
    std::remove(headers.c_str());
    char maxTime[32];
    snprintf(maxTime, sizeof maxTime, "%.1f", seconds);
    std::vector<std::string> argv = {"curl", "-sS", "--max-time", maxTime, "--noproxy", "*", "-o", body,
                                     "-D", headers, "-w", "\n%{http_code}", "-H", "Host: " + host};
    if (!login.user.empty()) argv.insert(argv.end(), {"-u", login.user + ":" + login.password});
    argv.push_back("http://127.0.0.1:" + portText() + path);
    std::string out;
    run(argv, &out, static_cast<int>(seconds) + 5);

    Reply reply;
    const size_t last = out.find_last_of('\n');
    reply.status = atoi(out.c_str() + (last == std::string::npos ? 0 : last + 1));
    if (reply.status == 0) reply.error = out.substr(0, last == std::string::npos ? 0 : last);
    reply.body = readFile(body);
    std::istringstream lines(readFile(headers));
    std::string line;
    while (std::getline(lines, line)) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.compare(0, 5, "HTTP/") == 0) {
            const size_t code = line.find(' ');
            const size_t text = code == std::string::npos ? code : line.find(' ', code + 1);
            reply.reason = text == std::string::npos ? "" : line.substr(text + 1);
        } else if (strncasecmp(line.c_str(), "Location:", 9) == 0) {
            reply.location = line.substr(line.find_first_not_of(' ', 9));
        }
    }
    return reply;
}

Reply ApacheSandbox::fetchUntil(const std::function<bool(const Reply&)>& wanted, const std::string& host,
                                const std::string& path, const Login& login, int tries) const {
    // At most `tries` requests, none started after 15 seconds, each given
    // the time left (at least a second).
    using Clock = std::chrono::steady_clock;
    const auto deadline = Clock::now() + std::chrono::seconds(15);
    Reply reply;
    for (int i = 0; i < tries; ++i) {
        if (i > 0) pause(100);
        const double left = std::chrono::duration<double>(deadline - Clock::now()).count();
        if (i > 0 && left <= 0) break;
        reply = fetch(host, path, login, std::max(1.0, left));
        if (wanted(reply)) break;
    }
    return reply;
}

std::string ApacheSandbox::errorLogTail() const {
    std::istringstream log(readFile(serverRoot() + "/logs/error.log"));
    std::vector<std::string> lines;
    std::string line;
    while (std::getline(log, line)) lines.push_back(line);
    std::string tail;
    for (size_t i = lines.size() > 10 ? lines.size() - 10 : 0; i < lines.size(); ++i) tail += lines[i] + "\n";
    return tail;
}

}  // namespace sandbox
