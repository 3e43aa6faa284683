// CQZWebsite::AddHostHeader: adds a name to the ServerAlias line of a site's
// blocks, and to its HTTPS redirect file.
#include "CQZWebsite.h"

#include "toolkit/Toolkit.h"
#include "website/HostHeaderRedirect.h"
#include "core/QZCore.h"
#include "core/QZLock.h"
#include "core/Validate.h"
#include "core/Messages.h"

char CQZWebsite::AddHostHeader(std::string domainName, std::string hostHeader) {
    const qz::OperationLock lock;
    qz::trackMethod(TrackManager, "AddHostHeader", {domainName, hostHeader}, {"DomainName", "HostHeader"});
    // Both names reach configuration lines, and the domain a file name.
    if (!qz::isHostName(domainName) || !qz::isHostName(hostHeader, true)) return qz::result::hostHeader::Refused;

    // The redirect file gets the name first, even when the site lists it.
    // Red Hat's alias line is expected to end with a space.
    qz::rewriteRedirectAliases(domainName, [&](std::string_view line, qz::RedirectLayout layout) {
        return layout == qz::RedirectLayout::RedHat ? std::string(line) + hostHeader + " "
                                                    : std::string(line) + " " + hostHeader;
    });

    const std::string httpdConfFile = qz::str(HttpdConfFile);
    std::string value;
    if (qz::directiveInVH(httpdConfFile, domainName, "ServerAlias", value, false) != 0)
        return qz::result::hostHeader::NotUpdated;

    // Listed already: an occurrence at the start of the list or after a
    // space. What follows it is not looked at, so the beginning of a longer
    // alias counts too (a.example against a.example.net).
    for (size_t at = value.find(hostHeader); at != std::string::npos; at = value.find(hostHeader, at + 1)) {
        if (at == 0 || value[at - 1] == ' ') return qz::result::hostHeader::AlreadyListed;
    }
    const std::string aliases = value.size() > 2 ? value + " " + hostHeader : hostHeader;
    if (qz::updateDirectiveInVH(httpdConfFile, domainName, "ServerAlias", aliases, false) != 0) {
        qz::sayLine(qz::msg::kUpdateError);
        return qz::result::hostHeader::NotUpdated;
    }
    return qz::result::hostHeader::Done;
}
