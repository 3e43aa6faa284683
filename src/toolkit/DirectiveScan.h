// The line scan shared by the directive toolkit (ApacheHelper): how each
// primitive reads its file, the backup and scratch files it uses, placing one
// line at server level, the two ways of finding one domain's <VirtualHost>
// block, and the edits made at that block's ends.
#ifndef QZ_DIRECTIVE_SCAN_H
#define QZ_DIRECTIVE_SCAN_H

#include "core/BlockScan.h"
#include "core/QZCore.h"
#include "core/RewritePlan.h"

#include <string>
#include <string_view>
#include <vector>

namespace qz {

namespace plans {
// Server-level primitives read with a 3000-byte buffer and a limit of 2999.
constexpr size_t kServerLimit = 2999;
// ... but the lines of a skipped <VirtualHost> with a limit of 119 in some.
constexpr size_t kSkippedHostLimit = 119;

//                                          backup            scratch            limit  loop ends on            empty lines
constexpr FilePlan kServerScan            {nullptr,          nullptr,   kServerLimit, LoopEnd::StreamFailure, EmptyLines::Skipped};
constexpr FilePlan kGetDirectiveInVH      {nullptr,          nullptr,           2024, LoopEnd::StreamFailure, EmptyLines::Skipped};
constexpr FilePlan kAddDirectiveInVH      {".qzbackup.ACEP", "_qzbackup_ACEP",  2999, LoopEnd::EndOfFile,     EmptyLines::Handed};
constexpr FilePlan kAddDirectivesInVH     {".qzbackup.AD",   "_qzbackup_ACEP",  2999, LoopEnd::EndOfFile,     EmptyLines::Handed};
constexpr FilePlan kDeleteDirectivesInVH  {".qzbackup.drt",  "_temp11",         2024, LoopEnd::StreamFailure, EmptyLines::Skipped};
constexpr FilePlan kUpdateDirectiveInVH   {".qzbackup.rt",   "_temp1",          2024, LoopEnd::StreamFailure, EmptyLines::Skipped};
constexpr FilePlan kUpdateVHDirContents   {".qzbackup.rt",   "_temp12",         2024, LoopEnd::StreamFailure, EmptyLines::Skipped};
constexpr FilePlan kIsModuleExistsInVH    {nullptr,          nullptr,           4999, LoopEnd::EndOfFile,     EmptyLines::Skipped};
constexpr FilePlan kDeleteVhIfmoduleBlock {nullptr,          ".dif",            2047, LoopEnd::EndOfFile,     EmptyLines::Skipped,
                                           OpenOrder::ScratchFirst, Unchanged::Left, Leftover::Kept};
constexpr FilePlan kChangeVirtualHostPort {".qzbackup.cp",   "_qzbackup_cp",    2999, LoopEnd::EndOfFile,     EmptyLines::Handed};
}  // namespace plans

// Reads on, with `limit`, past the lines of a <VirtualHost> block up to and
// including the one that starts with "</VirtualHost" after its white space.
// A failed read ends the caller's scan as well: the stream is no longer good.
void skipVirtualHost(LineReader& in, size_t limit);

// ---- Keyword tests ------------------------------------------------------------

// A comment line: '#' is its first character after the leading white space.
inline bool isComment(const char* afterSpace) { return *afterSpace == '#'; }

// The value of a directive line whose name matched `nameLength` characters:
// what follows the rest of the name as written in the file (Listen matches
// "ListenBacklog 511", whose value is 511) and the white space after it. A
// name that ends in white space ("Listen ") has no rest of a word to skip.
inline const char* valueAfter(const char* p, size_t nameLength) {
    const char* q = advance(p, nameLength);
    const bool nameEndsWord = q == p || std::isspace(static_cast<unsigned char>(q[-1]));
    if (!nameEndsWord)
        while (*q != '\0' && !std::isspace(static_cast<unsigned char>(*q))) ++q;
    return skipSpace(q);
}

// ---- Placing one line at server level ---------------------------------------------

// Follows the server-level lines of a file, those outside <VirtualHost>
// blocks: a line starting with "<VirtualHost" opens a block and one starting
// with "</VirtualHost" closes it, and both belong to the block.
struct ServerLevel {
    // Examines one line (after its leading white space); true when it is at
    // server level.
    bool at(const char* p) { return block.examine(p) == BlockLine::Other && !block.inBlock(); }

    BlockScan block{forms::kServerLevel};
};

// Rewrites `file` as `plan` says with `entry` written before the first line
// that accept(p) takes (p: the line after its leading white space), or after
// it when `before` is false, printing `progress` then unless it is null; once
// a line is taken, accept sees no more lines. Without a line taken the file
// stays as it is (Rewritten::Unchanged).
template <class Accept, class Opened = NothingOnOpen>
Rewritten placeLine(const std::string& file, const FilePlan& plan, const std::string& entry, bool before,
                    const char* progress, Accept&& accept, Opened&& opened = Opened()) {
    return rewriteFile(
        file, file + plan.scratchSuffix, plan,
        [&](LineReader& line, Rewrite& scratch, bool& placed) {
            const bool here = !placed && accept(skipSpace(line.c_str()));
            if (here) {
                if (progress != nullptr) sayLine(progress);
                placed = true;
                if (before) scratch.writeLine(entry);
            }
            scratch.writeLine(line.view());
            if (here && !before) scratch.writeLine(entry);
            return Next::Line;
        },
        opened);
}

// ---- A domain's <IfModule> sections ---------------------------------------------

// Examines one line (as read) with `block` (form kIfModule). Returns the rest
// of an "<IfModule" line of the domain's block (after white space), else null.
const char* ifModuleInSite(BlockScan& block, const char* line);

// Whether the rest of an "<IfModule" line names `moduleName`: the text before
// its first "." (a line without one names nothing), printed as "modname=...",
// equal to the module name ignoring case.
bool ifModuleNames(const char* rest, const std::string& moduleName);

// ---- Adding lines at the end of a domain's block ----------------------------------

// The add primitives: copies the file (empty lines included, so the final
// empty read adds one empty line at the end) and writes `lines`, each after a
// tab, before the "</VirtualHost" line of the domain's block: of every such
// block, or of the first only, after which the rest is copied unexamined.
// The block form is kDirectiveAdd: one '#' in the first column is stepped
// over before matching, so a block commented out that way still counts. Returns 0 when a block received the
// lines, 1 when none did or the file could not be read.
int addLinesToDomainBlocks(const std::string& file, const std::string& domain, const FilePlan& plan,
                           const std::vector<std::string>& lines, bool everyBlock);

// ---- Rewriting the opening line of a domain's block ---------------------------------

// "<VirtualHost ip:port>", the address in square brackets when it holds a
// ":" (IPv6).
std::string virtualHostOpening(const std::string& ip, const std::string& port);

// Copies lines, holding each opening line (not the bare "<VirtualHost>") back
// until its block's ServerName line, which decides what goes in its place:
// `opening` when it names the domain, else the held line. Lines in between
// are written at once, so they land before it, and a block without a
// ServerName line loses its opening line; the panel always writes ServerName
// first.
class HeldOpening {
public:
    HeldOpening(const std::string& domain, std::string opening)
        : block_(domain, forms::kPortChange), opening_(std::move(opening)) {}

    // Writes (or holds) one line. True when it was the ServerName line of the
    // domain's block, whose opening line was just replaced.
    bool copy(const LineReader& line, Rewrite& scratch);
    // Whether `line` closes a block ("</VirtualHost").
    bool closes(const char* line) const { return block_.closes(line); }

private:
    BlockScan block_;
    std::string opening_;
    std::string held_;
};

}  // namespace qz

#endif
