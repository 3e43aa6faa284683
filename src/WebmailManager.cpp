// WebmailManager construction.
#include "AddonManagers.h"

#include "QZCore.h"

WebmailManager::WebmailManager(CQZTrackManager* TrackManager) : TrackManager(TrackManager) {
    qz::trackModule(TrackManager, "WebmailManager");
}
