// CQZWebsite::StopWebsite: a website's block commented out line by line.
#include "CQZWebsite.h"

#include "QZCore.h"
#include "WebsiteSwitch.h"

char CQZWebsite::StopWebsite(const char* DomainName) {
    qz::trackMethod(TrackManager, "StopWebsite", {qz::str(DomainName)}, {"DomainName"});
    return qz::switchWebsite(HttpdConfFile, TEMPFILE, DomainName, qz::SwitchTo::Stopped) ? 30 : 22;
}
