// ApacheHelper::Apache_DeleteVhIfmoduleBlock: removes the first <IfModule>
// section of a module from a domain's <VirtualHost> block.
#include "ApacheHelper.h"

#include "toolkit/DirectiveScan.h"
#include "core/QZLock.h"

#include <strings.h>

int ApacheHelper::Apache_DeleteVhIfmoduleBlock(std::string apacheConfFile, std::string domainName,
                                               std::string moduleName) {
    const qz::OperationLock lock;
    using namespace qz;
    BlockScan block(domainName, forms::kIfModule);
    const auto isClosing = [](const char* line) { return strcasecmp(skipSpace(line), "</IfModule>") == 0; };
    // The scratch file opens first and stays behind when nothing is removed.
    // An over-long line would keep a loop until end of file going for ever;
    // the file is left as it is and the call reports 22, as for a file it
    // cannot read.
    const Rewritten end = rewriteFile(apacheConfFile, apacheConfFile + plans::kDeleteVhIfmoduleBlock.scratchSuffix,
                                      plans::kDeleteVhIfmoduleBlock,
                                      [&](LineReader& in, Rewrite& scratch, bool& removed) {
        if (!removed) {
            const char* rest = ifModuleInSite(block, in.c_str());
            if (rest != nullptr && ifModuleNames(rest, moduleName)) {
                // Up to and including the first closing line, nested or not.
                while (in.nextUntilEof() && !isClosing(in.c_str())) {
                }
                removed = true;
                // The line after it is read and copied unexamined, even when
                // it is empty (or the file has ended: an empty line).
                if (!in.tooLong()) in.getline();
                if (in.tooLong()) return Next::Abandon;
                scratch.writeLine(in.view());
                return Next::Line;
            }
        }
        scratch.writeLine(in.view());
        return Next::Line;
    });
    return RewriteFailures{qz::result::ConfigNotOpened, qz::result::ScratchNotWritten, qz::result::toolkit::Done}.code(end);
}
