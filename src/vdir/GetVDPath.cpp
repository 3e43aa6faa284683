// CQZVirtualDirectory::GetVDPath: the target of one alias of a website.
#include "CQZVirtualDirectory.h"

#include "core/QZCore.h"
#include "vdir/VirtualDirectoryLookup.h"
#include "core/Messages.h"

std::string CQZVirtualDirectory::GetVDPath(std::string httpdConfFile, std::string domainName, std::string VDName) {
    qz::LineReader in(httpdConfFile, qz::kVirtualDirectoryLineLimit);
    if (!in.isOpen()) {
        qz::sayLine(qz::msg::kConfigNotOpened);
        return "";
    }
    qz::BlockScan blocks(domainName, qz::forms::kVirtualDirectory);
    std::string target;
    qz::scanWebsiteLines(in, blocks, [&](const char* p) {
        if (!qz::startsWithNoCase(p, "Alias")) return false;
        // The alias is compared exactly, its leading "/" included.
        qz::AliasLine alias(qz::aliasText(p));
        if (alias.alias != VDName) return false;
        target = std::move(alias.target);
        return true;
    });
    return target;
}
