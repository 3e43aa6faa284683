// CustomErrorPages construction.
#include "AddonManagers.h"

#include "QZCore.h"

#include <utility>

CustomErrorPages::CustomErrorPages() : TrackManager(nullptr) {}

CustomErrorPages::CustomErrorPages(CQZTrackManager* TrackManager, std::string httpdConfFile)
    : TrackManager(TrackManager), m_szHttpdConfFile(std::move(httpdConfFile)) {
    qz::trackModule(TrackManager, "WebServerManager");
}
