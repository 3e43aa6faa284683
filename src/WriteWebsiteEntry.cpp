// CQZWebsite::WriteWebsiteEntry: the <VirtualHost> block of a new website.
#include "CQZWebsite.h"

#include "WebsiteEntry.h"

#include <fstream>

void CQZWebsite::WriteWebsiteEntry(VHostEntry* objVHost, std::ofstream* outFile) {
    if (objVHost == nullptr || outFile == nullptr) return;
    *outFile << qz::websiteEntry(*objVHost, HttpdConfFile);
}
