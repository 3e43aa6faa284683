// Hosting add-ons: webmail, custom error pages, Ruby on Rails and CloudLinux
// LVE limits. Only their construction is provided.
#ifndef ADDON_MANAGERS_H
#define ADDON_MANAGERS_H

#include "CQZTrackManager.h"
#include "QZExport.h"

#include <string>

// Module "WebmailManager".
class QZ_EXPORT WebmailManager {
public:
    CQZTrackManager* TrackManager;
    WebmailManager(CQZTrackManager* TrackManager);
};

// The tracking constructor reports module "WebServerManager".
class QZ_EXPORT CustomErrorPages {
public:
    CQZTrackManager* TrackManager;
    std::string m_szHttpdConfFile;
    CustomErrorPages();
    CustomErrorPages(CQZTrackManager* TrackManager, std::string httpdConfFile);
};

// Nothing is tracked at construction.
class QZ_EXPORT RubyOnRails {
public:
    std::string m_apacheConfFile;
    CQZTrackManager* TrackManager;
    RubyOnRails();
    RubyOnRails(CQZTrackManager* TrackManager, std::string apacheConfFile);
};

// Nothing is tracked at construction.
class QZ_EXPORT LveManager {
public:
    CQZTrackManager* trackManager;
    std::string apacheConfFile;
    LveManager();
    LveManager(CQZTrackManager* trackManager);
    LveManager(std::string apacheConfFile, CQZTrackManager* trackManager);
};

#endif
