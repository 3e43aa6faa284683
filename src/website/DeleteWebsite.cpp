// CQZWebsite::DeleteWebsite: removes every <VirtualHost> block of a domain.
#include "CQZWebsite.h"

#include "handlers/PhpFpm.h"
#include "website/MaintenancePage.h"
#include "core/QZCore.h"
#include "core/QZLock.h"
#include "core/Messages.h"

char CQZWebsite::DeleteWebsite(const char* pDName, char /*DomainType*/) {
    const qz::OperationLock lock;
    const std::string domain = qz::str(pDName);
    qz::trackMethod(TrackManager, "DeleteWebsite", {domain}, {"pDName"});

    if (qz::isEmpty(HttpdConfFile)) return qz::result::NoConfigFile;
    qz::LineReader in(HttpdConfFile, qz::kConfigLineLimit);
    if (!in.isOpen()) {
        qz::say(qz::msg::kConfigFileNotOpened);
        return qz::result::ConfigNotOpened;
    }
    qz::Rewrite rewrite(qz::str(TEMPFILE), HttpdConfFile);
    if (TEMPFILE == nullptr || !rewrite.open()) {
        qz::say(qz::msg::kScratchNotOpened);
        return qz::result::ScratchNotWritten;
    }
    qz::OutFile& out = rewrite.out();

    bool open = false;   // a block is open; its text is held back in `held`
    bool found = false;  // the last ServerName seen names the domain
    std::string held;
    while (in.nextUntilEof()) {
        const std::string_view line = in.view();
        const char* p = in.c_str();
        if (*p == '#') ++p;
        p = qz::skipSpace(p);

        if (qz::startsWithNoCase(p, "<VirtualHost")) {
            if (open) out.write(held);  // the previous block was never closed
            held.assign(line);
            held += '\n';
            open = true;
        } else if (open && qz::startsWithNoCase(p, "ServerName")) {
            held.append(line);
            held += '\n';
            found = qz::serverNameIs(p, domain);
        } else if (open && qz::startsWithNoCase(p, "</VirtualHost>")) {
            open = false;
            held.append(line);
            held += '\n';
            if (!found) out.write(held);
            held.clear();
        } else if (open) {
            held.append(line);
            held += '\n';
        } else if (!line.empty()) {
            out.writeLine(line);
        }
    }
    // Moving a copy cut short at an over-long line would lose the rest of the
    // configuration, so that case leaves the configuration as it is.
    if (in.tooLong()) return qz::result::ConfigNotOpened;
    in.close();
    if (!rewrite.commit()) return qz::result::ScratchNotWritten;
    // A pool left behind would stop php-fpm, for every site, once the
    // site's user is deleted.
    qz::fpm::removePools(domain);
    // The maintenance page would otherwise outlive the site.
    qz::removeMaintenancePage(domain);
    return qz::result::website::Deleted;
}
