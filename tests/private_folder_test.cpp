// Private folders: the ".htaccess" lines, the real htpasswd and the password
// it stores, file modes, printed command lines, result codes and tracking.
#include "QZTestFixture.h"

#include <cstdlib>
#include <sys/stat.h>
#include <unistd.h>

using Lines = std::vector<std::string>;

class PrivateFolderTest : public QZTest {
protected:
    void SetUp() override {
        QZTest::SetUp();
        loggedCommand("htpasswd");
        makeDir("/site/priv");
        folder_ = path("/site/priv");
        // An injected "touch canary" would create root/canary.
        ASSERT_EQ(chdir(root_.c_str()), 0);
    }

    // Whether the real htpasswd accepts the password.
    static bool verifies(const std::string& folder, const std::string& user, const std::string& password) {
        auto word = [](const std::string& text) {
            std::string quoted = "'";
            for (char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
            return quoted + "'";
        };
        return std::system(("/usr/bin/htpasswd -vb " + word(folder + "/.htpasswd") + " " + word(user) + " " +
                            word(password) + " 2>/dev/null").c_str()) == 0;
    }
    mode_t mode(const std::string& file) const {
        struct stat st;
        return stat(file.c_str(), &st) == 0 ? (st.st_mode & 07777) : 0;
    }
    static std::string directives(const std::string& folder) {
        return "AuthUserFile " + folder + "/.htpasswd\nAuthName \"Restricted Area\"\nAuthType Basic\n"
               "require valid-user\n";
    }

    std::string folder_;  // root/site/priv
    CQZTrackManager tracker_;
};

TEST_F(PrivateFolderTest, AddWritesTheFilesThenAddsUsers) {
    PrivateFolder folder(&tracker_);
    captureOutput();
    EXPECT_EQ(folder.addPrivateFolder(folder_, "bob", "s3cret"), 1602);
    EXPECT_EQ(readFile("/site/priv/.htaccess"), directives(folder_));
    EXPECT_EQ(mode(folder_ + "/.htaccess"), 0444u);
    EXPECT_EQ(mode(folder_ + "/.htpasswd"), 0444u);
    EXPECT_EQ(folder.addPrivateFolder(folder_, "ann", "pw 2"), 1602);
    EXPECT_EQ(readFile("/site/priv/.htaccess"), directives(folder_));
    capturedOutput();
    EXPECT_TRUE(verifies(folder_, "bob", "s3cret"));
    EXPECT_TRUE(verifies(folder_, "ann", "pw 2"));
    EXPECT_EQ(commandLog(), (Lines{"htpasswd -cb " + folder_ + "/.htpasswd bob s3cret",
                                   "htpasswd -b " + folder_ + "/.htpasswd ann pw 2"}));
    EXPECT_EQ(calls(tracker_)[2], "CQZMethodArguments [" + folder_ + "|bob|s3cret] "
                                  "[NewPrivateFolderPath|PrivateFolderUserName|PrivateFolderUserPasswd]");

    // A folder that is not there cannot be protected.
    EXPECT_EQ(folder.addPrivateFolder(path("/nosuch"), "bob", "x"), 1601);
    EXPECT_EQ(commandLog().size(), 2u);
}

TEST_F(PrivateFolderTest, AddAppendsOnlyTheMissingDirectives) {
    writeFile("/site/priv/.htaccess", "Options -Indexes\nAuthName \"Staff\"\nAuthType Basic\n");
    PrivateFolder folder;
    captureOutput();
    EXPECT_EQ(folder.addPrivateFolder(folder_, "bob", "x"), 1602);
    capturedOutput();
    EXPECT_EQ(readFile("/site/priv/.htaccess"),
              "Options -Indexes\nAuthName \"Staff\"\nAuthType Basic\nAuthUserFile " + folder_ +
                  "/.htpasswd\nAuthName \"Restricted Area\"\nrequire valid-user\n");
    EXPECT_TRUE(verifies(folder_, "bob", "x"));
}

// Deleting pauses two seconds per user: one folder, two users.
TEST_F(PrivateFolderTest, DeleteRemovesUsersThenTheProtection) {
    const std::string name = "/site/it's $(touch canary) `touch canary` ;touch canary";
    const std::string dir = path(name);
    const std::string quoted = "'" + root_ + "/site/it'\\''s $(touch canary) `touch canary` ;touch canary/.htpasswd'";
    ASSERT_EQ(mkdir(dir.c_str(), 0755), 0);
    writeFile(name + "/.htaccess", "Options -Indexes\n");
    PrivateFolder folder(&tracker_);
    captureOutput();
    ASSERT_EQ(folder.addPrivateFolder(dir, "bob", "b'ob $(touch canary)"), 1602);
    ASSERT_EQ(folder.addPrivateFolder(dir, "ann", "`touch canary`;'"), 1602);
    capturedOutput();
    EXPECT_TRUE(verifies(dir, "bob", "b'ob $(touch canary)"));
    EXPECT_TRUE(verifies(dir, "ann", "`touch canary`;'"));
    const std::string protectedText = "Options -Indexes\n" + directives(dir);
    EXPECT_EQ(readFile(name + "/.htaccess"), protectedText);

    captureOutput();
    EXPECT_EQ(folder.deletePrivateFolder(dir, "bob"), 1603);
    EXPECT_EQ(capturedOutput(), "command=htpasswd -D " + quoted + " bob\n");
    EXPECT_EQ(readFile(name + "/.htaccess"), protectedText);
    EXPECT_TRUE(verifies(dir, "ann", "`touch canary`;'"));

    captureOutput();
    EXPECT_EQ(folder.deletePrivateFolder(dir, "ann"), 1603);
    EXPECT_EQ(capturedOutput().rfind("command=htpasswd -D " + quoted + " ann\ncp_FF\n", 0), 0u);
    EXPECT_FALSE(exists(name + "/.htpasswd"));
    EXPECT_EQ(readFile(name + "/.htaccess"), "Options -Indexes\n");
    EXPECT_FALSE(exists("/canary"));
    const Lines all = calls(tracker_);
    EXPECT_EQ(Lines(all.end() - 2, all.end()),
              (Lines{"CQZMethodName deletePrivateFolder", "CQZMethodArguments [" + dir + "] [NewPrivateFolderPath]"}));
}

TEST_F(PrivateFolderTest, DeleteWithoutPasswordFileRemovesTheDirectivesAtOnce) {
    writeFile("/site/priv/.htaccess", "# mine\n" + directives(folder_) + "\nErrorDocument 404 /x.html\n");
    PrivateFolder folder;
    captureOutput();
    EXPECT_EQ(folder.deletePrivateFolder(folder_, "bob"), 1603);
    EXPECT_EQ(capturedOutput().rfind("cp_FF\n", 0), 0u);
    EXPECT_EQ(readFile("/site/priv/.htaccess"), "# mine\nErrorDocument 404 /x.html\n");
    EXPECT_TRUE(commandLog().empty());
}

TEST_F(PrivateFolderTest, EditInPlaceRecreatesTheUser) {
    PrivateFolder folder;
    captureOutput();
    ASSERT_EQ(folder.addPrivateFolder(folder_, "bob", "old"), 1602);
    capturedOutput();
    captureOutput();
    EXPECT_EQ(folder.editPrivateFolder(folder_, folder_, "bob", "n'ew $(touch canary)"), 1605);
    EXPECT_EQ(capturedOutput(), "command=htpasswd -D " + folder_ + "/.htpasswd bob\n"
                                "command=htpasswd -b " + folder_ + "/.htpasswd bob  'n'\\''ew $(touch canary)'\n");
    EXPECT_TRUE(verifies(folder_, "bob", "n'ew $(touch canary)"));
    EXPECT_FALSE(verifies(folder_, "bob", "old"));
    EXPECT_FALSE(exists("/canary"));

    const std::string bare = path("/site");
    captureOutput();
    EXPECT_EQ(folder.editPrivateFolder(bare, bare, "bob", "x"), 1606);
    EXPECT_EQ(capturedOutput(), "");
}

TEST_F(PrivateFolderTest, EditToANewPathMovesTheProtection) {
    makeDir("/site/new");
    const std::string moved = path("/site/new");
    PrivateFolder folder(&tracker_);
    captureOutput();
    ASSERT_EQ(folder.addPrivateFolder(folder_, "bob", "old"), 1602);
    EXPECT_EQ(folder.editPrivateFolder(moved, folder_, "bob", "new"), 1605);
    capturedOutput();
    EXPECT_FALSE(exists("/site/priv/.htpasswd"));
    EXPECT_EQ(readFile("/site/priv/.htaccess"), "");
    EXPECT_EQ(readFile("/site/new/.htaccess"), directives(moved));
    EXPECT_TRUE(verifies(moved, "bob", "new"));
    const Lines all = calls(tracker_);
    EXPECT_EQ(all[3] + " " + all[5] + " " + all[7], "CQZMethodName editPrivateFolder CQZMethodName "
                                                    "deletePrivateFolder CQZMethodName addPrivateFolder");
}
