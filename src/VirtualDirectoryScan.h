// The line rules shared by the virtual directory operations: the path of a
// "<Directory" line, and the Options words of a section.
#ifndef QZ_VIRTUAL_DIRECTORY_SCAN_H
#define QZ_VIRTUAL_DIRECTORY_SCAN_H

#include "DirectoryScan.h"
#include "QZCore.h"
#include "QZTypes.h"

#include <cstring>
#include <string>

namespace qz {

// The message of the operations that print one when the configuration does
// not open.
constexpr const char* kConfigurationNotOpened = "Error opening HttpdConfFile file";

// The path of a "<Directory" line given after its leading white space, as
// the directory-section primitives read it (an unquoted path keeps its '>',
// so it never equals a folder); false when the opening quote is never closed.
inline bool readDirectoryPath(const char* p, std::string& path) {
    return directoryPath(p, path) != PathForm::Unterminated;
}

// The Options words of a directory section, in the order the Options line
// lists them, with the record flag ('+', '-' or 0) each one stands for.
struct OptionWord {
    char SOptions::*flag;
    const char* name;
};
constexpr OptionWord kOptionWords[] = {
    {&SOptions::Indexes, "Indexes"},       {&SOptions::Includes, "Includes"},
    {&SOptions::ExecCGI, "ExecCGI"},       {&SOptions::MultiViews, "MultiViews"},
    {&SOptions::FollowSymLinks, "FollowSymLinks"},
};

}  // namespace qz

#endif
