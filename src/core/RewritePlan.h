// The one rewrite driver: how an operation reads its file and writes the new
// contents. What differs between operations (the order the two files are
// opened in, the read limit, how the loop ends and what an over-long line
// does, empty lines, the backup, the scratch file's name, whether an
// unchanged file is rewritten anyway) is the operation's plan, a row of data.
#ifndef QZ_REWRITE_PLAN_H
#define QZ_REWRITE_PLAN_H

#include "core/QZCore.h"

#include <string>
#include <string_view>

namespace qz {

enum class LoopEnd {
    StreamFailure,  // `while (getline(buf, N))`: a final empty read is never seen
    EndOfFile,      // `while (!eof) { getline(buf, N); ... }`: it is
};

enum class EmptyLines {
    Skipped,  // not examined and, in a rewrite, not copied
    Handed,   // given to the primitive like any other line
};

enum class OpenOrder {
    FileFirst,        // the file, then the scratch file: a file that does not
                      // open leaves no scratch file behind
    ScratchFirst,     // the scratch file, then the file
    ScratchOptional,  // the scratch file first; one that cannot be opened does
                      // not stop the read, but nothing replaces the file
};

enum class Unchanged {
    Left,      // nothing changed: the file stays as it is
    Replaced,  // the copy replaces the file all the same
};

// What becomes of a scratch file that does not replace the file.
enum class Leftover {
    Deleted,
    Kept,  // closed and left behind, as far as it was written
};

// What a file that does not open (missing, a folder, unreadable) does.
enum class Unopened {
    Fails,       // nothing is replaced
    ReadsEmpty,  // it is copied as an empty file
};

// How the scratch file is opened.
enum class ScratchStart {
    Empty,     // truncated
    Appended,  // written at its end, after whatever it already holds
};

// How the scratch file takes the file's place.
enum class Placing {
    MoveCommand,  // "mv scratch file" through the shell
    Rename,       // rename(2)
};

// What an over-long line does to a stream-failure loop (an end-of-file loop
// would never end after one, so it always leaves the file as it is).
enum class LongLine {
    EndsCopy,    // the copy ends there, like at the end of the file
    LeavesFile,  // the file stays as it is
};

struct FilePlan {
    const char* backupSuffix;   // "cp file file<suffix>" runs first; null: none
    const char* scratchSuffix;  // the new contents go to file<suffix>; null: the
                                // operation names its scratch file (a manager's TEMPFILE)
    size_t limit;               // the getline limit: at most limit-1 characters a line
    LoopEnd loopEnd;            // an end-of-file loop that meets an over-long line
                                // leaves the file as it is (it would never end);
                                // a stream-failure loop ends there like at end of file
    EmptyLines emptyLines;
    OpenOrder open = OpenOrder::FileFirst;
    Unchanged unchanged = Unchanged::Left;
    Leftover leftover = Leftover::Deleted;
    LongLine longLine = LongLine::EndsCopy;
    Placing placing = Placing::MoveCommand;
    ScratchStart start = ScratchStart::Empty;
    Unopened unopened = Unopened::Fails;
};


// What a scan body tells the scan.
enum class Next {
    Line,     // on to the next line
    Stop,     // the scan ends here
    Abandon,  // the scan ends here as if it had met an over-long line: a
              // rewrite leaves the file as it is
};

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
        const Next next = body(in);
        if (next == Next::Stop) return ScanEnd::Done;
        if (next == Next::Abandon) return ScanEnd::TooLong;
    }
    return plan.loopEnd == LoopEnd::EndOfFile && in.tooLong() ? ScanEnd::TooLong : ScanEnd::Done;
}

// Runs "cp file file<suffix>" when the plan names a backup. Its exit status
// is not examined and the copy is left in place.
inline void makeBackup(const std::string& file, const FilePlan& plan) {
    if (plan.backupSuffix != nullptr) runShell(shellCommand({"cp", file, file + plan.backupSuffix}));
}

// How a rewrite ended.
enum class Rewritten {
    Replaced,          // the scratch file replaced the file
    FileNotOpened,     // nothing written
    ScratchNotOpened,  // nothing written
    TooLong,           // an end-of-file loop met an over-long line: file left as it was
    Unchanged,         // the body changed nothing: file left as it was
    Withheld,          // the operation, having read it all, kept the file as it was
    NotWritten,        // the scratch file could not be written whole: file left as it was
};

// The result codes of a rewrite that does not happen.
struct RewriteFailures {
    int inputNotOpened;  // also: the file could not be read whole
    int scratchNotOpened;
    int unchanged;

    // 0 for a replaced file; a scratch file not written whole answers as one
    // that cannot be opened.
    int code(Rewritten end) const {
        switch (end) {
        case Rewritten::Replaced: return 0;
        case Rewritten::FileNotOpened:
        case Rewritten::TooLong: return inputNotOpened;
        case Rewritten::ScratchNotOpened:
        case Rewritten::NotWritten: return scratchNotOpened;
        case Rewritten::Unchanged:
        case Rewritten::Withheld: break;
        }
        return unchanged;
    }
};

// The usual ones: the file, the scratch file, and no block of the domain
// (or nothing in it to change) / no such <Directory> section.
constexpr RewriteFailures kBlockFailures{result::toolkit::FileNotOpened, result::toolkit::ScratchNotOpened,
                                         result::toolkit::NoBlock};
constexpr RewriteFailures kSectionFailures{result::toolkit::FileNotOpened, result::toolkit::ScratchNotOpened,
                                           result::toolkit::NoSection};

// The rewrite of `file` as `plan` says: the backup, then the file (opened
// for reading) and the scratch file `scratchPath` (for writing) in the plan's
// order, then body(line, scratch, changed) for every line the scan sees; the
// body writes what it keeps to the scratch file, sets `changed`, and returns
// Next::Stop to end the scan early. A changed file (or any, when the plan
// replaces unchanged ones) is replaced by the scratch file ("mv"); otherwise
// the scratch file is deleted.
// `opened()` runs once both files are open, before the first line;
// ended(scratch, changed) once the whole file is read, to write what goes
// after the last line and to decide whether the copy may replace the file.
struct NothingOnOpen {
    void operator()() const {}
};
struct ReplaceWhenChanged {
    bool operator()(Rewrite&, bool&) const { return true; }
};
template <class Body, class Opened = NothingOnOpen, class Ended = ReplaceWhenChanged>
Rewritten rewriteFile(const std::string& file, const std::string& scratchPath, const FilePlan& plan, Body&& body,
                      Opened&& opened = Opened(), Ended&& ended = Ended()) {
    makeBackup(file, plan);
    Rewrite scratch(scratchPath, file);
    const auto openScratch = [&] {
        if (scratchPath.empty()) return false;
        return plan.start == ScratchStart::Appended ? scratch.openAppend() : scratch.open();
    };
    const bool scratchFirst = plan.open != OpenOrder::FileFirst;
    bool scratchOpen = scratchFirst && openScratch();
    if (plan.open == OpenOrder::ScratchFirst && !scratchOpen) return Rewritten::ScratchNotOpened;
    const auto leaveScratch = [&] {
        if (!scratchOpen) return;
        if (plan.leftover == Leftover::Kept) {
            static_cast<void>(scratch.out().close());
        } else {
            scratch.discard();
        }
    };
    LineReader in(file, plan.limit);
    if (!in.isOpen() && plan.unopened == Unopened::Fails) {
        leaveScratch();
        return Rewritten::FileNotOpened;
    }
    if (!scratchFirst && !(scratchOpen = openScratch())) return Rewritten::ScratchNotOpened;
    opened();
    bool changed = false;
    ScanEnd end = ScanEnd::Done;
    if (in.isOpen()) end = scanLines(in, plan, [&](LineReader& line) { return body(line, scratch, changed); });
    if (plan.longLine == LongLine::LeavesFile && in.tooLong()) end = ScanEnd::TooLong;
    in.close();
    if (end != ScanEnd::TooLong && scratchOpen && !ended(scratch, changed)) {
        leaveScratch();
        return Rewritten::Withheld;
    }
    if (end == ScanEnd::TooLong || !scratchOpen || (!changed && plan.unchanged == Unchanged::Left)) {
        leaveScratch();
        if (end == ScanEnd::TooLong) return Rewritten::TooLong;
        return scratchOpen ? Rewritten::Unchanged : Rewritten::ScratchNotOpened;
    }
    const bool placed = plan.placing == Placing::Rename ? scratch.commitByRename() : scratch.commit();
    return placed ? Rewritten::Replaced : Rewritten::NotWritten;
}

// The same with the plan's scratch name (file<scratchSuffix>), answered with
// `failures`' codes: 0 when the file was replaced.
template <class Body>
int rewriteLines(const std::string& file, const FilePlan& plan, const RewriteFailures& failures, Body&& body) {
    return failures.code(rewriteFile(file, file + plan.scratchSuffix, plan, body));
}

// Opens `file` in append mode and writes `text` and a newline at its end.
// False when it does not open, or the line could not be written whole (the
// file then keeps its old length).
bool appendLine(const std::string& file, std::string_view text);

}  // namespace qz

#endif
