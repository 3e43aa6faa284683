// CQZVirtualDirectory::DirectoryRequired: whether more than one alias of a
// website points to a folder.
#include "CQZVirtualDirectory.h"

#include "core/QZCore.h"
#include "vdir/VirtualDirectoryLookup.h"

#include <cstring>
#include <strings.h>

char CQZVirtualDirectory::DirectoryRequired(std::string DomainName, std::string DirPath) {
    // The target's closing quote is part of what is compared.
    const std::string key = DirPath + "\"";
    // Reported under the name of the info operation, as the panel expects.
    qz::trackMethod(TrackManager, "GetVirtualDirectoryinfo", {DomainName, DirPath}, {"DomainName", "DirPath"});

    qz::LineReader in(HttpdConfFile, qz::kVirtualDirectoryLineLimit);
    if (int failed = qz::configurationUnreadable(HttpdConfFile, in, qz::kConfigurationNotOpened)) return failed;
    qz::BlockScan blocks(DomainName, qz::forms::kVirtualDirectory);
    int hits = 0;
    qz::scanWebsiteLines(in, blocks, [&](const char* p) {
        if (!qz::startsWithNoCase(p, "Alias")) return false;
        // Only a quoted target counts; the search for its quote stops at the
        // end of the line.
        const char* quote = std::strchr(qz::aliasText(p), '"');
        if (quote != nullptr && strcasecmp(quote + 1, key.c_str()) == 0) ++hits;
        return false;
    });
    return hits > 1 ? qz::result::vdir::Present : qz::result::vdir::Absent;
}
