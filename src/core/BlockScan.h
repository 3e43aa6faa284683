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

// How the keywords are recognised.
enum class BlockKeywords {
    Prefix,    // the line, after its white space, starts with the keyword, any
               // case; a ServerName names the site when, 11 characters on and
               // after white space, the whole rest equals the domain ignoring case
    Word,      // the line's first word (cut at its first blank) is the keyword
               // in full, any case; the rest after white space names the site
    Exact,     // the line as handed in starts with the keyword, case as written
    Anywhere,  // the line as read holds "<VirtualHost " but no "<VirtualHost>"
               // (an opening line) or "</VirtualHost>" (a closing one);
               // ServerName lines as Prefix
};

// What a '#' at the start of a line does.
enum class BlockComments {
    Examined,               // nothing: "#<VirtualHost" is no keyword line
    Skipped,                // a line whose first character is '#' is passed over
    SkippedAfterSpace,      // so is one whose first character after white space is '#'
    HashStepped,            // one '#' in the first column is stepped over: a block
                            // commented out that way is walked as a live one
    HashSteppedAfterSpace,  // one '#' after the white space is stepped over, and
                            // the white space after it
};

// Which lines close a block.
enum class BlockClosing {
    NotExamined,  // none: a block ends at the next opening line
    Short,        // "</VirtualHost" (13 characters)
    Full,         // "</VirtualHost>" (14 characters; the whole word in the Word form)
    Within,       // a line, not a ServerName line, that holds "</VirtualHost>"
                  // anywhere (within the first word in the Word form)
};

// Which ServerName lines of a block decide whether it is the site's.
enum class BlockNames {
    None,        // none are examined: the walk only tells blocks from the server level
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
    BlockClosing closing;
    bool closingOnlyInSite;   // a closing line counts only in the site's block
    BlockNames names;
    bool siteKeptOnOpening;   // an opening line leaves the site's block the site's
    bool siteKeptOnClosing;   // so does a closing line
    bool nestedHidesName;     // after two opening lines without a closing line
                              // (or, for First, a name) between, no name is examined
};

// The forms, by the operations that walk blocks that way.
namespace forms {
using K = BlockKeywords;
using C = BlockComments;
using E = BlockClosing;
using N = BlockNames;
//                                        keywords     comments                bare   closing         only-in-site names         kept: opening closing  nested hides name
// Reading and updating directives of a domain's block.
constexpr BlockForm kDirectiveRead       {K::Prefix,   C::Examined,            true,  E::Full,        false, N::Any,        true,  false, false};
// Deleting directives: a bare <VirtualHost> opens nothing.
constexpr BlockForm kDirectiveDelete     {K::Prefix,   C::Examined,            false, E::Full,        false, N::Any,        true,  false, false};
// Adding lines at the end of a domain's blocks.
constexpr BlockForm kDirectiveAdd        {K::Prefix,   C::HashStepped,         true,  E::Short,       false, N::UntilOther, false, false, false};
// Changing a block's address and port: its opening line is held back.
constexpr BlockForm kPortChange          {K::Prefix,   C::Examined,            false, E::Short,       false, N::First,      false, false, false};
// <IfModule> sections of a domain's block.
constexpr BlockForm kIfModule            {K::Word,     C::SkippedAfterSpace,   true,  E::Full,        false, N::Any,        true,  false, false};
// Server-level lines of the directive toolkit: both block lines belong to the block.
// The directive test of Apache_isDirectiveWithValueExists goes on over a bare "<VirtualHost>".
constexpr BlockForm kServerDirective     {K::Prefix,   C::Examined,            false, E::Short,       false, N::None,       false, false, false};
constexpr BlockForm kServerLevel         {K::Prefix,   C::Examined,            true,  E::Short,       false, N::None,       false, false, false};
// Server-level LoadModule lines of the PHP module checks (lines in the handlers' indentation cut).
constexpr BlockForm kServerModules       {K::Exact,    C::Examined,            true,  E::Short,       false, N::None,       false, false, false};
// Server-level User and Group lines.
constexpr BlockForm kServerUser          {K::Word,     C::Examined,            true,  E::Full,        false, N::None,       false, false, false};
// The virtual-directory lookups; the listing also ends a block at its closing line.
constexpr BlockForm kVirtualDirectory    {K::Prefix,   C::Skipped,             true,  E::NotExamined, false, N::First,      false, false, false};
constexpr BlockForm kVirtualDirectoryList{K::Prefix,   C::Skipped,             true,  E::Full,        false, N::First,      false, false, false};
// Creating and updating a virtual directory (comment lines never reach it).
constexpr BlockForm kVirtualDirectoryEdit{K::Prefix,   C::Skipped,             true,  E::Short,       false, N::First,      false, false, false};
// A virtual directory's own <Directory> section.
constexpr BlockForm kVirtualDirectoryInfo{K::Prefix,   C::HashStepped,         true,  E::Short,       false, N::First,      false, false, false};
// The website lists: the first ServerName of each block.
constexpr BlockForm kWebsiteList         {K::Prefix,   C::Examined,            true,  E::Full,        false, N::Listed,     false, false, false};
// Whether a live block names a domain.
constexpr BlockForm kWebsiteExists       {K::Prefix,   C::Skipped,             true,  E::Full,        false, N::First,      false, false, false};
// The address's own block that a new site goes into.
constexpr BlockForm kWebsiteCreate       {K::Prefix,   C::Examined,            true,  E::Full,        false, N::None,       false, false, false};
// Whether a site runs or is stopped (its block commented out).
constexpr BlockForm kWebsiteStatus       {K::Word,     C::HashSteppedAfterSpace, true, E::Within,     false, N::First,      false, false, false};
// Deleting a website: the last ServerName seen decides every block after it
// that names none.
constexpr BlockForm kWebsiteDelete       {K::Prefix,   C::HashStepped,         true,  E::Full,        false, N::Any,        true,  true,  false};
// Reading and editing a website's settings, stopped blocks included.
constexpr BlockForm kWebsiteInfo         {K::Prefix,   C::HashStepped,         true,  E::Full,        false, N::UntilOther, false, false, false};
// The blocks a settings edit holds back (whoever's they are).
constexpr BlockForm kWebsiteBlocks       {K::Prefix,   C::HashStepped,         true,  E::Full,        false, N::None,       false, false, false};
// Stopping and starting a website; comment lines reach it only when starting.
constexpr BlockForm kWebsiteSwitch       {K::Anywhere, C::HashSteppedAfterSpace, true, E::Within,     false, N::Sticky,     true,  false, false};
// The PHP include line of a site.
constexpr BlockForm kPhpInclude          {K::Prefix,   C::HashStepped,         true,  E::Full,        true,  N::UntilOther, false, false, false};
// The PHP-FPM lines of a site's live blocks; the lines after the site's
// block, up to the next opening line, still count as the site's.
constexpr BlockForm kPhpFpm              {K::Prefix,   C::SkippedAfterSpace,   true,  E::Full,        false, N::Sticky,     false, true,  false};
// The script handler a site runs PHP with.
constexpr BlockForm kPhpStatus           {K::Word,     C::SkippedAfterSpace,   true,  E::Full,        false, N::First,      true,  false, true};
// Removing mod_php from a site; the site stays the site's after its block.
constexpr BlockForm kPhpDisable          {K::Word,     C::Examined,            true,  E::Full,        false, N::Any,        false, true,  true};
// The Perl CGI lines of a site's document root section.
constexpr BlockForm kPerl                {K::Word,     C::Examined,            true,  E::Full,        false, N::Sticky,     true,  false, false};
}  // namespace forms

// What a line was to the walk.
enum class BlockLine {
    Opening,      // it opened a block
    Closing,      // it closed a block that was not the site's (or none)
    SiteClosing,  // it closed the site's block
    Name,         // a ServerName line examined: another site's (or any, Listed)
    SiteName,     // a ServerName line examined: the site's
    Other,        // none of these (a comment passed over, a ServerName not examined)
};

class BlockScan {
public:
    BlockScan(const std::string& domain, const BlockForm& form) : domain_(domain), form_(form) {}
    // A walk without a site (BlockNames::None or Listed).
    explicit BlockScan(const BlockForm& form);

    // Examines one line (as read, or as the form says it is handed in) and
    // returns what it was.
    BlockLine examine(const char* line);
    // Whether `line` opens / closes a block by the form's keywords, whatever
    // the state.
    bool opens(const char* line) const { return opensAt(line, stepComment(line)); }
    bool closes(const char* line) const;
    // The rest of the site's block is not the site's (until a ServerName
    // line, by the form's rules, says it is again).
    void leaveSite() { site_ = false; }

    // The line last examined, after a '#' stepped over and its white space.
    const char* text() const { return text_; }
    // The line last examined opened a block (in the Anywhere form it may also
    // have been a name or a closing line).
    bool opened() const { return opened_; }
    // Inside a block (after its opening line, before its closing line).
    bool inBlock() const { return inBlock_; }
    // Inside the site's block, by the form's rules.
    bool inSite() const { return site_; }

private:
    enum class Keyword { Closing, Name, None };
    const char* stepComment(const char* line) const;
    bool opensAt(const char* line, const char* p) const;
    Keyword nameOrClosing(const char* line, const char* p, const char*& rest) const;
    BlockLine name(const char* rest);

    const std::string& domain_;
    BlockForm form_;
    const char* text_ = "";
    bool inBlock_ = false;
    bool named_ = false;  // the block's ServerName has decided (BlockNames::First)
    int openings_ = 0;    // opening lines since the last closing line (or First's name)
    bool site_ = false;
    bool opened_ = false;
};

}  // namespace qz

#endif
