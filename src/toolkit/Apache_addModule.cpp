// ApacheHelper::Apache_addModule: adds a LoadModule line for a module.
#include "ApacheHelper.h"

#include "discovery/ApacheDiscovery.h"
#include "toolkit/DirectiveScan.h"
#include "toolkit/Toolkit.h"
#include "core/QZLock.h"
#include "core/Validate.h"
#include "core/Messages.h"

namespace {

using namespace qz;

constexpr FilePlan kAddModule{".qzbackup.rt", "_md", plans::kServerLimit, LoopEnd::StreamFailure,
                              EmptyLines::Skipped};
// The second pass, when no LoadModule line took the entry.
constexpr FilePlan kAddModuleAgain{nullptr, "_md", plans::kServerLimit, LoopEnd::StreamFailure, EmptyLines::Skipped};

}  // namespace

int qz::addModule(const std::string& apacheConfFile, const std::string& moduleName) {
    if (qz::hasControlChar(moduleName)) return qz::result::toolkit::Refused;
    std::string entry;
    // The entry is printed once both files are open.
    const auto printEntry = [&] {
        if (!entry.empty()) return;
        entry = "LoadModule " + moduleName + "_module " + loadModuleFolder(apacheModulesDir(apacheConfFile)) +
                "/mod_" + moduleName + ".so";
        sayLine("entry=" + entry);
    };

    // Before the first server-level LoadModule line; comment lines cannot
    // start with a keyword, so they are copied like any other. Else before
    // the first <VirtualHost> block.
    ServerLevel level;
    Rewritten end = placeLine(apacheConfFile, kAddModule, entry, true, "LoadModule found",
                              [&level](const char* p) { return level.at(p) && startsWithNoCase(p, "LoadModule"); },
                              printEntry);
    if (end == Rewritten::Unchanged) {
        end = placeLine(apacheConfFile, kAddModuleAgain, entry, true, "VirtualHost found",
                        [&level](const char* p) { return level.block.opens(p); });
    }
    if (end != Rewritten::Unchanged) return kBlockFailures.code(end);

    sayLine("apending");
    if (appendLine(apacheConfFile, entry)) return 0;
    sayLine(qz::msg::kNotAppendable);
    return qz::result::toolkit::AppendFailed;
}

int ApacheHelper::Apache_addModule(std::string apacheConfFile, std::string moduleName) {
    const qz::OperationLock lock;
    return qz::addModule(apacheConfFile, moduleName);
}
