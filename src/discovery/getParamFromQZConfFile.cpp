// Reading one setting of the panel's settings file.
#include "QZCommon.h"

#include "core/QZCore.h"

int getParamFromQZConfFile(std::string qzConfFile, std::string& ParamVal, std::string param) {
    if (param.empty()) return 0;
    qz::LineReader in(qzConfFile, qz::kSettingsLineLimit);
    if (!in.isOpen()) return 0;
    // A line longer than 119 characters is examined cut to 119, then ends the
    // search: the stream has failed.
    while (in.nextUntilEof()) {
        if (in.empty()) continue;
        const char* p = qz::skipSpace(in.c_str());
        if (!qz::startsWithNoCase(p, param)) continue;
        return qz::firstQuoted(in.c_str(), ParamVal) ? 1 : 0;
    }
    return 0;
}
