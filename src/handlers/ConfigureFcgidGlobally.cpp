// CQZWebsite::ConfigureFcgidGlobally: the server-level mod_fcgid settings.
#include "CQZWebsite.h"

#include "toolkit/DirectiveScan.h"
#include "toolkit/Toolkit.h"
#include "core/QZLock.h"
#include "core/Validate.h"

int CQZWebsite::ConfigureFcgidGlobally(std::string HttpdConfFile, std::string Module) {
    const qz::OperationLock lock;
    qz::trackMethod(TrackManager, "ConfigureFcgidGlobally", {HttpdConfFile, Module}, {"HttpdConfFile", "Module"});
    if (!qz::isTagSafe(Module)) return qz::result::handler::FcgidModuleRefused;
    std::string socketPath, sharememPath;
    qz::directiveValue(HttpdConfFile, "SocketPath", socketPath, false);
    qz::directiveValue(HttpdConfFile, "SharememPath", sharememPath, false);
    qz::sayLine("SocketPath=" + socketPath);
    qz::sayLine("SharememPath=" + sharememPath);
    if (!socketPath.empty() || !sharememPath.empty()) return qz::result::handler::Rewritten;

    const std::string block = "<IfModule " + Module + ".c>\n"
                              "\tSocketPath /tmp/mod_fcgid/\n"
                              "\tSharememPath /tmp/mod_fcgid/fcgid_shm\n"
                              "</IfModule>";
    const std::string folder = qz::sysPath("/tmp/mod_fcgid");

    // Every column-1 Include line gets its own block: earlier blocks are not
    // looked for. A line over 2999 characters ends the copy: the
    // configuration is left as it is (neither moved over nor appended to)
    // and 1 is returned, since a copy cut short would lose the rest of the
    // file. Without an Include line the scratch copy stays.
    constexpr qz::FilePlan plan{nullptr, ".efcgid", qz::kConfigLineLimit, qz::LoopEnd::StreamFailure,
                                qz::EmptyLines::Handed, qz::OpenOrder::FileFirst, qz::Unchanged::Left,
                                qz::Leftover::Kept, qz::LongLine::LeavesFile};
    const qz::Rewritten end = qz::rewriteFile(HttpdConfFile, HttpdConfFile + plan.scratchSuffix, plan,
                                              [&](qz::LineReader& in, qz::Rewrite& out, bool& written) {
        if (qz::startsWithNoCase(in.c_str(), "Include")) {
            out.writeLine(block);
            qz::runShell(qz::shellCommand({"mkdir", folder}));
            qz::runShell(qz::shellCommand({"chmod", "777", folder}));
            written = true;
        }
        out.writeLine(in.view());
        return qz::Next::Line;
    });
    switch (end) {
    case qz::Rewritten::Replaced: return qz::result::handler::Rewritten;
    case qz::Rewritten::FileNotOpened:
    case qz::Rewritten::TooLong: return qz::result::handler::FcgidFileNotOpened;
    case qz::Rewritten::ScratchNotOpened:
    case qz::Rewritten::NotWritten: return qz::result::handler::FcgidScratchNotOpened;
    case qz::Rewritten::Withheld:
    case qz::Rewritten::Unchanged: break;
    }
    // No Include line: the block goes at the end.
    return qz::appendLine(HttpdConfFile, block) ? qz::result::handler::Rewritten
                                                : qz::result::handler::FcgidFileNotOpened;
}
