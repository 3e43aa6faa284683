// CQZUsers::UserExist: counts the users of the password file.
#include "CQZUsers.h"

#include "core/QZCore.h"
#include "webusers/WebUserFile.h"
#include "core/Messages.h"

#include <fstream>

// The list gains one empty string per user line, up to the first line
// without ":" (the final empty read included), so its size is the number of
// users.
char CQZUsers::UserExist(StringVector* List) {
    qz::trackMethod(TrackManager, "UserExist", {""}, {""});

    const std::string file = qz::webUserFile(*this);
    qz::LineReader in(file, qz::kWebUserLineLimit);
    if (!in.isOpen()) {
        // A folder opens as a stream, but its first read fails: that empty
        // read has no ":" and ends the count before it starts.
        if (std::ifstream(file).is_open()) return qz::result::webUser::Counted;
        qz::sayLine(qz::msg::kConfigFileNotOpened);
        return qz::result::ConfigNotOpened;
    }
    // A line over the limit fails the stream; the next read is then empty,
    // has no ":", and ends the count.
    while (!in.eof()) {
        in.getline();
        if (in.view().find(':') == std::string_view::npos) break;
        if (List != nullptr) List->emplace_back();
    }
    return qz::result::webUser::Counted;
}
