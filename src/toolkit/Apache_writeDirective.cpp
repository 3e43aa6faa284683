// ApacheHelper::Apache_writeDirective: inserts a line next to the first
// server-level line that starts with a reference, else before a line number,
// else at the end of the file.
#include "ApacheHelper.h"

#include "toolkit/DirectiveScan.h"
#include "toolkit/Toolkit.h"
#include "core/QZLock.h"
#include "core/Validate.h"

namespace {

using namespace qz;

constexpr FilePlan kWriteDirective{".qzbackup.rt", ".wd", plans::kServerLimit, LoopEnd::StreamFailure,
                                   EmptyLines::Skipped};
// The numbered pass counts empty lines (and drops them).
constexpr FilePlan kWriteAtLine{nullptr, ".wd1", plans::kServerLimit, LoopEnd::StreamFailure, EmptyLines::Handed,
                                OpenOrder::FileFirst, Unchanged::Replaced};

// First pass: copies the file and places `entry` beside the first server-level
// line that starts with `reference`. The opening and closing lines of a
// <VirtualHost> block belong to the block and are never the reference.
// 0 placed, 1 / 2 a file did not open (2 also: the scratch file could not be
// written whole), -1 no reference.
int writeByReference(const std::string& file, const std::string& entry, const std::string& reference,
                     bool beforeReference) {
    ServerLevel level;
    const Rewritten end = placeLine(file, kWriteDirective, entry, beforeReference, nullptr,
                                    [&](const char* p) { return level.at(p) && startsWithNoCase(p, reference); });
    return end == Rewritten::Unchanged ? -1 : kBlockFailures.code(end);
}

// Second pass: `entry` goes before line number `lineCount` (1 for the first
// line, empty lines counted). An empty line with that number is dropped, and
// the entry with it. The file is rewritten even when no line has the number.
int writeAtLine(const std::string& file, const std::string& entry, int lineCount) {
    int number = 0;
    const Rewritten end = rewriteFile(file, file + kWriteAtLine.scratchSuffix, kWriteAtLine,
                                      [&](LineReader& line, Rewrite& scratch, bool&) {
                                          ++number;
                                          if (line.empty()) return Next::Line;
                                          if (number == lineCount) scratch.writeLine(entry);
                                          scratch.writeLine(line.view());
                                          return Next::Line;
                                      });
    return kBlockFailures.code(end);
}

}  // namespace

int qz::writeDirective(const std::string& apacheConfFile, const std::string& entry, const std::string& reference,
                       bool beforeReference, int lineCount) {
    if (!qz::isLineValue(entry)) return qz::result::toolkit::Refused;
    const int byReference = writeByReference(apacheConfFile, entry, reference, beforeReference);
    if (byReference >= 0) return byReference;
    if (lineCount == -1)
        return appendLine(apacheConfFile, entry) ? qz::result::toolkit::Done : qz::result::toolkit::FileNotOpened;
    return writeAtLine(apacheConfFile, entry, lineCount);
}

int ApacheHelper::Apache_writeDirective(std::string apacheConfFile, std::string entry, std::string reference,
                                        bool beforeReference, int lineCount) {
    const qz::OperationLock lock;
    return qz::writeDirective(apacheConfFile, entry, reference, beforeReference, lineCount);
}
