// A throw-away php-fpm master beside an ApacheSandbox: Debian's php-fpm8.2
// run by hand (no systemd) with a main file of the sandbox, so that its PID
// file, log and sockets stay in the sandbox folder:
//   etc/php/8.2/fpm/php-fpm.conf     includes pool.d/*.conf of the sandbox
//   etc/php/8.2/fpm/pool.d/www.conf  the pool php-fpm needs besides the sites'
//   run/php/                         the PID file and every socket
//   var/log/php-fpm.log
// Site users are real system users (php-fpm switches to them), made with
// useradd and deleted with userdel when the object goes; the sandbox's
// account files (etc/passwd, etc/group) list them, with Apache's www-data
// group. Needs root. Only a process called php-fpm... whose number the PID
// file holds is ever signalled.
#ifndef QZ_PHP_FPM_SANDBOX_H
#define QZ_PHP_FPM_SANDBOX_H

#include "ApacheSandbox.h"

#include <string>
#include <vector>

namespace sandbox {

class PhpFpmSandbox {
public:
    static constexpr const char* kVersion = "8.2";
    static constexpr const char* kFpm = "/usr/sbin/php-fpm8.2";

    // What is missing to run one ("" when nothing): the program, root.
    static std::string missingTools();

    // Writes the main file and the www pool. Check ready().
    explicit PhpFpmSandbox(const ApacheSandbox& box);
    // Stops the master, deletes the users made.
    ~PhpFpmSandbox();
    PhpFpmSandbox(const PhpFpmSandbox&) = delete;
    PhpFpmSandbox& operator=(const PhpFpmSandbox&) = delete;

    bool ready() const { return ready_; }

    // A new system user "qzfpm<letter><pid>" that owns the site's www folder
    // (what CreateWebsite made); "" when it could not be made.
    std::string siteUser(const std::string& site);
    // userdel -f (a pool's idle worker may still run as the user).
    bool deleteUser(const std::string& user);

    bool start();
    void stop();
    // The master's PID when it is a live php-fpm, else 0 (a reload changes it).
    int masterPid() const;
    // php-fpm -t on the sandbox's main file.
    bool accepts() const;
    std::string socket(const std::string& site) const;
    std::string log() const;

private:
    const ApacheSandbox& box_;
    std::string root_;
    std::vector<std::string> users_;
    bool ready_ = false;
};

// Polls `done` every 50 ms, `tries` times at most.
bool waitFor(const std::function<bool()>& done, int tries = 100);

}  // namespace sandbox

#endif
