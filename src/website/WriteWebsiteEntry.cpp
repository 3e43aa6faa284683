// CQZWebsite::WriteWebsiteEntry: the <VirtualHost> block of a new website.
#include "CQZWebsite.h"

#include "website/WebsiteEntry.h"

#include <fstream>

// For outside callers, who hand in a stream of their own and check it
// themselves; the library's own creation writes the same text through its
// one output path (CreateWebsite).
void CQZWebsite::WriteWebsiteEntry(VHostEntry* objVHost, std::ofstream* outFile) {
    if (objVHost == nullptr || outFile == nullptr) return;
    *outFile << qz::websiteEntry(*objVHost, HttpdConfFile);
}
