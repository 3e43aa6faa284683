// Stopping and starting a website: commenting its <VirtualHost> block out
// line by line, and back in. StopWebsite and StartWebsite share the scan.
#ifndef QZ_WEBSITE_SWITCH_H
#define QZ_WEBSITE_SWITCH_H

namespace qz {

enum class SwitchTo { Stopped, Started };

// Rewrites httpdConfFile through scratch with the domain's block switched.
// 0 done (also when nothing changed, or the scratch file did not open: then
// nothing is moved); 22 when httpdConfFile cannot be opened; 23 when the
// scratch file could not be written whole (nothing is moved).
int switchWebsite(const char* httpdConfFile, const char* scratch, const char* domain, SwitchTo to);

}  // namespace qz

#endif
