// CQZWebsite::EnablePhp: runs a site's PHP through the Apache module.
#include "CQZWebsite.h"

#include "handlers/HandlerScan.h"
#include "core/QZLock.h"
#include "core/Validate.h"

int CQZWebsite::EnablePhp(std::string DomainName, std::string Module) {
    const qz::OperationLock lock;
    // No configuration named: nothing is created, not even the scratch file.
    if (qz::isEmpty(HttpdConfFile)) return qz::result::handler::ConfigNotOpened;
    if (!qz::isTagSafe(Module)) return qz::result::handler::Refused;
    const std::string conf = HttpdConfFile;
    const std::vector<std::string> block = {"\t<IfModule " + Module + ".c>",
                                            "\t\tAddHandler application/x-httpd-php .php", "\t</IfModule>"};
    // The line after CustomLog is the only guard against a second block.
    auto present = [&Module](std::string_view next) {
        return qz::contains(next, "IfModule") || qz::contains(next, Module);
    };
    return qz::insertAfterCustomLog(conf, conf + ".tmpdso", "ServerName " + DomainName, present, block);
}
