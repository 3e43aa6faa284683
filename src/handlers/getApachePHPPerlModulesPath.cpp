// CQZWebsite::getApachePHPPerlModulesPath: the distribution's PHP and Perl
// module configuration files.
#include "CQZWebsite.h"

#include "discovery/ApacheDiscovery.h"
#include "core/QZCore.h"
#include "core/Messages.h"

namespace {

// Walks `folder` (plain entries only) for names holding "php" or "perl" and
// `suffix`; the last of each kind wins. False when the folder does not open.
bool findModuleFiles(const std::string& folder, const char* suffix, std::string& perlPath, std::string& phpPath) {
    return qz::forEachPlainEntry(folder, [&](const std::string& name, const std::string& path) {
        if (name.find(suffix) == std::string::npos) return false;
        if (name.find("php") != std::string::npos) phpPath = path;
        if (name.find("perl") != std::string::npos) perlPath = path;
        return false;
    });
}

}  // namespace

bool CQZWebsite::getApachePHPPerlModulesPath(std::string httpdConfFile, std::string& perlPath, std::string& phpPath) {
    perlPath.clear();
    phpPath.clear();
    const std::string base = qz::serverRootOrConfFolder(httpdConfFile);
    // conf.d, when it opens, is the only folder consulted.
    if (!findModuleFiles(base + "/conf.d", ".conf", perlPath, phpPath) &&
        !findModuleFiles(base + "/mods-enabled", ".load", perlPath, phpPath)) {
        qz::sayLine(qz::msg::kNoModulesPath);
        return false;
    }
    return !perlPath.empty() || !phpPath.empty();
}
