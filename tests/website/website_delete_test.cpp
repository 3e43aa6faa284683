// DeleteWebsite: configurations, the mv it runs, messages, result codes and
// tracking.
#include "QZTestFixture.h"

using DeleteWebsiteTest = HttpdConfTest;

TEST_F(DeleteWebsiteTest, RemovesEveryMatchingBlockAndBlankLinesOutsideBlocks) {
    CQZTrackManager tracker;
    CQZWebsite website(&tracker, conf_.c_str());
    watchManager(website, tracker, "mv");
    for (auto [name, domain] : {std::pair{"two_blocks_same_name", "example.com"}, {"stopped_site", "stopped.com"},
                                {"nameless_block_after_removed", "gone.com"}, {"unclosed_blocks", "gone.com"}}) {
        useConf("delete/" + std::string(name) + ".conf");
        STEP(name, website.DeleteWebsite(domain, 'N'));
    }
    writeConf("\n\nListen 80\n\n");
    STEP("no such site: empty lines go", website.DeleteWebsite("nosuch.com", 0));
    // A line over 2999 characters: 22, the file as it was; 2999 still fit.
    const std::string block = "<VirtualHost *:80>\n    ServerName a.com\n</VirtualHost>\n";
    writeConf(block + "# " + std::string(3000, 'x') + "\nListen 80\n");
    STEP("a line of 3002 characters", website.DeleteWebsite("a.com", 0));
    writeConf(block + "# " + std::string(2997, 'x') + "\n");
    STEP("a line of 2999 characters", website.DeleteWebsite("a.com", 0));
    // The scratch file cannot be made where a folder stands; a folder is no
    // configuration file.
    makeDir(std::string(website.TEMPFILE).substr(root_.size()));
    STEP("the scratch file a folder", website.DeleteWebsite("a.com", 0));
    makeDir("/conf/folder.conf");
    const std::string folder = path("/conf/folder.conf");
    STEP("the configuration a folder", CQZWebsite(nullptr, folder.c_str()).DeleteWebsite("a.com", 0));
    STEP("exists, the configuration a folder", CQZWebsite(nullptr, folder.c_str()).WebsiteExists("a.com"));
    STEP("no configuration", CQZWebsite(nullptr, missing_.c_str()).DeleteWebsite("a.com", 0));
    EXPECT_DATA(transcript_, "delete/delete_website.transcript");
}
