// ApacheHelper::Apache_DeleteDirectivesInVH: drops directive lines from the
// first <VirtualHost> block of a domain.
#include "ApacheHelper.h"

#include "toolkit/DirectiveScan.h"
#include "core/QZLock.h"

namespace {
// A line that starts with one of the names followed by a single space
// (a name followed by a tab is kept).
bool startsWithAny(const char* p, const std::vector<std::string>& names) {
    for (const std::string& name : names) {
        if (qz::startsWithNoCase(p, name + " ")) return true;
    }
    return false;
}
}  // namespace

int ApacheHelper::Apache_DeleteDirectivesInVH(std::string apacheConfFile, std::string domainName,
                                              std::vector<std::string> directives) {
    const qz::OperationLock lock;
    using namespace qz;
    BlockScan block(domainName, forms::kDirectiveDelete);
    bool done = false;  // the domain's block has closed: the rest is copied as it is
    // `found`: the domain's block was reached (its ServerName line); from
    // there to its closing line, no other line changes that, not even another
    // ServerName. The file is rewritten even when nothing was dropped.
    return rewriteLines(apacheConfFile, plans::kDeleteDirectivesInVH, kBlockFailures,
                        [&](LineReader& line, Rewrite& scratch, bool& found) {
                            const char* p = skipSpace(line.c_str());
                            if (!done && !isComment(p)) {
                                if (!found) {
                                    found = block.examine(line.c_str()) == BlockLine::SiteName;
                                } else if (block.closes(line.c_str())) {
                                    done = true;
                                } else if (startsWithAny(p, directives)) {
                                    return Next::Line;
                                }
                            }
                            scratch.writeLine(line.view());
                            return Next::Line;
                        });
}
