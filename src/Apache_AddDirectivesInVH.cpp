// ApacheHelper::Apache_AddDirectivesInVH: adds directive lines at the end of
// the first <VirtualHost> block of a domain.
#include "ApacheHelper.h"

#include "DirectiveScan.h"
#include "QZLock.h"

int ApacheHelper::Apache_AddDirectivesInVH(std::string apacheConfFile, std::string domainName,
                                           std::vector<std::string> directives) {
    const qz::OperationLock lock;
    return qz::addLinesToDomainBlocks(apacheConfFile, domainName, qz::plans::kAddDirectivesInVH, directives, false);
}
