// CQZWebsite::EnableFcgid: runs a site's PHP through mod_fcgid.
#include "CQZWebsite.h"

#include "ApacheHelper.h"
#include "HandlerScan.h"
#include "QZLock.h"

#include <strings.h>
#include <sys/stat.h>

int CQZWebsite::EnableFcgid(std::string DomainName, std::string phpCGIPath, std::string suexecSetting) {
    const qz::OperationLock lock;
    qz::trackMethod(TrackManager, "EnableFcgid", {DomainName, phpCGIPath, suexecSetting},
                    {"DomainName", "phpCGIPath", "suexecSetting"});
    qz::sayLine("suexecSetting=" + suexecSetting);
    if (qz::isEmpty(HttpdConfFile)) return 21;
    const std::string conf = HttpdConfFile;

    ApacheHelper helper;
    std::string webAdmin, documentRoot;
    helper.Apache_getDirectiveInVH(conf, DomainName, "ServerAdmin", webAdmin, false);
    webAdmin = webAdmin.substr(0, webAdmin.find('@'));
    helper.Apache_getDirectiveInVH(conf, DomainName, "DocumentRoot", documentRoot, true);
    const std::string site = qz::siteFolder(documentRoot, DomainName);
    const std::string settings = site + "/.setting_php";
    const std::string name = phpCGIPath.substr(phpCGIPath.rfind('/') + 1);
    const std::string wrapper = settings + "/" + name;

    // Without a site folder (no document root holding the domain) nothing is
    // made and no block is inserted, and the result is still 96: the settings
    // folder would otherwise be "/.setting_php" at the top of the file system
    // and the block would point there. The scratch copy below is still made.
    if (!site.empty()) {
        struct stat st;
        if (stat(settings.c_str(), &st) != 0) {
            qz::sayLine("creating .setting_php directory");
            mkdir(settings.c_str(), 0100);
        }
        chmod(settings.c_str(), 04505);  // setuid with r-x for owner and others, on purpose
        const std::string owner = qz::panelOwner(webAdmin);
        qz::runShell(qz::shellCommand({"chown", owner, settings}));
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
