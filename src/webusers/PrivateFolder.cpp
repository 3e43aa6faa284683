// PrivateFolder construction.
#include "PrivateFolder.h"

#include "core/QZCore.h"

PrivateFolder::PrivateFolder() : TrackManager(nullptr) {}

PrivateFolder::PrivateFolder(CQZTrackManager* TrackManager) : TrackManager(TrackManager) {
    qz::trackModule(TrackManager, "WebServerManager");
}
