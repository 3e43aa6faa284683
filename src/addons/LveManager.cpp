// LveManager construction: nothing is tracked.
#include "AddonManagers.h"

#include <utility>

LveManager::LveManager() : trackManager(nullptr) {}

LveManager::LveManager(CQZTrackManager* trackManager) : trackManager(trackManager) {}

LveManager::LveManager(std::string apacheConfFile, CQZTrackManager* trackManager)
    : trackManager(trackManager), apacheConfFile(std::move(apacheConfFile)) {}
