// FileHandling: key/value files checked against golden before/after files,
// with the results and the printed lines of each operation.
#include "QZTestFixture.h"

#include <string>

class FileHandlingTest : public QZTest {
protected:
    void SetUp() override {
        QZTest::SetUp();
        loggedCommand("mv");
        watch("/params.txt");
        watch("/params.txt_qzbackup");
        file_ = path("/params.txt");
    }
    // Copies tests/data/params/<name>.txt to /params.txt.
    void load(const std::string& name) { writeFile("/params.txt", data("params/" + name + ".txt")); }
    std::string file_;
    FileHandling files;
};

TEST_F(FileHandlingTest, DeleteAndEditRewriteEveryMatchingLine) {
    // Delete keeps comments; one printed line for each line that begins with
    // the name; replaced without a shell command.
    load("users_with_duplicates");
    STEP("delete user:secret", files.delParamFromFile(file_, "user", "secret", ':', '#'));
    // Nothing left to remove: 0, but the file is still rewritten.
    STEP("delete user:secret again", files.delParamFromFile(file_, "user", "secret", ':', '#'));
    load("comments_and_blanks");
    STEP("delete, blank lines go anyway", files.delParamFromFile(file_, "name", "other", '=', ';'));
    // Edit drops comments.
    load("users_with_duplicates");
    STEP("edit user:secret", files.editParamValueInFile(file_, "user", "secret", "newpass", ':', '#'));
    load("comments_and_blanks");
    STEP("edit, no match", files.editParamValueInFile(file_, "name", "other", "x", '=', ';'));
    // The name is written as the caller gave it; an empty new value is allowed.
    writeFile("/params.txt", "  USERNAME:  old\n");
    STEP("edit to nothing", files.editParamValueInFile(file_, "UserName", "old", "", ':', '#'));
    EXPECT_DATA(transcript_, "params/delete_and_edit.transcript");
}

TEST_F(FileHandlingTest, ExistsStopsAtTheFirstMatchingLine) {
    load("users_with_duplicates");
    // One printed line for every line examined that begins with the name,
    // "username" included: the name is a prefix, but the delimiter must
    // follow it at once.
    STEP("user:secret", files.isParamValueExistsInFile(file_, "user", "secret", ':', '#'));
    STEP("user:secret2", files.isParamValueExistsInFile(file_, "user", "secret2", ':', '#'));
    STEP("username:secret", files.isParamValueExistsInFile(file_, "username", "secret", ':', '#'));
    STEP("other:secret", files.isParamValueExistsInFile(file_, "other", "secret", ':', '#'));
    STEP("user:secre", files.isParamValueExistsInFile(file_, "user", "secre", ':', '#'));
    STEP("other=secret", files.isParamValueExistsInFile(file_, "other", "secret", '=', '#'));
    load("comments_and_blanks");
    STEP("name=value", files.isParamValueExistsInFile(file_, "name", "value", '=', ';'));
    STEP("name=value a comment now", files.isParamValueExistsInFile(file_, "name", "value", '=', 'n'));
    EXPECT_DATA(transcript_, "params/exists.transcript");
}

TEST_F(FileHandlingTest, EmptyArgumentsUnopenableFilesAndLongLines) {
    load("users_with_duplicates");
    const std::string missing = path("/nowhere/params.txt");
    for (auto [f, name, value] : {std::tuple{std::string(), "user", "secret"}, std::tuple{file_, "", "secret"},
                                  std::tuple{file_, "user", ""}, std::tuple{missing, "user", "secret"}}) {
        STEP("exists " + f + " " + name + ":" + value, files.isParamValueExistsInFile(f, name, value, ':', '#'));
        STEP("delete " + f + " " + name + ":" + value, files.delParamFromFile(f, name, value, ':', '#'));
        STEP("edit " + f + " " + name + ":" + value, files.editParamValueInFile(f, name, value, "new", ':', '#'));
    }
    STEP("delete in a file that is no folder", files.delParamFromFile(path("/params.txt/x"), "user", "secret", ':', '#'));
    // Lines of up to 2998 characters are read whole; a longer one ends the
    // scan, and a rewrite keeps only the lines before it.
    writeFile("/params.txt", std::string(2998, 'x') + "\nuser:secret\n");
    STEP("exists after 2998 characters", files.isParamValueExistsInFile(file_, "user", "secret", ':', '#'));
    writeFile("/params.txt", std::string(2999, 'x') + "\nuser:secret\n");
    STEP("exists after 2999 characters", files.isParamValueExistsInFile(file_, "user", "secret", ':', '#'));
    writeFile("/params.txt", "keep:1\nuser:secret\n" + std::string(2999, 'x') + "\nuser:secret\n");
    STEP("delete before 2999 characters", files.delParamFromFile(file_, "user", "secret", ':', '#'));
    EXPECT_DATA(transcript_, "params/empty_unopenable_long.transcript");
}

TEST_F(FileHandlingTest, AddAppendsTheValueAndANewline) {
    writeFile("/params.txt", "user:secret");
    EXPECT_EQ(files.addParamInFile(file_, "user:secret"), 1);
    EXPECT_EQ(files.addParamInFile(file_, ""), 1);
    EXPECT_EQ(readFile("/params.txt"), "user:secretuser:secret\n\n");
    EXPECT_EQ(files.addParamInFile(path("/new.txt"), "a=b"), 1);
    EXPECT_EQ(readFile("/new.txt"), "a=b\n");
    EXPECT_EQ(files.addParamInFile(path("/nowhere/new.txt"), "a=b"), 0);
    EXPECT_EQ(files.addParamInFile("", "a=b"), 0);
}
