// CQZWebsite::DeleteWebsite: removes every <VirtualHost> block of a domain.
#include "CQZWebsite.h"

#include "handlers/PhpFpm.h"
#include "website/MaintenancePage.h"
#include "core/BlockScan.h"
#include "core/QZCore.h"
#include "core/RewritePlan.h"
#include "core/QZLock.h"
#include "core/Messages.h"

namespace {
// The configuration is copied whole to the manager's scratch file, the
// site's blocks left out, and replaced by it.
constexpr qz::FilePlan kDeletePlan{nullptr, nullptr, qz::kConfigLineLimit, qz::LoopEnd::EndOfFile,
                                   qz::EmptyLines::Handed, qz::OpenOrder::FileFirst, qz::Unchanged::Replaced,
                                   qz::Leftover::Kept};
}  // namespace

char CQZWebsite::DeleteWebsite(const char* pDName, char /*DomainType*/) {
    const qz::OperationLock lock;
    const std::string domain = qz::str(pDName);
    qz::trackMethod(TrackManager, "DeleteWebsite", {domain}, {"pDName"});

    if (qz::isEmpty(HttpdConfFile)) return qz::result::NoConfigFile;
    // Each block's text is held back until its closing line decides
    // whether it goes. Moving a copy cut short at an over-long line would lose
    // the rest of the configuration, so that case leaves it as it is.
    qz::BlockScan block(domain, qz::forms::kWebsiteDelete);
    std::string held;
    const qz::Rewritten end = qz::rewriteFile(HttpdConfFile, qz::str(TEMPFILE), kDeletePlan,
                                              [&](qz::LineReader& in, qz::Rewrite& out, bool&) {
        const std::string_view line = in.view();
        const bool open = block.inBlock();
        const qz::BlockLine kind = block.examine(in.c_str());
        if (kind == qz::BlockLine::Opening) {
            if (open) out.write(held);  // the previous block was never closed
            held.assign(line);
            held += '\n';
        } else if (open) {
            held.append(line);
            held += '\n';
            if (kind == qz::BlockLine::Closing) out.write(held);
            if (kind == qz::BlockLine::Closing || kind == qz::BlockLine::SiteClosing) held.clear();
        } else if (!line.empty()) {
            out.writeLine(line);
        }
        return qz::Next::Line;
    });
    switch (end) {
    case qz::Rewritten::Replaced:
    case qz::Rewritten::Withheld:
    case qz::Rewritten::Unchanged:
        break;
    case qz::Rewritten::FileNotOpened:
        qz::say(qz::msg::kConfigFileNotOpened);
        return qz::result::ConfigNotOpened;
    case qz::Rewritten::TooLong:
        return qz::result::ConfigNotOpened;
    case qz::Rewritten::ScratchNotOpened:
        qz::say(qz::msg::kScratchNotOpened);
        return qz::result::ScratchNotWritten;
    case qz::Rewritten::NotWritten:
        return qz::result::ScratchNotWritten;
    }
    // A pool left behind would stop php-fpm, for every site, once the
    // site's user is deleted.
    qz::fpm::removePools(domain);
    // The maintenance page would otherwise outlive the site.
    qz::removeMaintenancePage(domain);
    return qz::result::website::Deleted;
}
