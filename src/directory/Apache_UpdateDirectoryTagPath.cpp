// ApacheHelper::Apache_UpdateDirectoryTagPath: gives a <Directory> section of
// a domain's <VirtualHost> block a new path.
#include "ApacheHelper.h"

#include "directory/DirectoryScan.h"
#include "core/QZLock.h"
#include "core/Validate.h"

int ApacheHelper::Apache_UpdateDirectoryTagPath(std::string apacheConfFile, std::string domainName, std::string oldPath,
                                                std::string newPath) {
    const qz::OperationLock lock;
    if (!qz::isQuotedValue(newPath)) return qz::result::toolkit::Refused;
    using namespace qz;
    // An unquoted path is compared as it stands, ">" included.
    return editDirectorySection(apacheConfFile, plans::kUpdateDirectoryTagPath, domainName, oldPath, false,
                                SectionEdit::Rename, newPath, {});
}
