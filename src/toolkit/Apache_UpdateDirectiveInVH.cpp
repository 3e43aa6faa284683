// ApacheHelper::Apache_UpdateDirectiveInVH: replaces a directive line in every
// <VirtualHost> block of a domain.
#include "ApacheHelper.h"

#include "toolkit/DirectiveScan.h"
#include "toolkit/Toolkit.h"
#include "core/QZLock.h"
#include "core/Validate.h"

int qz::updateDirectiveInVH(const std::string& apacheConfFile, const std::string& domainName,
                            const std::string& directive, const std::string& value, bool valueQuoted) {
    if (!qz::isLineValue(directive) || !(valueQuoted ? qz::isQuotedValue(value) : qz::isLineValue(value)))
        return qz::result::toolkit::Refused;
    using namespace qz;
    const std::string replacement =
        valueQuoted ? "\t" + directive + " \"" + value + "\"" : "\t" + directive + " " + value;
    BlockScan block(domainName, forms::kDirectiveRead);
    const RewriteFailures failures{result::toolkit::FileNotOpened, result::toolkit::ScratchNotOpened,
                                   result::toolkit::DirectiveNotFound};
    return rewriteLines(apacheConfFile, plans::kUpdateDirectiveInVH, failures,
                        [&](LineReader& line, Rewrite& scratch, bool& replaced) {
                            if (block.examine(line.c_str()) == BlockLine::Other && block.inSite() &&
                                startsWithNoCase(block.text(), directive)) {
                                scratch.writeLine(replacement);
                                replaced = true;
                                block.leaveSite();  // later lines of this block stay as they are
                                return Next::Line;
                            }
                            scratch.writeLine(line.view());
                            return Next::Line;
                        });
}

int ApacheHelper::Apache_UpdateDirectiveInVH(std::string apacheConfFile, std::string domainName, std::string directive,
                                             std::string value, bool valueQuoted) {
    const qz::OperationLock lock;
    return qz::updateDirectiveInVH(apacheConfFile, domainName, directive, value, valueQuoted);
}
