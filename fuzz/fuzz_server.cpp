// Server-level directives and modules, and the discovery that reads the
// configuration (server root, module folder).
#include "FuzzRoot.h"

namespace qzfuzz {

void runOne(Input& in) {
    const int op = in.pick(8);
    const std::string directive = in.text();
    const std::string value = in.text();
    const bool quoted = in.flag();
    const std::string& conf = writeConf(in);
    ApacheHelper helper;
    std::string out;
    bool exists = false;
    switch (op) {
        case 0: helper.Apache_getDirectiveValue(conf, directive, out, quoted); break;
        case 1: helper.Apache_isDirectiveWithValueExists(conf, directive, value, quoted); break;
        case 2: helper.Apache_writeDirective(conf, value, directive, quoted, in.number(-1, 40)); break;
        case 3: helper.Apache_checkModule(conf, directive, exists); break;
        case 4: helper.Apache_checkModulePhysicalPath(conf, directive, exists); break;
        case 5: helper.Apache_addModule(conf, directive); break;
        case 6: CQZWebsite().getApacheServerRoot(conf); break;
        default: CQZWebsite().getApacheModulesDir(conf); break;
    }
}

}  // namespace qzfuzz
