// <Directory> sections of one domain's <VirtualHost> block: inserting,
// deleting, renaming and refilling a section, with the ".qzbackup.rt" backup
// and a scratch file of its own for each edit.
#include "ToolkitTestFixture.h"

#include <functional>

class ToolkitDirectoryTest : public ToolkitTest {
protected:
    void SetUp() override {
        ToolkitTest::SetUp();
        watchConf({".qzbackup.rt", "_temp2", "_temp3", "_temp4", "_temp5"});
        inputs_ = "toolkit/directory.inputs";
    }
    int add(const char* domain, const char* dir, const std::vector<std::string>& entries) {
        return helper.Apache_addDirectoryTag(file_, domain, dir, entries);
    }
    int remove(const char* domain, const char* dir) { return helper.Apache_deleteDirectoryTag(file_, domain, dir); }
    int rename(const char* dir, const char* to) { return helper.Apache_UpdateDirectoryTagPath(file_, "a.com", dir, to); }
    int refill(const char* domain, const char* dir, const std::vector<std::string>& entries) {
        return helper.Apache_UpdateDirectoryDirectives(file_, domain, dir, entries);
    }
};

TEST_F(ToolkitDirectoryTest, EditsTouchTheFirstMatchingSectionOfTheDomain) {
    // Added before the domain's first section (not one above its
    // ServerName), whatever its path.
    expectRewrite("directory_sections", "directory_added", ".qzbackup.rt", "_temp4",
                  [this] { return add("example.com", "/home/site/cgi-bin", {"Options +ExecCGI", "AddHandler cgi-script .cgi"}); });
    // "/Home/Site/www/" (trailing slash) differs; "/Home/Site/www" is the
    // one; later sections with the path, in this block or the next, stay.
    expectRewrite("directory_sections", "directory_deleted", ".qzbackup.rt", "_temp5",
                  [this] { return remove("EXAMPLE.com", "/home/site/www"); });
    expectRewrite("directory_sections", "directory_renamed", ".qzbackup.rt", "_temp2", [this] {
        return helper.Apache_UpdateDirectoryTagPath(file_, "example.com", "/home/site/www", "/srv/new www");
    });
    expectRewrite("directory_sections", "directory_refilled", ".qzbackup.rt", "_temp3", [this] {
        return refill("example.com", "/home/site/www", {"Options -Indexes +FollowSymLinks", "Require all granted"});
    });

    GIVEN_STEP("delete, the domain's second block searched when the first has no match", remove("a.com", "/SSL"));
    GIVEN_STEP("refill, no entries leave an empty section; a nested section ends the old contents", refill("a.com", "/a", {}));
    GIVEN_STEP("delete, a section left open goes on to the first </Directory line", remove("a.com", "/a"));
    GIVEN_STEP("refill, a section left open goes on to the end of the file", refill("a.com", "/a", {"Options None"}));
    EXPECT_DATA(transcript_, "toolkit/directory_edits.transcript");
}

TEST_F(ToolkitDirectoryTest, AnUnquotedOrUnterminatedPathStopsTheSearch) {
    // Before the section that would match (even one in a later block): 3.
    golden("directory_sections");
    STEP("delete, past an unquoted path", remove("example.com", "/home/site/ssl-only"));
    GIVEN_STEP("refill, an unquoted path before the match stops the search: 3", refill("a.com", "/b", {"X"}));
    GIVEN_STEP("rename, an unterminated path: 3", rename("/a", "/b"));
    GIVEN_STEP("rename, an unquoted path compared as it stands, '>' included: 4", rename("/a", "/c"));
    STEP("rename, the unquoted path with its '>'", rename("/a>", "/c"));
    // Outside the domain's block nothing is read.
    GIVEN_STEP("delete, only another site's section: 4", remove("a.com", "/a"));
    GIVEN_STEP("add, only another site's section: nothing at the end of the block", add("a.com", "/a", {"Options None"}));
    EXPECT_DATA(transcript_, "toolkit/directory_search_stops.transcript");
}

TEST_F(ToolkitDirectoryTest, FilesThatDoNotOpen) {
    const std::vector<std::function<int(const std::string&)>> edits = {
        [this](const std::string& f) { return helper.Apache_addDirectoryTag(f, "a.com", "/b", {}); },
        [this](const std::string& f) { return helper.Apache_deleteDirectoryTag(f, "a.com", "/a"); },
        [this](const std::string& f) { return helper.Apache_UpdateDirectoryTagPath(f, "a.com", "/a", "/b"); },
        [this](const std::string& f) { return helper.Apache_UpdateDirectoryDirectives(f, "a.com", "/a", {}); }};
    const char* scratches[] = {"_temp4", "_temp5", "_temp2", "_temp3"};
    const std::string block = "<VirtualHost *:80>\n    ServerName a.com\n    <Directory \"/a\">\n    </Directory>\n</VirtualHost>\n";
    for (size_t i = 0; i < edits.size(); ++i) {
        EXPECT_EQ(edits[i](missing_), 1);
        conf(block);
        makeDir(std::string("/conf/httpd.conf") + scratches[i]);
        EXPECT_EQ(edits[i](file_), 2);
        EXPECT_EQ(confText(), block);
    }
}
