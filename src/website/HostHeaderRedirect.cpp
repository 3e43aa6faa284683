#include "website/HostHeaderRedirect.h"

#include "core/QZCore.h"
#include "core/RewritePlan.h"

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
    // The scratch file /etc/temp opens first. When it cannot be written (a
    // folder or a link stands at its name), the redirect file is left as it
    // is: deleting it and renaming whatever stands there would lose it. A
    // redirect file that does not open is copied as an empty one (an empty
    // folder standing at its name gives way to the copy). The copy is
    // renamed over the redirect file, which is never missing meanwhile; one
    // not written whole is not.
    constexpr FilePlan plan{nullptr, nullptr, kNoLineLimit, LoopEnd::EndOfFile, EmptyLines::Handed,
                            OpenOrder::ScratchFirst, Unchanged::Replaced, Leftover::Deleted, LongLine::EndsCopy,
                            Placing::Rename, ScratchStart::Empty, Unopened::ReadsEmpty};
    static_cast<void>(rewriteFile(file, sysPath("/etc/temp"), plan, [&](LineReader& in, Rewrite& out, bool&) {
        const std::string_view line = in.view();
        out.writeLine(isAliasLine(line) ? change(line, layout) : std::string(line));
        return Next::Line;
    }));
}

}  // namespace qz
