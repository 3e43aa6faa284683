// <Directory> sections of one domain's <VirtualHost> block: inserting,
// deleting, renaming and refilling a section, with the ".qzbackup.rt" backup
// and a scratch file of its own for each edit.
#include "ToolkitTestFixture.h"

#include <unistd.h>

class ToolkitDirectoryTest : public ToolkitTest {
protected:
    // Runs `edit` on `contents`: it must return `result`, leave the file as
    // it was, delete its scratch file and run only the backup "cp".
    template <class Edit>
    void expectUnchanged(const std::string& contents, int result, const std::string& scratch, Edit&& edit) {
        conf(contents);
        const size_t logged = commandLog().size();
        EXPECT_EQ(edit(), result);
        EXPECT_EQ(confText(), contents);
        EXPECT_FALSE(exists("/conf/httpd.conf" + scratch));
        ASSERT_EQ(commandLog().size(), logged + 1);
        EXPECT_EQ(commandLog().back(), "cp " + file_ + " " + file_ + ".qzbackup.rt");
    }

    static std::string host(const std::string& body) {
        return "<VirtualHost *:80>\n    ServerName a.com\n" + body + "</VirtualHost>\n";
    }
};

TEST_F(ToolkitDirectoryTest, AddInsertsBeforeTheFirstSectionOfTheDomain) {
    // Not before a section above the block's ServerName line; the path is
    // not checked for an existing section.
    expectRewrite("directory_sections", "directory_added", ".qzbackup.rt", "_temp4", [this] {
        return helper.Apache_addDirectoryTag(file_, "example.com", "/home/site/cgi-bin",
                                             {"Options +ExecCGI", "AddHandler cgi-script .cgi"});
    });

    // A block without sections gets nothing, not even at its end.
    expectUnchanged(host("    DocumentRoot /a\n"), 4, "_temp4",
                    [this] { return helper.Apache_addDirectoryTag(file_, "a.com", "/a", {"Options None"}); });
    expectUnchanged(host("    <Directory \"/a\">\n    </Directory>\n"), 4, "_temp4",
                    [this] { return helper.Apache_addDirectoryTag(file_, "b.com", "/a", {}); });
}

TEST_F(ToolkitDirectoryTest, SectionEditsTouchTheFirstSectionWhosePathMatchesIgnoringCase) {
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

    // The search stops at the unquoted section of the first block ...
    golden("directory_sections");
    EXPECT_EQ(helper.Apache_deleteDirectoryTag(file_, "example.com", "/home/site/ssl-only"), 3);
    EXPECT_EQ(confText(), data("toolkit/directory_sections.conf"));
    // ... without which the domain's second block is edited.
    const std::string ssl = "<VirtualHost *:443>\n    ServerName a.com\n    <Directory \"/ssl\">\n    </Directory>\n"
                            "</VirtualHost>\n";
    conf(host("    <Directory \"/a\">\n    </Directory>\n") + ssl);
    EXPECT_EQ(helper.Apache_deleteDirectoryTag(file_, "a.com", "/SSL"), 0);
    EXPECT_EQ(confText(), host("    <Directory \"/a\">\n    </Directory>\n") +
                              "<VirtualHost *:443>\n    ServerName a.com\n</VirtualHost>\n");

    // No entries leave an empty section; a nested section's closing line
    // ends the old contents early.
    conf(host("    <Directory \"/a\">\n        <Directory \"/a/b\">\n        </Directory>\n        Options All\n"
              "    </Directory>\n"));
    EXPECT_EQ(helper.Apache_UpdateDirectoryDirectives(file_, "a.com", "/a", {}), 0);
    EXPECT_EQ(confText(), host("    <Directory \"/a\">\n\t</Directory>\n        Options All\n    </Directory>\n"));
}

TEST_F(ToolkitDirectoryTest, UnquotedAndUnterminatedPathsStopTheEdit) {
    const std::string unquotedFirst = host("    <Directory /a>\n    </Directory>\n    <Directory \"/b\">\n    </Directory>\n");
    expectUnchanged(unquotedFirst, 3, "_temp5", [this] { return helper.Apache_deleteDirectoryTag(file_, "a.com", "/b"); });
    expectUnchanged(unquotedFirst, 3, "_temp3",
                    [this] { return helper.Apache_UpdateDirectoryDirectives(file_, "a.com", "/b", {"X"}); });
    const std::string unterminated = host("    <Directory \"/a>\n    </Directory>\n");
    expectUnchanged(unterminated, 3, "_temp5", [this] { return helper.Apache_deleteDirectoryTag(file_, "a.com", "/a"); });
    expectUnchanged(unterminated, 3, "_temp2",
                    [this] { return helper.Apache_UpdateDirectoryTagPath(file_, "a.com", "/a", "/b"); });
    // <DirectoryMatch is a "<Directory" line too, with no quote after 11 characters.
    expectUnchanged(host("    <DirectoryMatch \"^/a\">\n    </DirectoryMatch>\n"), 3, "_temp5",
                    [this] { return helper.Apache_deleteDirectoryTag(file_, "a.com", "/a"); });

    // Renaming compares an unquoted path as it stands, ">" included.
    expectUnchanged(unquotedFirst, 4, "_temp2",
                    [this] { return helper.Apache_UpdateDirectoryTagPath(file_, "a.com", "/a", "/c"); });
    EXPECT_EQ(helper.Apache_UpdateDirectoryTagPath(file_, "a.com", "/a>", "/c"), 0);
    EXPECT_EQ(confText(), host("\t<Directory \"/c\">\n    </Directory>\n    <Directory \"/b\">\n    </Directory>\n"));

    // Outside the domain's block nothing is read; no section: 4.
    const std::string otherHost = "<VirtualHost *:80>\n    ServerName b.com\n    <Directory /a>\n    </Directory>\n"
                                  "</VirtualHost>\n" + host("    <Directory \"/b\">\n    </Directory>\n");
    expectUnchanged(otherHost, 4, "_temp5", [this] { return helper.Apache_deleteDirectoryTag(file_, "a.com", "/c"); });
    expectUnchanged(otherHost, 4, "_temp3",
                    [this] { return helper.Apache_UpdateDirectoryDirectives(file_, "c.com", "/b", {}); });
}

TEST_F(ToolkitDirectoryTest, OpenFailuresAndASectionLeftOpen) {
    const std::string missing = path("/conf/missing.conf");
    EXPECT_EQ(helper.Apache_addDirectoryTag(missing, "a.com", "/a", {}), 1);
    EXPECT_EQ(helper.Apache_deleteDirectoryTag(missing, "a.com", "/a"), 1);
    EXPECT_EQ(helper.Apache_UpdateDirectoryTagPath(missing, "a.com", "/a", "/b"), 1);
    EXPECT_EQ(helper.Apache_UpdateDirectoryDirectives(missing, "a.com", "/a", {}), 1);

    const std::string block = host("    <Directory \"/a\">\n    </Directory>\n");
    conf(block);
    for (const char* scratch : {"_temp4", "_temp5", "_temp2", "_temp3"}) makeDir(std::string("/conf/httpd.conf") + scratch);
    EXPECT_EQ(helper.Apache_addDirectoryTag(file_, "a.com", "/b", {}), 2);
    EXPECT_EQ(helper.Apache_deleteDirectoryTag(file_, "a.com", "/a"), 2);
    EXPECT_EQ(helper.Apache_UpdateDirectoryTagPath(file_, "a.com", "/a", "/b"), 2);
    EXPECT_EQ(helper.Apache_UpdateDirectoryDirectives(file_, "a.com", "/a", {}), 2);
    EXPECT_EQ(confText(), block);
    for (const char* scratch : {"_temp4", "_temp5", "_temp2", "_temp3"})
        ASSERT_EQ(rmdir(path(std::string("/conf/httpd.conf") + scratch).c_str()), 0);

    // A section with no closing line ends with its block, which keeps its
    // closing line; the next site's block is left whole.
    const std::string next = "<VirtualHost *:80>\n    ServerName b.com\n    <Directory \"/b\">\n    </Directory>\n"
                             "</VirtualHost>\n";
    conf(host("    <Directory \"/a\">\n        Options All\n") + next);
    EXPECT_EQ(helper.Apache_deleteDirectoryTag(file_, "a.com", "/a"), 0);
    EXPECT_EQ(confText(), host("") + next);
    conf(host("    <Directory \"/a\">\n        Options All\n") + next);
    EXPECT_EQ(helper.Apache_UpdateDirectoryDirectives(file_, "a.com", "/a", {"Options None"}), 0);
    EXPECT_EQ(confText(), host("    <Directory \"/a\">\n\t\tOptions None\n\t</Directory>\n") + next);
}
