// Key/value text files: lines of a name, a delimiter and a value, with
// comment lines. Stateless.
#ifndef FILE_HANDLING_H
#define FILE_HANDLING_H

#include "QZExport.h"

#include <string>

class QZ_EXPORT FileHandling {
public:
    FileHandling();
    ~FileHandling();
    int isParamValueExistsInFile(std::string filePath, std::string paramName, std::string paramValue, char delimeter, char commentChar);
    int addParamInFile(std::string filePath, std::string value);
    int delParamFromFile(std::string filePath, std::string paramName, std::string paramValue, char delimeter, char commentChar);
    int editParamValueInFile(std::string filePath, std::string paramName, std::string paramValue, std::string newParamValue, char delimeter, char commentChar);
};

#endif
