// The two files that protect a private folder: ".htaccess" with four
// basic-authentication directives and ".htpasswd" kept by htpasswd.
#ifndef QZ_PRIVATE_FOLDER_FILES_H
#define QZ_PRIVATE_FOLDER_FILES_H

#include "core/QZCore.h"
#include "core/SafePath.h"
#include "core/Validate.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <string>

namespace qz {

struct PrivateFolderFiles {
    explicit PrivateFolderFiles(const std::string& folderPath)
        : access(folderPath + "/.htaccess"), passwords(folderPath + "/.htpasswd") {}

    std::string access;     // folder + "/.htaccess"
    std::string passwords;  // folder + "/.htpasswd"

    // One directive of ".htaccess": a name and a value separated by a blank.
    struct Directive {
        std::string name;
        std::string value;
        std::string line() const { return name + " " + value; }
    };

    // The four directives, in the order they are written, looked for and
    // removed.
    std::array<Directive, 4> directives() const {
        return {{{"AuthUserFile", passwords},
                 {"AuthName", "\"Restricted Area\""},
                 {"AuthType", "Basic"},
                 {"require", "valid-user"}}};
    }

    // The result of every private folder operation for a refused request:
    // a control character in a value, a ".." in the path, or a folder or
    // file of the folder that is a link, a FIFO, a hard link or no folder.
    static constexpr int kRefused = qz::result::privateFolder::Refused;

    // The folder reached as openFolder reaches it, once the values passed the
    // checks, and held still by `still` while the operation runs htpasswd on
    // its files: true when `folder` is open, or when the folder does not exist
    // or cannot be opened (`folder` then stays closed: the operation finds
    // nothing in it); false for a request to refuse.
    // A password is never written as it is typed (htpasswd writes its hash),
    // so it may hold any character but NUL, which would cut its command line.
    static bool reach(const std::string& folderPath, std::initializer_list<std::string_view> values,
                      std::string_view password, SafeFolder& folder, FolderLock& still) {
        if (!noControlChars(values) || password.find('\0') != std::string_view::npos || hasDotDot(folderPath))
            return false;
        if (!openFolder(folderPath, folder)) return !isRefusal(errno);
        return still.lock(folderPath);
    }

    // One of the two files (or the scratch copy of ".htaccess") opened for
    // reading as openIn opens it; Missing also in a folder that does not exist
    // and for a file that cannot be opened, as a file that cannot be read was
    // always taken for a missing one.
    static FileCheck open(const SafeFolder& folder, const char* name, Fd& file) {
        if (!folder.fd.ok()) return FileCheck::Missing;
        const FileCheck state = openIn(folder, name, O_RDONLY, file);
        return state == FileCheck::Unopened ? FileCheck::Missing : state;
    }

    // "htpasswd <option> <folder>/.htpasswd <user>", each word through the
    // quoting rule.
    std::string htpasswd(const char* option, const std::string& user) const {
        return shellCommand({"htpasswd", option, passwords, user});
    }
};

// The PrivateFolder operations of the same names, without the library's lock:
// each reports itself to `tracker` (when there is one) as the public
// operation does, so that a move by editPrivateFolder shows both steps.
int addPrivateFolder(CQZTrackManager* tracker, const std::string& folderPath, const std::string& userName,
                     const std::string& userPasswd);
int deletePrivateFolder(CQZTrackManager* tracker, const std::string& folderPath, const std::string& userName);

// The parameter-file separator and comment characters of ".htaccess".
constexpr char kDirectiveSeparator = ' ';
constexpr char kDirectiveComment = '#';

}  // namespace qz

#endif
