// CQZUsers::UserList: the logins of the password file.
#include "CQZUsers.h"

#include "core/QZCore.h"
#include "webusers/WebUserFile.h"

// One entry per line read, the final empty read at the end of the file
// included: the line's login, the text before its first ":" (the whole line
// when it has none). A line over the limit is listed cut to the limit and
// ends the list: a loop until end of file would add empty entries after it
// forever.
char CQZUsers::UserList(StringVector* List) {
    qz::trackMethod(TrackManager, "UserList", {""}, {""});

    qz::LineReader in(qz::webUserFile(*this), qz::kWebUserLineLimit);
    if (!in.isOpen()) return qz::result::ConfigNotOpened;
    while (in.nextUntilEof()) {
        const std::string_view line = in.view();
        if (List != nullptr) List->emplace_back(line.substr(0, line.find(':')));
    }
    return qz::result::webUser::Listed;
}
