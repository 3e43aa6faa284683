// <Directory> sections of one domain's <VirtualHost> block: inserting,
// deleting, renaming and refilling a section, with the ".qzbackup.rt" backup
// and a scratch file of its own for each edit.
#include "ToolkitTestFixture.h"

#include <functional>

class ToolkitDirectoryTest : public ToolkitTest {
protected:
    // Runs `edit` on `contents`: it must return `result` and leave the file
    // as it was, with the scratch file deleted and only the backup made.
    template <class Edit>
    void expectUnchanged(const std::string& contents, int result, const std::string& scratch, Edit&& edit) {
        conf(contents);
        EXPECT_EQ(edit(), result);
        EXPECT_EQ(confText(), contents);
        EXPECT_EQ(readFile("/conf/httpd.conf.qzbackup.rt"), contents);
        EXPECT_FALSE(exists("/conf/httpd.conf" + scratch));
        EXPECT_EQ(commandLog().back(), "cp " + file_ + " " + file_ + ".qzbackup.rt");
    }

    static std::string host(const std::string& body) {
        return "<VirtualHost *:80>\n    ServerName a.com\n" + body + "</VirtualHost>\n";
    }
    static std::string section(const std::string& opening, const std::string& body = "") {
        return "    <Directory " + opening + ">\n" + body + "    </Directory>\n";
    }
};

TEST_F(ToolkitDirectoryTest, EditsTouchTheFirstMatchingSectionOfTheDomain) {
    // Added before the domain's first section (not one above its
    // ServerName), whatever its path.
    expectRewrite("directory_sections", "directory_added", ".qzbackup.rt", "_temp4", [this] {
        return helper.Apache_addDirectoryTag(file_, "example.com", "/home/site/cgi-bin",
                                             {"Options +ExecCGI", "AddHandler cgi-script .cgi"});
    });
    // "/Home/Site/www/" (trailing slash) differs; "/Home/Site/www" is the
    // one; later sections with the path, in this block or the next, stay.
    expectRewrite("directory_sections", "directory_deleted", ".qzbackup.rt", "_temp5", [this] {
        return helper.Apache_deleteDirectoryTag(file_, "EXAMPLE.com", "/home/site/www");
    });
    expectRewrite("directory_sections", "directory_renamed", ".qzbackup.rt", "_temp2", [this] {
        return helper.Apache_UpdateDirectoryTagPath(file_, "example.com", "/home/site/www", "/srv/new www");
    });
    expectRewrite("directory_sections", "directory_refilled", ".qzbackup.rt", "_temp3", [this] {
        return helper.Apache_UpdateDirectoryDirectives(file_, "example.com", "/home/site/www",
                                                       {"Options -Indexes +FollowSymLinks", "Require all granted"});
    });

    // The domain's second block is searched when the first has no match; no
    // entries leave an empty section; a nested section ends the old contents.
    conf(host(section("\"/a\"")) + "<VirtualHost *:443>\n    ServerName a.com\n" + section("\"/ssl\"") +
         "</VirtualHost>\n");
    EXPECT_EQ(helper.Apache_deleteDirectoryTag(file_, "a.com", "/SSL"), 0);
    EXPECT_EQ(confText(), host(section("\"/a\"")) + "<VirtualHost *:443>\n    ServerName a.com\n</VirtualHost>\n");
    conf(host(section("\"/a\"", section("\"/a/b\"") + "        Options All\n")));
    EXPECT_EQ(helper.Apache_UpdateDirectoryDirectives(file_, "a.com", "/a", {}), 0);
    EXPECT_EQ(confText(), host("    <Directory \"/a\">\n\t</Directory>\n        Options All\n    </Directory>\n"));

    // A section left open: its old lines go on into the next site's block,
    // up to the first "</Directory" line, or to the end of the file.
    const std::string open = host("    <Directory \"/a\">\n        Options All\n");
    conf(open + "<VirtualHost *:80>\n    ServerName b.com\n" + section("\"/b\"") + "    DocumentRoot /b\n</VirtualHost>\n");
    EXPECT_EQ(helper.Apache_deleteDirectoryTag(file_, "a.com", "/a"), 0);
    EXPECT_EQ(confText(), "<VirtualHost *:80>\n    ServerName a.com\n    DocumentRoot /b\n</VirtualHost>\n");
    conf(open + "<VirtualHost *:80>\n    ServerName b.com\n</VirtualHost>\n");
    EXPECT_EQ(helper.Apache_UpdateDirectoryDirectives(file_, "a.com", "/a", {"Options None"}), 0);
    EXPECT_EQ(confText(), "<VirtualHost *:80>\n    ServerName a.com\n    <Directory \"/a\">\n\t\tOptions None\n\t</Directory>\n");
}

TEST_F(ToolkitDirectoryTest, AnUnquotedOrUnterminatedPathStopsTheSearch) {
    // Before the section that would match (even one in a later block): 3.
    expectUnchanged(data("toolkit/directory_sections.conf"), 3, "_temp5", [this] {
        return helper.Apache_deleteDirectoryTag(file_, "example.com", "/home/site/ssl-only");
    });
    const std::string unquoted = host(section("/a") + section("\"/b\""));
    expectUnchanged(unquoted, 3, "_temp3",
                    [this] { return helper.Apache_UpdateDirectoryDirectives(file_, "a.com", "/b", {"X"}); });
    expectUnchanged(host(section("\"/a")), 3, "_temp2",
                    [this] { return helper.Apache_UpdateDirectoryTagPath(file_, "a.com", "/a", "/b"); });
    // Renaming compares an unquoted path as it stands, ">" included.
    expectUnchanged(unquoted, 4, "_temp2",
                    [this] { return helper.Apache_UpdateDirectoryTagPath(file_, "a.com", "/a", "/c"); });
    EXPECT_EQ(helper.Apache_UpdateDirectoryTagPath(file_, "a.com", "/a>", "/c"), 0);
    EXPECT_EQ(confText(), host("\t<Directory \"/c\">\n    </Directory>\n" + section("\"/b\"")));

    // Outside the domain's block nothing is read. No section there: 4, and
    // adding puts nothing at the end of the block.
    const std::string otherFirst = "<VirtualHost *:80>\n    ServerName b.com\n" + section("/a") + "</VirtualHost>\n" +
                                   host("    DocumentRoot /a\n");
    expectUnchanged(otherFirst, 4, "_temp5", [this] { return helper.Apache_deleteDirectoryTag(file_, "a.com", "/a"); });
    expectUnchanged(otherFirst, 4, "_temp4",
                    [this] { return helper.Apache_addDirectoryTag(file_, "a.com", "/a", {"Options None"}); });
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
