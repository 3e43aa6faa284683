#include "webusers/WebUserFile.h"

#include "core/QZCore.h"
#include "core/Validate.h"

namespace qz {

std::string webUserFile(const CQZUsers& users) {
    std::string file = str(users.InsFolder) + "/etc/webusers/passwd." + str(users.DomainName);
    if (!isEmpty(users.FolderPath)) file += "_" + str(users.FolderPath);
    return sysPath(file);
}

WebUserRewrite rewriteWebUsers(const CQZUsers& users, const std::string& key, const std::string* replacement) {
    const std::string file = webUserFile(users);
    LineReader in(file, kWebUserLineLimit);
    if (!in.isOpen()) return {WebUserRewrite::kFileNotOpened, false};
    Rewrite rewrite(str(users.TEMPFILE), file);
    if (users.TEMPFILE == nullptr || !rewrite.open()) return {WebUserRewrite::kScratchNotOpened, false};
    bool found = false;
    while (in.nextUntilEof()) {
        if (in.empty()) continue;
        if (in.view().compare(0, key.size(), key) == 0) {
            found = true;
            if (replacement != nullptr) rewrite.out().writeLine(*replacement);
        } else {
            rewrite.out().writeLine(in.view());
        }
    }
    // A loop until end of file would read on forever after a line over the
    // limit; the file is left as it is instead of losing the lines after it.
    if (in.tooLong()) return {WebUserRewrite::kFileNotOpened, found};
    in.close();
    if (!rewrite.commit()) return {WebUserRewrite::kScratchNotOpened, found};
    return {WebUserRewrite::kDone, found};
}

bool isWebLogin(const std::string& login) {
    return login.find(':') == std::string::npos && !hasControlChar(login);
}

}  // namespace qz
