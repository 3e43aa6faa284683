// FileHandling::addParamInFile: appends one line.
#include "FileHandling.h"

#include <fstream>

int FileHandling::addParamInFile(std::string filePath, std::string value) {
    std::ofstream out(filePath, std::ios::app);
    if (!out.is_open()) return 0;
    out << value << '\n';
    out.flush();
    return 1;
}
