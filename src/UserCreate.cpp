// CQZUsers::UserCreate: adds a web user to the password file.
#include "CQZUsers.h"

#include "QZCore.h"
#include "WebUserFile.h"

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
    const std::string login = qz::str(UserName);
    const std::string password = qz::str(Passwd);
    qz::trackMethod(TrackManager, "UserCreate", {login, password}, {"UserName", "Passwd"});

    const std::string file = qz::webUserFile(*this);
    // A folder opens for reading here and fails only when opened for writing.
    if (!std::ifstream(file).is_open()) {
        qz::sayLine("Error opening passwd file");
        return 'N';
    }
    std::ofstream out(file, std::ios::app | std::ios::binary);
    if (!out.is_open()) {
        qz::sayLine("Error opening file");
        return 'N';
    }
    // A last line without its newline still ends before the new user's line.
    if (endsWithoutNewline(file)) out << '\n';
    out << login << ':' << password << '\n';
    return 'M';
}
