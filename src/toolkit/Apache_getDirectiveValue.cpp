// ApacheHelper::Apache_getDirectiveValue: the value of the first server-level
// occurrence of a directive.
#include "ApacheHelper.h"

#include "toolkit/DirectiveScan.h"
#include "toolkit/Toolkit.h"
#include "core/Messages.h"

int qz::directiveValue(const std::string& apacheConfFile, const std::string& directive, std::string& value,
                       bool isValueQuoted) {
    using namespace qz;
    value.clear();
    if (directive.empty()) return qz::result::toolkit::EmptyDirective;
    LineReader in(apacheConfFile, plans::kServerScan.limit);
    if (!in.isOpen()) return qz::result::toolkit::FileNotOpened;

    int result = 6;
    const BlockScan level(forms::kServerLevel);
    scanLines(in, plans::kServerScan, [&](LineReader& line) {
        const char* p = skipSpace(line.c_str());
        if (level.opens(p)) {
            skipVirtualHost(in, plans::kSkippedHostLimit);
            return Next::Line;
        }
        if (!startsWithNoCase(p, directive)) return Next::Line;
        if (!isValueQuoted) {
            value = valueAfter(p, directive.size());
            result = 0;
            return Next::Stop;
        }
        // The first matching line decides, quoted or not.
        std::string quoted;
        if (!firstQuoted(line.c_str(), quoted)) {
            result = 3;
            return Next::Stop;
        }
        sayLine(qz::msg::kReturningWithQuote);
        value = quoted;
        result = 0;
        return Next::Stop;
    });
    return result;
}

int ApacheHelper::Apache_getDirectiveValue(std::string apacheConfFile, std::string directive, std::string& value,
                                           bool isValueQuoted) {
    return qz::directiveValue(apacheConfFile, directive, value, isValueQuoted);
}
