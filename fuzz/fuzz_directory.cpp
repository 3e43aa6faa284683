// <Directory> sections inside a virtual host.
#include "FuzzRoot.h"

namespace qzfuzz {

void runOne(Input& in) {
    const int op = in.pick(4);
    const std::string domain = in.text();
    const std::string dirPath = in.text();
    const std::string newPath = in.text();
    const std::vector<std::string> entries = in.list();
    const std::string& conf = writeConf(in);
    ApacheHelper helper;
    switch (op) {
        case 0: helper.Apache_addDirectoryTag(conf, domain, dirPath, entries); break;
        case 1: helper.Apache_deleteDirectoryTag(conf, domain, dirPath); break;
        case 2: helper.Apache_UpdateDirectoryTagPath(conf, domain, dirPath, newPath); break;
        default: helper.Apache_UpdateDirectoryDirectives(conf, domain, dirPath, entries); break;
    }
}

}  // namespace qzfuzz
