// The <VirtualHost> block website creation writes, shared by CreateWebsite
// and WriteWebsiteEntry.
#include "website/WebsiteEntry.h"

#include "QZCommon.h"
#include "core/QZCore.h"

namespace qz {

std::string webServerPort() {
    std::string port = "80";
    getParamFromQZConfFile(sysPath("/etc/QZ.conf"), port, "WebServerPort");
    return port;
}

namespace {

// The LVEId line's number, or 0 for none: only under the LVE condition, and
// the first site of a file (no LVEId yet) deliberately gets none.
int nextLveId(const char* httpdConfFile) {
    std::string handler, suexec;
    getParamFromQZConfFile(sysPath("/etc/QZ.conf"), handler, "PHPHandler");
    getParamFromQZConfFile(sysPath("/etc/QZ.conf"), suexec, "SUexecSetting");
    const bool lveHandler = handler == "dso" || (handler == "fcgid" && suexec == "disabled");
    if (!lveHandler || !ISCloudLinux()) return 0;
    const int highest = ExtractHighestLVEid(str(httpdConfFile));
    return highest == 0 ? 0 : highest + 1;
}

}  // namespace

std::string websiteEntry(const VHostEntry& site, const char* httpdConfFile) {
    const std::string port = webServerPort();
    const std::string ip = field(site.IPAddress);
    const std::string domain = field(site.DName);
    const std::string puny = field(site.PunyCode);
    const std::string root = field(site.Path) + domain;

    std::string address;
    if (ip.find(':') != std::string::npos)
        address = "[" + ip + "]" + (site.IPSwitch == '1' ? ":" + port : "");
    else
        address = IsPortEnabled ? ip + ":" + port : ip;
    const std::string aliases = puny == domain ? "www." + domain : puny + " www." + puny;
    const int lveId = nextLveId(httpdConfFile);

    std::string text = "\n";
    text += "<VirtualHost " + address + ">\n";
    text += "\tServerName " + domain + "\n";
    text += "\tServerAdmin " + field(site.ServerAdmin) + "@" + puny + "\n";
    text += "\tDocumentRoot \"" + root + "/www/html\"\n";
    text += "\tServerAlias " + aliases + "\n";
    text += "\tErrorLog " + root + "/log/httpd/error_log\n";
    text += "\tCustomLog " + root + "/log/httpd/access_log combined\n";
    text += "\t<Directory \"" + root + "\">\n";
    if (lveId != 0) text += "\t\tLVEId " + std::to_string(lveId) + "\n";
    text += "\t\tAllowOverride All\n";
    text += "\t</Directory>\n";
    text += "\t<Directory \"" + root + "/www\">\n";
    text += "\t</Directory>\n";
    text += "</VirtualHost>\n";
    return text;
}

}  // namespace qz
