// StopWebsite, StartWebsite, GetWebsiteStatus, PauseWebsite and
// ContinueWebsite: configurations, the mv, messages, codes and tracking.
#include "QZTestFixture.h"

using WebsiteSwitchTest = HttpdConfTest;

TEST_F(WebsiteSwitchTest, StopStartAndStatusOfEachKindOfBlock) {
    CQZTrackManager tracker;
    CQZWebsite website(&tracker, conf_.c_str());
    watchManager(website, tracker, "mv");
    useConf("switch/running.conf");
    STEP("status, running", website.GetWebsiteStatus("example.com"));
    STEP("stop", website.StopWebsite("example.com"));
    STEP("status, the name in another case", website.GetWebsiteStatus("EXAMPLE.com"));
    STEP("status, another site", website.GetWebsiteStatus("keep.com"));
    STEP("stop again: lines are comments already", website.StopWebsite("example.com"));
    STEP("start: the block back without blank lines, reported as a stop", website.StartWebsite("example.com"));
    STEP("status, started", website.GetWebsiteStatus("example.com"));
    // Every leading mark goes; no match (a trailing blank is part of the
    // name) moves nothing, though the scratch file is written.
    useConf("switch/double_marks.conf");
    STEP("start, double marks", website.StartWebsite("twice.org"));
    STEP("start, a trailing blank", website.StartWebsite("twice.org "));
    STEP("stop, no such site: the comment line moved up in the scratch file", website.StopWebsite("nosuch.org"));
    // Status needs a blank after ServerName and an open block.
    useConf("switch/status_names.conf");
    for (const char* domain : {"tabbed.com", "outside.com", "second.com", "loose.com", "spaced.com"})
        STEP(std::string("status ") + domain, website.GetWebsiteStatus(domain));
    STEP("pause", website.PauseWebsite("spaced.com"));
    STEP("continue", website.ContinueWebsite(nullptr));
    // No configuration named gives 21 to the status only; start and stop do
    // not open an empty name.
    CQZWebsite noConf(nullptr), missing(nullptr, missing_.c_str());
    missing.TEMPFILE = website.TEMPFILE;  // its name holds the second of construction: pinned
    STEP("status, unnamed", noConf.GetWebsiteStatus("a.com"));
    STEP("stop, unnamed", noConf.StopWebsite("a.com"));
    STEP("status, missing", missing.GetWebsiteStatus("a.com"));
    STEP("stop, missing", missing.StopWebsite("a.com"));
    STEP("start, missing", missing.StartWebsite("a.com"));
    EXPECT_DATA(transcript_, "switch/stop_start_status.transcript");
}
