// FileHandling::isParamValueExistsInFile: whether a name/value line is present.
#include "FileHandling.h"

#include "params/ParamFile.h"
#include "core/QZCore.h"

int qz::paramValueExists(const std::string& filePath, const std::string& paramName, const std::string& paramValue,
                         char delimeter, char commentChar) {
    if (filePath.empty() || paramName.empty() || paramValue.empty()) return 0;
    qz::LineReader in(filePath, qz::kParamLineLimit);
    if (!in.isOpen()) return 0;
    const qz::ParamLine wanted{paramName, paramValue, delimeter, commentChar};
    // Read as the toolkit reads: the scan ends when a read fails, at the end
    // of the file or on a line over the limit.
    while (in.getline()) {
        if (!in.empty() && wanted.classify(in.c_str()) == qz::ParamLine::Match) return 1;
    }
    return 0;
}

int FileHandling::isParamValueExistsInFile(std::string filePath, std::string paramName, std::string paramValue,
                                           char delimeter, char commentChar) {
    return qz::paramValueExists(filePath, paramName, paramValue, delimeter, commentChar);
}
