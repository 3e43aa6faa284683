// FileHandling::delParamFromFile: removes every matching line.
#include "FileHandling.h"

#include "ParamFile.h"

int FileHandling::delParamFromFile(std::string filePath, std::string paramName, std::string paramValue, char delimeter,
                                   char commentChar) {
    const qz::ParamLine wanted{paramName, paramValue, delimeter, commentChar};
    return qz::rewriteParamFile(filePath, wanted, nullptr, true);
}
