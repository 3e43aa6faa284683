// ApacheHelper::Apache_addDirectoryTag: inserts a <Directory> section before
// the first section of a domain's <VirtualHost> block.
#include "ApacheHelper.h"

#include "directory/DirectoryScan.h"
#include "core/QZLock.h"
#include "core/Validate.h"

int ApacheHelper::Apache_addDirectoryTag(std::string apacheConfFile, std::string domainName, std::string dirPath,
                                         std::vector<std::string> dirEntry) {
    const qz::OperationLock lock;
    if (!qz::isQuotedValue(dirPath) || !qz::allLineValues(dirEntry)) return qz::result::toolkit::Refused;
    using namespace qz;
    BlockScan block(domainName, forms::kDirectiveRead);
    // `added`: the section went in; the rest of the file is copied as it is.
    return rewriteLines(apacheConfFile, plans::kAddDirectoryTag, kSectionFailures,
                        [&](LineReader& line, Rewrite& scratch, bool& added) {
                            if (!added) {
                                if (block.examine(line.c_str()) == BlockLine::Other && block.inSite() &&
                                    opensDirectory(block.text())) {
                                    scratch.writeLine(directoryOpening(dirPath));
                                    writeDirectoryBody(scratch, dirEntry);
                                    added = true;
                                }
                            }
                            scratch.writeLine(line.view());
                            return Next::Line;
                        });
}
