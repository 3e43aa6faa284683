// ApacheHelper::Apache_AddDirectivesInVH: adds directive lines at the end of
// the first <VirtualHost> block of a domain.
#include "ApacheHelper.h"

#include "toolkit/DirectiveScan.h"
#include "core/QZLock.h"
#include "core/Validate.h"

int ApacheHelper::Apache_AddDirectivesInVH(std::string apacheConfFile, std::string domainName,
                                           std::vector<std::string> directives) {
    const qz::OperationLock lock;
    if (!qz::allLineValues(directives)) return qz::result::toolkit::Refused;
    return qz::addLinesToDomainBlocks(apacheConfFile, domainName, qz::plans::kAddDirectivesInVH, directives, false);
}
