// ApacheHelper::Apache_UpdateDirectoryDirectives: replaces the directives of a
// <Directory> section of a domain's <VirtualHost> block.
#include "ApacheHelper.h"

#include "directory/DirectoryScan.h"
#include "core/QZLock.h"
#include "core/Validate.h"

int ApacheHelper::Apache_UpdateDirectoryDirectives(std::string apacheConfFile, std::string domainName,
                                                   std::string dirPath, std::vector<std::string> entry) {
    const qz::OperationLock lock;
    if (!qz::allLineValues(entry)) return qz::result::toolkit::Refused;
    using namespace qz;
    return editDirectorySection(apacheConfFile, plans::kUpdateDirectoryDirectives, domainName, dirPath, true,
                                SectionEdit::Replace, std::string(), entry);
}
