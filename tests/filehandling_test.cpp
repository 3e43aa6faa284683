// FileHandling: key/value files checked against golden before/after files,
// with the results and the printed lines of each operation.
#include "QZTestFixture.h"

#include <string>

class FileHandlingTest : public QZTest {
protected:
    // Copies tests/data/params/<name>.txt to /params.txt.
    std::string load(const std::string& name) {
        writeFile("/params.txt", data("params/" + name + ".txt"));
        return path("/params.txt");
    }
    static std::string spaces(int times) {
        std::string text;
        for (int i = 0; i < times; ++i) text += "delimeter contain spaces\n";
        return text;
    }
    FileHandling files;
};

TEST_F(FileHandlingTest, DeleteRemovesEveryMatchingLineAndKeepsComments) {
    loggedCommand("mv");
    const std::string file = load("users_with_duplicates");
    captureOutput();
    EXPECT_EQ(files.delParamFromFile(file, "user", "secret", ':', '#'), 1);
    // One line for each of the seven lines that begin with the name.
    EXPECT_EQ(capturedOutput(), spaces(7));
    EXPECT_EQ(readFile("/params.txt"), data("params/users_with_duplicates.deleted"));
    EXPECT_FALSE(exists("/params.txt_qzbackup"));
    EXPECT_EQ(commandLog(), std::vector<std::string>{}) << "replaced without a shell command";

    // Nothing left to remove: 0, but the file is still rewritten.
    const std::string before = readFile("/params.txt");
    captureOutput();
    EXPECT_EQ(files.delParamFromFile(file, "user", "secret", ':', '#'), 0);
    capturedOutput();
    EXPECT_EQ(readFile("/params.txt"), before);

    load("comments_and_blanks");
    captureOutput();
    EXPECT_EQ(files.delParamFromFile(file, "name", "other", '=', ';'), 0);
    EXPECT_EQ(capturedOutput(), spaces(2));
    EXPECT_EQ(readFile("/params.txt"), data("params/comments_and_blanks.deleted")) << "blank lines go anyway";
}

TEST_F(FileHandlingTest, EditReplacesEveryMatchAndDropsComments) {
    const std::string file = load("users_with_duplicates");
    captureOutput();
    EXPECT_EQ(files.editParamValueInFile(file, "user", "secret", "newpass", ':', '#'), 1);
    EXPECT_EQ(capturedOutput(), spaces(7));
    EXPECT_EQ(readFile("/params.txt"), data("params/users_with_duplicates.edited"));
    EXPECT_FALSE(exists("/params.txt_qzbackup"));

    load("comments_and_blanks");
    captureOutput();
    EXPECT_EQ(files.editParamValueInFile(file, "name", "other", "x", '=', ';'), 0);
    capturedOutput();
    EXPECT_EQ(readFile("/params.txt"), data("params/comments_and_blanks.edited"));

    // The name is written as the caller gave it; an empty new value is allowed.
    writeFile("/params.txt", "  USERNAME:  old\n");
    captureOutput();
    EXPECT_EQ(files.editParamValueInFile(file, "UserName", "old", "", ':', '#'), 1);
    capturedOutput();
    EXPECT_EQ(readFile("/params.txt"), "UserName:\n");
}

TEST_F(FileHandlingTest, ExistsStopsAtTheFirstMatchingLine) {
    const std::string file = load("users_with_duplicates");
    captureOutput();
    EXPECT_EQ(files.isParamValueExistsInFile(file, "user", "secret", ':', '#'), 1);
    EXPECT_EQ(capturedOutput(), spaces(1));
    captureOutput();
    EXPECT_EQ(files.isParamValueExistsInFile(file, "user", "secret2", ':', '#'), 1);
    EXPECT_EQ(files.isParamValueExistsInFile(file, "username", "secret", ':', '#'), 1);
    EXPECT_EQ(files.isParamValueExistsInFile(file, "other", "secret", ':', '#'), 1);
    EXPECT_EQ(files.isParamValueExistsInFile(file, "user", "secre", ':', '#'), 0);
    EXPECT_EQ(files.isParamValueExistsInFile(file, "other", "secret", '=', '#'), 0);
    // One line for every line examined that begins with the name, "username"
    // included: the name is a prefix, but the delimiter must follow it at once.
    EXPECT_EQ(capturedOutput(), spaces(5 + 1 + 1 + 7 + 1));
    EXPECT_EQ(readFile("/params.txt"), data("params/users_with_duplicates.txt"));

    load("comments_and_blanks");
    EXPECT_EQ(files.isParamValueExistsInFile(file, "name", "value", '=', ';'), 1);
    EXPECT_EQ(files.isParamValueExistsInFile(file, "name", "value", '=', 'n'), 0) << "name=value is a comment now";
}

TEST_F(FileHandlingTest, EmptyArgumentsAndUnopenableFilesGive0AndChangeNothing) {
    const std::string file = load("users_with_duplicates");
    const std::string missing = path("/nowhere/params.txt");
    captureOutput();
    for (auto [f, name, value] : {std::tuple{std::string(), "user", "secret"}, std::tuple{file, "", "secret"},
                                  std::tuple{file, "user", ""}}) {
        EXPECT_EQ(files.isParamValueExistsInFile(f, name, value, ':', '#'), 0);
        EXPECT_EQ(files.delParamFromFile(f, name, value, ':', '#'), 0);
        EXPECT_EQ(files.editParamValueInFile(f, name, value, "new", ':', '#'), 0);
    }
    EXPECT_FALSE(exists("/params.txt_qzbackup"));
    EXPECT_EQ(files.isParamValueExistsInFile(missing, "user", "secret", ':', '#'), 0);
    EXPECT_EQ(files.delParamFromFile(missing, "user", "secret", ':', '#'), 0);
    EXPECT_EQ(files.editParamValueInFile(missing, "user", "secret", "new", ':', '#'), 0);
    EXPECT_EQ(files.delParamFromFile(path("/params.txt/x"), "user", "secret", ':', '#'), 0);
    EXPECT_EQ(capturedOutput(), "");
    EXPECT_EQ(readFile("/params.txt"), data("params/users_with_duplicates.txt"));

    // Lines of up to 2998 characters are read whole; a longer one ends the
    // scan, and a rewrite keeps only the lines before it.
    writeFile("/params.txt", std::string(2998, 'x') + "\nuser:secret\n");
    captureOutput();
    EXPECT_EQ(files.isParamValueExistsInFile(file, "user", "secret", ':', '#'), 1);
    writeFile("/params.txt", std::string(2999, 'x') + "\nuser:secret\n");
    EXPECT_EQ(files.isParamValueExistsInFile(file, "user", "secret", ':', '#'), 0);
    writeFile("/params.txt", "keep:1\nuser:secret\n" + std::string(2999, 'x') + "\nuser:secret\n");
    EXPECT_EQ(files.delParamFromFile(file, "user", "secret", ':', '#'), 1);
    capturedOutput();
    EXPECT_EQ(readFile("/params.txt"), "keep:1\n");
}

TEST_F(FileHandlingTest, AddAppendsTheValueAndANewline) {
    writeFile("/params.txt", "user:secret");
    EXPECT_EQ(files.addParamInFile(path("/params.txt"), "user:secret"), 1);
    EXPECT_EQ(files.addParamInFile(path("/params.txt"), ""), 1);
    EXPECT_EQ(readFile("/params.txt"), "user:secretuser:secret\n\n");
    EXPECT_EQ(files.addParamInFile(path("/new.txt"), "a=b"), 1);
    EXPECT_EQ(readFile("/new.txt"), "a=b\n");
    EXPECT_EQ(files.addParamInFile(path("/nowhere/new.txt"), "a=b"), 0);
    EXPECT_EQ(files.addParamInFile("", "a=b"), 0);
}
