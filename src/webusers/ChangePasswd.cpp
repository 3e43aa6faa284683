// CQZUsers::ChangePasswd: gives a web user a new password.
#include "CQZUsers.h"

#include "core/QZCore.h"
#include "webusers/WebUserFile.h"
#include "core/QZLock.h"
#include "core/Validate.h"

char CQZUsers::ChangePasswd(std::string UserName, std::string Passwd) {
    const qz::OperationLock lock;
    const std::string key = UserName + ":";
    qz::trackMethod(TrackManager, "ChangePasswd", {UserName, Passwd}, {"UserName", "Passwd"});
    if (!qz::isWebLogin(UserName) || qz::hasControlChar(Passwd)) return qz::result::ConfigNotOpened;

    const std::string line = key + Passwd;
    const qz::WebUserRewrite done = qz::rewriteWebUsers(*this, key, &line);
    switch (done.result) {
        case qz::WebUserRewrite::kFileNotOpened: return qz::result::ConfigNotOpened;
        case qz::WebUserRewrite::kScratchNotOpened: return qz::result::ScratchNotWritten;
        case qz::WebUserRewrite::kDone: break;
    }
    // The file is rewritten either way.
    return done.found ? qz::result::webUser::Changed : qz::result::webUser::NoSuchUser;
}
