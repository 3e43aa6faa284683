// PrivateFolder::addPrivateFolder: protects a folder and adds a user to it.
#include "PrivateFolder.h"

#include "params/ParamFile.h"
#include "webusers/PrivateFolderFiles.h"
#include "core/QZCore.h"
#include "core/QZLock.h"

#include <sys/stat.h>
#include <unistd.h>

int qz::addPrivateFolder(CQZTrackManager* tracker, const std::string& folderPath, const std::string& userName,
                         const std::string& userPasswd) {
    qz::trackMethod(tracker, "addPrivateFolder", {folderPath, userName, userPasswd},
                    {"NewPrivateFolderPath", "PrivateFolderUserName", "PrivateFolderUserPasswd"});

    const qz::PrivateFolderFiles files(folderPath);
    // Nothing in the folder is reached through a link, and nothing is written
    // into a FIFO, a hard link or a file named by a value with a control
    // character: each would be refused before anything is written.
    qz::SafeFolder folder;
    qz::FolderLock still;
    if (!files.reach(folderPath, {folderPath, userName}, userPasswd, folder, still)) return files.kRefused;
    qz::Fd access, passwords;
    const qz::FileCheck accessState = files.open(folder, ".htaccess", access);
    const qz::FileCheck passwordState = files.open(folder, ".htpasswd", passwords);
    if (accessState == qz::FileCheck::Refused || passwordState == qz::FileCheck::Refused) return files.kRefused;

    if (accessState == qz::FileCheck::Missing) {
        if (!folder.fd.ok() || qz::openIn(folder, ".htaccess", O_WRONLY | O_CREAT | O_TRUNC, access) !=
                                   qz::FileCheck::Regular)
            return qz::result::privateFolder::AddFailed;
        // Written whole and on disk, or not left at all.
        qz::OutFile out;
        if (out.openDescriptor(access.get()))
            for (const auto& directive : files.directives()) out.writeLine(directive.line());
        if (!out.finish()) {
            unlinkat(folder.fd.get(), ".htaccess", 0);
            return qz::result::privateFolder::AddFailed;
        }
        if (fchmod(access.get(), 0444) != 0) return qz::result::privateFolder::AddFailed;
    } else {
        // Lines already there stay as they are: another realm keeps its
        // AuthName line and gets this one after it. The checked file is
        // reached through its descriptor, never by its name again.
        const std::string checked = qz::descriptorPath(access);
        for (const auto& directive : files.directives())
            if (!qz::paramValueExists(checked, directive.name, directive.value, qz::kDirectiveSeparator,
                                      qz::kDirectiveComment))
                qz::addParam(checked, directive.line());
    }

    // -c creates the password file; without it the user is added or updated.
    const char* option = passwordState == qz::FileCheck::Regular ? "-b" : "-cb";
    qz::ShellPipe command(files.htpasswd(option, userName) + " " + qz::shellQuoted(userPasswd));
    if (command.get() == nullptr) return qz::result::privateFolder::AddFailed;
    command.close();  // the tool's exit status is not examined
    // The file the tool left, checked again before its mode is set.
    if (files.open(folder, ".htpasswd", passwords) == qz::FileCheck::Regular) fchmod(passwords.get(), 0444);
    return qz::result::privateFolder::Added;
}

int PrivateFolder::addPrivateFolder(std::string folderPath, std::string userName, std::string userPasswd) {
    const qz::OperationLock lock;
    return qz::addPrivateFolder(TrackManager, folderPath, userName, userPasswd);
}
