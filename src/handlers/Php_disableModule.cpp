// CQZWebsite::Php_disableModule: removes the server-level LoadModule lines of
// a module.
#include "CQZWebsite.h"

#include "handlers/HandlerScan.h"
#include "core/QZLock.h"

int CQZWebsite::Php_disableModule(std::string apacheConfFile, std::string moduleName) {
    const qz::OperationLock lock;
    const std::string scratch = qz::str(TEMPFILE);
    // Append mode, on purpose: whatever the scratch file already holds ends
    // up at the top of the configuration.
    qz::Rewrite rewrite(scratch, apacheConfFile);
    const bool scratchOpen = !scratch.empty() && rewrite.openAppend();
    qz::OutFile& out = rewrite.out();
    qz::LineReader in(apacheConfFile, qz::kNoLineLimit);
    if (!in.isOpen()) return qz::result::handler::ConfigNotOpened;
    qz::ServerModuleLine lines;
    while (in.getline()) {
        if (!lines.loads(qz::handlerForm(in.view()), moduleName)) out.writeLine(in.view());
    }
    in.close();
    // A scratch file that could not be opened, or written whole, is not moved
    // over the configuration (mv would put an older or a short file there);
    // the result stays 0.
    if (scratchOpen) static_cast<void>(rewrite.commit());
    return qz::result::handler::Rewritten;
}
