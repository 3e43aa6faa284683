// WebmailManager construction.
#include "AddonManagers.h"

#include "core/QZCore.h"

WebmailManager::WebmailManager(CQZTrackManager* TrackManager) : TrackManager(TrackManager) {
    qz::trackModule(TrackManager, "WebmailManager");
}
