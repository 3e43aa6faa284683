// Web users: the password file's name, its lines after each operation, the
// mv of the scratch file, result codes, printed lines and tracking.
#include "QZTestFixture.h"

#include <sys/stat.h>
#include <unistd.h>

using Lines = std::vector<std::string>;

class WebUsersTest : public QZTest {
protected:
    void SetUp() override {
        QZTest::SetUp();
        loggedCommand("mv");
        makeDir("/opt/qz/etc/webusers");
    }
    // The password file of shop.test under the installation folder /opt/qz.
    static constexpr const char* kFile = "/opt/qz/etc/webusers/passwd.shop.test";
    const char* ins_ = "/opt/qz";
    CQZTrackManager tracker_;
};

TEST_F(WebUsersTest, CreateKeepsTheUsersAndAppends) {
    writeFile(kFile, "ann:x\nbob:y");
    CQZUsers users(&tracker_, ins_, "shop.test", nullptr);
    EXPECT_EQ(users.UserCreate("cy", "p w'$x"), 'M');
    EXPECT_EQ(users.UserCreate("ann", "again"), 'M');  // a login already there is added again
    EXPECT_EQ(readFile(kFile), "ann:x\nbob:y\ncy:p w'$x\nann:again\n");
    EXPECT_TRUE(commandLog().empty());
    EXPECT_EQ(calls(tracker_), (Lines{"CQZModuleName WebServerManager", "CQZMethodName UserCreate",
                                      "CQZMethodArguments [cy|p w'$x] [UserName|Passwd]", "CQZMethodName UserCreate",
                                      "CQZMethodArguments [ann|again] [UserName|Passwd]"}));

    CQZUsers otherSite(nullptr, ins_, "other.test", nullptr);
    captureOutput();
    EXPECT_EQ(otherSite.UserCreate("ann", "x"), 'N');
    EXPECT_EQ(capturedOutput(), "Error opening passwd file\n");
    EXPECT_FALSE(exists("/opt/qz/etc/webusers/passwd.other.test"));

    writeFile("/opt/qz/etc/webusers/passwd.empty.test", "");
    CQZUsers emptySite(nullptr, ins_, "empty.test", nullptr);
    EXPECT_EQ(emptySite.UserCreate("user", "pass"), 'M');
    EXPECT_EQ(readFile("/opt/qz/etc/webusers/passwd.empty.test"), "user:pass\n");
}

TEST_F(WebUsersTest, DeleteAndChangeRewriteThroughTheScratchFile) {
    writeFile(kFile, "bo:1\nbob:2\n\nbo:3\ncarl:4\n");
    CQZUsers users(&tracker_, ins_, "shop.test", "");
    EXPECT_EQ(users.UserDelete("bo"), 'O');
    EXPECT_EQ(readFile(kFile), "bob:2\ncarl:4\n");
    EXPECT_EQ(commandLog(), (Lines{std::string("mv ") + users.TEMPFILE + " " + path(kFile)}));

    EXPECT_EQ(users.ChangePasswd("carl", "new"), 'L');
    EXPECT_EQ(readFile(kFile), "bob:2\ncarl:new\n");
    writeFile(kFile, "\nbob:2\n\n");
    EXPECT_EQ(users.ChangePasswd("nobody", "x"), '5');
    EXPECT_EQ(readFile(kFile), "bob:2\n");
    EXPECT_EQ(users.UserDelete("nobody"), 'O');
    EXPECT_EQ(readFile(kFile), "bob:2\n");
    EXPECT_EQ(calls(tracker_)[2], "CQZMethodArguments [bo] [UserName]");
    EXPECT_EQ(calls(tracker_)[4], "CQZMethodArguments [carl|new] [UserName|Passwd]");
}

TEST_F(WebUsersTest, ListAndCount) {
    writeFile(kFile, "ann:x\nbob:y\ncy:z\n");
    CQZUsers users(&tracker_, ins_, "shop.test", nullptr);
    StringVector list{"kept"};
    EXPECT_EQ(users.UserList(&list), 'R');
    EXPECT_EQ(list, (StringVector{"kept", "ann", "bob", "cy", ""}));
    StringVector count;
    EXPECT_EQ(users.UserExist(&count), 'Q');
    EXPECT_EQ(count, (StringVector{"", "", ""}));
    writeFile(kFile, "ann:x\nno colon\nbob:y\n");
    count.clear();
    EXPECT_EQ(users.UserExist(&count), 'Q');
    EXPECT_EQ(count.size(), 1u);
    EXPECT_EQ(calls(tracker_)[3] + " " + calls(tracker_)[4], "CQZMethodName UserExist CQZMethodArguments [] []");

    // A line over the 2999 characters of a read is listed cut to 2999
    // characters, then ends both scans.
    writeFile(kFile, "ann:x\n" + std::string(3000, 'b') + ":y\ncy:z\n");
    list.clear();
    count.clear();
    EXPECT_EQ(users.UserList(&list), 'R');
    EXPECT_EQ(list, (StringVector{"ann", std::string(2999, 'b')}));
    EXPECT_EQ(users.UserExist(&count), 'Q');
    EXPECT_EQ(count.size(), 1u);
    EXPECT_EQ(users.UserDelete("ann"), 'N');
    EXPECT_EQ(users.ChangePasswd("ann", "x"), 22);
    EXPECT_EQ(readFile(kFile), "ann:x\n" + std::string(3000, 'b') + ":y\ncy:z\n");
}

TEST_F(WebUsersTest, MissingFileAndScratchFile) {
    CQZUsers users(&tracker_, ins_, "shop.test", nullptr);
    StringVector list;
    captureOutput();
    EXPECT_EQ(users.UserDelete("a"), 'N');
    EXPECT_EQ(users.ChangePasswd("a", "b"), 22);
    EXPECT_EQ(users.UserList(&list), 22);
    EXPECT_EQ(users.UserExist(&list), 22);
    EXPECT_EQ(users.UserDeleteAll(), 'P');
    EXPECT_EQ(capturedOutput(), "Error opening HttpdConfFile file\n");
    EXPECT_TRUE(list.empty());

    // A folder's file: "_" and the folder with every "/" turned into "_".
    makeDir("/etc/webusers");
    writeFile("/etc/webusers/passwd.shop.test__private_docs", "ann:x\n");
    CQZUsers folderUsers(nullptr, "", "shop.test", "/private/docs");
    EXPECT_EQ(folderUsers.UserList(&list), 'R');
    EXPECT_EQ(list, (StringVector{"ann", ""}));
    EXPECT_EQ(folderUsers.UserDeleteAll(), 'P');
    EXPECT_FALSE(exists("/etc/webusers/passwd.shop.test__private_docs"));

    writeFile(kFile, "a:1\n");
    ASSERT_EQ(mkdir(users.TEMPFILE, 0755), 0);
    EXPECT_EQ(users.UserDelete("a"), 23);
    EXPECT_EQ(users.ChangePasswd("a", "b"), 23);
    EXPECT_EQ(readFile(kFile), "a:1\n");
    EXPECT_TRUE(commandLog().empty());
    rmdir(users.TEMPFILE);

    // A folder where the file should be opens for reading but not for
    // writing, and holds no users.
    makeDir("/opt/qz/etc/webusers/passwd.dir.test");
    CQZUsers folderAsFile(nullptr, ins_, "dir.test", nullptr);
    list.clear();
    captureOutput();
    EXPECT_EQ(folderAsFile.UserCreate("a", "b"), 'N');
    EXPECT_EQ(folderAsFile.UserExist(&list), 'Q');
    EXPECT_EQ(capturedOutput(), "Error opening file\n");
    EXPECT_TRUE(list.empty());
}

TEST_F(WebUsersTest, NamesWithShellCharactersRunNothing) {
    ASSERT_EQ(chdir(root_.c_str()), 0);  // an injected "touch canary" would land here
    const char* domain = "shop.test';touch canary;'$(touch canary)";
    const std::string file = "/opt/qz/etc/webusers/passwd." + std::string(domain);
    writeFile(file, "ann:1\nbob:2\n");
    CQZUsers users(nullptr, ins_, domain, nullptr);
    EXPECT_EQ(users.UserDelete("ann"), 'O');
    EXPECT_EQ(readFile(file), "bob:2\n");
    EXPECT_FALSE(exists("/canary"));
}
