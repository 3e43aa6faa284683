// CQZWebsite::EnableFcgid: runs a site's PHP through mod_fcgid.
#include "CQZWebsite.h"

#include "handlers/HandlerScan.h"
#include "toolkit/Toolkit.h"
#include "core/QZLock.h"
#include "core/SafePath.h"
#include "core/Validate.h"
#include "core/Messages.h"

#include <cerrno>
#include <fcntl.h>
#include <strings.h>
#include <sys/stat.h>

int CQZWebsite::EnableFcgid(std::string DomainName, std::string phpCGIPath, std::string suexecSetting) {
    const qz::OperationLock lock;
    qz::trackMethod(TrackManager, "EnableFcgid", {DomainName, phpCGIPath, suexecSetting},
                    {"DomainName", "phpCGIPath", "suexecSetting"});
    // The domain and the CGI's path reach configuration lines and folder
    // names: refused before anything is printed, made or run.
    const std::string cgiName = phpCGIPath.substr(phpCGIPath.rfind('/') + 1);
    if (!qz::isHostName(DomainName) || !qz::isDirectiveSafe(phpCGIPath) || !qz::isPlainName(cgiName))
        return qz::result::handler::Refused;
    qz::sayLine("suexecSetting=" + suexecSetting);
    if (qz::isEmpty(HttpdConfFile)) return qz::result::handler::ConfigNotOpened;
    const std::string conf = HttpdConfFile;

    std::string webAdmin, documentRoot;
    qz::directiveInVH(conf, DomainName, "ServerAdmin", webAdmin, false);
    webAdmin = webAdmin.substr(0, webAdmin.find('@'));
    qz::directiveInVH(conf, DomainName, "DocumentRoot", documentRoot, true);
    const std::string site = qz::siteFolder(documentRoot, DomainName);
    const std::string settings = site + "/.setting_php";
    const std::string wrapper = settings + "/" + cgiName;

    // Without a site folder (no document root holding the domain) nothing is
    // made and no block is inserted, and the result is still 96: the settings
    // folder would otherwise be "/.setting_php" at the top of the file system
    // and the block would point there. The scratch copy below is still made.
    if (!site.empty()) {
        // The settings folder and the copy in it are reached in the site
        // folder without a link; a link, a FIFO or a hard link there refuses
        // the call before anything is made or run. The site folder is held
        // still throughout, and the settings folder from the moment it is
        // the customer's, so that nothing the commands name can be swapped.
        qz::SafeFolder siteFolder, settingsFolder;
        qz::FolderLock siteStill, settingsStill;
        qz::Fd copy;
        if (!qz::openFolder(site, siteFolder) && qz::isRefusal(errno)) return qz::result::handler::Refused;
        if (siteFolder.fd.ok() && !siteStill.lock(site)) return qz::result::handler::Refused;
        if (!qz::openFolder(settings, settingsFolder)) {
            if (errno != ENOENT) return qz::result::handler::Refused;
            qz::sayLine(qz::msg::kCreatingSettingPhp);
            if (siteFolder.fd.ok()) mkdirat(siteFolder.fd.get(), ".setting_php", 0100);
            if (!qz::openFolder(settings, settingsFolder) && qz::isRefusal(errno)) return qz::result::handler::Refused;
        }
        if (settingsFolder.fd.ok() && qz::openIn(settingsFolder, cgiName.c_str(), O_RDONLY, copy) == qz::FileCheck::Refused)
            return qz::result::handler::Refused;
        // setuid with r-x for owner and others, on purpose; set on the folder
        // reached above, whatever its name leads to by now.
        if (settingsFolder.fd.ok()) chmod(qz::descriptorPath(settingsFolder.fd).c_str(), 04505);
        const std::string owner = qz::panelOwner(webAdmin);
        qz::runShell(qz::shellCommand({"chown", owner, settings}));
        if (settingsFolder.fd.ok() && (!settingsStill.lock(settings) ||
                                       qz::openIn(settingsFolder, cgiName.c_str(), O_RDONLY, copy) == qz::FileCheck::Refused))
            return qz::result::handler::Refused;
        qz::runShell(qz::shellCommand({"cp", phpCGIPath, settings + "/."}));
        qz::runShell(qz::shellCommand({"chown", owner, wrapper}));
        qz::runShell(qz::shellCommand({"chmod", "505", wrapper}));
    }

    std::vector<std::string> block = {"\t<IfModule mod_fcgid.c>", "\t\tAddHandler fcgid-script  .php",
                                      "\t\tSetEnv PHPRC " + settings};
    if (strcasecmp(suexecSetting.c_str(), "enabled") == 0) block.push_back("\t\tSuexecUserGroup " + webAdmin + " " + qz::kPanelGroup);
    block.insert(block.end(), {"\t\tFCGIWrapper " + wrapper + " .php", "\t\t<Location />", "\t\t\tOptions +ExecCGI",
                               "\t\t</Location>", "\t</IfModule>"});
    auto present = [](std::string_view next) { return qz::contains(next, "<IfModule mod_fcgid.c>"); };
    return qz::insertAfterCustomLog(conf, conf + ".tmpfcgid", "ServerName " + DomainName, present, block, !site.empty());
}
