// FileHandling::addParamInFile: appends one line.
#include "FileHandling.h"

#include "QZCore.h"
#include "QZLock.h"

// A line that cannot be written whole is taken back: 0, the file as it was.
int FileHandling::addParamInFile(std::string filePath, std::string value) {
    const qz::OperationLock lock;
    qz::OutFile out;
    if (!out.openAppendTarget(filePath.c_str())) return 0;
    out.writeLine(value);
    return out.finish() ? 1 : 0;
}
