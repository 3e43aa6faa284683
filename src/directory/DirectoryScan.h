// The <Directory> sections of one domain's <VirtualHost> block: how the four
// section edits read their file, how a section's path is read, and the
// rewrite they share.
#ifndef QZ_DIRECTORY_SCAN_H
#define QZ_DIRECTORY_SCAN_H

#include "toolkit/DirectiveScan.h"

#include <string>
#include <vector>

namespace qz {

namespace plans {
//                                            backup           scratch   limit  loop ends on            empty lines
constexpr FilePlan kAddDirectoryTag           {".qzbackup.rt", "_temp4", 2024, LoopEnd::StreamFailure, EmptyLines::Skipped};
constexpr FilePlan kDeleteDirectoryTag        {".qzbackup.rt", "_temp5", 2024, LoopEnd::StreamFailure, EmptyLines::Skipped};
constexpr FilePlan kUpdateDirectoryTagPath    {".qzbackup.rt", "_temp2", 2024, LoopEnd::StreamFailure, EmptyLines::Skipped};
constexpr FilePlan kUpdateDirectoryDirectives {".qzbackup.rt", "_temp3", 2024, LoopEnd::StreamFailure, EmptyLines::Skipped};
}  // namespace plans

// The opening line of a section as the panel writes it: tab, <Directory "path">.
inline std::string directoryOpening(const std::string& path) { return "\t<Directory \"" + path + "\">"; }

// The section's directives: each after two tabs, then the closing line.
void writeDirectoryBody(Rewrite& scratch, const std::vector<std::string>& directives);

// A line (after its white space) that opens a section: "<Directory" in any
// case, so "<DirectoryMatch" too.
inline bool opensDirectory(const char* p) { return startsWithNoCase(p, "<Directory"); }

// The path of a section's opening line `p`: 11 characters on (the keyword and
// one separator) and the white space after them.
enum class PathForm {
    Quoted,        // between that double quote and the next one
    Unquoted,      // no double quote there: the rest of the line, ">" included
    Unterminated,  // a double quote with no closing one
};
PathForm directoryPath(const char* p, std::string& path);

// What becomes of the section whose path matched.
enum class SectionEdit {
    Delete,      // dropped with its contents
    Rename,      // the opening line rewritten with the new path
    Replace,     // opening line kept, contents replaced by the directives
};

// The rewrite shared by deleting, renaming and refilling one section: in the
// domain's block, the first section whose path equals `path` ignoring case
// is edited, then the rest of the file is copied unexamined. A quoted path
// without its closing quote ends the edit with 3, and so does an unquoted
// one when `unquotedStops` (otherwise it is compared as it stands). 0 done,
// 1 file not opened, 2 scratch file not opened, 3, 4 no such section.
int editDirectorySection(const std::string& file, const FilePlan& plan, const std::string& domain,
                         const std::string& path, bool unquotedStops, SectionEdit edit,
                         const std::string& newPath, const std::vector<std::string>& directives);

}  // namespace qz

#endif
