// RubyOnRails construction: nothing is tracked.
#include "AddonManagers.h"

#include <utility>

RubyOnRails::RubyOnRails() : TrackManager(nullptr) {}

RubyOnRails::RubyOnRails(CQZTrackManager* TrackManager, std::string apacheConfFile)
    : m_apacheConfFile(std::move(apacheConfFile)), TrackManager(TrackManager) {}
