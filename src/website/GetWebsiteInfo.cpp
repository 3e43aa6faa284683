// CQZWebsite::GetWebsiteInfo: one website's settings, read from its block.
#include "CQZWebsite.h"

#include "core/QZCore.h"
#include "website/WebsiteInfoScan.h"

#include <sys/stat.h>

char CQZWebsite::GetWebsiteInfo(UpdateVHost* ObjUVHost) {
    qz::sayLine("CQZWebsite::GetWebsiteInfo");
    // Without a record there is no domain to look up.
    if (ObjUVHost == nullptr) return qz::result::website::NotFound;
    UpdateVHost& info = *ObjUVHost;
    const std::string domain = qz::str(info.pDomain);
    qz::trackMethod(TrackManager, "GetWebsiteInfo", {domain}, {"ObjUVHost->pDomain"});

    qz::LineReader in(HttpdConfFile, qz::kConfigLineLimit);
    if (int failed = qz::configurationUnreadable(HttpdConfFile, in)) return failed;
    std::string docRoot;
    const bool found = qz::readWebsiteInfo(in, domain, info, docRoot, true);
    in.close();

    if (!found) {
        info.pDomain = nullptr;
        return qz::result::website::NotFound;
    }
    struct stat st;
    if (stat(docRoot.c_str(), &st) != 0) return qz::result::website::FoundNoDocumentRoot;
    info.AccessMode = st.st_mode;
    return qz::result::website::Found;
}
