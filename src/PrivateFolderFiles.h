// The two files that protect a private folder: ".htaccess" with four
// basic-authentication directives and ".htpasswd" kept by htpasswd.
#ifndef QZ_PRIVATE_FOLDER_FILES_H
#define QZ_PRIVATE_FOLDER_FILES_H

#include "QZCore.h"

#include <array>
#include <fstream>
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

    static bool readable(const std::string& file) { return std::ifstream(file).is_open(); }

    // "htpasswd <option> <folder>/.htpasswd <user>", each word through the
    // quoting rule.
    std::string htpasswd(const char* option, const std::string& user) const {
        return shellCommand({"htpasswd", option, passwords, user});
    }
};

// The parameter-file separator and comment characters of ".htaccess".
constexpr char kDirectiveSeparator = ' ';
constexpr char kDirectiveComment = '#';

}  // namespace qz

#endif
