// ApacheHelper::Apache_isDirectiveWithValueExists: whether a server-level line
// gives a directive exactly a value.
#include "ApacheHelper.h"

#include "toolkit/DirectiveScan.h"
#include "toolkit/Toolkit.h"
#include "core/Messages.h"

bool qz::directiveWithValueExists(const std::string& apacheConfFile, const std::string& directive,
                                  const std::string& value, bool isValueQuoted) {
    using namespace qz;
    if (directive.empty()) return false;
    LineReader in(apacheConfFile, plans::kServerScan.limit);
    if (!in.isOpen()) return false;

    bool exists = false;
    const BlockScan level(forms::kServerDirective);
    scanLines(in, plans::kServerScan, [&](LineReader& line) {
        const char* p = skipSpace(line.c_str());
        if (isComment(p)) return Next::Line;
        // A bare "<VirtualHost>" opens nothing here; it goes on to the
        // directive test like any other line.
        if (level.opens(p)) {
            skipVirtualHost(in, plans::kServerScan.limit);
            return Next::Line;
        }
        if (!startsWithNoCase(p, directive)) return Next::Line;
        if (!isValueQuoted) {
            sayLine(qz::msg::kWithoutQuotes);
            if (value != valueAfter(p, directive.size())) return Next::Line;
            sayLine("found");
            exists = true;
            return Next::Stop;
        }
        std::string quoted;
        if (!firstQuoted(line.c_str(), quoted)) return Next::Line;
        sayLine(qz::msg::kReturningWithQuote);
        if (quoted != value) return Next::Line;
        exists = true;
        return Next::Stop;
    });
    return exists;
}

bool ApacheHelper::Apache_isDirectiveWithValueExists(std::string apacheConfFile, std::string directive,
                                                     std::string value, bool isValueQuoted) {
    return qz::directiveWithValueExists(apacheConfFile, directive, value, isValueQuoted);
}
