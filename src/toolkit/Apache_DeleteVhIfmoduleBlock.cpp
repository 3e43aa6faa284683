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
    const FilePlan& plan = plans::kDeleteVhIfmoduleBlock;
    // The scratch file opens first; it stays behind when nothing is removed.
    ScratchRewrite scratch(apacheConfFile, plan.scratchSuffix);
    if (!scratch.open()) return qz::result::ScratchNotWritten;
    LineReader in(apacheConfFile, plan.limit);
    if (!in.isOpen()) return qz::result::ConfigNotOpened;

    WordBlockScan block(domainName);
    bool removed = false;
    const auto isClosing = [](const char* line) { return strcasecmp(skipSpace(line), "</IfModule>") == 0; };
    ScanEnd end = scanLines(in, plan, [&](LineReader& line) {
        if (!removed) {
            const char* rest = block.ifModuleInDomain(skipSpace(line.c_str()));
            if (rest != nullptr && ifModuleNames(rest, moduleName)) {
                // Up to and including the first closing line, nested or not.
                while (in.nextUntilEof() && !isClosing(in.c_str())) {
                }
                removed = true;
                // The line after it is read and copied unexamined, even when
                // it is empty (or the file has ended: an empty line).
                if (!in.tooLong()) in.getline();
                if (in.tooLong()) return Next::Stop;
                scratch.writeLine(in.view());
                return Next::Line;
            }
        }
        scratch.writeLine(line.view());
        return Next::Line;
    });
    if (in.tooLong()) end = ScanEnd::TooLong;
    in.close();
    if (removed && end != ScanEnd::TooLong)
        return scratch.commit() ? qz::result::toolkit::Done : qz::result::ScratchNotWritten;
    scratch.out().close();
    // An over-long line would keep a loop until end of file going for ever; the file
    // is left as it is and the call reports 22, as for a file it cannot read.
    if (end == ScanEnd::TooLong) return qz::result::ConfigNotOpened;
    return qz::result::toolkit::Done;
}
