// CQZWebsite::Php_addModule: adds the LoadModule line of the PHP module.
#include "CQZWebsite.h"

#include "discovery/ApacheDiscovery.h"
#include "core/QZCore.h"
#include "core/RewritePlan.h"
#include "core/QZLock.h"
#include "core/Validate.h"

#include <cstdio>

namespace {

enum class Pass { Placed, NotPlaced, NoInput, NoScratch };

// One pass: the configuration copied into the scratch file without its empty
// lines, with the line `entry()` builds (once the two files are open) before
// the first line that starts in column 1 with `keyword` (ignoring case); the
// copy is moved over the configuration when the entry went in. With `place`
// false nothing is placed. A line over 2999 characters ends the copy: the
// configuration is left as it is and the pass counts as unreadable (1), since
// a copy cut short would lose the rest of the file.
template <class Entry>
Pass copyWithEntry(const std::string& conf, const std::string& scratch, std::string_view keyword, bool place,
                   Entry&& entry) {
    constexpr qz::FilePlan plan{nullptr, nullptr, qz::kConfigLineLimit, qz::LoopEnd::StreamFailure,
                                qz::EmptyLines::Skipped, qz::OpenOrder::FileFirst, qz::Unchanged::Left,
                                qz::Leftover::Kept, qz::LongLine::LeavesFile};
    std::string line;
    const qz::Rewritten end = qz::rewriteFile(
        conf, scratch, plan,
        [&](qz::LineReader& in, qz::Rewrite& out, bool& placed) {
            if (place && !placed && qz::startsWithNoCase(in.c_str(), keyword)) {
                out.writeLine(line);
                placed = true;
            }
            out.writeLine(in.view());
            return qz::Next::Line;
        },
        [&] { line = entry(); });
    switch (end) {
    case qz::Rewritten::Replaced: return Pass::Placed;
    case qz::Rewritten::FileNotOpened:
    case qz::Rewritten::TooLong: return Pass::NoInput;
    case qz::Rewritten::ScratchNotOpened:
    case qz::Rewritten::NotWritten: return Pass::NoScratch;
    case qz::Rewritten::Withheld:
    case qz::Rewritten::Unchanged: break;
    }
    return Pass::NotPlaced;
}

}  // namespace

int CQZWebsite::Php_addModule(std::string apacheConfFile, std::string moduleName) {
    const qz::OperationLock lock;
    if (qz::hasControlChar(moduleName)) return qz::result::handler::AddModuleNoPlace;
    qz::runShell(qz::shellCommand({"cp", apacheConfFile, apacheConfFile + ".qzbackup.rt"}));
    const std::string scratch = qz::str(TEMPFILE);

    // Built in each pass: the modules folder as a LoadModule line names it,
    // and the module's name from its "php" to its first "." (php5 for
    // libphp5.so).
    // A file name without "php" names no PHP module: it is placed nowhere,
    // as when the configuration has no place for it (4).
    const size_t php = moduleName.find("php");
    auto entry = [&]() {
        const std::string modulePath = qz::loadModuleFolder(qz::apacheModulesDir(apacheConfFile));
        if (php == std::string::npos) return std::string();
        const size_t dot = moduleName.find('.');
        const size_t length = dot == std::string::npos || dot < php ? std::string::npos : dot - php;
        return "LoadModule " + moduleName.substr(php, length) + "_module " + modulePath + "/" + moduleName;
    };

    for (std::string_view keyword : {"LoadModule", "<VirtualHost"}) {
        switch (copyWithEntry(apacheConfFile, scratch, keyword, php != std::string::npos, entry)) {
        case Pass::Placed:
            return qz::result::handler::Rewritten;
        case Pass::NoInput:
            return qz::result::handler::AddModuleFileNotOpened;
        case Pass::NoScratch:
            return qz::result::handler::AddModuleScratchNotOpened;
        case Pass::NotPlaced:
            break;
        }
    }
    std::remove(scratch.c_str());
    return qz::result::handler::AddModuleNoPlace;
}
