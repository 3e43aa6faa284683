// The scan StopWebsite and StartWebsite share: a website's <VirtualHost>
// block commented out line by line, and back in.
#include "website/WebsiteSwitch.h"

#include "core/QZCore.h"
#include "core/Messages.h"

#include <algorithm>

namespace qz {

namespace {

void writeSwitched(OutFile& out, std::string_view line, SwitchTo to) {
    if (to == SwitchTo::Stopped) {
        if (line.front() != '#') out.write("#");
        out.writeLine(line);
    } else {
        out.writeLine(line.substr(std::min(line.find_first_not_of('#'), line.size())));
    }
}

}  // namespace

int switchWebsite(const char* httpdConfFile, const char* scratch, const char* domain, SwitchTo to) {
    Rewrite rewrite(str(scratch), str(httpdConfFile));
    // The scratch file is opened first. When it cannot be, nothing is moved
    // over the configuration: an old scratch file would otherwise replace it.
    const bool scratchOpen = scratch != nullptr && rewrite.open();
    LineReader in(httpdConfFile, kNoLineLimit);
    if (!in.isOpen()) {
        sayLine(qz::msg::kConfigNotOpened);
        return qz::result::ConfigNotOpened;
    }
    OutFile& out = rewrite.out();
    const std::string name = str(domain);

    bool inBlock = false, target = false, changed = false;
    std::string held;  // the lines of the open block, each ended by a newline
    while (in.nextUntilEof()) {
        if (in.empty()) continue;  // empty lines are dropped
        const std::string_view line = in.view();
        const char* p = skipSpace(in.c_str());
        if (*p == '#') {
            // Stopping writes a comment line at once, so inside a block it
            // moves up above the block; starting reads it as a live line.
            if (to == SwitchTo::Stopped) {
                out.writeLine(line);
                continue;
            }
            p = skipSpace(p + 1);
        }
        if (line.find("<VirtualHost ") != std::string_view::npos &&
            line.find("<VirtualHost>") == std::string_view::npos) {
            inBlock = true;
        } else if (!inBlock) {
            out.writeLine(line);
        }
        if (!inBlock) continue;

        held.append(line);
        held += '\n';
        if (startsWithNoCase(p, "ServerName")) {
            if (serverNameIs(p, name)) target = true;
        } else if (line.find("</VirtualHost>") != std::string_view::npos) {
            inBlock = false;
            if (!target) out.write(held);
            for (size_t at = 0, end; target && at < held.size(); at = end + 1) {
                end = held.find('\n', at);
                writeSwitched(out, std::string_view(held).substr(at, end - at), to);
            }
            changed = changed || target;
            target = false;
            held.clear();
        }
    }
    // A block still open at the end of the file is not written back.
    in.close();
    if (changed && scratchOpen && !rewrite.commit()) return qz::result::ScratchNotWritten;
    return 0;
}

}  // namespace qz
