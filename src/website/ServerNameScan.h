// The block rules shared by the listing scans: the first ServerName of each
// <VirtualHost> block is collected.
#ifndef QZ_SERVER_NAME_SCAN_H
#define QZ_SERVER_NAME_SCAN_H

#include "core/QZCore.h"

#include <string>
#include <vector>

namespace qz {

struct ServerNameScan {
    bool inBlock = false;

    // Examines one line, given after its leading white space. True when it
    // was a block line: an opening line, or, inside a block, its first
    // ServerName (appended to `names`) or its closing line.
    bool examine(const char* p, std::vector<std::string>& names) {
        if (startsWithNoCase(p, "<VirtualHost")) {
            inBlock = true;
        } else if (inBlock && startsWithNoCase(p, "ServerName")) {
            names.emplace_back(afterName(p, 11));
            inBlock = false;  // one name a block
        } else if (inBlock && startsWithNoCase(p, "</VirtualHost>")) {
            inBlock = false;
        } else {
            return false;
        }
        return true;
    }
};

// Appends the first ServerName of every block of one included file to
// `websites` (CQZWebsite::VHostsInIncFile); always true.
bool vhostsInIncFile(const std::string& file, std::vector<std::string>& websites);

}  // namespace qz

#endif
