// CQZWebsite::getApacheServerRoot: the ServerRoot of a configuration, or the
// HTTPD_ROOT that apachectl reports.
#include "CQZWebsite.h"

#include "discovery/ApacheDiscovery.h"
#include "core/QZCore.h"

namespace {

// The quoted value of the first ServerRoot directive that starts in column 1
// ("" when that directive is unquoted or there is none).
std::string serverRootInFile(const std::string& confFile) {
    qz::LineReader in(confFile, qz::kConfigLineLimit);
    if (!in.isOpen()) return "";
    while (in.good()) {
        in.getline();
        const char* p = qz::skipSpace(in.c_str());
        if (*p == '#') continue;
        // The raw line, not the trimmed one: an indented ServerRoot does not count.
        if (!qz::startsWithNoCase(in.c_str(), "ServerRoot")) continue;
        std::string root;
        qz::firstQuoted(qz::afterName(p, 10), root);
        return root;
    }
    return "";
}

// What "apachectl -V | grep HTTPD_ROOT" prints on its first line (at most
// 49 characters), cut down to the value behind "=".
std::string httpdRootFromApachectl() {
    qz::ShellPipe pipe(qz::shellCommand({"apachectl", "-V"}) + " | " + qz::shellCommand({"grep", "HTTPD_ROOT"}));
    // A command that could not be started gives no root.
    if (pipe.get() == nullptr) return "";
    char buf[50] = {};
    if (fgets(buf, sizeof buf, pipe.get()) == nullptr) buf[0] = '\0';
    const std::string line = buf;
    // Unsigned arithmetic as written: with no "=" (npos) the value starts at
    // 0 (unquoted) or 1 (quoted); a count that goes below zero takes the rest.
    const size_t e = line.find('=');
    if (line.find('"') == std::string::npos) return line.substr(e + 1);
    const size_t start = e + 2;
    // "=" as the last character would start past the end: no value then.
    if (start > line.size()) return "";
    return line.substr(start, line.size() - e - 4);
}

}  // namespace

std::string qz::apacheServerRoot(const std::string& conf) {
    std::string root = serverRootInFile(conf);
    if (root.empty()) root = httpdRootFromApachectl();
    return root;
}

std::string CQZWebsite::getApacheServerRoot(std::string apacheConfFile) { return qz::apacheServerRoot(apacheConfFile); }
