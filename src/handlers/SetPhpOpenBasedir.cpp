// CQZWebsite::SetPhpOpenBasedir: the folders a site's PHP may open.
#include "CQZWebsite.h"

#include "handlers/PhpFpm.h"
#include "core/RewritePlan.h"
#include "core/QZLock.h"
#include "core/Messages.h"

int CQZWebsite::SetPhpOpenBasedir(std::string DomainName, StringVector Paths) {
    const qz::OperationLock lock;
    std::string value;
    for (const std::string& path : Paths) value += (value.empty() ? "" : ":") + path;
    qz::trackMethod(TrackManager, "SetPhpOpenBasedir", {DomainName, value}, {"DomainName", "Paths"});
    if (qz::isEmpty(HttpdConfFile)) return qz::result::NoConfigFile;
    qz::fpm::SiteConf site;
    if (!site.read(HttpdConfFile, DomainName)) {
        qz::sayLine(qz::msg::kConfigNotOpened);
        return qz::result::ConfigNotOpened;
    }
    if (!site.found) return qz::result::phpFpm::NoSite;
    for (const std::string& path : Paths)
        if (!qz::fpm::writablePath(path)) return qz::result::phpFpm::PathRefused;

    // The site's pools, of whichever versions hold one.
    int pools = 0;
    for (const std::string& version : qz::fpm::versions()) {
        const std::string pool = qz::fpm::poolFile(version, DomainName);
        if (!qz::fpm::validDomain(DomainName)) continue;
        // The setting keeps its place; a pool without one gets it at the end.
        constexpr qz::FilePlan plan{nullptr, ".qztmp", qz::kNoLineLimit, qz::LoopEnd::StreamFailure,
                                    qz::EmptyLines::Handed, qz::OpenOrder::FileFirst, qz::Unchanged::Replaced};
        const std::string setting = "php_admin_value[open_basedir] = \"" + value + "\"";
        bool written = value.empty();
        const qz::Rewritten end = qz::rewriteFile(
            pool, pool + plan.scratchSuffix, plan,
            [&](qz::LineReader& in, qz::Rewrite& out, bool&) {
                if (!qz::startsWithNoCase(qz::skipSpace(in.c_str()), "php_admin_value[open_basedir]")) {
                    out.writeLine(in.view());
                } else if (!written) {
                    out.writeLine(setting);
                    written = true;
                }
                return qz::Next::Line;
            },
            qz::NothingOnOpen(),
            [&](qz::Rewrite& out, bool&) {
                if (!written) out.writeLine(setting);
                return true;
            });
        if (end == qz::Rewritten::FileNotOpened) continue;
        ++pools;
        if (end != qz::Rewritten::Replaced) return qz::result::ScratchNotWritten;
    }
    if (pools > 0) return qz::result::phpFpm::Done;

    int blocks = 0;
    const std::vector<std::string> lines = site.withModuleBasedir(value, blocks);
    if (blocks == 0) return qz::result::phpFpm::NoPoolNorModule;
    if (lines != site.lines && !qz::fpm::writeLines(qz::str(TEMPFILE), HttpdConfFile, lines))
        return qz::result::ScratchNotWritten;
    return qz::result::phpFpm::Done;
}
