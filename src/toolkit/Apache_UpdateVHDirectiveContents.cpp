// ApacheHelper::Apache_UpdateVHDirectiveContents: adds or removes one line of
// a nested block (a <Directory> section) in a domain's <VirtualHost> block.
#include "ApacheHelper.h"

#include "toolkit/DirectiveScan.h"
#include "core/QZLock.h"
#include "core/Validate.h"

int ApacheHelper::Apache_UpdateVHDirectiveContents(std::string apacheConfFile, std::string domainName,
                                                   std::string directive, std::string value, bool addValue) {
    const qz::OperationLock lock;
    if (!qz::isLineValue(value)) return qz::result::toolkit::Refused;
    using namespace qz;
    BlockScan block(domainName, forms::kDirectiveRead);
    bool inNested = false;
    bool valueFound = false;  // never cleared: once seen, no later block gets the line
    // `closed`: a nested block of the domain was closed, so the work is done.
    return rewriteLines(apacheConfFile, plans::kUpdateVHDirContents, kBlockFailures,
                        [&](LineReader& line, Rewrite& scratch, bool& closed) {
                            const char* p = skipSpace(line.c_str());
                            // A nested section left open ends with its block: the
                            // line never goes into a later site's block.
                            if (inNested && block.closes(line.c_str())) inNested = false;
                            if (inNested) {
                                if (startsWithNoCase(p, "</Directory>")) {
                                    if (!valueFound) scratch.writeLine("\t\t" + value);
                                    inNested = false;
                                    closed = true;
                                } else if (startsWithNoCase(p, value)) {
                                    valueFound = true;
                                    if (!addValue) return Next::Line;
                                }
                            } else if (block.examine(line.c_str()) == BlockLine::Other && block.inSite() &&
                                       startsWithNoCase(p, directive)) {
                                inNested = true;
                            }
                            scratch.writeLine(line.view());
                            return Next::Line;
                        });
}
