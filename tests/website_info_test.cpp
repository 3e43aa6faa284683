// GetWebsiteInfo: what one block yields, stopped blocks, the ProxyPass and
// DocumentRoot quirks, and the result codes.
#include "QZTestFixture.h"

#include <sys/stat.h>

using Lines = std::vector<std::string>;
using Pairs = std::vector<std::pair<std::string, std::string>>;

namespace {
Pairs pairs(const NameValueVector& v) {
    Pairs out;
    for (const NameValueSt& nv : v) out.emplace_back(nv.Name, nv.Value);
    return out;
}
}  // namespace

using WebsiteInfoTest = HttpdConfTest;

TEST_F(WebsiteInfoTest, ReadsAStoppedSiteWithEveryKindOfLine) {
    makeDir("/home");
    makeDir("/home/shop.com");
    chmod(path("/home/shop.com").c_str(), 02751);
    writeFile("/conf/httpd.conf",
              "<VirtualHost 10.0.0.1:80>\n"
              "    ServerName other.com\n"
              "    Alias /other /srv/other\n"
              "</VirtualHost>\n"
              "#<VirtualHost 10.0.0.1:80>\n"
              "#    ServerName Shop.COM\n"
              "#    DocumentRoot \"" + path("/home/shop.com") + "\"\n"
              "#    ServerAlias www.shop.com  shop.net\n"
              "#    ProxyPass /api \"http://backend:8080/\"\n"
              "#    ProxyPass /two http://other/\n"
              "#    ProxyPassReverse /api http://backend:8080/\n"
              "#    Alias /icons \"/usr/share/icons\"\n"
              "#    ScriptAlias /cgi-bin/ \"/home/shop.com/cgi-bin\"\n"
              "#    ScriptAlias /ext/ /opt/scripts/\n"
              "#    Redirect \"/old page\" http://shop.com/new\n"
              "#    ErrorDocument 404 /missing.html\n"
              "#    Include conf/a.conf conf/b.conf\n"
              "#    DirectoryIndex index.php index.html\n"
              "#</VirtualHost>\n"
              "<VirtualHost 10.0.0.1:80>\n"
              "    ServerName shop.com\n"
              "    Alias /later /srv/later\n"
              "</VirtualHost>\n");
    CQZTrackManager tracker;
    CQZWebsite website(&tracker, conf_.c_str());
    UpdateVHost info = {};
    info.pDomain = "shop.com";
    captureOutput();
    EXPECT_EQ(website.GetWebsiteInfo(&info), 25);
    EXPECT_EQ(capturedOutput(), "CQZWebsite::GetWebsiteInfo\n"
                                "TNameValue.Value=/home/shop.com/cgi-bin\n"
                                "TNameValue.Value=/opt/scripts/\n");
    EXPECT_STREQ(info.pDomain, "shop.com");
    EXPECT_EQ(info.AccessMode, S_IFDIR | 02751u);
    EXPECT_EQ(info.DocRootPath, Lines{path("/home/shop.com")});
    EXPECT_EQ(info.ServerAlias, (Lines{"www.shop.com", "shop.net"}));
    EXPECT_EQ(pairs(info.ProxyPass), (Pairs{{"/api", "http://backend:8080/"}}));
    EXPECT_EQ(pairs(info.ProxyPassReverse), (Pairs{{"/api", "http://backend:8080/"}}));
    EXPECT_EQ(pairs(info.Alias), (Pairs{{"/icons", "/usr/share/icons"}}));
    EXPECT_EQ(pairs(info.ScriptAlias), (Pairs{{"/cgi-bin/", "/cgi-bin"}, {"/ext/", "/opt/scripts/"}}));
    EXPECT_EQ(pairs(info.Redirect), (Pairs{{"\"/old page\"", "http://shop.com/new"}}));
    EXPECT_EQ(pairs(info.ErrorDoc), (Pairs{{"404", "/missing.html"}}));
    EXPECT_EQ(info.Include, (Lines{"conf/a.conf", "conf/b.conf"}));
    EXPECT_EQ(info.DirIndex, (Lines{"index.php", "index.html"}));
    EXPECT_EQ(calls(tracker)[2], "CQZMethodName GetWebsiteInfo");
    EXPECT_EQ(calls(tracker)[3], "CQZMethodArguments [shop.com] [ObjUVHost->pDomain]");
}

TEST_F(WebsiteInfoTest, ReverseProxyFirstAndUnquotedDocumentRoots) {
    writeFile("/conf/httpd.conf",
              "<VirtualHost *:80>\n"
              "DocumentRoot /srv/unindented\n"
              "    ServerName quirk.com\n"
              "    DocumentRoot /srv/indented\n"
              "    ProxyPassReverse /r http://r/\n"
              "    ProxyPass /p http://p/\n"
              "</VirtualHost>\n");
    CQZWebsite website(nullptr, conf_.c_str());
    UpdateVHost info = {};
    info.pDomain = "quirk.com";
    captureOutput();
    // The last DocumentRoot is the one tested, and it does not exist.
    EXPECT_EQ(website.GetWebsiteInfo(&info), 27);
    EXPECT_EQ(info.DocRootPath, (Lines{"/srv/unindented", "Root /srv/indented"}));
    EXPECT_EQ(pairs(info.ProxyPass), (Pairs{{"everse", "/r http://r/"}}));
    EXPECT_TRUE(info.ProxyPassReverse.empty());
    EXPECT_EQ(info.AccessMode, 0u);
}

TEST_F(WebsiteInfoTest, NoBlockNullsTheDomain) {
    writeFile("/conf/httpd.conf",
              "<VirtualHost *:80>\n"
              "    ServerName trailing.com \n"
              "</VirtualHost>\n"
              "<VirtualHost *:80>\n"
              "    ServerName www.plain.com\n"
              "</VirtualHost>\n");
    CQZWebsite website(nullptr, conf_.c_str());
    captureOutput();
    for (const char* domain : {"trailing.com", "plain.com"}) {
        UpdateVHost info = {};
        info.pDomain = domain;
        EXPECT_EQ(website.GetWebsiteInfo(&info), 26) << domain;
        EXPECT_EQ(info.pDomain, nullptr);
    }

    UpdateVHost info = {};
    info.pDomain = "a.com";
    CQZWebsite noConf(nullptr);
    EXPECT_EQ(noConf.GetWebsiteInfo(&info), 21);
    const std::string missing = path("/conf/missing.conf");
    CQZWebsite missingConf(nullptr, missing.c_str());
    EXPECT_EQ(missingConf.GetWebsiteInfo(&info), 22);
    EXPECT_EQ(capturedOutput(), "CQZWebsite::GetWebsiteInfo\nCQZWebsite::GetWebsiteInfo\n"
                                "CQZWebsite::GetWebsiteInfo\nCQZWebsite::GetWebsiteInfo\n"
                                "Error while opening HttpdConfFile\n");
}
