// The scan StopWebsite and StartWebsite share: a website's <VirtualHost>
// block commented out line by line, and back in.
#include "website/WebsiteSwitch.h"

#include "core/BlockScan.h"
#include "core/QZCore.h"
#include "core/RewritePlan.h"
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

// The scratch file is opened first. When it cannot be, nothing is moved over
// the configuration: an old scratch file would otherwise replace it. When
// nothing changed, the scratch file is left where it is.
constexpr FilePlan kSwitchPlan{nullptr, nullptr, kNoLineLimit, LoopEnd::EndOfFile, EmptyLines::Skipped,
                               OpenOrder::ScratchOptional, Unchanged::Left, Leftover::Kept};

int switchWebsite(const char* httpdConfFile, const char* scratch, const char* domain, SwitchTo to) {
    const std::string name = str(domain);
    BlockScan block(name, forms::kWebsiteSwitch);
    std::string held;  // the lines of the open block, each ended by a newline
    const Rewritten end = rewriteFile(str(httpdConfFile), scratch == nullptr ? "" : scratch, kSwitchPlan,
                                      [&](LineReader& in, Rewrite& out, bool& changed) {
        const std::string_view line = in.view();
        if (to == SwitchTo::Stopped && *skipSpace(in.c_str()) == '#') {
            // Stopping writes a comment line at once, so inside a block it
            // moves up above the block; starting reads it as a live line.
            out.writeLine(line);
            return Next::Line;
        }
        const bool inBlock = block.inBlock();
        const BlockLine kind = block.examine(in.c_str());
        if (!inBlock && !block.opened()) {
            out.writeLine(line);
            return Next::Line;
        }
        held.append(line);
        held += '\n';
        if (kind == BlockLine::Closing || kind == BlockLine::SiteClosing) {
            if (kind == BlockLine::Closing) out.write(held);
            for (size_t at = 0, stop; kind == BlockLine::SiteClosing && at < held.size(); at = stop + 1) {
                stop = held.find('\n', at);
                writeSwitched(out.out(), std::string_view(held).substr(at, stop - at), to);
            }
            changed = changed || kind == BlockLine::SiteClosing;
            held.clear();
        }
        return Next::Line;
    });
    // A block still open at the end of the file is not written back.
    switch (end) {
    case Rewritten::FileNotOpened:
        sayLine(qz::msg::kConfigNotOpened);
        return qz::result::ConfigNotOpened;
    case Rewritten::NotWritten:
        return qz::result::ScratchNotWritten;
    case Rewritten::ScratchNotOpened:
    case Rewritten::Replaced:
    case Rewritten::Withheld:
    case Rewritten::Unchanged:
    case Rewritten::TooLong:
        break;
    }
    return 0;
}

}  // namespace qz
