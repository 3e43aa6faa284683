// CQZWebsite::Php_disableModule: removes the server-level LoadModule lines of
// a module.
#include "CQZWebsite.h"

#include "handlers/HandlerScan.h"
#include "core/QZLock.h"

int CQZWebsite::Php_disableModule(std::string apacheConfFile, std::string moduleName) {
    const qz::OperationLock lock;
    // Append mode, on purpose: whatever the scratch file already holds ends
    // up at the top of the configuration. A scratch file that could not be
    // opened, or written whole, is not moved over the configuration (mv
    // would put an older or a short file there); the result stays 0.
    constexpr qz::FilePlan plan{nullptr, nullptr, qz::kNoLineLimit, qz::LoopEnd::StreamFailure,
                                qz::EmptyLines::Handed, qz::OpenOrder::ScratchOptional, qz::Unchanged::Replaced,
                                qz::Leftover::Kept, qz::LongLine::EndsCopy, qz::Placing::MoveCommand,
                                qz::ScratchStart::Appended};
    qz::ServerModuleLine lines;
    const qz::Rewritten end = qz::rewriteFile(apacheConfFile, qz::str(TEMPFILE), plan,
                                              [&](qz::LineReader& in, qz::Rewrite& out, bool&) {
        if (!lines.loads(qz::handlerForm(in.view()), moduleName)) out.writeLine(in.view());
        return qz::Next::Line;
    });
    if (end == qz::Rewritten::FileNotOpened) return qz::result::handler::ConfigNotOpened;
    return qz::result::handler::Rewritten;
}
