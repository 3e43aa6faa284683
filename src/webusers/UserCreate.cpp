// CQZUsers::UserCreate: adds a web user to the password file.
#include "CQZUsers.h"

#include "core/QZCore.h"
#include "webusers/WebUserFile.h"
#include "core/QZLock.h"
#include "core/Validate.h"
#include "core/Messages.h"

#include <fstream>

namespace {

// Whether the file's last character is something other than a newline.
bool endsWithoutNewline(const std::string& file) {
    std::ifstream in(file, std::ios::binary | std::ios::ate);
    if (!in.is_open() || in.tellg() <= 0) return false;
    in.seekg(-1, std::ios::end);
    return in.get() != '\n';
}

}  // namespace

// The users already in the file are kept and the new line is appended after
// them: emptying the file first, and waiting for an end of file that is never
// reported, would lose them (or never return). A login that is already there
// is not looked for: its line is added again and 'M' returned (the duplicate
// test compared the login without its ":" with the login and ":", so it
// never matched).
char CQZUsers::UserCreate(const char* UserName, const char* Passwd) {
    const qz::OperationLock lock;
    const std::string login = qz::str(UserName);
    const std::string password = qz::str(Passwd);
    qz::trackMethod(TrackManager, "UserCreate", {login, password}, {"UserName", "Passwd"});
    if (!qz::isWebLogin(login) || qz::hasControlChar(password)) return qz::result::webUser::Refused;

    const std::string file = qz::webUserFile(*this);
    // A folder opens for reading here and fails only when opened for writing.
    if (!std::ifstream(file).is_open()) {
        qz::sayLine(qz::msg::kPasswdNotOpened);
        return qz::result::webUser::Refused;
    }
    qz::OutFile out;
    // A line that cannot be written whole is taken back, as a file that
    // cannot be written is not written.
    const auto notWritten = []() {
        qz::sayLine(qz::msg::kFileNotOpened);
        return qz::result::webUser::Refused;
    };
    if (!out.openAppendTarget(file.c_str())) return notWritten();
    // A last line without its newline still ends before the new user's line.
    if (endsWithoutNewline(file)) out.write("\n");
    out.writeLine(login + ":" + password);
    return out.finish() ? qz::result::webUser::Added : notWritten();
}
