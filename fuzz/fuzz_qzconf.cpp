// The panel settings file "/etc/QZ.conf".
#include "FuzzRoot.h"

namespace qzfuzz {

void runOne(Input& in) {
    const std::string param = in.text();
    writeFile("/etc/QZ.conf", in.contents());
    std::string value = "80";
    getParamFromQZConfFile(root() + "/etc/QZ.conf", value, param);
}

}  // namespace qzfuzz
