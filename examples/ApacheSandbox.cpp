#include "ApacheSandbox.h"

#include "QZSystemRoot.h"

#include <arpa/inet.h>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <netinet/in.h>
#include <pwd.h>
#include <sys/prctl.h>
#include <sstream>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
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

// Whether `pid` is a live (not zombie) Apache process: only such a process is
// ever signalled, so a stale PID file cannot make us kill anything else.
bool isLiveServer(int pid) {
    if (pid <= 0) return false;
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string line;
    if (!std::getline(stat, line)) return false;
    const size_t open = line.find('('), close = line.rfind(')');
    if (open == std::string::npos || close == std::string::npos || close + 2 >= line.size()) return false;
    const std::string name = line.substr(open + 1, close - open - 1);
    const std::string server = std::filesystem::path(ApacheSandbox::kServer).filename();
    return name == server && line[close + 2] != 'Z';
}

// SIGTERM, a bounded wait, then SIGKILL to the server's process group (it is
// a session leader, its children are in that group).
void stopServer(int pid) {
    if (!isLiveServer(pid)) return;
    kill(pid, SIGTERM);
    for (int i = 0; i < 100 && isLiveServer(pid); ++i) pause(100);
    if (!isLiveServer(pid)) return;
    kill(-pid, SIGKILL);
    kill(pid, SIGKILL);
    for (int i = 0; i < 20 && isLiveServer(pid); ++i) pause(100);
}

// Reaps the server when it was this process's child (see the constructor).
void stopAndReap(int pid) {
    stopServer(pid);
    if (pid > 0) waitpid(pid, nullptr, WNOHANG);
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
    for (const char* module : kNeededModules) {
        const std::string file = std::string(ApacheSandbox::kModules) + "/mod_" + module + ".so";
        if (access(file.c_str(), R_OK) == 0) conf << "LoadModule " << module << "_module " << file << "\n";
    }
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

bool Reply::matches(int wantedStatus, const std::string& text) const {
    return status == wantedStatus && (location.empty() ? body.find(text) != std::string::npos : location == text);
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
    return missing.empty() ? missing : missing.substr(1);
}

ApacheSandbox::ApacheSandbox(std::string folder) : folder_(std::move(folder)) {
    if (folder_.empty()) {
        const char* tmp = getenv("TMPDIR");
        std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/qz-apache-XXXXXX";
        if (mkdtemp(pattern.data()) == nullptr) {
            problem_ = "cannot make a scratch folder under " + pattern;
            return;
        }
        folder_ = pattern;
        ownFolder_ = true;
    }
    if (!build()) return;
    // The server detaches from "apachectl -k start"; as a subreaper this
    // process becomes its parent and reaps it once stopped, where the
    // machine's init might leave it a zombie.
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    const char* path = getenv("PATH");
    savedPath_ = path ? path : "/usr/bin:/bin";
    setenv("PATH", (folder_ + "/bin:" + savedPath_).c_str(), 1);
    savedRoot_ = qz::systemRoot();
    qz::setSystemRoot(folder_);
    startWatcher();
}

ApacheSandbox::~ApacheSandbox() {
    stop();
    stopWatcher();
    if (!savedPath_.empty()) {
        setenv("PATH", savedPath_.c_str(), 1);
        qz::setSystemRoot(savedRoot_);
    }
    if (ownFolder_) {
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }
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
        writeFile(folder_ + "/default/index.html", "Default site of the sandbox\n") &&
        writeFile(configuration(), mainConfiguration(folder_, root, port_)) &&
        writeFile(folder_ + "/bin/apachectl", controlScript(root, configuration()), 0755) &&
        writeFile(folder_ + "/bin/httpd", controlScript(root, configuration()), 0755);
    if (!written) problem_ = "cannot write the sandbox's files under " + folder_;
    return written;
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

std::string ApacheSandbox::documentRoot(const std::string& name) const { return sitesFolder() + name + "/www/html"; }

int ApacheSandbox::run(const std::vector<std::string>& argv, std::string* output, int seconds) const {
    const std::string outFile = folder_ + "/sandbox/command.out";
    const pid_t child = fork();
    if (child < 0) return -1;
    if (child == 0) {
        const int out = open(outFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        const int in = open("/dev/null", O_RDONLY);
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

bool ApacheSandbox::start(std::string* message) {
    std::string out;
    const int status = run({folder_ + "/bin/apachectl", "-k", "start"}, &out, 30);
    for (int i = 0; i < 100 && runningPid() == 0; ++i) pause(100);
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
    const int pid = pidIn(pidFile());
    return isLiveServer(pid) ? pid : 0;
}

void ApacheSandbox::stop() { stopAndReap(pidIn(pidFile())); }

// A child in a session of its own waits for this process to close the pipe,
// which also happens when this process dies without running its destructor,
// and then stops the server of the PID file and removes a folder of our own.
void ApacheSandbox::startWatcher() {
    int fds[2];
    if (pipe2(fds, O_CLOEXEC) != 0) return;
    const std::string pidPath = pidFile();
    const pid_t child = fork();
    if (child < 0) {
        close(fds[0]);
        close(fds[1]);
        return;
    }
    if (child == 0) {
        close(fds[1]);
        setsid();
        const int null = open("/dev/null", O_RDWR);
        if (null >= 0) {
            dup2(null, 0);
            dup2(null, 1);
            dup2(null, 2);
        }
        char byte;
        for (;;) {
            const ssize_t n = read(fds[0], &byte, 1);
            if (n == 0 || (n < 0 && errno != EINTR)) break;
        }
        stopServer(pidIn(pidPath));
        if (ownFolder_) {
            std::error_code ignored;
            std::filesystem::remove_all(folder_, ignored);
        }
        _exit(0);
    }
    close(fds[0]);
    watcherPid_ = child;
    watcherPipe_ = fds[1];
}

void ApacheSandbox::stopWatcher() {
    if (watcherPipe_ >= 0) close(watcherPipe_);
    watcherPipe_ = -1;
    if (watcherPid_ > 0) {
        int status = 0;
        for (int i = 0; i < 150 && waitpid(watcherPid_, &status, WNOHANG) == 0; ++i) pause(100);
    }
    watcherPid_ = 0;
}

Reply ApacheSandbox::fetch(const std::string& host, const std::string& path, const Login& login) const {
    const std::string body = folder_ + "/sandbox/body", headers = folder_ + "/sandbox/headers";
    std::remove(body.c_str());
    std::remove(headers.c_str());
    std::vector<std::string> argv = {"curl", "-sS", "--max-time", "5", "--noproxy", "*", "-o", body, "-D", headers,
                                     "-w", "\n%{http_code}", "-H", "Host: " + host};
    if (!login.user.empty()) argv.insert(argv.end(), {"-u", login.user + ":" + login.password});
    argv.push_back("http://127.0.0.1:" + portText() + path);
    std::string out;
    run(argv, &out, 10);

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
    // At most `tries` requests, and none started after 15 seconds.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(15);
    Reply reply;
    for (int i = 0; i < tries && (i == 0 || std::chrono::steady_clock::now() < deadline); ++i) {
        if (i > 0) pause(100);
        reply = fetch(host, path, login);
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
