// CQZWebsite::CmdApchRestart: asks Apache for a graceful restart.
#include "CQZWebsite.h"
#include "QZResults.h"

#include <csignal>
#include <fstream>

int CQZWebsite::CmdApchRestart(const char* HttpdPIDFile) {
    if (HttpdPIDFile == nullptr) return qz::result::apache::NoPid;
    std::ifstream in(HttpdPIDFile);
    if (!in.is_open()) return qz::result::apache::NoPid;
    // Starts at 0 so that a file without a number sends nothing.
    int Npid = 0;
    in >> Npid;
    if (Npid <= 0) return qz::result::apache::NoPid;
    kill(Npid, 10);  // SIGUSR1: Apache's graceful restart; the result is not examined
    return qz::result::apache::Restarted;
}
