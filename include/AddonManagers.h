// Hosting add-ons: webmail, custom error pages, Ruby on Rails and CloudLinux
// LVE limits. Only their construction is provided.
#ifndef ADDON_MANAGERS_H
#define ADDON_MANAGERS_H

#include "CQZTrackManager.h"
#include "QZExport.h"
#include "QZTypes.h"

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

    // A site's error pages are its "ErrorDocument <code> <target>" lines, one
    // per status code, in every block of the site (port 80 and 443 alike),
    // edited through m_szHttpdConfFile + ".qzerrorpages" and "mv". Each
    // operation reports its name and arguments (domainName, statusCode,
    // target) to TrackManager first.
    // setErrorPage replaces the code's line (dropping any further one of the
    // same code), or adds one after the block's last ErrorDocument line (at
    // the block's end when there is none). statusCode 400-599; target a local
    // path starting with "/", an http:// or https:// URL (one word each), or
    // a text in double quotes; no control character, no inner quote, no ".."
    // component in a local path.
    // 0 done; 1 a value refused (nothing written); 26 no such site; 21 no
    // configuration named; 22 it cannot be opened; 23 the scratch file.
    int setErrorPage(std::string domainName, int statusCode, std::string target);
    // Removes the code's lines. 0 (also when the site had none); 1 a code
    // outside 400-599; 26; 21; 22; 23.
    int deleteErrorPage(std::string domainName, int statusCode);
    // Replaces `pages` with the site's ErrorDocument entries as
    // CQZWebsite::GetWebsiteInfo reads them (Name the code, Value the target
    // without its surrounding quotes). 0; 26; 21; 22.
    int listErrorPages(std::string domainName, NameValueVector& pages);
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
