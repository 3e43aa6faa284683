// Key/value text files: lines of a name, a delimiter and a value, with
// comment lines. Stateless.
#ifndef FILE_HANDLING_H
#define FILE_HANDLING_H

#include "QZExport.h"

#include <string>

//
// A line matches when, after its leading white space, it begins with the
// name (case-insensitive, so "user" also matches "username"), the delimiter
// follows at once, and after the delimiter and any white space the rest of
// the line equals the value exactly. Lines whose first non-blank character is
// the comment character never match. "delimeter contain spaces" is printed to
// standard output for every line examined that begins with the name. A line
// longer than 2998 characters ends a scan as the end of the file would (delete
// and edit then keep only the lines before it). A copy or an appended line
// that cannot be written whole leaves the file as it was, and 0 is returned.
// A line to be written (addParamInFile's value; editParamValueInFile's name,
// delimiter and new value) that holds a control character other than a tab
// (a tab can be the delimiter or a blank in a value) is refused: 0, before
// the file is opened.
class QZ_EXPORT FileHandling {
public:
    FileHandling();
    ~FileHandling();
    // 1 when a matching line exists; 0 otherwise, when a string is empty or
    // the file does not open.
    int isParamValueExistsInFile(std::string filePath, std::string paramName, std::string paramValue, char delimeter, char commentChar);
    // Appends value and a newline (no duplicate check). 1 done; 0 the file
    // does not open, or value refused.
    int addParamInFile(std::string filePath, std::string value);
    // Rewrites the file through filePath + "_qzbackup" without its empty lines
    // and every matching line; comment lines stay. 1 when a line was removed;
    // 0 when none was (the file is still rewritten), or, with the file left as
    // it is, when a string is empty or a file does not open.
    int delParamFromFile(std::string filePath, std::string paramName, std::string paramValue, char delimeter, char commentChar);
    // The same rewrite, but each matching line becomes paramName, the
    // delimiter and newParamValue, and comment lines are dropped even when
    // nothing matches. 1 when a line was changed; 0 otherwise (with the file
    // left as it is when a value is refused).
    int editParamValueInFile(std::string filePath, std::string paramName, std::string paramValue, std::string newParamValue, char delimeter, char commentChar);
};

#endif
