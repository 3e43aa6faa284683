// FileHandling::editParamValueInFile: gives every matching line a new value.
#include "FileHandling.h"

#include "params/ParamFile.h"
#include "core/QZLock.h"
#include "core/Validate.h"

int FileHandling::editParamValueInFile(std::string filePath, std::string paramName, std::string paramValue,
                                       std::string newParamValue, char delimeter, char commentChar) {
    const qz::OperationLock lock;
    if (!qz::isLineValue(paramName) || !qz::isLineValue(std::string(1, delimeter)) || !qz::isLineValue(newParamValue))
        return 0;
    const qz::ParamLine wanted{paramName, paramValue, delimeter, commentChar};
    const std::string replacement = paramName + delimeter + newParamValue;
    // Unlike delete, the rewrite leaves comment lines out.
    return qz::rewriteParamFile(filePath, wanted, &replacement, false);
}
