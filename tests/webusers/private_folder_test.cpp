// Private folders: the ".htaccess" lines, the real htpasswd and the password
// it stores, file modes, printed command lines, result codes and tracking.
#include "QZTestFixture.h"

#include <sys/stat.h>
#include <unistd.h>

class PrivateFolderTest : public QZTest {
protected:
    void SetUp() override {
        QZTest::SetUp();
        loggedCommand("htpasswd");
        makeDir("/site/priv");
        folder_ = path("/site/priv");
        // An injected "touch canary" would create root/canary.
        ASSERT_EQ(chdir(root_.c_str()), 0);
        watchCalls(tracker_);
        watch("/site/priv/.htaccess");
    }
    static bool verifies(const std::string& folder, const std::string& user, const std::string& password) {
        return htpasswdAccepts(folder + "/.htpasswd", user, password);
    }
    std::string folder_;  // root/site/priv
    CQZTrackManager tracker_;
    PrivateFolder private_{&tracker_};
};

TEST_F(PrivateFolderTest, AddWritesTheFilesThenAddsUsers) {
    STEP("add bob", private_.addPrivateFolder(folder_, "bob", "s3cret"));
    EXPECT_EQ(modeOf("/site/priv/.htaccess"), 0444);
    EXPECT_EQ(modeOf("/site/priv/.htpasswd"), 0444);
    STEP("add ann", private_.addPrivateFolder(folder_, "ann", "pw 2"));
    EXPECT_TRUE(verifies(folder_, "bob", "s3cret"));
    EXPECT_TRUE(verifies(folder_, "ann", "pw 2"));
    // A folder that is not there cannot be protected.
    STEP("a missing folder", private_.addPrivateFolder(path("/nosuch"), "bob", "x"));
    // Only the missing directives are appended.
    std::remove(path("/site/priv/.htaccess").c_str());
    writeFile("/site/priv/.htaccess", "Options -Indexes\nAuthName \"Staff\"\nAuthType Basic\n");
    STEP("add to an .htaccess of its own", PrivateFolder().addPrivateFolder(folder_, "cy", "x"));
    EXPECT_TRUE(verifies(folder_, "cy", "x"));
    EXPECT_DATA(transcript_, "private/add.transcript");
}

// Deleting pauses two seconds per user: one folder, two users.
TEST_F(PrivateFolderTest, DeleteRemovesUsersThenTheProtection) {
    const std::string name = "/site/it's $(touch canary) `touch canary` ;touch canary";
    const std::string dir = path(name);
    ASSERT_EQ(mkdir(dir.c_str(), 0755), 0);
    watch(name + "/.htaccess");
    writeFile(name + "/.htaccess", "Options -Indexes\n");
    captureOutput();
    ASSERT_EQ(private_.addPrivateFolder(dir, "bob", "b'ob $(touch canary)"), 1602);
    ASSERT_EQ(private_.addPrivateFolder(dir, "ann", "`touch canary`;'"), 1602);
    capturedOutput();
    EXPECT_TRUE(verifies(dir, "bob", "b'ob $(touch canary)"));
    EXPECT_TRUE(verifies(dir, "ann", "`touch canary`;'"));
    STEP("delete bob", private_.deletePrivateFolder(dir, "bob"));
    EXPECT_TRUE(verifies(dir, "ann", "`touch canary`;'"));
    STEP("delete ann, the last", private_.deletePrivateFolder(dir, "ann"));
    EXPECT_FALSE(exists(name + "/.htpasswd"));
    EXPECT_FALSE(exists("/canary"));
    // Without a password file the directives go at once.
    writeFile("/site/priv/.htaccess", "# mine\nAuthUserFile " + folder_ + "/.htpasswd\nAuthName \"Restricted Area\"\n"
              "AuthType Basic\nrequire valid-user\n\nErrorDocument 404 /x.html\n");
    STEP("delete without a password file", PrivateFolder().deletePrivateFolder(folder_, "bob"));
    EXPECT_DATA(transcript_, "private/delete.transcript");
}

TEST_F(PrivateFolderTest, EditRecreatesTheUserOrMovesTheProtection) {
    makeDir("/site/new");
    const std::string moved = path("/site/new");
    watch("/site/new/.htaccess");
    captureOutput();
    ASSERT_EQ(PrivateFolder().addPrivateFolder(folder_, "bob", "old"), 1602);
    capturedOutput();
    STEP("in place", PrivateFolder().editPrivateFolder(folder_, folder_, "bob", "n'ew $(touch canary)"));
    EXPECT_TRUE(verifies(folder_, "bob", "n'ew $(touch canary)"));
    EXPECT_FALSE(verifies(folder_, "bob", "old"));
    EXPECT_FALSE(exists("/canary"));
    const std::string bare = path("/site");
    STEP("a folder without protection", PrivateFolder().editPrivateFolder(bare, bare, "bob", "x"));
    STEP("to a new path", private_.editPrivateFolder(moved, folder_, "bob", "new"));
    EXPECT_TRUE(verifies(moved, "bob", "new"));
    EXPECT_FALSE(exists("/site/priv/.htpasswd"));
    EXPECT_DATA(transcript_, "private/edit.transcript");
}
