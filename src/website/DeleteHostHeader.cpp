// CQZWebsite::DeleteHostHeader: removes a name from the ServerAlias line of a
// site's blocks and of its HTTPS redirect file.
#include "CQZWebsite.h"

#include "toolkit/Toolkit.h"
#include "website/HostHeaderRedirect.h"
#include "core/QZCore.h"
#include "core/QZLock.h"
#include "core/Validate.h"

#include <cctype>

namespace {

// The redirect file's alias line split at every single space (empty words
// kept, the leading tab part of the first), rebuilt without `name`: a space,
// then each other word followed by a space.
std::string withoutWord(std::string_view line, const std::string& name) {
    std::string rebuilt = " ";
    for (size_t start = 0;;) {
        const size_t space = line.find(' ', start);
        const std::string_view word = line.substr(start, space == std::string_view::npos ? space : space - start);
        if (word != name) {
            rebuilt.append(word);
            rebuilt += ' ';
        }
        if (space == std::string_view::npos) return rebuilt;
        start = space + 1;
    }
}

// The site's alias list without `name`, printing "Ptr1=" and each name but
// the last, and "matched" for a name left out. Every kept name after the
// first one examined gets a leading space, so removing the first alias
// leaves the list starting with a space.
std::string listWithout(const std::string& aliases, const std::string& name) {
    std::string kept;
    bool first = true;
    auto examine = [&](const std::string& alias) {
        if (alias == name) {
            qz::sayLine("matched");
        } else {
            if (!first) kept += ' ';
            kept += alias;
        }
        first = false;
    };
    size_t start = 0;
    for (size_t space; (space = aliases.find(' ', start)) != std::string::npos;) {
        const std::string alias = aliases.substr(start, space - start);
        start = space + 1;
        while (start < aliases.size() && std::isspace(static_cast<unsigned char>(aliases[start]))) ++start;
        qz::sayLine("Ptr1=" + alias);
        examine(alias);
    }
    examine(aliases.substr(start));
    return kept;
}

}  // namespace

char CQZWebsite::DeleteHostHeader(std::string domainName, std::string hostHeader) {
    const qz::OperationLock lock;
    qz::trackMethod(TrackManager, "DeleteHostHeader", {domainName, hostHeader}, {"DomainName", "HostHeader"});
    // The domain names the redirect file that is rewritten.
    if (!qz::isHostName(domainName)) return qz::result::hostHeader::Refused;

    const std::string httpdConfFile = qz::str(HttpdConfFile);
    std::string aliases;
    if (qz::directiveInVH(httpdConfFile, domainName, "ServerAlias", aliases, false) != 0)
        return qz::result::hostHeader::NotUpdated;

    qz::rewriteRedirectAliases(domainName, [&](std::string_view line, qz::RedirectLayout) {
        return withoutWord(line, hostHeader);
    });
    const std::string kept = listWithout(aliases, hostHeader);
    const int updated = qz::updateDirectiveInVH(httpdConfFile, domainName, "ServerAlias", kept, false);
    return updated == qz::result::toolkit::Done ? qz::result::hostHeader::Done : qz::result::hostHeader::NotUpdated;
}
