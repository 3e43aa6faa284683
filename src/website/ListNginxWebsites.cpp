// CQZWebsite::ListNginxWebsites: the first server_name of enabled nginx sites.
#include "CQZWebsite.h"

#include "core/QZCore.h"

#include <algorithm>
#include <unistd.h>

namespace {

// The first word after "server_name" in a site file, with whatever ends it
// (a single name keeps its ";"). False when no line names one.
bool firstServerName(const std::string& path, std::string& name) {
    qz::LineReader site(path, qz::kNoLineLimit);
    if (!site.isOpen()) return false;
    while (site.nextUntilEof()) {
        std::string_view line = site.view();
        // Leading blanks go; a tab is not a blank here.
        line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
        if (line.substr(0, 11) != "server_name") continue;
        line = line.size() > 12 ? line.substr(12) : std::string_view();
        name.assign(line.substr(0, line.find(' ')));
        return true;
    }
    return false;
}

}  // namespace

char CQZWebsite::ListNginxWebsites(std::vector<std::string>& DomainList, std::string listfile) {
    std::string path = qz::sysPath("/etc/nginx/sites-enabled/");
    qz::LineReader list(listfile, qz::kNoLineLimit);
    if (!list.isOpen()) return 0;
    // The path is never reset: each entry is appended to the ones before it.
    // The final empty read of the list looks at the last path once more.
    while (list.nextUntilEof()) {
        path.append(list.view());
        std::string name;
        if (access(path.c_str(), F_OK) == 0 && firstServerName(path, name)) DomainList.push_back(name);
    }
    return 0;
}
