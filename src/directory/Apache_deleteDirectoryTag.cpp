// ApacheHelper::Apache_deleteDirectoryTag: removes a <Directory> section from
// a domain's <VirtualHost> block.
#include "ApacheHelper.h"

#include "directory/DirectoryScan.h"
#include "core/QZLock.h"

int ApacheHelper::Apache_deleteDirectoryTag(std::string apacheConfFile, std::string domainName, std::string dirPath) {
    const qz::OperationLock lock;
    using namespace qz;
    return editDirectorySection(apacheConfFile, plans::kDeleteDirectoryTag, domainName, dirPath, true,
                                SectionEdit::Delete, std::string(), {});
}
