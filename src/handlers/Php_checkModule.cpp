// CQZWebsite::Php_checkModule: whether a server-level LoadModule line names
// a module.
#include "CQZWebsite.h"

#include "handlers/HandlerScan.h"

int CQZWebsite::Php_checkModule(std::string HttpdConfFile, std::string moduleName) {
    qz::LineReader in(HttpdConfFile, qz::kNoLineLimit);
    if (!in.isOpen()) return qz::result::handler::ConfigNotOpened;
    qz::ServerModuleLine lines;
    while (in.getline()) {
        if (lines.loads(qz::handlerForm(in.view()), moduleName)) return qz::result::handler::ModuleLoaded;
    }
    return qz::result::handler::ModuleNotLoaded;
}
