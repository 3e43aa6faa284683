// The line rules shared by the virtual directory operations: the path of a
// "<Directory" line, and the Options words of a section.
#ifndef QZ_VIRTUAL_DIRECTORY_SCAN_H
#define QZ_VIRTUAL_DIRECTORY_SCAN_H

#include "QZCore.h"
#include "QZTypes.h"

#include <cstring>
#include <string>

namespace qz {

// The path of a "<Directory" line given after its leading white space: 11
// characters on (the keyword and one separator), then white space. A quoted
// path loses its opening quote and ends at the next one; an unquoted path is
// the rest of the line, its closing '>' included (so it never equals a
// folder). False when the opening quote is never closed.
inline bool directoryPath(const char* p, std::string& path) {
    const char* start = skipSpace(advance(p, 11));
    if (*start != '"') {
        path = start;
        return true;
    }
    const char* close = strchr(start + 1, '"');
    if (close == nullptr) return false;
    path.assign(start + 1, close);
    return true;
}

// The Options words of a directory section, in the order the Options line
// lists them, with the record flag ('+', '-' or 0) each one stands for.
struct OptionWord {
    char SOptions::*flag;
    const char* name;
};
constexpr OptionWord kOptionWords[] = {
    {&SOptions::Indexes, "Indexes"},       {&SOptions::Includes, "Includes"},
    {&SOptions::ExecCGI, "ExecCGI"},       {&SOptions::MultiViews, "MultiViews"},
    {&SOptions::FollowSymLinks, "FollowSymLinks"},
};

}  // namespace qz

#endif
