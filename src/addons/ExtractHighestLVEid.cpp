// The highest LVEId number of a configuration file.
#include "QZCommon.h"

#include "core/QZCore.h"

#include <climits>
#include <cstdlib>

// Every "LVEId <number>" line counts, a commented-out one (a stopped site)
// included, so a stopped site's id is never handed out again. 0 when the file
// has none or cannot be read.
int ExtractHighestLVEid(std::string httpdConfFile) {
    qz::LineReader in(httpdConfFile, qz::kNoLineLimit);
    int highest = 0;
    while (in.nextUntilEof()) {
        const char* p = qz::skipSpace(in.c_str());
        if (*p == '#') p = qz::skipSpace(p + 1);
        if (!qz::startsWithNoCase(p, "LVEId") || !isspace(static_cast<unsigned char>(p[5]))) continue;
        const long id = strtol(p + 5, nullptr, 10);
        // An id that the next site could not follow (INT_MAX and up) is ignored.
        if (id > highest && id < INT_MAX) highest = static_cast<int>(id);
    }
    return highest;
}
