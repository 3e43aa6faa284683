// The panel's tracking object. In production it comes from the panel's own
// libqztm.so; this tree builds a stand-in of the same name that records every
// call in `calls`, in order, which is what the tests read.
//
// The library never constructs or copies a tracker: it only calls the four
// functions through the pointer a manager was given.
#ifndef CQZ_TRACK_MANAGER_H
#define CQZ_TRACK_MANAGER_H

#include "QZExport.h"
#include "QZTypes.h"

#include <string>
#include <vector>

class QZ_EXPORT CQZTrackManager {
public:
    void CQZModuleName(std::string moduleName);
    void CQZModuleProperties(StringVector values, StringVector names);
    void CQZMethodName(std::string methodName);
    void CQZMethodArguments(StringVector values, StringVector names);

    // Kept by the stand-in only: every call above, in order.
    struct Call {
        std::string function;  // "CQZModuleName", "CQZModuleProperties", "CQZMethodName" or "CQZMethodArguments"
        std::string text;      // the string argument of CQZModuleName / CQZMethodName, else empty
        StringVector values;   // the lists of the two list calls, else empty
        StringVector names;
    };
    std::vector<Call> calls;
};

#endif
