// HTTPS redirect files in the "qz" folder of the server root (created,
// stopped, started and deleted) and the Let's Encrypt rewrite of a domain's
// block (scripts of tests/data/toolkit).
#include "ToolkitTestFixture.h"

#include <sys/stat.h>

using ToolkitRedirectTest = ToolkitTest;

TEST_F(ToolkitRedirectTest, CreatingMakesTheFolderTheIncludeLineAndTheFile) {
    const mode_t mask = umask(022);
    run("toolkit/redirect_created");
    umask(mask);
    EXPECT_EQ(modeOf("/etc/httpd/qz"), 0755);
}

TEST_F(ToolkitRedirectTest, ARedirectIsStoppedStartedAndDeletedByRenaming) { run("toolkit/redirect_stop_start_delete"); }

TEST_F(ToolkitRedirectTest, AFileThatCannotBeWrittenAnUnknownServerRootOrALink) {
    run("toolkit/redirect_not_written");
    struct stat st;
    ASSERT_EQ(lstat(path("/etc/httpd/qz/example.com.conf").c_str(), &st), 0);
    EXPECT_TRUE(S_ISLNK(st.st_mode));
}

TEST_F(ToolkitRedirectTest, LetsEncryptEntriesGoIntoTheFirstBlockOfTheDomain) { run("toolkit/letsencrypt"); }
