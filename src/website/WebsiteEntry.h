// The <VirtualHost> block website creation writes, shared by CreateWebsite
// and WriteWebsiteEntry.
#ifndef QZ_WEBSITE_ENTRY_H
#define QZ_WEBSITE_ENTRY_H

#include "QZTypes.h"

#include <string>

namespace qz {

// The port every new block and NameVirtualHost line uses: "WebServerPort" of
// the panel's settings file, "80" when it is not set.
std::string webServerPort();

// The block for the site, preceded by one empty line, every line ending with
// a newline. httpdConfFile is scanned for the highest LVEId when the LVE
// condition holds (CloudLinux with the "dso" handler, or "fcgid" without
// suEXEC).
std::string websiteEntry(const VHostEntry& site, const char* httpdConfFile);

}  // namespace qz

#endif
