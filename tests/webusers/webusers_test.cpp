// Web users: the password file's name, its lines after each operation, the
// mv of the scratch file, result codes, printed lines and tracking.
#include "QZTestFixture.h"

#include <cstdlib>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

class WebUsersTest : public QZTest {
protected:
    void SetUp() override {
        QZTest::SetUp();
        loggedCommand("mv");
        makeDir("/opt/qz/etc/webusers");
        // tempnam prefers TMPDIR to the folder it is given (InsFolder, which
        // is never rerouted): pointed into the scratch root, no scratch file
        // lands in the real /opt/qz or /tmp.
        makeDir("/tmp");
        setenv("TMPDIR", path("/tmp").c_str(), 1);
        users_ = std::make_unique<CQZUsers>(&tracker_, ins_, "shop.test", nullptr);
        ASSERT_EQ(std::string(users_->TEMPFILE).rfind(path("/tmp/"), 0), 0u);
        alias(users_->TEMPFILE, "@TEMPFILE@");  // tempnam's name
        watch(kFile);
        watchCalls(tracker_);
    }
    // "<result> [item] [item] ..." of a listing into a fresh list.
    template <class List>
    static std::string listed(List&& call) {
        StringVector list;
        const char result = call(&list);
        std::string text = result > ' ' ? std::string(1, result) : std::to_string(result);
        for (const std::string& item : list) text += " [" + item + "]";
        return text;
    }
    // The password file of shop.test under the installation folder /opt/qz.
    static constexpr const char* kFile = "/opt/qz/etc/webusers/passwd.shop.test";
    const char* ins_ = "/opt/qz";
    CQZTrackManager tracker_;
    std::unique_ptr<CQZUsers> users_;
};

TEST_F(WebUsersTest, CreateDeleteAndChangeRewriteThePasswordFile) {
    writeFile(kFile, "ann:x\nbob:y");
    STEP("create", users_->UserCreate("cy", "p w'$x"));
    STEP("create a login already there: added again", users_->UserCreate("ann", "again"));
    STEP("create on another site without a file", CQZUsers(nullptr, ins_, "other.test", nullptr).UserCreate("ann", "x"));
    EXPECT_FALSE(exists("/opt/qz/etc/webusers/passwd.other.test"));
    writeFile("/opt/qz/etc/webusers/passwd.empty.test", "");
    CQZUsers emptySite(nullptr, ins_, "empty.test", nullptr);
    EXPECT_EQ(emptySite.UserCreate("user", "pass"), 'M');
    EXPECT_EQ(readFile("/opt/qz/etc/webusers/passwd.empty.test"), "user:pass\n");

    writeFile(kFile, "bo:1\nbob:2\n\nbo:3\ncarl:4\n");
    STEP("delete every line of the login", users_->UserDelete("bo"));
    STEP("change", users_->ChangePasswd("carl", "new"));
    writeFile(kFile, "\nbob:2\n\n");
    STEP("change, no such login: empty lines go", users_->ChangePasswd("nobody", "x"));
    STEP("delete, no such login", users_->UserDelete("nobody"));
    EXPECT_DATA(transcript_, "webusers/create_delete_change.transcript");
}

TEST_F(WebUsersTest, ListAndCount) {
    writeFile(kFile, "ann:x\nbob:y\ncy:z\n");
    StringVector list{"kept"};
    EXPECT_EQ(users_->UserList(&list), 'R');
    EXPECT_EQ(list, (StringVector{"kept", "ann", "bob", "cy", ""}));
    STEP("count", listed([&](StringVector* l) { return users_->UserExist(l); }));
    writeFile(kFile, "ann:x\nno colon\nbob:y\n");
    STEP("count, a line without a colon", listed([&](StringVector* l) { return users_->UserExist(l); }));
    // A line over the 2999 characters of a read is listed cut to 2999
    // characters, then ends both scans.
    writeFile(kFile, "ann:x\n" + std::string(3000, 'b') + ":y\ncy:z\n");
    EXPECT_EQ(listed([&](StringVector* l) { return users_->UserList(l); }), "R [ann] [" + std::string(2999, 'b') + "]");
    STEP("count, an over-long line", listed([&](StringVector* l) { return users_->UserExist(l); }));
    STEP("delete, an over-long line", users_->UserDelete("ann"));
    STEP("change, an over-long line", users_->ChangePasswd("ann", "x"));
    EXPECT_DATA(transcript_, "webusers/list_and_count.transcript");
}

TEST_F(WebUsersTest, MissingFileAndScratchFile) {
    STEP("delete, no file", users_->UserDelete("a"));
    STEP("change, no file", users_->ChangePasswd("a", "b"));
    STEP("list, no file", listed([&](StringVector* l) { return users_->UserList(l); }));
    STEP("count, no file", listed([&](StringVector* l) { return users_->UserExist(l); }));
    STEP("delete all, no file", users_->UserDeleteAll());
    // A folder's file: "_" and the folder with every "/" turned into "_".
    makeDir("/etc/webusers");
    watch("/etc/webusers/passwd.shop.test__private_docs");
    writeFile("/etc/webusers/passwd.shop.test__private_docs", "ann:x\n");
    CQZUsers folderUsers(nullptr, "", "shop.test", "/private/docs");
    STEP("list, a folder's file", listed([&](StringVector* l) { return folderUsers.UserList(l); }));
    STEP("delete all, a folder's file", folderUsers.UserDeleteAll());
    writeFile(kFile, "a:1\n");
    ASSERT_EQ(mkdir(users_->TEMPFILE, 0755), 0);
    STEP("delete, the scratch file a folder", users_->UserDelete("a"));
    STEP("change, the scratch file a folder", users_->ChangePasswd("a", "b"));
    rmdir(users_->TEMPFILE);
    // A folder where the file should be opens for reading but not for
    // writing, and holds no users.
    makeDir("/opt/qz/etc/webusers/passwd.dir.test");
    CQZUsers folderAsFile(nullptr, ins_, "dir.test", nullptr);
    STEP("create, a folder for a file", folderAsFile.UserCreate("a", "b"));
    STEP("count, a folder for a file", listed([&](StringVector* l) { return folderAsFile.UserExist(l); }));
    EXPECT_DATA(transcript_, "webusers/missing_file_and_scratch_file.transcript");
}
