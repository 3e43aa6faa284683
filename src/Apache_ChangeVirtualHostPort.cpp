// ApacheHelper::Apache_ChangeVirtualHostPort: rewrites the address and port of
// the opening line of a domain's <VirtualHost> block.
#include "ApacheHelper.h"

#include "DirectiveScan.h"

int ApacheHelper::Apache_ChangeVirtualHostPort(std::string apacheConfFile, std::string domainName, std::string ip,
                                               std::string port) {
    using namespace qz;
    const std::string address = ip.find(':') != std::string::npos ? "[" + ip + "]" : ip;
    const std::string opening = "<VirtualHost " + address + ":" + port + ">";

    // The opening line of each block is held back until its ServerName line
    // decides what to write. Lines in between are copied at once, so they land
    // before it, and a block without a ServerName line loses its opening line;
    // the panel always writes ServerName first.
    std::string held;
    bool holding = false;
    return rewriteLines(apacheConfFile, plans::kChangeVirtualHostPort, {1, 2, 3},
                        [&](LineReader& line, ScratchRewrite& scratch, bool& changed) {
                            if (changed) {
                                scratch.writeLine(line.view());
                                return Next::Line;
                            }
                            const char* p = skipSpace(line.c_str());
                            switch (lineKind(p, kPortForm)) {
                            case LineKind::Opening:
                                held.assign(line.view());
                                holding = true;
                                return Next::Line;
                            case LineKind::Closing:
                                holding = false;
                                break;
                            case LineKind::ServerName:
                                if (!holding) break;
                                holding = false;
                                changed = serverNameIs(p, domainName);
                                scratch.writeLine(changed ? opening : held);
                                break;
                            case LineKind::Other:
                                break;
                            }
                            scratch.writeLine(line.view());
                            return Next::Line;
                        });
}
