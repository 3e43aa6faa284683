// Stand-in for the panel's tracking library: records every call, in order.
#include "CQZTrackManager.h"

#include <utility>

void CQZTrackManager::CQZModuleName(std::string moduleName) {
    calls.push_back({"CQZModuleName", std::move(moduleName), {}, {}});
}

void CQZTrackManager::CQZModuleProperties(StringVector values, StringVector names) {
    calls.push_back({"CQZModuleProperties", "", std::move(values), std::move(names)});
}

void CQZTrackManager::CQZMethodName(std::string methodName) {
    calls.push_back({"CQZMethodName", std::move(methodName), {}, {}});
}

void CQZTrackManager::CQZMethodArguments(StringVector values, StringVector names) {
    calls.push_back({"CQZMethodArguments", "", std::move(values), std::move(names)});
}
