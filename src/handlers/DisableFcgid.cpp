// CQZWebsite::DisableFcgid: removes a site's mod_fcgid block and its PHP CGI
// copy.
#include "CQZWebsite.h"

#include "handlers/HandlerScan.h"
#include "toolkit/Toolkit.h"
#include "core/QZLock.h"
#include "core/SafePath.h"
#include "core/Validate.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <strings.h>
#include <unistd.h>

int CQZWebsite::DisableFcgid(std::string DomainName, std::string ModuleName, std::string PHPCGI) {
    const qz::OperationLock lock;
    qz::trackMethod(TrackManager, "DisableFcgid", {DomainName, ModuleName, PHPCGI},
                    {"DomainName", "ModuleName", "PHPCGI"});
    // The CGI copy is named inside the site folder: no ".." leads out of it.
    if (!qz::isHostName(DomainName) || qz::hasControlChar(PHPCGI) || qz::hasDotDot(PHPCGI))
        return qz::result::handler::Refused;
    if (qz::isEmpty(HttpdConfFile)) return qz::result::handler::ConfigNotOpened;
    const std::string conf = HttpdConfFile;
    // The block is found by ModuleName itself; ModuleName + ".c" would find
    // the same mod_fcgid block.
    const std::string match = "ServerName " + DomainName;

    // The folder of the CGI copy is reached first, before anything is
    // written: the copy is named inside the site folder, and a folder on the
    // way that a customer turned into a link refuses the call with the
    // configuration as it was. Only a named file inside a known site folder
    // is deleted later: an empty name would remove the folder itself if it
    // were empty. (The site folder comes from the DocumentRoot line, which
    // the rewrite below leaves as it is.)
    std::string documentRoot;
    qz::directiveInVH(conf, DomainName, "DocumentRoot", documentRoot, true);
    const std::string site = qz::siteFolder(documentRoot, DomainName);
    qz::SafeFolder cgiFolder;
    std::string cgiName;
    if (!site.empty() && !PHPCGI.empty()) {
        const std::string target = site + "/" + PHPCGI;
        const size_t slash = target.rfind('/');
        cgiName = target.substr(slash + 1);
        if (!qz::openFolder(target.substr(0, slash + 1), cgiFolder) && errno != ENOENT)
            return qz::result::handler::Refused;
    }

    // The scratch file opens first, and stays behind when no block goes.
    constexpr qz::FilePlan plan{nullptr, nullptr, qz::kNoLineLimit, qz::LoopEnd::StreamFailure,
                                qz::EmptyLines::Handed, qz::OpenOrder::ScratchFirst, qz::Unchanged::Left,
                                qz::Leftover::Kept};
    constexpr int kMaxBlockLines = 10;  // after the opening line, the closing one included
    int consumed = 0;                   // counted over the whole call
    bool inSite = false, error = false;
    const qz::Rewritten end = qz::rewriteFile(
        conf, qz::str(TEMPFILE), plan,
        [&](qz::LineReader& in, qz::Rewrite& out, bool& found) {
            const std::string_view line = qz::handlerForm(in.view());
            if (inSite && line.size() == 14 && qz::startsWithNoCase(line.data(), "</VirtualHost>")) inSite = false;
            if (line == match) inSite = true;
            if (inSite && qz::contains(line, "IfModule") && qz::contains(line, ModuleName)) {
                found = true;
                while (in.getline()) {
                    if (++consumed > kMaxBlockLines) {
                        error = true;
                        break;
                    }
                    if (qz::handlerForm(in.view()) == "</IfModule>") break;
                }
                inSite = false;
                return qz::Next::Line;
            }
            out.writeLine(in.view());
            return qz::Next::Line;
        },
        qz::NothingOnOpen(), [&](qz::Rewrite&, bool&) { return !error; });
    switch (end) {
    case qz::Rewritten::ScratchNotOpened:
    case qz::Rewritten::NotWritten: return qz::result::ScratchNotWritten;
    case qz::Rewritten::FileNotOpened: return qz::result::handler::ConfigNotOpened;
    case qz::Rewritten::Withheld: return qz::result::handler::BlockTooLong;
    case qz::Rewritten::TooLong:
    case qz::Rewritten::Unchanged: return qz::result::handler::Done;
    case qz::Rewritten::Replaced: break;
    }

    // The name is removed in the folder reached above: a link by that name
    // goes, never what it points at.
    if (cgiFolder.fd.ok() && !cgiName.empty()) unlinkat(cgiFolder.fd.get(), cgiName.c_str(), 0);
    return qz::result::handler::Done;
}
