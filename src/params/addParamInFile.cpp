// FileHandling::addParamInFile: appends one line.
#include "FileHandling.h"

#include "params/ParamFile.h"
#include "core/QZCore.h"
#include "core/QZLock.h"
#include "core/Validate.h"

// A line that cannot be written whole is taken back: 0, the file as it was.
int qz::addParam(const std::string& filePath, const std::string& value) {
    if (!qz::isLineValue(value)) return 0;
    qz::OutFile out;
    if (!out.openAppendTarget(filePath.c_str())) return 0;
    out.writeLine(value);
    return out.finish() ? 1 : 0;
}

int FileHandling::addParamInFile(std::string filePath, std::string value) {
    const qz::OperationLock lock;
    return qz::addParam(filePath, value);
}
