// The line rules shared by the virtual directory operations: how the
// configuration is read, the path of a "<Directory" line, the Options words
// of a section, and the rewrite loop of the operations that edit.
#ifndef QZ_VIRTUAL_DIRECTORY_SCAN_H
#define QZ_VIRTUAL_DIRECTORY_SCAN_H

#include "directory/DirectoryScan.h"
#include "core/BlockScan.h"
#include "core/QZCore.h"
#include "core/RewritePlan.h"
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

// The rewrite of creation, update and deletion: over every line to the end
// of the file (the final empty read included), and the configuration is
// replaced even when nothing changed.
constexpr FilePlan kVirtualDirectoryRewrite{nullptr, nullptr, kVirtualDirectoryLineLimit, LoopEnd::EndOfFile,
                                            EmptyLines::Handed, OpenOrder::FileFirst, Unchanged::Replaced};

// Rewrites the configuration `conf` through the scratch file `scratch`: a
// line with '#' in its first column is copied; any other is handed to
// body(line, p, out), p being the line after its leading white space, which
// writes what it keeps to `out` and returns 0 to go on or a result that ends
// the rewrite without changing the configuration. opened() runs once both
// files are open. At the end the scratch file is moved over the
// configuration and `done` returned (23, with nothing moved, when the scratch
// file could not be opened or written whole, 22 when the configuration could
// not be opened, 21 when none is named; a failure to open prints
// `messages` first, where given). A line too long for the buffer would keep such a loop from
// ever reaching the end of the file; the configuration is left as it is
// instead, with 22.
struct OpenMessages {
    const char* config = nullptr;
    const char* scratch = nullptr;
};
template <class Opened, class Body>
char rewriteConfiguration(const char* conf, const char* scratch, char done, const OpenMessages& messages,
                          Opened&& opened, Body&& body) {
    if (isEmpty(conf)) return qz::result::NoConfigFile;
    char result = 0;
    const Rewritten end = rewriteFile(
        str(conf), str(scratch), kVirtualDirectoryRewrite,
        [&](LineReader& in, Rewrite& out, bool&) {
            if (in.c_str()[0] == '#') {
                out.writeLine(in.view());
                return Next::Line;
            }
            result = body(in, skipSpace(in.c_str()), out.out());
            return result != 0 ? Next::Abandon : Next::Line;
        },
        opened);
    if (result != 0) return result;
    const char* message = end == Rewritten::FileNotOpened      ? messages.config
                          : end == Rewritten::ScratchNotOpened ? messages.scratch
                                                               : nullptr;
    if (message != nullptr) sayLine(message);
    if (end == Rewritten::Replaced) return done;
    return static_cast<char>(RewriteFailures{qz::result::ConfigNotOpened, qz::result::ScratchNotWritten, 0}.code(end));
}

}  // namespace qz

#endif
