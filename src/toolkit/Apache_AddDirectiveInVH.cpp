// ApacheHelper::Apache_AddDirectiveInVH: adds one directive at the end of
// every <VirtualHost> block of a domain.
#include "ApacheHelper.h"

#include "toolkit/DirectiveScan.h"
#include "core/QZLock.h"
#include "core/Validate.h"

int ApacheHelper::Apache_AddDirectiveInVH(std::string apacheConfFile, std::string domainName, std::string directive,
                                          std::string value, bool valueQuoted) {
    const qz::OperationLock lock;
    if (!qz::isLineValue(directive) || !(valueQuoted ? qz::isQuotedValue(value) : qz::isLineValue(value)))
        return qz::result::toolkit::Refused;
    const std::string line = valueQuoted ? directive + " \"" + value + "\"" : directive + " " + value;
    return qz::addLinesToDomainBlocks(apacheConfFile, domainName, qz::plans::kAddDirectiveInVH, {line}, true);
}
