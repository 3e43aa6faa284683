// The line rules shared by the virtual-directory lookups: how a website's
// <VirtualHost> blocks are found and how an Alias line is read.
#ifndef QZ_VIRTUAL_DIRECTORY_LOOKUP_H
#define QZ_VIRTUAL_DIRECTORY_LOOKUP_H

#include "core/QZCore.h"
#include "vdir/VirtualDirectoryScan.h"

#include <cstring>
#include <string>

namespace qz {

// The block state of a website: "<VirtualHost" (12 characters) opens a block;
// the first "ServerName" (10) of a block decides whether the block is the
// website's: 11 characters on, then white space, then the whole rest equal to
// the domain ignoring case. Later ServerName lines of the block are not
// examined. Closing lines are only examined when `closingEnds` is set:
// "</VirtualHost>" (14) then ends the block.
class WebsiteBlocks {
public:
    WebsiteBlocks(const std::string& domain, bool closingEnds = false)
        : domain_(domain), closingEnds_(closingEnds) {}

    // Examines a line given after its leading white space; true when it was
    // one of the block lines above.
    bool examine(const char* p) {
        if (startsWithNoCase(p, "<VirtualHost")) {
            state_ = kBeforeName;
        } else if (state_ == kBeforeName && startsWithNoCase(p, "ServerName")) {
            state_ = serverNameIs(p, domain_) ? kWebsite : kOutside;
        } else if (closingEnds_ && startsWithNoCase(p, "</VirtualHost>")) {
            state_ = kOutside;
        } else {
            return false;
        }
        return true;
    }

    // Inside a block of the website, after its ServerName.
    bool inWebsite() const { return state_ == kWebsite; }

private:
    enum State { kOutside, kBeforeName, kWebsite };
    const std::string& domain_;
    bool closingEnds_;
    State state_ = kOutside;
};

// Reads `in` to the end of the file and hands body(p) every line of the
// website's blocks other than the block lines, after its leading white space;
// body returns true to end the scan, and so does this function then. Lines
// whose first character is '#' are passed over (indented ones reach no
// keyword anyway). A line over the limit is examined cut to the limit and
// then ends the scan as the end of the file would: a loop "until end of file"
// never sees the end after it.
template <class Body>
bool scanWebsiteLines(LineReader& in, WebsiteBlocks& blocks, Body&& body) {
    while (in.nextUntilEof()) {
        if (in.c_str()[0] == '#') continue;
        const char* p = skipSpace(in.c_str());
        if (blocks.examine(p) || !blocks.inWebsite()) continue;
        if (body(p)) return true;
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
