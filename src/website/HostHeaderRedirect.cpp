#include "website/HostHeaderRedirect.h"

#include "core/QZCore.h"

#include <cstdio>
#include <unistd.h>

namespace qz {

bool isAliasLine(std::string_view line) {
    for (size_t i = 0; i < line.size(); ++i) {
        const char c = line[i];
        if ((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z')) return line.substr(i, 11) == "ServerAlias";
    }
    return false;
}

void rewriteRedirectAliases(const std::string& domain,
                            const std::function<std::string(std::string_view, RedirectLayout)>& change) {
    std::string file = sysPath("/etc/apache2/qz/") + domain + ".conf";
    RedirectLayout layout = RedirectLayout::Debian;
    if (access(file.c_str(), F_OK) != 0) {
        file = sysPath("/etc/httpd/qz/") + domain + ".conf";
        layout = RedirectLayout::RedHat;
        if (access(file.c_str(), F_OK) != 0) return;
    }
    const std::string temp = sysPath("/etc/temp");
    OutFile out;
    // When the scratch file cannot be written (a folder or a link stands at
    // its name), the redirect file is left as it is: deleting it and renaming
    // whatever stands there would lose it.
    if (!out.open(temp.c_str())) return;
    LineReader in(file, kNoLineLimit);
    while (in.isOpen() && in.nextUntilEof()) {
        const std::string_view line = in.view();
        out.writeLine(isAliasLine(line) ? change(line, layout) : std::string(line));
    }
    in.close();
    // A copy that could not be written whole is not put in its place.
    if (!out.finish()) {
        std::remove(temp.c_str());
        return;
    }
    // Renamed over the redirect file, which is never missing meanwhile.
    replaceByRename(temp, file);
}

}  // namespace qz
