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

}  // namespace

int qz::addModule(const std::string& apacheConfFile, const std::string& moduleName) {
    if (qz::hasControlChar(moduleName)) return qz::result::toolkit::Refused;
    makeBackup(apacheConfFile, kAddModule);
    LineReader in(apacheConfFile, kAddModule.limit);
    if (!in.isOpen()) return qz::result::toolkit::FileNotOpened;
    ScratchRewrite scratch(apacheConfFile, kAddModule.scratchSuffix);
    if (!scratch.open()) return qz::result::toolkit::ScratchNotOpened;

    const std::string modulePath = loadModuleFolder(apacheModulesDir(apacheConfFile));
    const std::string entry = "LoadModule " + moduleName + "_module " + modulePath + "/mod_" + moduleName + ".so";
    sayLine("entry=" + entry);

    // Before the first server-level LoadModule line; comment lines cannot
    // start with a keyword, so they are copied like any other.
    ServerLevel level;
    switch (copyPlacing(in, scratch, kAddModule, entry, true, "LoadModule found",
                        [&level](const char* p) { return level.at(p) && startsWithNoCase(p, "LoadModule"); })) {
        case Placing::Placed: return 0;
        case Placing::NotWritten: return qz::result::toolkit::ScratchNotOpened;
        case Placing::NoPlace: break;
    }

    // Else before the first <VirtualHost> block.
    LineReader again(apacheConfFile, kAddModule.limit);
    if (!again.isOpen()) return qz::result::toolkit::FileNotOpened;
    ScratchRewrite fresh(apacheConfFile, kAddModule.scratchSuffix);
    if (!fresh.open()) return qz::result::toolkit::ScratchNotOpened;
    switch (copyPlacing(again, fresh, kAddModule, entry, true, "VirtualHost found",
                        [](const char* p) { return startsWithNoCase(p, "<VirtualHost"); })) {
        case Placing::Placed: return 0;
        case Placing::NotWritten: return qz::result::toolkit::ScratchNotOpened;
        case Placing::NoPlace: break;
    }

    sayLine("apending");
    if (appendLine(apacheConfFile, entry)) return 0;
    sayLine(qz::msg::kNotAppendable);
    return qz::result::toolkit::AppendFailed;
}

int ApacheHelper::Apache_addModule(std::string apacheConfFile, std::string moduleName) {
    const qz::OperationLock lock;
    return qz::addModule(apacheConfFile, moduleName);
}
