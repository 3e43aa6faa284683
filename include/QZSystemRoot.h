// The system root: a folder under which every fixed absolute path that the
// library names itself ("/etc/QZ.conf", "/etc/apactemp", "/var/run", ...) is
// resolved. With the root "/tmp/r", "/etc/QZ.conf" is read from
// "/tmp/r/etc/QZ.conf". Paths a caller passes in, paths read from
// configuration files or command output, text written into configuration
// files and the commands themselves are never changed.
//
// The root is process-wide and not synchronised; set it before any operation
// runs.
#ifndef QZ_SYSTEM_ROOT_H
#define QZ_SYSTEM_ROOT_H

#include "QZExport.h"

#include <string>

namespace qz {
// "" (the default) means the real system.
QZ_EXPORT void setSystemRoot(const std::string& root);
QZ_EXPORT const std::string& systemRoot();
}  // namespace qz

#endif
