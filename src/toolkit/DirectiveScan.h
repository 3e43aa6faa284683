// The line scan shared by the directive toolkit (ApacheHelper): how each
// primitive reads its file, the backup and scratch files it uses, placing one
// line at server level, the two ways of finding one domain's <VirtualHost>
// block, and the edits made at that block's ends.
#ifndef QZ_DIRECTIVE_SCAN_H
#define QZ_DIRECTIVE_SCAN_H

#include "core/QZCore.h"

#include <string>
#include <string_view>
#include <vector>

namespace qz {

// ---- How a primitive reads and rewrites its file ----------------------------

enum class LoopEnd {
    StreamFailure,  // `while (getline(buf, N))`: a final empty read is never seen
    EndOfFile,      // `while (!eof) { getline(buf, N); ... }`: it is
};

enum class EmptyLines {
    Skipped,  // not examined and, in a rewrite, not copied
    Handed,   // given to the primitive like any other line
};

struct FilePlan {
    const char* backupSuffix;   // "cp file file<suffix>" runs first; null: none
    const char* scratchSuffix;  // the new contents go to file<suffix>; null: none
    size_t limit;               // the getline limit: at most limit-1 characters a line
    LoopEnd loopEnd;
    EmptyLines emptyLines;
};

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
constexpr FilePlan kDeleteVhIfmoduleBlock {nullptr,          ".dif",            2047, LoopEnd::EndOfFile,     EmptyLines::Skipped};
constexpr FilePlan kChangeVirtualHostPort {".qzbackup.cp",   "_qzbackup_cp",    2999, LoopEnd::EndOfFile,     EmptyLines::Handed};
}  // namespace plans

// What a scan body tells the scan.
enum class Next { Line, Stop };

// How a scan ended.
enum class ScanEnd {
    Done,     // end of file, a failed read, or the body stopped it
    TooLong,  // an end-of-file loop met a line over the limit: such a loop
              // would never see end of file, so the scan was abandoned
};

// Reads `in` line by line as `plan` says and hands each line the loop sees
// (after dropping empty ones when the plan skips them) to body(in), which
// returns Next. A stream-failure loop also ends on an over-long line, as the
// stream fails; that is reported as Done.
template <class Body>
ScanEnd scanLines(LineReader& in, const FilePlan& plan, Body&& body) {
    for (;;) {
        const bool got = plan.loopEnd == LoopEnd::EndOfFile ? in.nextUntilEof() : in.getline(plan.limit);
        if (!got) break;
        if (in.empty() && plan.emptyLines == EmptyLines::Skipped) continue;
        if (body(in) == Next::Stop) return ScanEnd::Done;
    }
    return plan.loopEnd == LoopEnd::EndOfFile && in.tooLong() ? ScanEnd::TooLong : ScanEnd::Done;
}

// Runs "cp file file<suffix>" when the plan names a backup. Its exit status
// is not examined and the copy is left in place.
void makeBackup(const std::string& file, const FilePlan& plan);

// The scratch file of a rewrite: opened for writing (truncated), then either
// moved over the file ("mv scratch file") or deleted.
class ScratchRewrite {
public:
    ScratchRewrite(const std::string& file, const char* scratchSuffix) : rewrite_(file + scratchSuffix, file) {}

    bool open() { return rewrite_.open(); }
    OutFile& out() { return rewrite_.out(); }
    void writeLine(std::string_view text) { rewrite_.out().writeLine(text); }
    // See Rewrite::commit.
    [[nodiscard]] bool commit() { return rewrite_.commit(); }
    // Closes and deletes the scratch file; the file stays as it was.
    void discard() { rewrite_.discard(); }

private:
    Rewrite rewrite_;
};

// The result codes of a rewrite that does not happen.
struct RewriteFailures {
    int inputNotOpened;  // also: the file could not be read whole
    int scratchNotOpened;
    int unchanged;
};

// The usual ones: the file, the scratch file, and no block of the domain
// (or nothing in it to change) / no such <Directory> section.
constexpr RewriteFailures kBlockFailures{result::toolkit::FileNotOpened, result::toolkit::ScratchNotOpened,
                                         result::toolkit::NoBlock};
constexpr RewriteFailures kSectionFailures{result::toolkit::FileNotOpened, result::toolkit::ScratchNotOpened,
                                           result::toolkit::NoSection};

// The rewrite of one file as `plan` says: the backup, then the file (opened
// for reading) and the scratch file (for writing), then body(line, scratch)
// for every line the scan sees; the body writes what it keeps to the scratch
// file and sets `changed`. A changed file is replaced by the scratch file
// ("mv") and 0 returned, or scratchNotOpened when the scratch file could not
// be written whole; otherwise the scratch file is deleted. An end-of-file
// loop that met an over-long line (such a loop would never end) also
// leaves the file as it is.
template <class Body>
int rewriteLines(const std::string& file, const FilePlan& plan, const RewriteFailures& failures, Body&& body) {
    makeBackup(file, plan);
    LineReader in(file, plan.limit);
    if (!in.isOpen()) return failures.inputNotOpened;
    ScratchRewrite scratch(file, plan.scratchSuffix);
    if (!scratch.open()) return failures.scratchNotOpened;
    bool changed = false;
    const ScanEnd end = scanLines(in, plan, [&](LineReader& line) { return body(line, scratch, changed); });
    in.close();
    if (!changed || end == ScanEnd::TooLong) {
        scratch.discard();
        return end == ScanEnd::TooLong ? failures.inputNotOpened : failures.unchanged;
    }
    return scratch.commit() ? 0 : failures.scratchNotOpened;
}

// Opens `file` in append mode and writes `text` and a newline at its end.
// False when it does not open, or the line could not be written whole (the
// file then keeps its old length).
bool appendLine(const std::string& file, std::string_view text);

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
    bool at(const char* p) {
        if (startsWithNoCase(p, "<VirtualHost")) {
            inHost = true;
        } else if (startsWithNoCase(p, "</VirtualHost")) {
            inHost = false;
        } else {
            return !inHost;
        }
        return false;
    }

    bool inHost = false;
};

// Copies `in` into the scratch file as `plan` reads it, with `entry` written
// before the first line that accept(p) takes (p: the line after its leading
// white space), or after it when `before` is false, printing `progress` then
// unless it is null; once a line is taken, accept sees no more lines. The copy
// is then moved over the file, or deleted when no line was taken.
enum class Placing {
    Placed,      // the entry went in
    NoPlace,     // no line was taken
    NotWritten,  // the scratch file could not be written whole: nothing moved
};
template <class Accept>
Placing copyPlacing(LineReader& in, ScratchRewrite& scratch, const FilePlan& plan, const std::string& entry,
                 bool before, const char* progress, Accept&& accept) {
    bool placed = false;
    scanLines(in, plan, [&](LineReader& line) {
        const bool here = !placed && accept(skipSpace(line.c_str()));
        if (here) {
            if (progress != nullptr) sayLine(progress);
            placed = true;
            if (before) scratch.writeLine(entry);
        }
        scratch.writeLine(line.view());
        if (here && !before) scratch.writeLine(entry);
        return Next::Line;
    });
    in.close();
    if (!placed) {
        scratch.discard();
        return Placing::NoPlace;
    }
    return scratch.commit() ? Placing::Placed : Placing::NotWritten;
}

// ---- Finding one domain's block, prefix form ----------------------------------

// "<VirtualHost" over 12 characters opens a block (optionally not the bare
// "<VirtualHost>"), "</VirtualHost>" over 14 characters or "</VirtualHost"
// over 13 closes it, and the block belongs to the domain when a "ServerName"
// line inside it carries the domain: 11 characters on (the keyword and one
// separator), then white space, then the whole rest equal ignoring case.
enum class LineKind { Opening, Closing, ServerName, Other };

struct BlockForm {
    bool bareOpeningCounts;  // "<VirtualHost>" opens a block too
    size_t closingLength;    // 14: "</VirtualHost>"; 13: "</VirtualHost"
};

constexpr BlockForm kReadForm{true, 14};     // the read and update primitives
constexpr BlockForm kDeleteForm{false, 14};  // deleting directives
constexpr BlockForm kAddForm{true, 13};      // the add primitives
constexpr BlockForm kPortForm{false, 13};    // changing the address and port

// The kind of a line given after its leading white space.
LineKind lineKind(const char* p, const BlockForm& form);

// The block state of the read and update primitives: any ServerName line of
// an open block decides whether it is the domain's; closing clears both.
struct DomainBlockScan {
    DomainBlockScan(const std::string& domainName, const BlockForm& blockForm)
        : domain(domainName), form(blockForm) {}

    // Examines one line (after its leading white space); true when it was an
    // opening or closing line, or a ServerName line inside a block.
    bool examine(const char* p);

    const std::string& domain;
    BlockForm form;
    bool inHost = false;    // inside a <VirtualHost> block
    bool inDomain = false;  // inside the domain's block
};

// ---- Finding one domain's block, word form --------------------------------------

// The line is cut at its first space (a tab does not separate); the first
// word must equal "<VirtualHost", "ServerName" or "</VirtualHost>" in full,
// ignoring case, and the rest of a ServerName line, after white space, must
// equal the domain ignoring case. Comment lines are not examined.
struct WordBlockScan {
    explicit WordBlockScan(const std::string& domainName) : domain(domainName) {}

    // Examines one line (after its leading white space). Returns the rest of
    // an "<IfModule" line of the domain's block (after white space), else null.
    const char* ifModuleInDomain(const char* p);

    const std::string& domain;
    bool inHost = false;
    bool inDomain = false;
};

// Whether the rest of an "<IfModule" line names `moduleName`: the text before
// its first "." (a line without one names nothing), printed as "modname=...",
// equal to the module name ignoring case.
bool ifModuleNames(const char* rest, const std::string& moduleName);

// ---- Adding lines at the end of a domain's block ----------------------------------

// The add primitives: copies the file (empty lines included, so the final
// empty read adds one empty line at the end) and writes `lines`, each after a
// tab, before the "</VirtualHost" line of the domain's block: of every such
// block, or of the first only, after which the rest is copied unexamined.
// One '#' in the first column is stepped over before matching, so a block
// commented out that way still counts. Returns 0 when a block received the
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
    HeldOpening(const std::string& domain, std::string opening) : domain_(domain), opening_(std::move(opening)) {}

    // Writes (or holds) one line. True when it was the ServerName line of the
    // domain's block, whose opening line was just replaced.
    bool copy(const LineReader& line, ScratchRewrite& scratch);

private:
    const std::string& domain_;
    std::string opening_;
    std::string held_;
    bool holding_ = false;
};

}  // namespace qz

#endif
