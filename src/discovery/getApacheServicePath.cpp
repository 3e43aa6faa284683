// CQZWebsite::getApacheServicePath: Apache's init script in /etc/init.d.
#include "CQZWebsite.h"

#include "discovery/ApacheDiscovery.h"
#include "core/QZCore.h"

std::string CQZWebsite::getApacheServicePath() {
    const std::string name = qz::firstPlainEntry(qz::sysPath("/etc/init.d"), [](const std::string& entry) {
        return entry == "apache" || entry == "apache2" || entry == "httpd" || entry == "httpd2";
    });
    return name.empty() ? "" : qz::sysPath("/etc/init.d/") + name;
}
