// The line rules shared by the script-handler operations (PHP module,
// FastCGI, Perl CGI): the blank-then-tab indentation cut, the copy of the
// word scans, the insertion after a site's CustomLog line and the site folder
// derived from a document root.
#ifndef QZ_HANDLER_SCAN_H
#define QZ_HANDLER_SCAN_H

#include "core/BlockScan.h"
#include "core/QZCore.h"
#include "core/RewritePlan.h"

#include <string>
#include <string_view>
#include <vector>

namespace qz {

// A line with its indentation cut the handlers' way: when it starts with a
// blank, every leading blank goes; then, when it starts with a tab, every
// leading tab goes. Only that order is handled ("\t x" keeps " x").
std::string_view handlerForm(std::string_view line);

// Whether `text` contains `part` (an empty part is contained everywhere).
inline bool contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

// The copy of a word scan: the configuration `conf` is read with the getline
// limit `limit`, its empty lines are dropped and its comment lines copied;
// body(WordLine, line, out) writes what it keeps of every other line to the
// scratch file. The scratch file is opened (truncated) before the
// configuration and is then moved over it ("mv scratch conf"); 0, or 21 when
// the configuration does not open.
// A scratch file that cannot be opened, or written whole, is not moved over
// the configuration (mv would put an older or a short file there); the result
// is still 0. A line over the limit ends the copy:
// the configuration is left as it is and 21 is returned, since a copy cut
// short would lose the rest of it.
template <class Body>
int rewriteWords(const std::string& conf, const std::string& scratch, size_t limit, Body&& body) {
    const FilePlan plan{nullptr,           nullptr,          limit,          LoopEnd::StreamFailure,
                        EmptyLines::Skipped, OpenOrder::ScratchOptional, Unchanged::Replaced, Leftover::Kept,
                        LongLine::LeavesFile};
    const Rewritten end = rewriteFile(conf, scratch, plan, [&](LineReader& in, Rewrite& out, bool&) {
        const char* p = skipSpace(in.c_str());
        if (*p == '#')
            out.writeLine(in.view());
        else
            body(WordLine(p), in.view(), out.out());
        return Next::Line;
    });
    if (end == Rewritten::FileNotOpened || end == Rewritten::TooLong) return qz::result::handler::ConfigNotOpened;
    return qz::result::handler::Rewritten;
}

// The insertion after a site's first CustomLog line: `conf` is copied into
// `scratch` "until end of file" (so a configuration that ends with a newline
// gains an empty last line), lines read whole. A line whose handler form
// equals `match` marks the site; the first line starting with "CustomLog"
// after it is copied and clears the mark, and the line after it is read at
// once: unless `guard(next)` says the block is there already, `block` goes
// in between. 23 when the scratch file cannot be opened (or written whole),
// 21 when the configuration cannot; else 96, with "mv scratch conf" run when the block
// went in and the scratch file left in place when it did not. `insert`
// false copies without inserting.
template <class Guard>
int insertAfterCustomLog(const std::string& conf, const std::string& scratch, const std::string& match,
                         Guard&& guard, const std::vector<std::string>& block, bool insert = true) {
    constexpr FilePlan plan{nullptr, nullptr, kNoLineLimit, LoopEnd::EndOfFile, EmptyLines::Handed,
                            OpenOrder::ScratchFirst, Unchanged::Left, Leftover::Kept};
    bool inSite = false;
    const Rewritten end = rewriteFile(conf, scratch, plan, [&](LineReader& in, Rewrite& out, bool& done) {
        const std::string_view line = handlerForm(in.view());
        if (line == match) inSite = true;
        if (inSite && line.substr(0, 9) == "CustomLog") {
            inSite = false;
            out.writeLine(in.view());
            // The read "at once": after a final newline it yields an empty
            // line; when the CustomLog line ended the file without one, the
            // read fails and leaves that line in place, so it is guarded on
            // and written a second time.
            in.getline();
            if (insert && !guard(in.view())) {
                for (const std::string& text : block) out.writeLine(text);
                done = true;
            }
        }
        out.writeLine(in.view());
        return Next::Line;
    });
    switch (end) {
    case Rewritten::ScratchNotOpened:
    case Rewritten::NotWritten: return qz::result::ScratchNotWritten;
    case Rewritten::FileNotOpened: return qz::result::handler::ConfigNotOpened;
    case Rewritten::Replaced:
    case Rewritten::TooLong:
    case Rewritten::Withheld:
    case Rewritten::Unchanged: break;
    }
    return qz::result::handler::Done;
}

// The site folder inside a document root: the root cut just after the first
// occurrence of the domain ("/home/u/a.com/public_html" gives
// "/home/u/a.com"). "" when the root is empty or does not hold the domain.
std::string siteFolder(const std::string& documentRoot, const std::string& domain);

// The server-level LoadModule lines of the PHP module checks: lines are taken
// in their handler form; a line starting with "<VirtualHost" enters a site
// block and one starting with "</VirtualHost" leaves it (case as written).
struct ServerModuleLine {
    // Whether `line` (in handler form, ending where the line read ends),
    // outside site blocks, is a LoadModule line that names `moduleName` and
    // is not a comment.
    bool loads(std::string_view line, const std::string& moduleName) {
        if (block.examine(line.data()) != BlockLine::Other || block.inBlock()) return false;
        return line.substr(0, 1) != "#" && contains(line, "LoadModule") && contains(line, moduleName);
    }

    BlockScan block{forms::kServerModules};
};

}  // namespace qz

#endif
