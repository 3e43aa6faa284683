// CQZWebsite::Php_disableModule: removes the server-level LoadModule lines of
// a module.
#include "CQZWebsite.h"

#include "HandlerScan.h"

int CQZWebsite::Php_disableModule(std::string apacheConfFile, std::string moduleName) {
    const std::string scratch = qz::str(TEMPFILE);
    // Append mode, on purpose: whatever the scratch file already holds ends
    // up at the top of the configuration.
    qz::OutFile out;
    const bool scratchOpen = !scratch.empty() && out.openAppend(scratch.c_str());
    qz::LineReader in(apacheConfFile, 0);
    if (!in.isOpen()) return 21;
    qz::ServerModuleLine lines;
    while (in.getline()) {
        if (!lines.loads(qz::handlerForm(in.view()), moduleName)) out.writeLine(in.view());
    }
    in.close();
    out.close();
    // A scratch file that could not be written is not moved over the
    // configuration (mv would put an older file there); the result stays 0.
    if (scratchOpen) qz::runShell(qz::shellCommand({"mv", scratch, apacheConfFile}));
    return 0;
}
