// ApacheHelper::Apache_checkModulePhysicalPath: whether a module's shared
// object lies in Apache's modules folder.
#include "ApacheHelper.h"

#include "discovery/ApacheDiscovery.h"
#include "toolkit/DirectiveScan.h"

int ApacheHelper::Apache_checkModulePhysicalPath(std::string apacheConfFile, std::string moduleName, bool& isExist) {
    using namespace qz;
    isExist = false;
    LineReader in(apacheConfFile, plans::kServerScan.limit);
    if (!in.isOpen()) return qz::result::toolkit::FileNotOpened;

    // The configuration only has to hold a non-empty line before its first
    // <VirtualHost> block (whose skip reads on to the end of the file).
    bool reached = false;
    const BlockScan level(forms::kServerLevel);
    scanLines(in, plans::kServerScan, [&](LineReader& line) {
        reached = !level.opens(line.c_str());
        return Next::Stop;
    });
    in.close();
    if (!reached) return qz::result::toolkit::ModuleFileAbsent;

    const std::string moduleFile = apacheModulesDir(apacheConfFile) + "/mod_" + moduleName + ".so";
    FILE* f = fopen(moduleFile.c_str(), "re");
    if (f == nullptr) return qz::result::toolkit::ModuleFileAbsent;
    fclose(f);
    isExist = true;
    return 0;
}
