// The line rules shared by the virtual-directory lookups: how a website's
// <VirtualHost> blocks are found and how an Alias line is read.
#ifndef QZ_VIRTUAL_DIRECTORY_LOOKUP_H
#define QZ_VIRTUAL_DIRECTORY_LOOKUP_H

#include "core/BlockScan.h"
#include "core/QZCore.h"
#include "vdir/VirtualDirectoryScan.h"

#include <cstring>
#include <string>

namespace qz {

// Reads `in` to the end of the file and hands body(p) every line of the
// website's blocks (by the form of `blocks`: kVirtualDirectory, or
// kVirtualDirectoryList whose closing lines end a block) other than the block lines, after its leading white space;
// body returns true to end the scan, and so does this function then. Lines
// whose first character is '#' are passed over (indented ones reach no
// keyword anyway). A line over the limit is examined cut to the limit and
// then ends the scan as the end of the file would: a loop "until end of file"
// never sees the end after it.
template <class Body>
bool scanWebsiteLines(LineReader& in, BlockScan& blocks, Body&& body) {
    while (in.nextUntilEof()) {
        if (blocks.examine(in.c_str()) != BlockLine::Other || !blocks.inSite()) continue;
        if (body(blocks.text())) return true;
    }
    return false;
}

// The text of an "Alias" line (given after its leading white space) after 6
// characters and white space: the alias, a blank, then the target.
inline const char* aliasText(const char* p) { return afterName(p, 6); }

// An Alias text split at its first blank (a space): the alias before it and
// the target after it and its white space, a quoted target without its quotes.
// Without a blank the alias is the whole text and the target is empty.
struct AliasLine {
    std::string alias;
    std::string target;

    explicit AliasLine(const char* text) {
        const char* blank = std::strchr(text, ' ');
        if (blank == nullptr) {
            alias = text;
            return;
        }
        alias.assign(text, blank);
        target = unquoted(skipSpace(blank));
    }
};

}  // namespace qz

#endif
