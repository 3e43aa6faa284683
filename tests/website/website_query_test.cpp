// WebsiteExists, ListWebsites, VHostsInIncFile, ListNginxWebsites and
// GetWebsiteInfo: codes, printed lines, lists, records and tracking.
#include "AreaGolden.h"
#include "QZTestFixture.h"

#include <memory>
#include <sstream>
#include <sys/stat.h>

namespace {
// Every field of the record, one line each, as in tests/data/info/*.expected.
std::string describe(const UpdateVHost& v) {
    std::ostringstream out;
    out << "AccessMode " << std::oct << v.AccessMode << "\n";
    for (auto [name, list] : {std::pair{"DocRootPath", &v.DocRootPath}, {"ServerAlias", &v.ServerAlias},
                              {"Include", &v.Include}, {"DirIndex", &v.DirIndex}})
        out << joined(*list, name) << "\n";
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

class WebsiteQueryTest : public HttpdConfTest {
protected:
    void SetUp() override {
        HttpdConfTest::SetUp();
        watch("/conf/httpd.conf");
        watchCalls(tracker);
        site = std::make_unique<CQZWebsite>(&tracker, conf_.c_str());
    }
    CQZTrackManager tracker;
    std::unique_ptr<CQZWebsite> site;
};

TEST_F(WebsiteQueryTest, ExistsAndListsReadLiveBlocksAndIncludedFiles) {
    // The whole ServerName of live blocks; a stopped site is still a block
    // for DeleteWebsite.
    useConf("query/live_and_stopped_names.conf");
    for (const char* domain : {"spaced.com", "trailing.com", "trailing.com ", "first.com", "second.com", "stopped.com",
                               "prefixed.com", "server.com"})
        STEP(std::string("exists ") + domain, site->WebsiteExists(domain));
    STEP("delete stopped.com", site->DeleteWebsite("stopped.com", 0));
    STEP("exists, no configuration", CQZWebsite(&tracker, missing_.c_str()).WebsiteExists("a.com"));

    makeDir("/srv/httpd/conf.d");
    writeFile("/srv/httpd/conf.d/sites.conf", "Include nested.conf\n<VirtualHost *:80>\nServerName three.com\n</VirtualHost>\n");
    makeDir("/abs");
    writeFile("/abs/four.conf", "<VirtualHost *:80>\n  ServerName four.com\n</VirtualHost>\n");
    useConf("query/blocks_and_included_files.conf");
    Lines list = {"kept"};
    STEP("list, blocks and included files", site->ListWebsites(list));
    STEP("listed", joined(list));
    // An unquoted ServerRoot loses its first and last characters. Without
    // one, "cp", then /etc/apache2 under the root, then /etc/httpd first.
    const std::string sites = "Include sites.conf\n<VirtualHost *:80>\nServerName one.com\n</VirtualHost>\n";
    CQZWebsite untracked(nullptr, conf_.c_str());
    auto listed = [&] {
        Lines names;
        const int result = untracked.ListWebsites(names);
        return std::to_string(result) + " " + joined(names);
    };
    writeConf("ServerRoot /etc/httpd\n" + sites);
    STEP("list, an unquoted ServerRoot", listed());
    writeConf(sites);
    STEP("list, no ServerRoot, no distribution folder", listed());
    makeDir("/etc/apache2");
    writeFile("/etc/apache2/sites.conf", "<VirtualHost *:80>\nServerName debian.com\n</VirtualHost>\n");
    STEP("list, /etc/apache2", listed());
    makeDir("/etc/httpd");
    STEP("list, /etc/httpd before it", listed());
    STEP("list, no configuration", CQZWebsite(nullptr, missing_.c_str()).ListWebsites(list));

    // VHostsInIncFile always answers true.
    Lines names;
    STEP("included, no name", site->VHostsInIncFile("", names));
    STEP("included, no file", site->VHostsInIncFile(path("/none.conf"), names));
    writeFile("/inc.conf", "<VirtualHost *:80>\nServerName\n</VirtualHost>\n<VirtualHost *:80>\n\tServerName\ta.com\n");
    STEP("included", site->VHostsInIncFile(path("/inc.conf"), names));
    STEP("included names", joined(names));

    // nginx: the first server_name; entries accumulate, and the final empty
    // read of the list looks at the last file again; a tab is not removed.
    makeDir("/etc/nginx/sites-enabled");
    writeFile("/etc/nginx/sites-enabled/one", "server {\n    listen 80;\n  server_name one.com;\n}\n");
    writeFile("/etc/nginx/sites-enabled/onetwo", "server_name two.com www.two.com;\nserver_name later.com;\n");
    writeFile("/etc/nginx/sites-enabled/tabbed", "\tserver_name tabbed.com;\n");
    auto nginx = [&](const char* list, Lines into) {
        if (list) writeFile("/list", list);
        const int result = site->ListNginxWebsites(into, path(list ? "/list" : "/no-list"));
        return std::to_string(result) + " " + joined(into);
    };
    STEP("nginx one, two", nginx("one\ntwo\n", {}));
    STEP("nginx tabbed", nginx("tabbed", {}));
    STEP("nginx, no list", nginx(nullptr, {"kept"}));
    EXPECT_DATA(transcript_, "query/exists_and_lists.transcript");
}

TEST_F(WebsiteQueryTest, InfoReadsAStoppedSiteWithEveryKindOfLine) {
    makeDir("/home/shop.com");
    chmod(path("/home/shop.com").c_str(), 02751);
    auto info = [&](CQZWebsite& manager, const char* domain) {
        UpdateVHost v = {};
        v.pDomain = domain;
        const int result = manager.GetWebsiteInfo(&v);
        return std::to_string(result) + (v.pDomain ? " " + std::string(v.pDomain) : " null") + "\n" + describe(v);
    };
    useConf("info/stopped_site.conf");
    STEP("stopped site", info(*site, "shop.com"));
    // ProxyPassReverse is read as a ProxyPass first; the last DocumentRoot
    // is the one tested, and it does not exist.
    useConf("info/reverse_proxy_first.conf");
    STEP("reverse proxy first", info(*site, "quirk.com"));
    // No block nulls the domain.
    useConf("info/no_block_of_the_name.conf");
    STEP("a trailing blank", info(*site, "trailing.com"));
    STEP("no block", info(*site, "plain.com"));
    CQZWebsite noConf(nullptr), missingConf(nullptr, missing_.c_str());
    STEP("unnamed", info(noConf, "a.com"));
    STEP("no configuration", info(missingConf, "a.com"));
    EXPECT_DATA(transcript_, "info/get_website_info.transcript");
}
