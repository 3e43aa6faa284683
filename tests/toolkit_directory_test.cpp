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
    }
    static std::string host(const std::string& body, const char* name = "a.com") {
        return "<VirtualHost *:80>\n    ServerName " + std::string(name) + "\n" + body + "</VirtualHost>\n";
    }
    static std::string section(const std::string& opening, const std::string& body = "") {
        return "    <Directory " + opening + ">\n" + body + "    </Directory>\n";
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

    // The domain's second block is searched when the first has no match; no
    // entries leave an empty section; a nested section ends the old contents.
    conf(host(section("\"/a\"")) + "<VirtualHost *:443>\n    ServerName a.com\n" + section("\"/ssl\"") + "</VirtualHost>\n");
    STEP("delete, in the second block", remove("a.com", "/SSL"));
    conf(host(section("\"/a\"", section("\"/a/b\"") + "        Options All\n")));
    STEP("refill, nothing, a nested section", refill("a.com", "/a", {}));
    // A section left open: its old lines go on into the next site's block,
    // up to the first "</Directory" line, or to the end of the file.
    const std::string open = host("    <Directory \"/a\">\n        Options All\n");
    conf(open + host(section("\"/b\"") + "    DocumentRoot /b\n", "b.com"));
    STEP("delete, a section left open", remove("a.com", "/a"));
    conf(open + host("", "b.com"));
    STEP("refill, a section left open", refill("a.com", "/a", {"Options None"}));
    EXPECT_DATA(transcript_, "toolkit/directory_edits.transcript");
}

TEST_F(ToolkitDirectoryTest, AnUnquotedOrUnterminatedPathStopsTheSearch) {
    // Before the section that would match (even one in a later block): 3.
    golden("directory_sections");
    STEP("delete, past an unquoted path", remove("example.com", "/home/site/ssl-only"));
    const std::string unquoted = host(section("/a") + section("\"/b\""));
    conf(unquoted);
    STEP("refill, past an unquoted path", refill("a.com", "/b", {"X"}));
    conf(host(section("\"/a")));
    STEP("rename, an unterminated path", rename("/a", "/b"));
    // Renaming compares an unquoted path as it stands, ">" included.
    conf(unquoted);
    STEP("rename, unquoted", rename("/a", "/c"));
    STEP("rename, unquoted with its '>'", rename("/a>", "/c"));
    // Outside the domain's block nothing is read. No section there: 4, and
    // adding puts nothing at the end of the block.
    const std::string otherFirst = host(section("/a"), "b.com") + host("    DocumentRoot /a\n");
    conf(otherFirst);
    STEP("delete, only another site's section", remove("a.com", "/a"));
    STEP("add, only another site's section", add("a.com", "/a", {"Options None"}));
    EXPECT_DATA(transcript_, "toolkit/directory_search_stops.transcript");
}

TEST_F(ToolkitDirectoryTest, FilesThatDoNotOpen) {
    const std::vector<std::function<int(const std::string&)>> edits = {
        [this](const std::string& f) { return helper.Apache_addDirectoryTag(f, "a.com", "/b", {}); },
        [this](const std::string& f) { return helper.Apache_deleteDirectoryTag(f, "a.com", "/a"); },
        [this](const std::string& f) { return helper.Apache_UpdateDirectoryTagPath(f, "a.com", "/a", "/b"); },
        [this](const std::string& f) { return helper.Apache_UpdateDirectoryDirectives(f, "a.com", "/a", {}); }};
    const char* scratches[] = {"_temp4", "_temp5", "_temp2", "_temp3"};
    const std::string block = host(section("\"/a\""));
    for (size_t i = 0; i < edits.size(); ++i) {
        EXPECT_EQ(edits[i](path("/conf/missing.conf")), 1);
        conf(block);
        makeDir(std::string("/conf/httpd.conf") + scratches[i]);
        EXPECT_EQ(edits[i](file_), 2);
        EXPECT_EQ(confText(), block);
    }
}
