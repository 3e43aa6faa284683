// ApacheHelper::Apache_GetHttpdRootPath: the HTTPD_ROOT Apache was built with.
#include "ApacheHelper.h"

#include "discovery/ApacheDiscovery.h"
#include "core/QZCore.h"

std::string qz::httpdRootPath() {
    std::string value;
    std::vector<std::string> lines;
    qz::commandOutput(qz::shellCommand({"apachectl", "-V"}), lines);
    // Every matching line is taken: the last one wins.
    for (const std::string& line : lines) {
        if (line.find("HTTPD_ROOT") == std::string::npos) continue;
        value = qz::trimRightChars(line, "\r\n");
        // Without "=" (npos + 1 is 0) the whole line is kept; an "=" is never
        // trimmed away, so the position stays inside the trimmed text.
        value = value.substr(line.find('=') + 1);
        value = qz::trimLeftChars(value, "\"");
        value = qz::trimRightChars(value, "\"");
    }
    return value;
}

std::string ApacheHelper::Apache_GetHttpdRootPath() { return qz::httpdRootPath(); }
