// Script handlers: the PHP module, FastCGI and Perl CGI switches and queries.
#include "FuzzRoot.h"

namespace qzfuzz {

void runOne(Input& in) {
    const int op = in.pick(14);
    const std::string domain = in.text();
    const std::string name = in.text();
    const std::string file = in.text();
    const std::string& conf = writeConf(in);
    CQZTrackManager tracker;
    CQZWebsite website(&tracker, conf.c_str());
    std::string perl, php;
    switch (op) {
        case 0: website.EnablePhp(domain, name); break;
        case 1: website.DisablePhp(domain); break;
        case 2: website.ISPhpEnabled(domain); break;
        case 3: website.getPHPEntryToDelete(domain, conf); break;
        case 4: website.Php_checkModulePhysicalPath(conf); break;
        case 5: website.Php_checkModule(conf, name); break;
        case 6: website.Php_addModule(conf, name); break;
        case 7: website.Php_disableModule(conf, name); break;
        case 8: website.getApachePHPPerlModulesPath(conf, perl, php); break;
        case 9: website.ConfigureFcgidGlobally(conf, name); break;
        case 10: website.EnableFcgid(domain, file, name); break;
        case 11: website.DisableFcgid(domain, name, file); break;
        case 12: website.EnablePerl(domain); break;
        default: website.DisablePerl(domain); break;
    }
}

}  // namespace qzfuzz
