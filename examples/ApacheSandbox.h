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
// Only a process that is the server binary AND was started with this
// sandbox's configuration file is ever signalled. Every wait is bounded; the
// destructor stops the server, and a watcher process (detached: neither a
// child of this process nor in its process group or session) stops it too,
// and removes a folder the sandbox made, should this process die without
// running the destructor.
//
// Process-wide effects while a sandbox lives: PATH and the library's system
// root point into the folder, and this process is a child subreaper
// (PR_SET_CHILD_SUBREAPER): the daemonised server becomes its child, so that
// it can be reaped once stopped. The destructor gives all three back.
#ifndef QZ_APACHE_SANDBOX_H
#define QZ_APACHE_SANDBOX_H

#include "QZTypes.h"

class CQZWebsite;

#include <functional>
#include <string>
#include <vector>

namespace sandbox {

// The websites of the demonstration and the end-to-end tests: one plain, one
// with an internationalised name (as the panel shows it, and in ASCII).
inline const std::string kShop = "shop.example";
inline const std::string kBooks = "bücher.example";
inline const std::string kBooksAscii = "xn--bcher-kva.example";
// What the default site (the first virtual host of the port) answers.
inline const std::string kDefaultPage = "Default site of the sandbox";
// The Perl CGI script writePerlScript() puts in a document root, the start of
// its source (what is served while Perl is off) and what it prints when run.
inline const std::string kPerlScript = "/hello.pl";
inline const std::string kPerlSource = "#!/usr/bin/perl";
inline const std::string kPerlOutput = "Perl says 42";
// The index page createWebsite() writes for a site: "Welcome to <name>".
std::string welcome(const std::string& site);

// What curl got for one request.
struct Reply {
    int status = 0;          // the HTTP status; 0 when no answer came
    std::string reason;      // the status line's text: "OK", "Unauthorized", ...
    std::string location;    // the Location header, when there was one
    std::string body;
    std::string error;       // curl's complaint when no answer came
    // Whether the status is `status` and, for a redirect (3xx), the Location
    // is exactly `text`, else the body holds `text`.
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

    // The programs and Apache modules a sandbox needs that are not installed
    // ("" when none is missing).
    static std::string missingTools();

    // Builds the sandbox in `folder`, which must be an existing, empty folder
    // other than "/" (anything else is refused with a problem() and nothing
    // is written); it is left in place. With no folder, a new one is made
    // under $TMPDIR (or /tmp) and the destructor removes it. Sets the
    // library's system root to the folder and puts its bin folder first on
    // PATH. Check ready() before using it; a sandbox that is not ready
    // signals nothing and changes nothing process-wide.
    explicit ApacheSandbox(std::string folder = "");
    // Stops the server, then gives back PATH, the system root and the
    // subreaper setting.
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
    // website(), CQZWebsite::CreateWebsite, then the site's index page
    // welcome(name). Returns CreateWebsite's result (94 when created), or -1
    // when the index page could not be written.
    int createWebsite(CQZWebsite& website, const std::string& name, const std::string& ascii) const;
    // A virtual directory `sub` of the site's document root without
    // anonymous access; the webadmin's password file goes to
    // <WebAdminPath>/<domain>/, the site root.
    SDDir virtualDirectory(const std::string& site, const std::string& sub) const;
    // Writes a file (its folder must exist) with the given mode.
    bool writeFile(const std::string& path, const std::string& text, unsigned mode = 0644) const;
    // Makes the folder `path` with an index.html holding `text`.
    bool addFolder(const std::string& path, const std::string& text) const;
    // Writes the script kPerlScript into the site's document root, executable.
    bool writePerlScript(const std::string& site) const;

    // "apachectl -t": whether Apache accepts the configuration; `message` gets what it printed.
    bool configurationAccepted(std::string* message = nullptr) const;
    // After an edit: "apachectl -t", then CQZWebsite::CmdApchRestart on the
    // PID file (a graceful restart), only while this sandbox's server runs,
    // since that call signals whatever number the file holds. Returns whether
    // both went well; `report` gets one line, "Syntax OK; 0 (graceful restart
    // signalled)" or what went wrong.
    bool checkAndRestart(CQZWebsite& website, std::string* report = nullptr) const;
    // "apachectl -k start", then waits (bounded) for the PID file and a first
    // answer. Should the port have been taken meanwhile ("Address already in
    // use"), moves to another free port, a few times at most: every
    // "127.0.0.1:<port>" of the main configuration and the port of QZ.conf
    // are changed, and port() tells the new one.
    bool start(std::string* message = nullptr);
    // Sends SIGTERM to the PID of the PID file and waits (bounded) for the
    // server to end; SIGKILL to its process group as a last resort. Does
    // nothing when no server of this sandbox runs.
    void stop();
    // The PID in the PID file when that process is alive, else 0.
    int runningPid() const;

    // One GET of http://127.0.0.1:<port><path> with the Host header `host`,
    // given up after `seconds`.
    Reply fetch(const std::string& host, const std::string& path = "/", const Login& login = {},
                double seconds = 5) const;
    // Fetches at most `tries` times, 100 ms apart, until `wanted` holds (a
    // graceful restart takes a moment); all requests together take at most
    // about 16 seconds (each is given the time left of 15 s, at least 1 s).
    // Returns the last reply.
    Reply fetchUntil(const std::function<bool(const Reply&)>& wanted, const std::string& host,
                     const std::string& path = "/", const Login& login = {}, int tries = 50) const;

    // The last lines of the server's error log.
    std::string errorLogTail() const;

private:
    // Runs a program (no shell) with standard output and error sent to a
    // file, waiting at most `seconds`; returns its exit status, -1 when it
    // could not run or was killed at the time limit.
    int run(const std::vector<std::string>& argv, std::string* output, int seconds) const;
    bool usableFolder();
    bool build();
    bool movePort();
    void startWatcher();
    void stopWatcher();

    std::string folder_;
    bool ownFolder_ = false;
    bool built_ = false;  // stop(), the watcher and the restores act only when set
    int savedSubreaper_ = 0;
    int port_ = 0;
    std::string problem_;
    std::string savedPath_;
    std::string savedRoot_;
    int watcherPipe_ = -1;
};

}  // namespace sandbox

#endif
