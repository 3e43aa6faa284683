// Reading the panel's settings file.
#include "QZTestFixture.h"

using QZConfTest = QZTest;

TEST_F(QZConfTest, ReadsQuotedValuesByKeyPrefixInLinesOfAtMost119Characters) {
    // "<result> <value>" of a read, the value "default" before it.
    auto get = [&](const char* key, const char* file = "/etc/QZ.conf") {
        std::string value = "default";
        const int result = getParamFromQZConfFile(path(file), value, key);
        return std::to_string(result) + " " + value;
    };
    // The first line whose key begins with the name wins; a failed read
    // leaves the caller's default.
    writeFile("/etc/QZ.conf", data("qzconf/quoted_values.conf"));
    for (const char* key : {"WebServerPort", "PHPHandler", "SUexecSetting", "Unquoted", "Half", "Missing", ""}) STEP(key, get(key));
    STEP("no file", get("WebServerPort", "/etc/none"));
    // 119 characters are read whole; at 120 the stream fails, and only keys
    // before that line are found.
    writeFile("/etc/QZ.conf", "Long=\"" + std::string(112, 'v') + "\"\nAfter=\"yes\"\n");
    for (const char* key : {"Long", "After"}) STEP(std::string("119 characters: ") + key, get(key));
    writeFile("/etc/QZ.conf", "Before=\"1\"\nLong=\"" + std::string(113, 'v') + "\"\nAfter=\"yes\"\n");
    for (const char* key : {"Long", "After", "Before"}) STEP(std::string("120 characters: ") + key, get(key));
    EXPECT_DATA(transcript_, "qzconf/read.transcript");
}
