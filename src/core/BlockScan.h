// The one walk over <VirtualHost> blocks: which lines open and close a block
// and which ServerName line decides whether a block is the site's. The
// operations have always differed in exactly these rules, and each rule is
// part of what the operation answers, so every walk names its form: a row of
// data below, not a loop of its own.
#ifndef QZ_BLOCK_SCAN_H
#define QZ_BLOCK_SCAN_H

#include "core/QZCore.h"

#include <string>

namespace qz {

// How the three keywords are recognised.
enum class BlockKeywords {
    Prefix,  // the line, after its white space, starts with the keyword, any case;
             // a ServerName names the site when, 11 characters on and after white
             // space, the whole rest equals the domain ignoring case
    Word,    // the line's first word (cut at its first blank) is the keyword in
             // full, any case; the rest after white space names the site
};

// What a '#' at the start of a line does.
enum class BlockComments {
    Examined,           // nothing: "#<VirtualHost" is no keyword line
    Skipped,            // a line whose first character is '#' is passed over
    SkippedAfterSpace,  // so is one whose first character after white space is '#'
    HashStepped,        // one '#' in the first column is stepped over: a block
                        // commented out that way is walked as a live one
};

// Which ServerName lines of a block decide whether it is the site's.
enum class BlockNames {
    First,       // the first: another site's name leaves the block, the site's
                 // makes it the site's and later names are not examined
    Any,         // every one: the last examined decides
    UntilOther,  // every one, until another site's name leaves the block
    Sticky,      // every one: any that names the site makes the block the site's
    Listed,      // the first, whatever it names, and the walk leaves the block:
                 // the listings collect it (there is no site)
};

struct BlockForm {
    BlockKeywords keywords;
    BlockComments comments;
    bool bareOpening;         // "<VirtualHost>" opens a block too
    size_t closing;           // the characters of "</VirtualHost>" a closing line
                              // starts with (13 or 14); 0: closing lines are not examined
    bool closingOnlyInSite;   // a closing line counts only in the site's block
    BlockNames names;
    bool siteKeptOnOpening;   // an opening line leaves the site's block the site's
    bool siteKeptOnClosing;   // so does a closing line
};

// The forms, by the operations that walk blocks that way.
namespace forms {
//                                           keywords               comments                          bare   closing only-in-site names                 kept: opening closing
// Reading and updating directives of a domain's block.
constexpr BlockForm kDirectiveRead      {BlockKeywords::Prefix, BlockComments::Examined,          true,  14, false, BlockNames::Any,        true,  false};
// Deleting directives: a bare <VirtualHost> opens nothing.
constexpr BlockForm kDirectiveDelete    {BlockKeywords::Prefix, BlockComments::Examined,          false, 14, false, BlockNames::Any,        true,  false};
// Adding lines at the end of a domain's blocks.
constexpr BlockForm kDirectiveAdd       {BlockKeywords::Prefix, BlockComments::HashStepped,       true,  13, false, BlockNames::UntilOther, false, false};
// Changing a block's address and port: its opening line is held back.
constexpr BlockForm kPortChange         {BlockKeywords::Prefix, BlockComments::Examined,          false, 13, false, BlockNames::First,      false, false};
// <IfModule> sections of a domain's block.
constexpr BlockForm kIfModule           {BlockKeywords::Word,   BlockComments::SkippedAfterSpace, true,  14, false, BlockNames::Any,        true,  false};
// The virtual-directory lookups; the listing also ends a block at its closing line.
constexpr BlockForm kVirtualDirectory   {BlockKeywords::Prefix, BlockComments::Skipped,           true,  0,  false, BlockNames::First,      false, false};
constexpr BlockForm kVirtualDirectoryList{BlockKeywords::Prefix, BlockComments::Skipped,          true,  14, false, BlockNames::First,      false, false};
// Creating and updating a virtual directory (comment lines never reach it).
constexpr BlockForm kVirtualDirectoryEdit{BlockKeywords::Prefix, BlockComments::Skipped,          true,  13, false, BlockNames::First,      false, false};
// A virtual directory's own <Directory> section.
constexpr BlockForm kVirtualDirectoryInfo{BlockKeywords::Prefix, BlockComments::HashStepped,      true,  13, false, BlockNames::First,      false, false};
// The website lists: the first ServerName of each block.
constexpr BlockForm kWebsiteList        {BlockKeywords::Prefix, BlockComments::Examined,          true,  14, false, BlockNames::Listed,     false, false};
// Whether a live block names a domain.
constexpr BlockForm kWebsiteExists      {BlockKeywords::Prefix, BlockComments::Skipped,           true,  14, false, BlockNames::First,      false, false};
// Deleting a website: the last ServerName seen decides every block after it
// that names none.
constexpr BlockForm kWebsiteDelete      {BlockKeywords::Prefix, BlockComments::HashStepped,       true,  14, false, BlockNames::Any,        true,  true};
// The PHP include line of a site.
constexpr BlockForm kPhpInclude         {BlockKeywords::Prefix, BlockComments::HashStepped,       true,  14, true,  BlockNames::UntilOther, false, false};
// The PHP-FPM lines of a site's live blocks; the lines after the site's
// block, up to the next opening line, still count as the site's.
constexpr BlockForm kPhpFpm             {BlockKeywords::Prefix, BlockComments::SkippedAfterSpace, true,  14, false, BlockNames::Sticky,     false, true};
}  // namespace forms

// What a line was to the walk.
enum class BlockLine {
    Opening,      // it opened a block
    Closing,      // it closed a block that was not the site's (or none)
    SiteClosing,  // it closed the site's block
    Name,         // a ServerName line examined: another site's
    SiteName,     // a ServerName line examined: the site's
    Other,        // none of these (a comment passed over, a ServerName not examined)
};

class BlockScan {
public:
    BlockScan(const std::string& domain, const BlockForm& form) : domain_(domain), form_(form) {}
    // A walk without a site (BlockNames::Listed).
    explicit BlockScan(const BlockForm& form);

    // Examines one line as read and returns what it was.
    BlockLine examine(const char* line);

    // Whether `line` closes a block by the form's keywords, whatever the state.
    bool closes(const char* line) const;
    // The rest of the site's block is not the site's (until a ServerName
    // line, by the form's rules, says it is again).
    void leaveSite() { site_ = false; }

    // The line last examined, after a '#' stepped over and its white space.
    const char* text() const { return text_; }
    // Inside a block (after its opening line, before its closing line).
    bool inBlock() const { return inBlock_; }
    // Inside the site's block, by the form's rules.
    bool inSite() const { return site_; }

private:
    enum class Keyword { Opening, Closing, Name, None };
    Keyword keyword(const char* p, const char*& rest) const;

    const std::string& domain_;
    BlockForm form_;
    const char* text_ = "";
    bool inBlock_ = false;
    bool named_ = false;  // the block's ServerName has decided (BlockNames::First)
    bool site_ = false;
};

}  // namespace qz

#endif
