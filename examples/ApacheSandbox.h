// A throw-away Apache HTTP Server for the demonstration and the end-to-end
// tests: the system's own Apache binary and modules, run with a configuration
// of its own in a scratch folder.
//
// The scratch folder is also the library's system root, laid out like a
// Debian machine:
//   etc/QZ.conf                 WebServerPort = the sandbox's port
//   etc/passwd                  this user, so that folder owners have a name
//   etc/apache2/apache2.conf    the main configuration (the server root is etc/apache2)
//   var/run/apache2.pid         the server's PID file
//   home/<site>/                website roots (the Path of new websites)
//   default/index.html          the default site, first virtual host of the port
//   bin/apachectl, bin/httpd    put first on PATH: the real server with the
//                               sandbox's -d/-f, so that "apachectl -V" names
//                               the sandbox as the server root
// The server listens on 127.0.0.1 only, on a port that was free when the
// sandbox was made, and keeps its PID file, logs and locks in the folder.
// Every wait is bounded; the destructor stops the server, and a watcher
// process stops it too (and removes a folder the sandbox made) should this
// process die without running the destructor.
#ifndef QZ_APACHE_SANDBOX_H
#define QZ_APACHE_SANDBOX_H

#include "QZTypes.h"

#include <functional>
#include <string>
#include <vector>

namespace sandbox {

// What curl got for one request.
struct Reply {
    int status = 0;          // the HTTP status; 0 when no answer came
    std::string reason;      // the status line's text: "OK", "Unauthorized", ...
    std::string location;    // the Location header, when there was one
    std::string body;
    std::string error;       // curl's complaint when no answer came
    // Whether the status is `status` and the body holds `text` or, for a
    // redirect, the Location is exactly `text`.
    bool matches(int status, const std::string& text) const;
    // One line for people: `200 "Welcome to shop.example"`, `301, Location: https://…`.
    std::string summary() const;
};

// Basic-authentication credentials; an empty user sends none.
struct Login {
    std::string user;
    std::string password;
};

class ApacheSandbox {
public:
    // The Debian locations of the server and its modules.
    static constexpr const char* kServer = "/usr/sbin/apache2";
    static constexpr const char* kModules = "/usr/lib/apache2/modules";

    // The programs a sandbox needs that are not installed ("" when none is missing).
    static std::string missingTools();

    // Builds the sandbox in `folder`, an existing folder that is left in place,
    // or when it is empty in a new folder under $TMPDIR (or /tmp) that the
    // destructor removes. Sets the library's system root to the folder and puts
    // its bin folder first on PATH. Check ready() before using it.
    explicit ApacheSandbox(std::string folder = "");
    // Stops the server, then gives back PATH and the system root.
    ~ApacheSandbox();
    ApacheSandbox(const ApacheSandbox&) = delete;
    ApacheSandbox& operator=(const ApacheSandbox&) = delete;

    bool ready() const { return problem_.empty(); }
    const std::string& problem() const { return problem_; }

    const std::string& folder() const { return folder_; }
    std::string serverRoot() const { return folder_ + "/etc/apache2"; }
    std::string configuration() const { return serverRoot() + "/apache2.conf"; }
    std::string pidFile() const { return folder_ + "/var/run/apache2.pid"; }
    std::string sitesFolder() const { return folder_ + "/home/"; }
    int port() const { return port_; }
    std::string portText() const { return std::to_string(port_); }

    // A website for this server: address 127.0.0.1, this user as owner and
    // administrator, Path = sitesFolder(), IPSwitch '1' (blocks carry the
    // port). Makes the site root, which the caller of CreateWebsite provides.
    VHostEntry website(const std::string& name, const std::string& punycode) const;
    // Path + name + "/www/html", where CreateWebsite puts the document root.
    std::string documentRoot(const std::string& name) const;
    // Writes a file (its folder must exist) with the given mode.
    bool writeFile(const std::string& path, const std::string& text, unsigned mode = 0644) const;

    // "apachectl -t": whether Apache accepts the configuration; `message` gets what it printed.
    bool configurationAccepted(std::string* message = nullptr) const;
    // "apachectl -k start", then waits (bounded) for the PID file and a first answer.
    bool start(std::string* message = nullptr);
    // Sends SIGTERM to the PID of the PID file and waits (bounded) for the
    // server to end; SIGKILL to its process group as a last resort. Does
    // nothing when no server of this sandbox runs.
    void stop();
    // The PID in the PID file when that process is alive, else 0.
    int runningPid() const;

    // One GET of http://127.0.0.1:<port><path> with the Host header `host`.
    Reply fetch(const std::string& host, const std::string& path = "/", const Login& login = {}) const;
    // Fetches at most `tries` times, 100 ms apart and for at most about 15
    // seconds, until `wanted` holds (a graceful restart takes a moment);
    // returns the last reply.
    Reply fetchUntil(const std::function<bool(const Reply&)>& wanted, const std::string& host,
                     const std::string& path = "/", const Login& login = {}, int tries = 50) const;

    // The last lines of the server's error log.
    std::string errorLogTail() const;

private:
    // Runs a program (no shell) with standard output and error sent to a
    // file, waiting at most `seconds`; returns its exit status, -1 when it
    // could not run or was killed at the time limit.
    int run(const std::vector<std::string>& argv, std::string* output, int seconds) const;
    bool build();
    void startWatcher();
    void stopWatcher();

    std::string folder_;
    bool ownFolder_ = false;
    int port_ = 0;
    std::string problem_;
    std::string savedPath_;
    std::string savedRoot_;
    int watcherPid_ = 0;
    int watcherPipe_ = -1;
};

}  // namespace sandbox

#endif
