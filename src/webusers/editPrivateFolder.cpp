// PrivateFolder::editPrivateFolder: moves a private folder, or gives its user
// a new password.
#include "PrivateFolder.h"

#include "webusers/PrivateFolderFiles.h"
#include "core/QZCore.h"
#include "core/QZLock.h"

namespace {

// Prints "command=" and the command, then runs it; false when it could not
// be started.
bool runPrinted(const std::string& commandLine) {
    qz::sayLine("command=" + commandLine);
    qz::ShellPipe command(commandLine);
    return command.get() != nullptr;  // closed (waited for) on the way out
}

}  // namespace

int PrivateFolder::editPrivateFolder(std::string newFolderPath, std::string oldFolderPath, std::string userName,
                                     std::string userPasswd) {
    const qz::OperationLock lock;
    qz::trackMethod(TrackManager, "editPrivateFolder", {newFolderPath, oldFolderPath, userName, userPasswd},
                    {"NewPrivateFolderPath", "OldPrivateFolderPath", "PrivateFolderUserName",
                     "PrivateFolderUserPasswd"});

    // Both paths and both values are checked before either folder changes.
    if (!qz::noControlChars({newFolderPath, oldFolderPath, userName}) || qz::hasDotDot(newFolderPath) ||
        qz::hasDotDot(oldFolderPath) || userPasswd.find('\0') != std::string::npos)
        return qz::PrivateFolderFiles::kRefused;
    if (newFolderPath != oldFolderPath) {
        // The new folder and its two files are checked as addPrivateFolder
        // checks them before the old folder loses anything: a request the
        // add would refuse is refused with both folders as they were.
        {
            const qz::PrivateFolderFiles files(newFolderPath);
            qz::SafeFolder folder;
            qz::FolderLock still;
            qz::Fd access, passwords;
            if (!files.reach(newFolderPath, {}, "", folder, still) ||
                files.open(folder, ".htaccess", access) == qz::FileCheck::Refused ||
                files.open(folder, ".htpasswd", passwords) == qz::FileCheck::Refused)
                return qz::PrivateFolderFiles::kRefused;
        }
        const int deleted = qz::deletePrivateFolder(TrackManager, oldFolderPath, userName);
        if (deleted != 1603) return deleted;
        const int added = qz::addPrivateFolder(TrackManager, newFolderPath, userName, userPasswd);
        return added == qz::result::privateFolder::Added ? qz::result::privateFolder::Edited : added;
    }

    const qz::PrivateFolderFiles files(oldFolderPath);
    qz::SafeFolder folder;
    qz::Fd passwords;
    qz::FolderLock still;
    if (!files.reach(oldFolderPath, {}, "", folder, still)) return files.kRefused;
    switch (files.open(folder, ".htpasswd", passwords)) {
        case qz::FileCheck::Refused: return files.kRefused;
        case qz::FileCheck::Regular: break;
        default: return qz::result::privateFolder::EditFailed;
    }
    if (!runPrinted(files.htpasswd("-D", userName))) return qz::result::privateFolder::EditNotStarted;
    // Two blanks before the password, as the panel has always written it.
    if (!runPrinted(files.htpasswd("-b", userName) + "  " + qz::shellQuoted(userPasswd)))
        return qz::result::privateFolder::EditFailed;
    return qz::result::privateFolder::Edited;
}
