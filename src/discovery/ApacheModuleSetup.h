// Making sure Apache loads the modules an operation's lines need. Internal.
#ifndef QZ_APACHE_MODULE_SETUP_H
#define QZ_APACHE_MODULE_SETUP_H

#include <string>
#include <vector>

namespace qz {

// Debian's layout: the configuration's folder holds mods-available.
bool debianModuleLayout(const std::string& httpdConfFile);

// Debian's layout: runs "env APACHE_CONFDIR=<configuration folder> a2enmod
// -q <modules>" (a2enmod reads its state folder from that folder's envvars).
// False, after "Error while enabling Apache modules" on standard output,
// when it fails.
bool enableModulesDebian(const std::string& httpdConfFile, const std::vector<std::string>& modules);

// Other layouts: the lines that load each module the configuration does not
// load yet, to go before its first <VirtualHost> block:
//   <IfModule !rewrite_module>
//   LoadModule rewrite_module <folder>/mod_rewrite.so
//   </IfModule>
// with the folder of the file's first LoadModule line ("modules" when it has
// none). "" when every module is loaded already.
std::string loadModuleLines(const std::string& httpdConfFile, const std::vector<std::string>& modules);

}  // namespace qz

#endif
