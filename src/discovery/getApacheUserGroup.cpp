// getApacheUserGroup: the user and group Apache runs its children as.
#include "QZCommon.h"

#include "discovery/ApacheDiscovery.h"
#include "core/BlockScan.h"
#include "core/QZCore.h"

namespace {

// A name Apache or a shell file gives: none of quotes, blanks, '$' (an
// unexpanded variable) or control characters.
bool plainName(std::string_view name) {
    if (name.empty() || name.size() > 64) return false;
    for (unsigned char c : name)
        if (c <= ' ' || c == 0x7f || c == '"' || c == '\'' || c == '$' || c == '\\') return false;
    return true;
}

void take(std::string& into, std::string_view value) {
    if (into.empty() && plainName(value)) into.assign(value);
}

// `User: name="www-data" id=33`: the quoted name.
void fromRunConfig(const std::string& line, const char* key, std::string& into) {
    const std::string head = std::string(key) + ": name=\"";
    if (line.rfind(head, 0) != 0) return;
    const size_t close = line.find('"', head.size());
    if (close != std::string::npos) take(into, std::string_view(line).substr(head.size(), close - head.size()));
}

// `export APACHE_RUN_USER=www-data` (the export and quotes optional).
void fromEnvvars(const char* p, std::string& user, std::string& group) {
    if (qz::startsWithNoCase(p, "export ")) p = qz::skipSpace(p + 7);
    std::string_view line(p);
    while (!line.empty() && (line.back() == ' ' || line.back() == '\t' || line.back() == '\r')) line.remove_suffix(1);
    for (auto [key, into] : {std::pair<std::string_view, std::string*>{"APACHE_RUN_USER=", &user},
                             {"APACHE_RUN_GROUP=", &group}}) {
        if (line.substr(0, key.size()) != key) continue;
        std::string_view value = line.substr(key.size());
        if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') && value.back() == value.front())
            value = value.substr(1, value.size() - 2);
        take(*into, value);
    }
}

// `User www-data` outside <VirtualHost> blocks.
void fromConfiguration(const std::string& file, std::string& user, std::string& group) {
    qz::LineReader in(file, qz::kConfigLineLimit);
    if (!in.isOpen()) return;
    qz::BlockScan block(qz::forms::kServerUser);
    while (in.getline()) {
        if (block.examine(in.c_str()) == qz::BlockLine::Opening || block.inBlock()) continue;
        const qz::WordLine w(block.text());
        std::string_view value(w.rest);
        value = value.substr(0, value.find_first_of(" \t"));
        if (w.is("User")) take(user, value);
        if (w.is("Group")) take(group, value);
    }
}

}  // namespace

bool getApacheUserGroup(std::string& user, std::string& group) {
    user.clear();
    group.clear();
    std::vector<std::string> lines;
    if (qz::commandOutput("apachectl -t -D DUMP_RUN_CFG 2>/dev/null", lines) == 0) {
        for (const std::string& line : lines) {
            fromRunConfig(line, "User", user);
            fromRunConfig(line, "Group", group);
        }
    }
    if (user.empty() || group.empty()) {
        qz::LineReader in(qz::sysPath("/etc/apache2/envvars"), qz::kConfigLineLimit);
        while (in.isOpen() && in.getline()) fromEnvvars(qz::skipSpace(in.c_str()), user, group);
    }
    for (const char* file : {"/etc/apache2/apache2.conf", "/etc/httpd/conf/httpd.conf"})
        if (user.empty() || group.empty()) fromConfiguration(qz::sysPath(file), user, group);
    return !user.empty() && !group.empty();
}
