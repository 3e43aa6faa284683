// GetWebsiteInfo: what one block yields, stopped blocks, the ProxyPass and
// DocumentRoot quirks, and the result codes.
#include "QZTestFixture.h"

#include <sstream>
#include <sys/stat.h>

using WebsiteInfoTest = HttpdConfTest;

namespace {
// Every field of the record, one line each, as in tests/data/info/*.expected.
std::string describe(const UpdateVHost& v) {
    std::ostringstream out;
    out << "AccessMode " << std::oct << v.AccessMode << "\n";
    for (auto [name, list] : {std::pair{"DocRootPath", &v.DocRootPath}, {"ServerAlias", &v.ServerAlias},
                              {"Include", &v.Include}, {"DirIndex", &v.DirIndex}}) {
        out << name;
        for (const std::string& item : *list) out << " [" << item << "]";
        out << "\n";
    }
    for (auto [name, list] : {std::pair{"ProxyPass", &v.ProxyPass}, {"ProxyPassReverse", &v.ProxyPassReverse},
                              {"Alias", &v.Alias}, {"ScriptAlias", &v.ScriptAlias}, {"Redirect", &v.Redirect},
                              {"ErrorDoc", &v.ErrorDoc}}) {
        out << name;
        for (const NameValueSt& nv : *list) out << " [" << nv.Name << "=" << nv.Value << "]";
        out << "\n";
    }
    return out.str();
}
}  // namespace

TEST_F(WebsiteInfoTest, ReadsAStoppedSiteWithEveryKindOfLine) {
    makeDir("/home/shop.com");
    chmod(path("/home/shop.com").c_str(), 02751);
    useConf("info/stopped_site.conf");
    CQZTrackManager tracker;
    CQZWebsite website(&tracker, conf_.c_str());
    UpdateVHost info = {};
    info.pDomain = "shop.com";
    EXPECT_PRINTS(website.GetWebsiteInfo(&info), 25,
                  "CQZWebsite::GetWebsiteInfo\nTNameValue.Value=/home/shop.com/cgi-bin\nTNameValue.Value=/opt/scripts/\n");
    EXPECT_STREQ(info.pDomain, "shop.com");
    EXPECT_DATA(describe(info), "info/stopped_site.expected");
    EXPECT_EQ(calls(tracker)[2] + " " + calls(tracker)[3],
              "CQZMethodName GetWebsiteInfo CQZMethodArguments [shop.com] [ObjUVHost->pDomain]");

    // ProxyPassReverse is read as a ProxyPass first; the last DocumentRoot is
    // the one tested, and it does not exist.
    useConf("info/reverse_proxy_first.conf");
    info = {};
    info.pDomain = "quirk.com";
    EXPECT_PRINTS(website.GetWebsiteInfo(&info), 27, "CQZWebsite::GetWebsiteInfo\n");
    EXPECT_DATA(describe(info), "info/reverse_proxy_first.expected");
}

TEST_F(WebsiteInfoTest, NoBlockNullsTheDomain) {
    useConf("info/no_block_of_the_name.conf");
    CQZWebsite website(nullptr, conf_.c_str());
    CQZWebsite noConf(nullptr), missingConf(nullptr, missing_.c_str());
    const std::tuple<CQZWebsite*, const char*, int, const char*> cases[] = {
        {&website, "trailing.com", 26, ""}, {&website, "plain.com", 26, ""}, {&noConf, "a.com", 21, ""},
        {&missingConf, "a.com", 22, "Error while opening HttpdConfFile\n"}};
    for (auto [manager, domain, result, message] : cases) {
        SCOPED_TRACE(domain);
        UpdateVHost info = {};
        info.pDomain = domain;
        EXPECT_PRINTS(manager->GetWebsiteInfo(&info), result, std::string("CQZWebsite::GetWebsiteInfo\n") + message);
        EXPECT_EQ(info.pDomain == nullptr, result == 26);
    }
}
