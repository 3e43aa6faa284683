// Reading the panel's settings file.
#include "QZTestFixture.h"

class QZConfTest : public QZTest {
protected:
    // "<result> <value>" of a read, the value "default" before it.
    std::string get(const char* key, const char* file = "/etc/QZ.conf") {
        std::string value = "default";
        return std::to_string(getParamFromQZConfFile(path(file), value, key)) + " " + value;
    }
};

TEST_F(QZConfTest, ReadsQuotedValuesByKeyPrefix) {
    writeFile("/etc/QZ.conf", data("qzconf/quoted_values.conf"));
    EXPECT_EQ(get("WebServerPort"), "1 8080");
    EXPECT_EQ(get("PHPHandler"), "1 fcgid") << "the first line whose key begins with the name wins";
    EXPECT_EQ(get("SUexecSetting"), "1 disabled");
    // A failed read leaves the caller's default.
    for (const char* key : {"Unquoted", "Half", "Missing", ""}) EXPECT_EQ(get(key), "0 default") << key;
    EXPECT_EQ(get("WebServerPort", "/etc/none"), "0 default");
}

TEST_F(QZConfTest, LinesOfMoreThan119CharactersEndTheReading) {
    // Exactly 119 characters: read whole.
    writeFile("/etc/QZ.conf", "Long=\"" + std::string(112, 'v') + "\"\nAfter=\"yes\"\n");
    EXPECT_EQ(get("Long"), "1 " + std::string(112, 'v'));
    EXPECT_EQ(get("After"), "1 yes");
    // 120 characters: the stream fails there; keys before it are still found.
    writeFile("/etc/QZ.conf", "Before=\"1\"\nLong=\"" + std::string(113, 'v') + "\"\nAfter=\"yes\"\n");
    EXPECT_EQ(get("Long"), "0 default");
    EXPECT_EQ(get("After"), "0 default");
    EXPECT_EQ(get("Before"), "1 1");
}
