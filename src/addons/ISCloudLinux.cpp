// Whether the server runs CloudLinux.
#include "QZCommon.h"

#include "core/QZCore.h"

#include <unistd.h>

bool ISCloudLinux() { return access(qz::sysPath("/etc/CloudLinux-release").c_str(), F_OK) == 0; }
