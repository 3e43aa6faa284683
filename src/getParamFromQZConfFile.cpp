// Reading one setting of the panel's settings file.
#include "QZCommon.h"

#include "QZCore.h"

#include <cstring>

int getParamFromQZConfFile(std::string qzConfFile, std::string& ParamVal, std::string param) {
    if (param.empty()) return 0;
    qz::LineReader in(qzConfFile, 120);
    if (!in.isOpen()) return 0;
    // A line longer than 119 characters is examined cut to 119, then ends the
    // search: the stream has failed.
    while (in.nextUntilEof()) {
        if (in.empty()) continue;
        const char* p = qz::skipSpace(in.c_str());
        if (!qz::startsWithNoCase(p, param)) continue;
        const char* open = std::strchr(in.c_str(), '"');
        if (open == nullptr) return 0;
        const char* close = std::strchr(open + 1, '"');
        if (close == nullptr) return 0;
        ParamVal.assign(open + 1, close);
        return 1;
    }
    return 0;
}
