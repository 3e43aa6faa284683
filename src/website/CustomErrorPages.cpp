// CustomErrorPages: construction, and a site's ErrorDocument lines.
#include "AddonManagers.h"

#include "core/QZCore.h"
#include "core/QZLock.h"
#include "core/Validate.h"
#include "website/WebsiteInfoScan.h"

#include <utility>

CustomErrorPages::CustomErrorPages() : TrackManager(nullptr) {}

CustomErrorPages::CustomErrorPages(CQZTrackManager* TrackManager, std::string httpdConfFile)
    : TrackManager(TrackManager), m_szHttpdConfFile(std::move(httpdConfFile)) {
    qz::trackModule(TrackManager, "WebServerManager");
}

namespace {

bool isErrorStatus(int code) { return code >= 400 && code <= 599; }

// A target Apache takes: a local path, a URL, or a text in double quotes.
bool isErrorTarget(const std::string& target) {
    if (target.size() >= 2 && target.front() == '"' && target.back() == '"')
        return qz::safeConfigText(target.substr(1, target.size() - 2));
    const bool local = !target.empty() && target[0] == '/';
    const bool url = target.rfind("http://", 0) == 0 || target.rfind("https://", 0) == 0;
    // A local path is a URL path of the site: no ".." in it either.
    return (local || url) && qz::safeConfigText(target) && target.find(' ') == std::string::npos &&
           !(local && qz::hasDotDot(target));
}

// Rewrites every block of the site: the code's ErrorDocument lines are
// dropped, and `line`, when not empty, takes the place of the first one (or
// goes after the block's last ErrorDocument line, else at its end).
int editErrorPages(const std::string& conf, const std::string& domain, int code, const std::string& line) {
    if (conf.empty()) return qz::result::NoConfigFile;
    const std::string status = std::to_string(code);
    const qz::SiteRewrite rewritten = qz::rewriteSiteBlocks(conf, conf + ".qzerrorpages", domain, [&](qz::SiteBlock& block) {
        size_t place = block.maintenance;
        bool replaced = line.empty();
        for (size_t i = 0; i < block.lines.size(); ++i) {
            if (block.info[i].kind != qz::InfoKind::ErrorDoc) continue;
            place = i + 1;
            if (qz::entryPair(block.lines[i].c_str(), block.info[i], domain).Name != status) continue;
            const std::string text = block.indent + line;
            if (!replaced && block.lines[i] != text) block.replace(i, text);
            else if (replaced) block.drop(i);
            replaced = true;
        }
        if (!replaced) block.insertBefore(place, line);
    }, [](bool found) { return found; });
    if (int failed = qz::siteRewriteFailure(rewritten.end, nullptr)) return failed;
    return rewritten.found ? qz::result::errorPage::Done : qz::result::errorPage::NoSuchSite;
}

}  // namespace

int CustomErrorPages::setErrorPage(std::string domainName, int statusCode, std::string target) {
    const qz::OperationLock lock;
    qz::trackMethod(TrackManager, "setErrorPage", {domainName, std::to_string(statusCode), target},
                    {"domainName", "statusCode", "target"});
    if (m_szHttpdConfFile.empty()) return qz::result::NoConfigFile;
    if (!isErrorStatus(statusCode) || !isErrorTarget(target)) return qz::result::errorPage::Refused;
    return editErrorPages(m_szHttpdConfFile, domainName, statusCode,
                          "ErrorDocument " + std::to_string(statusCode) + " " + target);
}

int CustomErrorPages::deleteErrorPage(std::string domainName, int statusCode) {
    const qz::OperationLock lock;
    qz::trackMethod(TrackManager, "deleteErrorPage", {domainName, std::to_string(statusCode)},
                    {"domainName", "statusCode"});
    if (m_szHttpdConfFile.empty()) return qz::result::NoConfigFile;
    if (!isErrorStatus(statusCode)) return qz::result::errorPage::Refused;
    return editErrorPages(m_szHttpdConfFile, domainName, statusCode, "");
}

int CustomErrorPages::listErrorPages(std::string domainName, NameValueVector& pages) {
    qz::trackMethod(TrackManager, "listErrorPages", {domainName}, {"domainName"});
    qz::LineReader in(m_szHttpdConfFile, qz::kConfigLineLimit);
    if (int failed = qz::configurationUnreadable(m_szHttpdConfFile.c_str(), in, nullptr)) return failed;
    UpdateVHost info = {};
    std::string docRoot;
    if (!qz::readWebsiteInfo(in, domainName, info, docRoot, false)) return qz::result::errorPage::NoSuchSite;
    pages = std::move(info.ErrorDoc);
    return qz::result::errorPage::Done;
}
