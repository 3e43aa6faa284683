// ApacheHelper::Apache_addModule: adds a LoadModule line for a module.
#include "ApacheHelper.h"

#include "ApacheDiscovery.h"
#include "CQZWebsite.h"
#include "DirectiveScan.h"

namespace {

using namespace qz;

constexpr FilePlan kAddModule{".qzbackup.rt", "_md", plans::kServerLimit, LoopEnd::StreamFailure,
                              EmptyLines::Skipped};

// Copies the file into the scratch file with `entry` written before the first
// line `isPlace` accepts (its progress word printed), then moves the copy over
// the file. False, with the scratch file deleted, when no line was accepted.
template <class IsPlace>
bool copyWithEntry(LineReader& in, ScratchRewrite& scratch, const std::string& entry, const char* progress,
                   IsPlace&& isPlace) {
    bool placed = false;
    scanLines(in, kAddModule, [&](LineReader& line) {
        if (!placed && isPlace(skipSpace(line.c_str()))) {
            sayLine(progress);
            scratch.writeLine(entry);
            placed = true;
        }
        scratch.writeLine(line.view());
        return Next::Line;
    });
    in.close();
    if (!placed) {
        scratch.discard();
        return false;
    }
    scratch.commit();
    return true;
}

}  // namespace

int ApacheHelper::Apache_addModule(std::string apacheConfFile, std::string moduleName) {
    makeBackup(apacheConfFile, kAddModule);
    LineReader in(apacheConfFile, kAddModule.limit);
    if (!in.isOpen()) return 1;
    ScratchRewrite scratch(apacheConfFile, kAddModule.scratchSuffix);
    if (!scratch.open()) return 2;

    const std::string modulePath = loadModuleFolder(CQZWebsite().getApacheModulesDir(apacheConfFile));
    const std::string entry = "LoadModule " + moduleName + "_module " + modulePath + "/mod_" + moduleName + ".so";
    sayLine("entry=" + entry);

    // Before the first server-level LoadModule line; comment lines cannot
    // start with a keyword, so they are copied like any other.
    bool inHost = false;
    const bool beforeLoadModule = copyWithEntry(in, scratch, entry, "LoadModule found", [&inHost](const char* p) {
        if (startsWithNoCase(p, "<VirtualHost")) {
            inHost = true;
        } else if (startsWithNoCase(p, "</VirtualHost")) {
            inHost = false;
        } else if (!inHost && startsWithNoCase(p, "LoadModule")) {
            return true;
        }
        return false;
    });
    if (beforeLoadModule) return 0;

    // Else before the first <VirtualHost> block.
    LineReader again(apacheConfFile, kAddModule.limit);
    if (!again.isOpen()) return 1;
    ScratchRewrite fresh(apacheConfFile, kAddModule.scratchSuffix);
    if (!fresh.open()) return 2;
    if (copyWithEntry(again, fresh, entry, "VirtualHost found",
                      [](const char* p) { return startsWithNoCase(p, "<VirtualHost"); })) {
        return 0;
    }

    sayLine("apending");
    if (appendLine(apacheConfFile, entry)) return 0;
    sayLine("Unable to open file in append mode");
    return 4;
}
