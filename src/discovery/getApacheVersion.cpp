// getApacheVersion: the version of the local Apache from "apachectl -v",
// "httpd -v" or "apache2 -v".
#include "QZCommon.h"

#include "core/QZCore.h"

#include <cstdlib>

namespace {

// The first line a command prints: characters up to a carriage return, a line
// feed, the byte 255 or the end of the output (none of them kept).
std::string firstLineOf(const char* command) {
    std::string line;
    qz::ShellPipe pipe(qz::shellCommand({command, "-v"}));
    // A command that could not be started reads as no output.
    if (pipe.get() == nullptr) return line;
    for (int c = fgetc(pipe.get()); c != EOF && c != '\r' && c != '\n' && c != 255; c = fgetc(pipe.get()))
        line += static_cast<char>(c);
    return line;
}

// atoi as the C library defines it, without its undefined overflow: the same
// value glibc gives for every input.
int toInt(const std::string& text) {
    return static_cast<int>(std::strtol(text.c_str(), nullptr, 10));
}

}  // namespace

void getApacheVersion(int& major, int& minor, int& minorMinor) {
    major = minor = minorMinor = -1;
    std::string line = firstLineOf("apachectl");
    if (line.size() <= 4) line = firstLineOf("httpd");
    if (line.size() <= 4) line = firstLineOf("apache2");

    // Five characters are enough to accept a line above but not to parse it.
    if (line.size() > 5) {
        size_t pos = line.find('/');
        if (pos != std::string::npos) line.erase(0, pos + 1);
        pos = line.find(' ');
        if (pos != std::string::npos) line.erase(pos);
        pos = line.find('.');
        if (pos != std::string::npos) {
            major = toInt(line.substr(0, pos));
            line.erase(0, pos + 1);
            pos = line.find('.');
            if (pos != std::string::npos) {
                minor = toInt(line.substr(0, pos));
                line.erase(0, pos + 1);
                if (!line.empty()) minorMinor = toInt(line);
            }
        }
    }
    qz::sayLine("major=" + std::to_string(major));
    qz::sayLine("minor=" + std::to_string(minor));
    qz::sayLine("minorMinor=" + std::to_string(minorMinor));
}
