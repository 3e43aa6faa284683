// FileHandling::delParamFromFile: removes every matching line.
#include "FileHandling.h"

#include "params/ParamFile.h"
#include "core/QZLock.h"

int qz::deleteParam(const std::string& filePath, const std::string& paramName, const std::string& paramValue,
                    char delimeter, char commentChar) {
    const qz::ParamLine wanted{paramName, paramValue, delimeter, commentChar};
    return qz::rewriteParamFile(filePath, wanted, nullptr, true);
}

int FileHandling::delParamFromFile(std::string filePath, std::string paramName, std::string paramValue, char delimeter,
                                   char commentChar) {
    const qz::OperationLock lock;
    return qz::deleteParam(filePath, paramName, paramValue, delimeter, commentChar);
}
