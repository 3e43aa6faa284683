// ApacheHelper::Apache_isModuleExistsInVH: whether a domain's <VirtualHost>
// block holds an <IfModule> section for a module.
#include "ApacheHelper.h"

#include "toolkit/DirectiveScan.h"

bool ApacheHelper::Apache_isModuleExistsInVH(std::string httpdConfFile, std::string domainName,
                                             std::string moduleName) {
    using namespace qz;
    const FilePlan& plan = plans::kIsModuleExistsInVH;
    LineReader in(httpdConfFile, plan.limit);
    if (!in.isOpen()) return false;

    BlockScan block(domainName, forms::kIfModule);
    bool exists = false;
    // An over-long line is examined cut to the limit, then ends the scan (the
    // loop until end of file would never end after it).
    scanLines(in, plan, [&](LineReader& line) {
        const char* rest = ifModuleInSite(block, line.c_str());
        exists = rest != nullptr && ifModuleNames(rest, moduleName);
        return exists ? Next::Stop : Next::Line;
    });
    return exists;
}
