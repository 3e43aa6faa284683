// CQZWebsite::StartWebsite: a stopped website's block commented back in.
#include "CQZWebsite.h"

#include "core/QZCore.h"
#include "website/WebsiteSwitch.h"
#include "core/QZLock.h"

char CQZWebsite::StartWebsite(const char* DomainName) {
    const qz::OperationLock lock;
    // Reported under the stop operation's name, as the panel expects.
    qz::trackMethod(TrackManager, "StopWebsite", {qz::str(DomainName)}, {"DomainName"});
    const int failed = qz::switchWebsite(HttpdConfFile, TEMPFILE, DomainName, qz::SwitchTo::Started);
    return failed != 0 ? static_cast<char>(failed) : qz::result::website::Started;
}
