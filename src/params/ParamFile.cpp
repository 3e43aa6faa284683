// The line rules and the rewrite shared by the FileHandling operations.
#include "params/ParamFile.h"

#include "core/QZCore.h"
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

int rewriteParamFile(const std::string& filePath, const ParamLine& wanted, const std::string* replacement,
                     bool keepComments) {
    if (filePath.empty() || wanted.name.empty() || wanted.value.empty()) return 0;
    const std::string scratch = filePath + "_qzbackup";
    OutFile out;
    if (!out.open(scratch.c_str())) return 0;
    LineReader in(filePath, kParamLineLimit);
    if (!in.isOpen()) return 0;

    int changed = 0;
    while (in.getline()) {
        if (in.empty()) continue;
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
    }
    // A line of more than 2998 characters fails the read and ends the copy as
    // the end of the file does; the file is replaced by the copy made so far,
    // as the toolkit's reads do.
    in.close();
    // A copy that could not be written whole is not put in its place: 0, the
    // file as it was.
    if (!out.finish()) {
        std::remove(scratch.c_str());
        return 0;
    }
    // The copy is renamed over the file, which a reader then finds old or
    // new, never missing; the rename's result is not examined.
    replaceByRename(scratch, filePath);
    return changed;
}

}  // namespace qz
