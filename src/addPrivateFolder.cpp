// PrivateFolder::addPrivateFolder: protects a folder and adds a user to it.
#include "PrivateFolder.h"

#include "FileHandling.h"
#include "PrivateFolderFiles.h"
#include "QZCore.h"
#include "QZLock.h"

#include <sys/stat.h>

int PrivateFolder::addPrivateFolder(std::string folderPath, std::string userName, std::string userPasswd) {
    const qz::OperationLock lock;
    qz::trackMethod(TrackManager, "addPrivateFolder", {folderPath, userName, userPasswd},
                    {"NewPrivateFolderPath", "PrivateFolderUserName", "PrivateFolderUserPasswd"});

    const qz::PrivateFolderFiles files(folderPath);
    if (!files.readable(files.access)) {
        qz::OutFile out;
        if (!out.open(files.access.c_str())) return 1601;
        for (const auto& directive : files.directives()) out.writeLine(directive.line());
        if (!out.finish()) return 1601;
        chmod(files.access.c_str(), 0444);
    } else {
        // Lines already there stay as they are: another realm keeps its
        // AuthName line and gets this one after it.
        FileHandling params;
        for (const auto& directive : files.directives())
            if (!params.isParamValueExistsInFile(files.access, directive.name, directive.value,
                                                 qz::kDirectiveSeparator, qz::kDirectiveComment))
                params.addParamInFile(files.access, directive.line());
    }

    // -c creates the password file; without it the user is added or updated.
    const char* option = files.readable(files.passwords) ? "-b" : "-cb";
    qz::ShellPipe command(files.htpasswd(option, userName) + " " + qz::shellQuoted(userPasswd));
    if (command.get() == nullptr) return 1601;
    command.close();  // the tool's exit status is not examined
    chmod(files.passwords.c_str(), 0444);
    return 1602;
}
