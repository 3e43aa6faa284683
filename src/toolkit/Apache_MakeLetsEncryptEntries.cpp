// ApacheHelper::Apache_MakeLetsEncryptEntries: gives a domain's <VirtualHost>
// block a new address and appends certificate directives to it.
#include "ApacheHelper.h"

#include "toolkit/DirectiveScan.h"
#include "core/QZLock.h"
#include "core/Validate.h"

namespace {
// Lines of up to 5998 characters; empty lines are copied, so the final empty
// read adds one at the end of the file.
constexpr qz::FilePlan kMakeLetsEncryptEntries{".qzbackup.cp", "_qzbackup_cp", 5999, qz::LoopEnd::EndOfFile,
                                               qz::EmptyLines::Handed};
}  // namespace

int ApacheHelper::Apache_MakeLetsEncryptEntries(std::string apacheConfFile, std::string domainName, std::string ip,
                                                std::string port, std::vector<std::string> directives,
                                                bool makeNVHentry, std::string NVHentry) {
    const qz::OperationLock lock;
    if (!qz::isTagSafe(ip) || !qz::isTagSafe(port) || !qz::allLineValues(directives) || !qz::isLineValue(NVHentry))
        return qz::result::toolkit::Refused;
    using namespace qz;
    HeldOpening opening(domainName, virtualHostOpening(ip, port));
    bool done = false;  // the block is closed: the rest is copied as it is
    // `found`: the domain's block was reached (its ServerName line).
    const int result = rewriteLines(
        apacheConfFile, kMakeLetsEncryptEntries, kBlockFailures, [&](LineReader& line, Rewrite& scratch, bool& found) {
            if (!found) {
                found = opening.copy(line, scratch);
                return Next::Line;
            }
            if (!done && opening.closes(line.c_str())) {
                for (const std::string& directive : directives) scratch.writeLine("\t" + directive);
                scratch.writeLine(line.view());
                if (makeNVHentry) scratch.writeLine(NVHentry);
                done = true;
                return Next::Line;
            }
            scratch.writeLine(line.view());
            return Next::Line;
        });
    // The move has run by now; it prints nothing itself, so the line reads as
    // if it came first.
    if (result == 0) sayLine(shellCommand({"mv", apacheConfFile + kMakeLetsEncryptEntries.scratchSuffix, apacheConfFile}));
    return result;
}
