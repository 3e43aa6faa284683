// Directives inside a virtual host, HTTPS redirect files and Let's Encrypt
// entries.
#include "FuzzRoot.h"

namespace qzfuzz {

void runOne(Input& in) {
    const int op = in.pick(14);
    const std::string domain = in.text();
    const std::string directive = in.text();
    const std::string value = in.text();
    const bool flag = in.flag();
    const std::vector<std::string> lines = in.list();
    const std::string nvhEntry = in.text();
    const std::string& conf = writeConf(in);
    ApacheHelper helper;
    std::string out;
    switch (op) {
        case 0: helper.Apache_getDirectiveInVH(conf, domain, directive, out, flag); break;
        case 1: helper.Apache_AddDirectiveInVH(conf, domain, directive, value, flag); break;
        case 2: helper.Apache_AddDirectivesInVH(conf, domain, lines); break;
        case 3: helper.Apache_DeleteDirectivesInVH(conf, domain, lines); break;
        case 4: helper.Apache_UpdateDirectiveInVH(conf, domain, directive, value, flag); break;
        case 5: helper.Apache_UpdateVHDirectiveContents(conf, domain, directive, value, flag); break;
        case 6: helper.Apache_isModuleExistsInVH(conf, domain, directive); break;
        case 7: helper.Apache_DeleteVhIfmoduleBlock(conf, domain, directive); break;
        case 8: helper.Apache_ChangeVirtualHostPort(conf, domain, directive, value); break;
        case 9: helper.Apache_MakeLetsEncryptEntries(conf, domain, directive, value, lines, flag, nvhEntry); break;
        case 10: helper.Apache_RedirectVHFromHttpToHttps(conf, domain, directive, value); break;
        case 11: helper.Apache_DeleteRedirectVHFromHttpToHttps(conf, domain); break;
        case 12: helper.Apache_StopRedirectVHFromHttpToHttps(conf, domain); break;
        default: helper.Apache_StartRedirectVHFromHttpToHttps(conf, domain); break;
    }
}

}  // namespace qzfuzz
