// The line rules shared by the virtual directory operations: how the
// configuration is read, the path of a "<Directory" line, the Options words
// of a section, and the rewrite loop of the operations that edit.
#ifndef QZ_VIRTUAL_DIRECTORY_SCAN_H
#define QZ_VIRTUAL_DIRECTORY_SCAN_H

#include "directory/DirectoryScan.h"
#include "core/QZCore.h"
#include "QZTypes.h"
#include "core/Messages.h"

#include <cstdio>
#include <cstring>
#include <string>

namespace qz {

// Configuration lines are read as getline(buf, 3000) reads them.
constexpr size_t kVirtualDirectoryLineLimit = kConfigLineLimit;

// The message of the operations that print one when the configuration does
// not open.
constexpr const char* kConfigurationNotOpened = qz::msg::kConfigFileNotOpened;

// An operation that meets a "<Directory" or Alias line it cannot read deletes
// the manager's scratch file, whether or not it was writing one.
inline void deleteScratch(const char* tempFile) {
    if (tempFile != nullptr) std::remove(tempFile);
}

// The path of a "<Directory" line given after its leading white space, as
// the directory-section primitives read it (an unquoted path keeps its '>',
// so it never equals a folder); false when the opening quote is never closed.
inline bool readDirectoryPath(const char* p, std::string& path) {
    return directoryPath(p, path) != PathForm::Unterminated;
}

// A "<Directory" line that an edit keeps: a quoted path is written back in the
// one form the panel writes, "\t<Directory \"path\">"; an unquoted one (such
// as the server's own "<Directory />") is copied as it stands, since quoting
// what directoryPath read, '>' included, would name another folder.
inline void copyDirectoryOpening(OutFile& out, const LineReader& line, PathForm form, const std::string& path) {
    if (form == PathForm::Quoted)
        out.writeLine(directoryOpening(path));
    else
        out.writeLine(line.view());
}

// A value as the virtual directory operations read it: one that opens with a
// double quote loses that quote and ends at the next one (or at the end of
// the line when there is none); any other is taken whole.
inline std::string unquoted(const char* p) {
    if (*p != '"') return p;
    const char* close = std::strchr(p + 1, '"');
    return close != nullptr ? std::string(p + 1, close) : std::string(p + 1);
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

// Gives up a rewrite of the configuration: both files are closed and the
// scratch file deleted, so the configuration stays as it was. Returns result.
inline char abandonRewrite(LineReader& in, Rewrite& rewrite, char result) {
    in.close();
    rewrite.discard();
    return result;
}

// The rewrite loop of creation, update and deletion, over every line to the
// end of the file (the final empty read included): a line with '#' in its
// first column is copied; any other is handed to body(line, p), p being the
// line after its leading white space, which writes what it keeps and returns
// 0 to go on or a result that ends the rewrite without changing the
// configuration. At the end the scratch file is moved over the configuration
// and `done` returned (23, with nothing moved, when the scratch file could
// not be written whole). A line too long for the buffer would keep such a loop
// from ever reaching the end of the file; the configuration is left as it is
// instead, with 22.
template <class Body>
char rewriteConfiguration(LineReader& in, Rewrite& rewrite, char done, Body&& body) {
    while (in.nextUntilEof()) {
        const char* line = in.c_str();
        if (*line == '#') {
            rewrite.out().writeLine(in.view());
            continue;
        }
        if (const char result = body(in, skipSpace(line))) return abandonRewrite(in, rewrite, result);
    }
    if (in.tooLong()) return abandonRewrite(in, rewrite, qz::result::ConfigNotOpened);
    in.close();
    return rewrite.commit() ? done : qz::result::ScratchNotWritten;
}

}  // namespace qz

#endif
