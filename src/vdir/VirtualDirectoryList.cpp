// CQZVirtualDirectory::VirtualDirectoryList: a website's aliases.
#include "CQZVirtualDirectory.h"

#include "core/QZCore.h"
#include "vdir/VirtualDirectoryLookup.h"

char CQZVirtualDirectory::VirtualDirectoryList(const char* DomainName, StringVector* DDirList) {
    qz::trackMethod(TrackManager, "VirtualDirectoryList", {""}, {""});

    qz::LineReader in(HttpdConfFile, qz::kVirtualDirectoryLineLimit);
    if (int failed = qz::configurationUnreadable(HttpdConfFile, in, nullptr)) return failed;
    const std::string domain = qz::str(DomainName);
    qz::BlockScan blocks(domain, qz::forms::kVirtualDirectoryList);
    qz::scanWebsiteLines(in, blocks, [&](const char* p) {
        if (!qz::startsWithNoCase(p, "Alias") || DDirList == nullptr) return false;
        // A pair for each alias: its target, then its name without the
        // leading "/". An alias without a target lists an empty one.
        const qz::AliasLine alias(qz::aliasText(p));
        DDirList->push_back(alias.target);
        DDirList->push_back(alias.alias.empty() ? std::string() : alias.alias.substr(1));
        return false;
    });
    return qz::result::vdir::Listed;
}
