// The line rules and the rewrite shared by the FileHandling operations.
#include "params/ParamFile.h"

#include "core/QZCore.h"
#include "core/RewritePlan.h"
#include "core/Messages.h"

#include <cstdio>
#include <cstring>

namespace qz {

ParamLine::Kind ParamLine::classify(const char* line) const {
    const char* p = skipSpace(line);
    if (*p == comment) return Comment;
    if (!startsWithNoCase(p, name)) return Other;
    p = advance(p, name.size());
    sayLine(qz::msg::kDelimiterHasSpaces);
    if (*p != delimiter) return Other;
    // advance: a NUL delimiter at the end of the line leaves an empty value.
    p = skipSpace(advance(p, 1));
    return std::strcmp(p, value.c_str()) == 0 ? Match : Other;
}

// The scratch file (file_qzbackup) opens first. A line of more than 2998
// characters fails the read and ends the copy as the end of the file does;
// the file is replaced by the copy made so far, as the toolkit's reads do.
// The copy is renamed over the file, which a reader then finds old or new,
// never missing; a copy that could not be written whole is not put in its
// place.
constexpr FilePlan kParamPlan{nullptr,         "_qzbackup",           kParamLineLimit,     LoopEnd::StreamFailure,
                              EmptyLines::Skipped, OpenOrder::ScratchFirst, Unchanged::Replaced, Leftover::Kept,
                              LongLine::EndsCopy,  Placing::Rename};

int rewriteParamFile(const std::string& filePath, const ParamLine& wanted, const std::string* replacement,
                     bool keepComments) {
    if (filePath.empty() || wanted.name.empty() || wanted.value.empty()) return 0;
    int changed = 0;
    const Rewritten end = rewriteFile(filePath, filePath + kParamPlan.scratchSuffix, kParamPlan,
                                      [&](LineReader& in, Rewrite& out, bool&) {
        switch (wanted.classify(in.c_str())) {
        case ParamLine::Comment:
            if (keepComments) out.writeLine(in.view());
            break;
        case ParamLine::Match:
            changed = 1;
            if (replacement != nullptr) out.writeLine(*replacement);
            break;
        case ParamLine::Other:
            out.writeLine(in.view());
            break;
        }
        return Next::Line;
    });
    return end == Rewritten::Replaced ? changed : 0;
}

}  // namespace qz
