// ApacheHelper::Apache_AddDirectivesInVH: adds directive lines at the end of
// the first <VirtualHost> block of a domain.
#include "ApacheHelper.h"

#include "DirectiveScan.h"

int ApacheHelper::Apache_AddDirectivesInVH(std::string apacheConfFile, std::string domainName,
                                           std::vector<std::string> directives) {
    return qz::addLinesToDomainBlocks(apacheConfFile, domainName, qz::plans::kAddDirectivesInVH, directives, false);
}
