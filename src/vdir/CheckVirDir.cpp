// CQZVirtualDirectory::CheckVirDir: whether a website has an alias of a name.
#include "CQZVirtualDirectory.h"

#include "core/QZCore.h"
#include "vdir/VirtualDirectoryLookup.h"

#include <cstring>
#include <strings.h>

char CQZVirtualDirectory::CheckVirDir(SDDir* ObjDDir) {
    const SDDir none{};  // a missing record asks about nothing
    const SDDir& dir = ObjDDir != nullptr ? *ObjDDir : none;
    const std::string domain = qz::field(dir.DomainName);
    const std::string dirName = qz::field(dir.DirName);
    qz::trackMethod(TrackManager, "CheckVirDir", {domain, dirName}, {"ObjDDir->DomainName", "ObjDDir->DirName"});

    qz::LineReader in(HttpdConfFile, qz::kVirtualDirectoryLineLimit);
    if (int failed = qz::configurationUnreadable(HttpdConfFile, in, qz::kConfigurationNotOpened)) return failed;
    qz::BlockScan blocks(domain, qz::forms::kVirtualDirectory);
    char result = qz::result::vdir::NoAlias;
    qz::scanWebsiteLines(in, blocks, [&](const char* p) {
        if (!qz::startsWithNoCase(p, "Alias")) return false;
        std::string alias = qz::aliasText(p);
        // An alias written with its leading "/" is the word after it; one
        // without a target cannot be read.
        if (!alias.empty() && alias[0] == '/') {
            const size_t blank = alias.find(' ');
            if (blank == std::string::npos) {
                qz::deleteScratch(TEMPFILE);
                result = qz::result::vdir::AliasWithoutTarget;
                return true;
            }
            alias = alias.substr(1, blank - 1);
        }
        if (strcasecmp(alias.c_str(), dirName.c_str()) != 0) return false;
        result = qz::result::vdir::AliasFound;
        return true;
    });
    return result;
}
