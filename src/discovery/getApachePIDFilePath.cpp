// CQZWebsite::getApachePIDFilePath: Apache's PID file in /var/run.
#include "CQZWebsite.h"

#include "discovery/ApacheDiscovery.h"
#include "core/QZCore.h"

#include <unistd.h>

std::string CQZWebsite::getApachePIDFilePath() {
    const std::string name = qz::firstPlainEntry(qz::sysPath("/var/run"), [](const std::string& entry) {
        return entry.find("apache") != std::string::npos || entry.find("httpd") != std::string::npos;
    });
    if (!name.empty()) return qz::sysPath("/var/run/") + name;
    const std::string fallback = qz::sysPath("/var/run/httpd/httpd.pid");
    return access(fallback.c_str(), F_OK) == 0 ? fallback : "";
}
