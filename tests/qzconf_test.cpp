// Reading the panel's settings file.
#include "QZTestFixture.h"

class QZConfTest : public QZTest {};

TEST_F(QZConfTest, ReadsQuotedValuesByKeyPrefix) {
    writeFile("/etc/QZ.conf",
              "\n"
              "# panel settings\n"
              "  webserverport = \"8080\"\n"
              "PHPHandlerX=\"fcgid\"\n"
              "PHPHandler=\"dso\"\n"
              "SUexecSetting=\"disabled\" # \"ignored\"\n"
              "Unquoted=80\n"
              "Half=\"open\n");
    const std::string conf = path("/etc/QZ.conf");
    std::string value = "default";
    EXPECT_EQ(getParamFromQZConfFile(conf, value, "WebServerPort"), 1);
    EXPECT_EQ(value, "8080");
    EXPECT_EQ(getParamFromQZConfFile(conf, value, "PHPHandler"), 1);
    EXPECT_EQ(value, "fcgid") << "the first line whose key begins with the name wins";
    EXPECT_EQ(getParamFromQZConfFile(conf, value, "SUexecSetting"), 1);
    EXPECT_EQ(value, "disabled");

    value = "80";
    EXPECT_EQ(getParamFromQZConfFile(conf, value, "Unquoted"), 0);
    EXPECT_EQ(getParamFromQZConfFile(conf, value, "Half"), 0);
    EXPECT_EQ(getParamFromQZConfFile(conf, value, "Missing"), 0);
    EXPECT_EQ(getParamFromQZConfFile(conf, value, ""), 0);
    EXPECT_EQ(getParamFromQZConfFile(path("/etc/none"), value, "WebServerPort"), 0);
    EXPECT_EQ(value, "80") << "a failed read leaves the caller's default";
}

TEST_F(QZConfTest, LinesOfMoreThan119CharactersEndTheReading) {
    // Exactly 119 characters: read whole.
    const std::string key119 = "Long=\"" + std::string(112, 'v') + "\"";
    ASSERT_EQ(key119.size(), 119u);
    writeFile("/etc/QZ.conf", key119 + "\nAfter=\"yes\"\n");
    std::string value;
    EXPECT_EQ(getParamFromQZConfFile(path("/etc/QZ.conf"), value, "Long"), 1);
    EXPECT_EQ(value, std::string(112, 'v'));
    EXPECT_EQ(getParamFromQZConfFile(path("/etc/QZ.conf"), value, "After"), 1);

    // 120 characters: the stream fails there; keys before it are still found.
    const std::string key120 = "Long=\"" + std::string(113, 'v') + "\"";
    writeFile("/etc/QZ.conf", "Before=\"1\"\n" + key120 + "\nAfter=\"yes\"\n");
    value = "keep";
    EXPECT_EQ(getParamFromQZConfFile(path("/etc/QZ.conf"), value, "Long"), 0);
    EXPECT_EQ(getParamFromQZConfFile(path("/etc/QZ.conf"), value, "After"), 0);
    EXPECT_EQ(value, "keep");
    EXPECT_EQ(getParamFromQZConfFile(path("/etc/QZ.conf"), value, "Before"), 1);
    EXPECT_EQ(value, "1");
}
