// The password file of a CQZUsers manager: one "login:password" a line.
#ifndef QZ_WEB_USER_FILE_H
#define QZ_WEB_USER_FILE_H

#include "CQZUsers.h"
#include "core/QZCore.h"

#include <cstddef>
#include <string>

namespace qz {

// Password-file lines are read as getline(buf, 3000) reads them.
constexpr size_t kWebUserLineLimit = kConfigLineLimit;

// InsFolder + "/etc/webusers/passwd." + DomainName, then "_" + FolderPath when
// that is not empty; resolved under the system root as a whole.
std::string webUserFile(const CQZUsers& users);

// The rewrite of UserDelete and ChangePasswd: the password file is copied to
// the manager's scratch file without its empty lines; each line that begins
// with `key` is left out, or replaced by `*replacement` when one is given;
// then "mv scratch file" runs.
struct WebUserRewrite {
    enum Result {
        kDone,
        kFileNotOpened,     // also: a line over the limit (the file is left as it is)
        kScratchNotOpened,
    };
    Result result;
    bool found;  // a line began with the key
};
WebUserRewrite rewriteWebUsers(const CQZUsers& users, const std::string& key, const std::string* replacement);

// A login that stands before the ':' of its line and ends nowhere else: no
// ':' and no control character.
bool isWebLogin(const std::string& login);

}  // namespace qz

#endif
