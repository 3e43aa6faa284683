// PrivateFolder::deletePrivateFolder: removes a user, and the protection once
// no user is left.
#include "PrivateFolder.h"

#include "params/ParamFile.h"
#include "webusers/PrivateFolderFiles.h"
#include "core/QZCore.h"
#include "core/QZLock.h"

#include <chrono>
#include <cstdio>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

int qz::deletePrivateFolder(CQZTrackManager* tracker, const std::string& folderPath, const std::string& userName) {
    qz::trackMethod(tracker, "deletePrivateFolder", {folderPath}, {"NewPrivateFolderPath"});

    const qz::PrivateFolderFiles files(folderPath);
    qz::SafeFolder folder;
    qz::Fd passwords, access, scratch;
    qz::FolderLock still;
    if (!files.reach(folderPath, {folderPath, userName}, "", folder, still)) return files.kRefused;
    const qz::FileCheck passwordState = files.open(folder, ".htpasswd", passwords);
    const qz::FileCheck accessState = files.open(folder, ".htaccess", access);
    // The scratch copy of ".htaccess" is written beside it: no link, FIFO or
    // hard link may stand there either.
    if (passwordState == qz::FileCheck::Refused || accessState == qz::FileCheck::Refused ||
        files.open(folder, ".htaccess_qzbackup", scratch) == qz::FileCheck::Refused)
        return files.kRefused;
    bool usersRemain = false;
    if (passwordState == qz::FileCheck::Regular) {
        const std::string commandLine = files.htpasswd("-D", userName);
        qz::sayLine("command=" + commandLine);
        qz::ShellPipe command(commandLine);
        if (command.get() == nullptr) return qz::result::privateFolder::DeleteFailed;
        // The fixed pause given to htpasswd. The command is then waited for
        // and closed, rather than left running with its pipe open.
        std::this_thread::sleep_for(std::chrono::seconds(2));
        command.close();
        // The file the tool left, checked again; removed by its name in the
        // folder, which never follows a link.
        struct stat st;
        switch (files.open(folder, ".htpasswd", passwords)) {
            case qz::FileCheck::Refused: return files.kRefused;
            case qz::FileCheck::Regular: break;
            default: return qz::result::privateFolder::DeleteFailed;
        }
        if (fstat(passwords.get(), &st) != 0) return qz::result::privateFolder::DeleteFailed;
        if (st.st_size < 1)
            unlinkat(folder.fd.get(), ".htpasswd", 0);
        else
            usersRemain = true;
    }
    // Without a password file the directives go at once. The other lines of
    // ".htaccess", and the file itself, stay.
    if (!usersRemain && accessState == qz::FileCheck::Regular) {
        qz::sayLine("cp_FF");
        for (const auto& directive : files.directives())
            if (qz::paramValueExists(files.access, directive.name, directive.value, qz::kDirectiveSeparator,
                                     qz::kDirectiveComment))
                qz::deleteParam(files.access, directive.name, directive.value, qz::kDirectiveSeparator,
                                qz::kDirectiveComment);
    }
    return qz::result::privateFolder::Deleted;
}

int PrivateFolder::deletePrivateFolder(std::string folderPath, std::string userName) {
    const qz::OperationLock lock;
    return qz::deletePrivateFolder(TrackManager, folderPath, userName);
}
