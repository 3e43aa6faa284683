// CQZUsers::UserDelete: removes a web user from the password file.
#include "CQZUsers.h"

#include "core/QZCore.h"
#include "webusers/WebUserFile.h"
#include "core/QZLock.h"

char CQZUsers::UserDelete(const char* UserName) {
    const qz::OperationLock lock;
    const std::string login = qz::str(UserName);
    qz::trackMethod(TrackManager, "UserDelete", {login}, {"UserName"});
    if (!qz::isWebLogin(login)) return qz::result::webUser::Refused;

    // The key ends with the ":", so deleting "bo" keeps "bob".
    switch (qz::rewriteWebUsers(*this, login + ":", nullptr).result) {
        case qz::WebUserRewrite::kFileNotOpened: return qz::result::webUser::Refused;
        case qz::WebUserRewrite::kScratchNotOpened: return qz::result::ScratchNotWritten;
        case qz::WebUserRewrite::kDone: break;
    }
    return qz::result::webUser::Deleted;  // also when the user was not there
}
