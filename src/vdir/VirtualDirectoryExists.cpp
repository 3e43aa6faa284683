// CQZVirtualDirectory::VirtualDirectoryExists: whether a website's blocks hold
// a <Directory> section for a folder.
#include "CQZVirtualDirectory.h"

#include "core/QZCore.h"
#include "vdir/VirtualDirectoryLookup.h"

#include <strings.h>

char CQZVirtualDirectory::VirtualDirectoryExists(SDDir* ObjDDir) {
    const SDDir none{};  // a missing record asks about nothing
    const SDDir& dir = ObjDDir != nullptr ? *ObjDDir : none;
    const std::string domain = qz::field(dir.DomainName);
    const std::string dirPath = qz::field(dir.DirPath);
    // Reported under the name of the info operation, as the panel expects.
    qz::trackMethod(TrackManager, "GetVirtualDirectoryinfo", {domain, dirPath},
                    {"ObjDDir->DomainName", "ObjDDir->DirPath"});

    qz::LineReader in(HttpdConfFile, qz::kVirtualDirectoryLineLimit);
    if (int failed = qz::configurationUnreadable(HttpdConfFile, in, qz::kConfigurationNotOpened)) return failed;
    // The block's closing line is not examined: a section after the end of
    // the website's block, before the next block, still counts.
    qz::BlockScan blocks(domain, qz::forms::kVirtualDirectory);
    std::string path;
    const bool found = qz::scanWebsiteLines(in, blocks, [&](const char* p) {
        if (!qz::startsWithNoCase(p, "<Directory")) return false;
        if (!qz::readDirectoryPath(p, path)) {
            qz::deleteScratch(TEMPFILE);
            return true;
        }
        return strcasecmp(path.c_str(), dirPath.c_str()) == 0;
    });
    // 1 also for a "<Directory" path without its closing quote.
    return found ? qz::result::vdir::Present : qz::result::vdir::Absent;
}
