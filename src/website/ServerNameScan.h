// The block rules shared by the listing scans: the first ServerName of each
// <VirtualHost> block is collected.
#ifndef QZ_SERVER_NAME_SCAN_H
#define QZ_SERVER_NAME_SCAN_H

#include "core/BlockScan.h"
#include "core/QZCore.h"

#include <string>
#include <vector>

namespace qz {

// Examines one line with `scan` (form kWebsiteList); the first ServerName
// of a block, 11 characters on and after white space, goes to `names`.
// True when it was a block line.
inline bool listServerName(BlockScan& scan, const char* line, std::vector<std::string>& names) {
    const BlockLine kind = scan.examine(line);
    if (kind == BlockLine::Name) names.emplace_back(afterName(scan.text(), 11));
    return kind != BlockLine::Other;
}

// Appends the first ServerName of every block of one included file to
// `websites` (CQZWebsite::VHostsInIncFile); always true.
bool vhostsInIncFile(const std::string& file, std::vector<std::string>& websites);

}  // namespace qz

#endif
