// CQZWebsite::StopWebsite: a website's block commented out line by line.
#include "CQZWebsite.h"

#include "core/QZCore.h"
#include "website/WebsiteSwitch.h"
#include "core/QZLock.h"

char CQZWebsite::StopWebsite(const char* DomainName) {
    const qz::OperationLock lock;
    qz::trackMethod(TrackManager, "StopWebsite", {qz::str(DomainName)}, {"DomainName"});
    const int failed = qz::switchWebsite(HttpdConfFile, TEMPFILE, DomainName, qz::SwitchTo::Stopped);
    return failed != 0 ? static_cast<char>(failed) : qz::result::website::Stopped;
}
