// CQZUsers::UserDeleteAll: deletes the password file.
#include "CQZUsers.h"

#include "core/QZCore.h"
#include "webusers/WebUserFile.h"
#include "core/QZLock.h"

#include <cstdio>

char CQZUsers::UserDeleteAll() {
    const qz::OperationLock lock;
    qz::trackMethod(TrackManager, "UserDeleteAll", {""}, {""});
    std::remove(qz::webUserFile(*this).c_str());
    return qz::result::webUser::AllDeleted;  // whether or not there was a file to delete
}
