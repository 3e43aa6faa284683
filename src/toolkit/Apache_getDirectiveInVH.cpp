// ApacheHelper::Apache_getDirectiveInVH: the value of a directive in one
// domain's <VirtualHost> block.
#include "ApacheHelper.h"

#include "toolkit/DirectiveScan.h"
#include "toolkit/Toolkit.h"

int qz::directiveInVH(const std::string& apacheConfFile, const std::string& domainName, const std::string& directive,
                      std::string& value, bool valueQuoted) {
    using namespace qz;
    const FilePlan& plan = plans::kGetDirectiveInVH;
    value.clear();
    LineReader in(apacheConfFile, plan.limit);
    if (!in.isOpen()) return qz::result::toolkit::FileNotOpened;

    int result = 4;
    BlockScan block(domainName, forms::kDirectiveRead);
    scanLines(in, plan, [&](LineReader& line) {
        const bool blockLine = block.examine(line.c_str()) != BlockLine::Other;
        const char* p = block.text();
        if (blockLine || !block.inSite() || !startsWithNoCase(p, directive)) return Next::Line;
        const char* rest = valueAfter(p, directive.size());
        if (!valueQuoted) {
            value = rest;
            result = 0;
            return Next::Stop;
        }
        const char* close = *rest == '"' ? strchr(rest + 1, '"') : nullptr;
        if (close == nullptr) {
            result = 3;
            return Next::Stop;
        }
        value.assign(rest + 1, close);
        result = 0;
        return Next::Stop;
    });
    return result;
}

int ApacheHelper::Apache_getDirectiveInVH(std::string apacheConfFile, std::string domainName, std::string directive,
                                          std::string& value, bool valueQuoted) {
    return qz::directiveInVH(apacheConfFile, domainName, directive, value, valueQuoted);
}
