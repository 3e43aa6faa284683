// ApacheHelper::Apache_checkModule: whether a LoadModule line loads a module.
#include "ApacheHelper.h"

#include "toolkit/DirectiveScan.h"
#include "toolkit/Toolkit.h"

int qz::checkModule(const std::string& apacheConfFile, const std::string& moduleName, bool& isExist) {
    using namespace qz;
    isExist = false;
    LineReader in(apacheConfFile, plans::kServerScan.limit);
    if (!in.isOpen()) return qz::result::toolkit::FileNotOpened;

    const BlockScan level(forms::kServerLevel);
    scanLines(in, plans::kServerScan, [&](LineReader& line) {
        const char* p = skipSpace(line.c_str());
        if (isComment(p)) return Next::Line;
        // The skip of a <VirtualHost> block never stops at its closing line:
        // only LoadModule lines before the first block count.
        if (level.opens(p)) return Next::Stop;
        if (startsWithNoCase(p, "LoadModule") && startsWithNoCase(afterName(p, 10), moduleName)) {
            isExist = true;
            return Next::Stop;
        }
        return Next::Line;
    });
    return isExist ? qz::result::toolkit::Done : qz::result::toolkit::ModuleNotFound;
}

int ApacheHelper::Apache_checkModule(std::string apacheConfFile, std::string moduleName, bool& isExist) {
    return qz::checkModule(apacheConfFile, moduleName, isExist);
}
