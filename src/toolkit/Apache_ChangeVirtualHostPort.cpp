// ApacheHelper::Apache_ChangeVirtualHostPort: rewrites the address and port of
// the opening line of a domain's <VirtualHost> block.
#include "ApacheHelper.h"

#include "toolkit/DirectiveScan.h"
#include "core/QZLock.h"
#include "core/Validate.h"

int ApacheHelper::Apache_ChangeVirtualHostPort(std::string apacheConfFile, std::string domainName, std::string ip,
                                               std::string port) {
    const qz::OperationLock lock;
    if (!qz::isTagSafe(ip) || !qz::isTagSafe(port)) return qz::result::toolkit::Refused;
    using namespace qz;
    HeldOpening opening(domainName, virtualHostOpening(ip, port));
    return rewriteLines(apacheConfFile, plans::kChangeVirtualHostPort, kBlockFailures,
                        [&](LineReader& line, Rewrite& scratch, bool& changed) {
                            if (changed)
                                scratch.writeLine(line.view());
                            else
                                changed = opening.copy(line, scratch);
                            return Next::Line;
                        });
}
