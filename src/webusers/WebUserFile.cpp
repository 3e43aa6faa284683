#include "webusers/WebUserFile.h"

#include "core/QZCore.h"
#include "core/RewritePlan.h"
#include "core/Validate.h"

namespace qz {

std::string webUserFile(const CQZUsers& users) {
    std::string file = str(users.InsFolder) + "/etc/webusers/passwd." + str(users.DomainName);
    if (!isEmpty(users.FolderPath)) file += "_" + str(users.FolderPath);
    return sysPath(file);
}

// Through the manager's scratch file, replaced even when nothing changed. A
// loop until end of file would read on forever after a line over the limit;
// the file is left as it is instead of losing the lines after it.
constexpr FilePlan kWebUserPlan{nullptr, nullptr, kWebUserLineLimit, LoopEnd::EndOfFile, EmptyLines::Skipped,
                                OpenOrder::FileFirst, Unchanged::Replaced, Leftover::Kept};

WebUserRewrite rewriteWebUsers(const CQZUsers& users, const std::string& key, const std::string* replacement) {
    bool found = false;
    const Rewritten end = rewriteFile(webUserFile(users), str(users.TEMPFILE), kWebUserPlan,
                                      [&](LineReader& in, Rewrite& out, bool&) {
        if (in.view().compare(0, key.size(), key) == 0) {
            found = true;
            if (replacement != nullptr) out.writeLine(*replacement);
        } else {
            out.writeLine(in.view());
        }
        return Next::Line;
    });
    switch (end) {
    case Rewritten::FileNotOpened:
    case Rewritten::TooLong: return {WebUserRewrite::kFileNotOpened, found};
    case Rewritten::ScratchNotOpened:
    case Rewritten::NotWritten: return {WebUserRewrite::kScratchNotOpened, found};
    case Rewritten::Replaced:
    case Rewritten::Withheld:
    case Rewritten::Unchanged: break;
    }
    return {WebUserRewrite::kDone, found};
}

bool isWebLogin(const std::string& login) {
    return login.find(':') == std::string::npos && !hasControlChar(login);
}

}  // namespace qz
