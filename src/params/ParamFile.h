// Key/value parameter files: the line rules shared by the FileHandling
// operations. A parameter line is optional white space, the name, the
// delimiter, optional white space and the value up to the end of the line.
#ifndef QZ_PARAM_FILE_H
#define QZ_PARAM_FILE_H

#include <cstddef>
#include <string>

namespace qz {

// Lines are read as getline(buf, 2999) reads them: at most 2998 characters.
constexpr size_t kParamLineLimit = 2999;

struct ParamLine {
    const std::string& name;   // compared case-insensitively as a prefix
    const std::string& value;  // compared exactly and in full
    char delimiter;
    char comment;

    enum Kind { Comment, Match, Other };
    // What one non-empty line is. Prints "delimeter contain spaces" for every
    // line that begins with the name.
    Kind classify(const char* line) const;
};

// The rewrite of delete and edit. Copies filePath to filePath + "_qzbackup"
// without its empty lines, leaving out matching lines (or writing
// `*replacement` in their place), keeping comment lines only when
// `keepComments`, then replaces filePath with the copy. 1 when a line matched,
// 0 when none did, when a string is empty or when a file does not open.
int rewriteParamFile(const std::string& filePath, const ParamLine& wanted, const std::string* replacement,
                     bool keepComments);

// The FileHandling operations of the same names, without the library's lock
// (each public operation takes it; the callers here hold it already).
int paramValueExists(const std::string& filePath, const std::string& paramName, const std::string& paramValue,
                     char delimiter, char comment);
int addParam(const std::string& filePath, const std::string& value);
int deleteParam(const std::string& filePath, const std::string& paramName, const std::string& paramValue,
                char delimiter, char comment);

}  // namespace qz

#endif
