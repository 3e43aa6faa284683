// FileHandling::delParamFromFile: removes every matching line.
#include "FileHandling.h"

#include "params/ParamFile.h"
#include "core/QZLock.h"

int FileHandling::delParamFromFile(std::string filePath, std::string paramName, std::string paramValue, char delimeter,
                                   char commentChar) {
    const qz::OperationLock lock;
    const qz::ParamLine wanted{paramName, paramValue, delimeter, commentChar};
    return qz::rewriteParamFile(filePath, wanted, nullptr, true);
}
