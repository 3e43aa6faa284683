// CQZWebsite::StartWebsite: a stopped website's block commented back in.
#include "CQZWebsite.h"

#include "QZCore.h"
#include "WebsiteSwitch.h"

char CQZWebsite::StartWebsite(const char* DomainName) {
    // Reported under the stop operation's name, as the panel expects.
    qz::trackMethod(TrackManager, "StopWebsite", {qz::str(DomainName)}, {"DomainName"});
    return qz::switchWebsite(HttpdConfFile, TEMPFILE, DomainName, qz::SwitchTo::Started) ? 29 : 22;
}
