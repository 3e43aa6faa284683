// PrivateFolder::deletePrivateFolder: removes a user, and the protection once
// no user is left.
#include "PrivateFolder.h"

#include "FileHandling.h"
#include "PrivateFolderFiles.h"
#include "QZCore.h"
#include "QZLock.h"

#include <chrono>
#include <cstdio>
#include <sys/stat.h>
#include <thread>

int PrivateFolder::deletePrivateFolder(std::string folderPath, std::string userName) {
    const qz::OperationLock lock;
    qz::trackMethod(TrackManager, "deletePrivateFolder", {folderPath}, {"NewPrivateFolderPath"});

    const qz::PrivateFolderFiles files(folderPath);
    bool usersRemain = false;
    if (files.readable(files.passwords)) {
        const std::string commandLine = files.htpasswd("-D", userName);
        qz::sayLine("command=" + commandLine);
        qz::ShellPipe command(commandLine);
        if (command.get() == nullptr) return 1604;
        // The fixed pause given to htpasswd. The command is then waited for
        // and closed, rather than left running with its pipe open.
        std::this_thread::sleep_for(std::chrono::seconds(2));
        command.close();
        struct stat st;
        if (stat(files.passwords.c_str(), &st) != 0) return 1604;
        if (st.st_size < 1)
            std::remove(files.passwords.c_str());
        else
            usersRemain = true;
    }
    // Without a password file the directives go at once. The other lines of
    // ".htaccess", and the file itself, stay.
    if (!usersRemain && files.readable(files.access)) {
        qz::sayLine("cp_FF");
        FileHandling params;
        for (const auto& directive : files.directives())
            if (params.isParamValueExistsInFile(files.access, directive.name, directive.value,
                                                qz::kDirectiveSeparator, qz::kDirectiveComment))
                params.delParamFromFile(files.access, directive.name, directive.value, qz::kDirectiveSeparator,
                                        qz::kDirectiveComment);
    }
    return 1603;
}
