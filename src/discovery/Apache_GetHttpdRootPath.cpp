// ApacheHelper::Apache_GetHttpdRootPath: the HTTPD_ROOT Apache was built with.
#include "ApacheHelper.h"

#include "core/QZCore.h"

std::string ApacheHelper::Apache_GetHttpdRootPath() {
    std::string value;
    std::vector<std::string> lines;
    GetCommandOutput(qz::shellCommand({"apachectl", "-V"}), lines);
    // Every matching line is taken: the last one wins.
    for (const std::string& line : lines) {
        if (line.find("HTTPD_ROOT") == std::string::npos) continue;
        value = TrimRightChars(line, "\r\n");
        // Without "=" (npos + 1 is 0) the whole line is kept; an "=" is never
        // trimmed away, so the position stays inside the trimmed text.
        value = value.substr(line.find('=') + 1);
        value = TrimLeftChars(value, "\"");
        value = TrimRightChars(value, "\"");
    }
    return value;
}
