// CQZWebsite::CmdPhpFpmReload: asks a php-fpm master for a graceful reload.
#include "CQZWebsite.h"

#include "handlers/PhpFpm.h"

#include <csignal>
#include <fstream>

int CQZWebsite::CmdPhpFpmReload(std::string PhpVersion) {
    qz::trackMethod(TrackManager, "CmdPhpFpmReload", {PhpVersion}, {"PhpVersion"});
    if (!qz::fpm::validVersion(PhpVersion)) return qz::result::phpFpm::NotReloaded;
    std::ifstream in(qz::sysPath("/run/php/php" + PhpVersion + "-fpm.pid"));
    int pid = 0;
    if (!(in >> pid) || pid <= 0) return qz::result::phpFpm::NotReloaded;
    // A PID file left by a master that died may name another program by now:
    // only a process called php-fpm... is signalled. The process table is
    // the running system's own, not a file under the system root.
    std::ifstream comm("/proc/" + std::to_string(pid) + "/comm");
    std::string name;
    if (!std::getline(comm, name) || name.rfind("php-fpm", 0) != 0) return qz::result::phpFpm::NotReloaded;
    return kill(pid, SIGUSR2) == 0 ? qz::result::phpFpm::Reloaded : qz::result::phpFpm::NotReloaded;
}
