#include "handlers/PhpFpm.h"

#include "core/BlockScan.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qz::fpm {

namespace {
constexpr size_t kSocketLimit = 107;  // sun_path holds 108 bytes, its NUL included

bool digits(const std::string& text, size_t from, size_t to) {
    if (to <= from || to - from > 3) return false;
    for (size_t i = from; i < to; ++i)
        if (text[i] < '0' || text[i] > '9') return false;
    return true;
}

const char* const kFilesMatch = "\t<FilesMatch \"\\.php$\">";
const char* const kIf = "\t\t<If \"-f %{REQUEST_FILENAME}\">";
const char* const kHandlerOpen = "\t\t\tSetHandler \"proxy:unix:";
const char* const kHandlerClose = "|fcgi://localhost\"";
const char* const kIfEnd = "\t\t</If>";
const char* const kFilesMatchEnd = "\t</FilesMatch>";

bool endsWith(const std::string& text, std::string_view end) {
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// Whether lines[i..i+4] are a section, whatever its socket.
bool sectionAt(const std::vector<std::string>& lines, size_t i) {
    if (i + 5 > lines.size()) return false;
    const std::string& handler = lines[i + 2];
    return lines[i] == kFilesMatch && lines[i + 1] == kIf && handler.rfind(kHandlerOpen, 0) == 0 &&
           endsWith(handler, kHandlerClose) && lines[i + 3] == kIfEnd && lines[i + 4] == kFilesMatchEnd;
}

}  // namespace

bool validVersion(const std::string& version) {
    const size_t dot = version.find('.');
    return dot != std::string::npos && digits(version, 0, dot) && digits(version, dot + 1, version.size());
}

bool validDomain(const std::string& domain) {
    if (domain.empty() || domain.size() > 253 || domain[0] == '.' || domain[0] == '-') return false;
    return std::all_of(domain.begin(), domain.end(), [](char c) {
        const unsigned char u = static_cast<unsigned char>(c);
        return u >= 0x80 || isalnum(u) || c == '.' || c == '-' || c == '_';
    });
}

std::string poolName(const std::string& domain) {
    // ServerName matches ignore case: so does the pool's name.
    std::string name = "qz-" + domain;
    for (char& c : name) c = static_cast<char>(tolower(static_cast<unsigned char>(c)));
    return name;
}

std::string poolFolder(const std::string& version) { return sysPath("/etc/php/" + version + "/fpm/pool.d"); }

std::string poolFile(const std::string& version, const std::string& domain) {
    return poolFolder(version) + "/" + poolName(domain) + ".conf";
}

std::string mainFile(const std::string& version) { return sysPath("/etc/php/" + version + "/fpm/php-fpm.conf"); }

std::string socketPath(const std::string& domain) {
    const std::string folder = sysPath("/run/php/");
    std::string path = folder + poolName(domain) + ".sock";
    if (path.size() <= kSocketLimit) return path;
    uint64_t hash = 1469598103934665603ull;  // FNV-1a
    for (unsigned char c : poolName(domain)) hash = (hash ^ c) * 1099511628211ull;
    char hex[17];
    snprintf(hex, sizeof hex, "%016llx", static_cast<unsigned long long>(hash));
    // A root too long even for the short name gives a path php-fpm refuses
    // in its check.
    return folder + "qz-" + hex + ".sock";
}

std::vector<std::string> versions() {
    std::vector<std::string> found;
    DIR* dir = opendir(sysPath("/etc/php").c_str());
    if (dir == nullptr) return found;
    while (const dirent* entry = readdir(dir))
        if (validVersion(entry->d_name)) found.emplace_back(entry->d_name);
    closedir(dir);
    std::sort(found.begin(), found.end());
    return found;
}

int removePools(const std::string& domain, const std::string& keep) {
    int removed = 0;
    if (!validDomain(domain)) return 0;
    for (const std::string& version : versions())
        if (version != keep && std::remove(poolFile(version, domain).c_str()) == 0) ++removed;
    return removed;
}

bool onPath(const std::string& name) {
    const char* path = getenv("PATH");
    if (path == nullptr || name.find('/') != std::string::npos) return false;
    std::string_view rest(path);
    while (true) {
        const size_t colon = rest.find(':');
        const std::string folder(rest.substr(0, colon));
        struct stat st;
        const std::string file = (folder.empty() ? "." : folder) + "/" + name;
        if (stat(file.c_str(), &st) == 0 && S_ISREG(st.st_mode) && access(file.c_str(), X_OK) == 0) return true;
        if (colon == std::string_view::npos) return false;
        rest.remove_prefix(colon + 1);
    }
}

bool writablePath(const std::string& path) {
    if (path.empty() || path[0] != '/') return false;
    for (unsigned char c : path)
        if (c < 0x20 || c == 0x7f || c == ':' || c == '"' || c == '\\' || c == '$') return false;
    return path.find("/../") == std::string::npos && !endsWith(path, "/..");
}

std::vector<std::string> section(const std::string& socket) {
    return {kFilesMatch, kIf, kHandlerOpen + socket + kHandlerClose, kIfEnd, kFilesMatchEnd};
}

bool SiteConf::read(const char* conf, const std::string& domain) {
    domain_ = domain;
    LineReader in(conf, kNoLineLimit);
    if (!in.isOpen()) return false;
    while (in.getline()) lines.emplace_back(in.view());
    BlockScan walk(domain, forms::kPhpFpm);
    for (const std::string& line : lines) {
        walk.examine(line.c_str());
        if (!walk.inSite()) continue;
        found = true;
        const WordLine w(skipSpace(line.c_str()));
        if (w.is("<IfModule")) {
            for (const char* module : {"mod_php", "mod_suphp", "mod_fcgid"})
                if (startsWithNoCase(w.rest, module)) otherHandler = true;
        } else if (w.is("DocumentRoot") && documentRoot.empty()) {
            if (!firstQuoted(w.rest, documentRoot)) documentRoot = w.rest;
        }
    }
    return true;
}

std::vector<std::string> SiteConf::edited(const std::string& socket, bool& changed) const {
    std::vector<std::string> out;
    out.reserve(lines.size() + 5);
    BlockScan walk(domain_, forms::kPhpFpm);
    for (size_t i = 0; i < lines.size(); ++i) {
        if (walk.inSite() && sectionAt(lines, i)) {
            i += 4;
            continue;
        }
        const bool siteBlock = walk.inBlock() && walk.inSite();
        const BlockLine kind = walk.examine(lines[i].c_str());
        if ((kind == BlockLine::Closing || kind == BlockLine::SiteClosing) && siteBlock && !socket.empty())
            for (std::string& line : section(socket)) out.push_back(std::move(line));
        out.push_back(lines[i]);
    }
    changed = out != lines;
    return out;
}

std::vector<std::string> SiteConf::withModuleBasedir(const std::string& value, int& blocks) const {
    std::vector<std::string> out;
    out.reserve(lines.size() + 1);
    blocks = 0;
    BlockScan walk(domain_, forms::kPhpFpm);
    bool inModule = false;
    for (const std::string& line : lines) {
        walk.examine(line.c_str());
        const WordLine w(skipSpace(line.c_str()));
        if (walk.inSite() && w.is("<IfModule") && startsWithNoCase(w.rest, "mod_php")) {
            inModule = true;
            ++blocks;
        } else if (inModule && w.is("php_admin_value") && WordLine(w.rest).is("open_basedir")) {
            continue;
        } else if (inModule && w.is("</IfModule>")) {
            inModule = false;
            if (!value.empty()) out.push_back("\t\tphp_admin_value open_basedir \"" + value + "\"");
        }
        out.push_back(line);
    }
    return out;
}

bool writeLines(const std::string& scratch, const std::string& conf, const std::vector<std::string>& lines) {
    Rewrite rewrite(scratch, conf);
    if (scratch.empty() || !rewrite.open()) return false;
    for (const std::string& line : lines) rewrite.out().writeLine(line);
    return rewrite.commit();
}

}  // namespace qz::fpm
