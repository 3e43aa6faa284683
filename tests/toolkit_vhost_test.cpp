// Directives inside one domain's <VirtualHost> block: reading, adding,
// deleting and replacing directive lines, nested-block lines, <IfModule>
// sections and the block's address, with their backups and scratch files.
#include "ToolkitTestFixture.h"

#include <unistd.h>

class ToolkitVHostTest : public ToolkitTest {
protected:
    // Runs `edit` on a file it must leave as it is, returning `result`, with
    // the scratch file deleted and only the backup copy made.
    template <class Edit>
    void expectUnchanged(const std::string& contents, int result, const std::string& backup,
                         const std::string& scratch, Edit&& edit) {
        conf(contents);
        const size_t logged = commandLog().size();
        EXPECT_EQ(edit(), result);
        EXPECT_EQ(confText(), contents);
        EXPECT_FALSE(exists("/conf/httpd.conf" + scratch));
        EXPECT_EQ(commandLog().size(), logged + 1);
        EXPECT_EQ(commandLog().back(), "cp " + file_ + " " + file_ + backup);
    }
};

TEST_F(ToolkitVHostTest, GetDirectiveInVHReadsAfterTheDomainsServerName) {
    const std::string file = golden("vhost_directive_values");
    std::string value = "stale";
    EXPECT_EQ(helper.Apache_getDirectiveInVH(file, "example.com", "documentroot", value, false), 0);
    EXPECT_EQ(value, "/var/www/example");
    EXPECT_EQ(helper.Apache_getDirectiveInVH(file, "example.com", "SSLCertificateFile", value, true), 0);
    EXPECT_EQ(value, "/etc/ssl/example.pem");
    EXPECT_EQ(helper.Apache_getDirectiveInVH(file, "example.com", "SSLCertificateFile", value, false), 0);
    EXPECT_EQ(value, "\"/etc/ssl/example.pem\" tail");

    // Quoted values must open with the quote and close.
    EXPECT_EQ(helper.Apache_getDirectiveInVH(file, "example.com", "ErrorLog", value, true), 3);
    EXPECT_EQ(helper.Apache_getDirectiveInVH(file, "example.com", "CustomLog", value, true), 3);
    EXPECT_EQ(value, "");

    value = "stale";
    EXPECT_EQ(helper.Apache_getDirectiveInVH(file, "example.com", "Header", value, false), 4);
    EXPECT_EQ(value, "");
    EXPECT_EQ(helper.Apache_getDirectiveInVH(file, "above.com", "DocumentRoot", value, false), 4);
    EXPECT_EQ(helper.Apache_getDirectiveInVH(file, "example.com:80", "DocumentRoot", value, false), 0);
    EXPECT_EQ(value, "/port/suffix");
    EXPECT_EQ(helper.Apache_getDirectiveInVH(path("/conf/missing.conf"), "example.com", "DocumentRoot", value, false),
              1);
    EXPECT_TRUE(commandLog().empty());
}

TEST_F(ToolkitVHostTest, AddDirectiveInVHAddsToEveryBlockKeepingEmptyLines) {
    expectRewrite("add_every_block", "add_every_block", ".qzbackup.ACEP", "_qzbackup_ACEP",
                  [this] { return helper.Apache_AddDirectiveInVH(file_, "example.com", "SetEnv", "QZ on", true); });

    // Unquoted, and the file grows by one empty line a call.
    conf("<VirtualHost *:80>\nServerName a.com\n</VirtualHost>");
    EXPECT_EQ(helper.Apache_AddDirectiveInVH(file_, "A.COM", "Options", "-Indexes", false), 0);
    EXPECT_EQ(helper.Apache_AddDirectiveInVH(file_, "a.com", "Header", "set X 1", false), 0);
    EXPECT_EQ(confText(), "<VirtualHost *:80>\nServerName a.com\n\tOptions -Indexes\n\tHeader set X 1\n"
                          "</VirtualHost>\n\n");
}

TEST_F(ToolkitVHostTest, AddDirectivesInVHAddsToTheFirstBlockOnly) {
    expectRewrite("add_every_block", "add_first_block_only", ".qzbackup.AD", "_qzbackup_ACEP", [this] {
        return helper.Apache_AddDirectivesInVH(file_, "example.com", {"Alias /a /b", "Options -Indexes"});
    });
}

TEST_F(ToolkitVHostTest, AddDirectivesReportOneWhenNothingCouldBeAdded) {
    const std::string other = "<VirtualHost *:80>\n    ServerName other.com\n</VirtualHost>\n";
    auto addOne = [this] { return helper.Apache_AddDirectiveInVH(file_, "example.com", "Options", "None", false); };
    auto addMany = [this] { return helper.Apache_AddDirectivesInVH(file_, "example.com", {"Options None"}); };
    expectUnchanged(other, 1, ".qzbackup.ACEP", "_qzbackup_ACEP", addOne);
    expectUnchanged(other, 1, ".qzbackup.AD", "_qzbackup_ACEP", addMany);

    // A line over 2998 characters would keep the scan going for ever.
    const std::string overLong =
        "<VirtualHost *:80>\n    ServerName example.com\n# " + std::string(2997, 'x') + "\n</VirtualHost>\n";
    expectUnchanged(overLong, 1, ".qzbackup.ACEP", "_qzbackup_ACEP", addOne);
    expectUnchanged(overLong, 1, ".qzbackup.AD", "_qzbackup_ACEP", addMany);

    // Nor can anything be added through a scratch file that does not open.
    const std::string mine = "<VirtualHost *:80>\n    ServerName example.com\n</VirtualHost>\n";
    conf(mine);
    makeDir("/conf/httpd.conf_qzbackup_ACEP");
    EXPECT_EQ(addOne(), 1);
    EXPECT_EQ(addMany(), 1);
    EXPECT_EQ(confText(), mine);
    EXPECT_EQ(commandLog().back(), "cp " + file_ + " " + file_ + ".qzbackup.AD");

    // An input that does not open ends at once.
    const std::string missing = path("/conf/missing.conf");
    EXPECT_EQ(helper.Apache_AddDirectiveInVH(missing, "example.com", "Options", "None", false), 1);
    EXPECT_EQ(helper.Apache_AddDirectivesInVH(missing, "example.com", {"Options None"}), 1);
    EXPECT_FALSE(exists("/conf/missing.conf_qzbackup_ACEP"));
    EXPECT_FALSE(exists("/conf/missing.conf"));
}

TEST_F(ToolkitVHostTest, DeleteDirectivesInVHDropsNamesFollowedByASpaceInTheFirstBlock) {
    expectRewrite("delete_first_block_only", "delete_first_block_only", ".qzbackup.drt", "_temp11",
                  [this] { return helper.Apache_DeleteDirectivesInVH(file_, "example.com", {"Options", "Header"}); });
    const std::string& file = file_;

    // The block found but nothing to drop: still rewritten.
    conf("<VirtualHost *:80>\n\n    ServerName a.com\n</VirtualHost>\n");
    EXPECT_EQ(helper.Apache_DeleteDirectivesInVH(file, "a.com", {"Options"}), 0);
    EXPECT_EQ(confText(), "<VirtualHost *:80>\n    ServerName a.com\n</VirtualHost>\n");

    // A second ServerName inside the block does not end it, and only the first
    // block of the domain is edited.
    conf("<VirtualHost *:80>\n ServerName a.com\n Options None\n ServerName b.com\n Header set x\n</VirtualHost>\n"
         "<VirtualHost *:443>\n ServerName a.com\n Options All\n</VirtualHost>\n");
    EXPECT_EQ(helper.Apache_DeleteDirectivesInVH(file, "a.com", {"Options", "Header"}), 0);
    EXPECT_EQ(confText(), "<VirtualHost *:80>\n ServerName a.com\n ServerName b.com\n</VirtualHost>\n"
                          "<VirtualHost *:443>\n ServerName a.com\n Options All\n</VirtualHost>\n");

    expectUnchanged("<VirtualHost>\n    ServerName a.com\n    Options None\n</VirtualHost>\n", 3, ".qzbackup.drt",
                    "_temp11", [&] { return helper.Apache_DeleteDirectivesInVH(file, "a.com", {"Options"}); });
}

TEST_F(ToolkitVHostTest, UpdateDirectiveInVHReplacesTheFirstLineOfEveryBlock) {
    expectRewrite("update_every_block", "update_every_block", ".qzbackup.rt", "_temp1", [this] {
        return helper.Apache_UpdateDirectiveInVH(file_, "example.com", "DocumentRoot", "/new", true);
    });
    const std::string& file = file_;

    conf("<VirtualHost *:80>\n    ServerName a.com\n    ServerAdmin old@a.com\n</VirtualHost>\n");
    EXPECT_EQ(helper.Apache_UpdateDirectiveInVH(file, "a.com", "ServerAdmin", "admin@a.com", false), 0);
    EXPECT_EQ(confText(), "<VirtualHost *:80>\n    ServerName a.com\n\tServerAdmin admin@a.com\n</VirtualHost>\n");

    // Above ServerName, or absent: not replaced and not added.
    expectUnchanged("<VirtualHost *:80>\n    DocumentRoot /x\n    ServerName a.com\n</VirtualHost>\n", 3,
                    ".qzbackup.rt", "_temp1",
                    [&] { return helper.Apache_UpdateDirectiveInVH(file, "a.com", "DocumentRoot", "/y", false); });
}

TEST_F(ToolkitVHostTest, UpdateVHDirectiveContentsAddsOrTogglesANestedLine) {
    const std::string& file = file_;
    const std::string dir = "<Directory \"/home/example.com/www/html\">";
    expectRewrite("nested_block", "nested_value_added", ".qzbackup.rt", "_temp12", [&] {
        return helper.Apache_UpdateVHDirectiveContents(file, "example.com", dir, "Require all granted", true);
    });
    const std::string original = data("toolkit/nested_block.conf");

    // Present: kept when adding, dropped otherwise; absent: added either way.
    golden("nested_block");
    EXPECT_EQ(helper.Apache_UpdateVHDirectiveContents(file, "example.com", dir, "allowoverride", true), 0);
    EXPECT_EQ(confText(), data("toolkit/nested_block.conf").erase(original.rfind("\n\n"), 1));
    golden("nested_block");
    EXPECT_EQ(helper.Apache_UpdateVHDirectiveContents(file, "example.com", dir, "AllowOverride All", false), 0);
    EXPECT_EQ(confText(), expected("nested_value_removed"));
    golden("nested_block");
    EXPECT_EQ(helper.Apache_UpdateVHDirectiveContents(file, "example.com", dir, "Require all granted", false), 0);
    EXPECT_EQ(confText(), expected("nested_value_added"));

    // Once found, the value is not added to a later block of the domain.
    conf("<VirtualHost *:80>\n ServerName a.com\n <Directory /a>\n  Options None\n </Directory>\n</VirtualHost>\n"
         "<VirtualHost *:443>\n ServerName a.com\n <Directory /a>\n </Directory>\n</VirtualHost>\n");
    EXPECT_EQ(helper.Apache_UpdateVHDirectiveContents(file, "a.com", "<Directory /a>", "Options", true), 0);
    EXPECT_EQ(confText(), "<VirtualHost *:80>\n ServerName a.com\n <Directory /a>\n  Options None\n </Directory>\n"
                          "</VirtualHost>\n<VirtualHost *:443>\n ServerName a.com\n <Directory /a>\n </Directory>\n"
                          "</VirtualHost>\n");

    expectUnchanged(original, 3, ".qzbackup.rt", "_temp12", [&] {
        return helper.Apache_UpdateVHDirectiveContents(file, "example.com", "<Directory /other>", "X", true);
    });
    // A section left open ends with its block: nothing goes into the next site's.
    expectUnchanged("<VirtualHost *:80>\n ServerName a.com\n <Directory /a>\n</VirtualHost>\n"
                    "<VirtualHost *:80>\n ServerName b.com\n <Directory /b>\n </Directory>\n</VirtualHost>\n",
                    3, ".qzbackup.rt", "_temp12", [&] {
                        return helper.Apache_UpdateVHDirectiveContents(file, "a.com", "<Directory /a>", "X", true);
                    });
}

TEST_F(ToolkitVHostTest, ReadAndUpdateFailuresAndTheirLineLimit) {
    const std::string missing = path("/conf/missing.conf");
    EXPECT_EQ(helper.Apache_DeleteDirectivesInVH(missing, "a.com", {"Options"}), 1);
    EXPECT_EQ(helper.Apache_UpdateDirectiveInVH(missing, "a.com", "Options", "None", false), 1);
    EXPECT_EQ(helper.Apache_UpdateVHDirectiveContents(missing, "a.com", "<Directory", "X", true), 1);
    EXPECT_EQ(helper.Apache_ChangeVirtualHostPort(missing, "a.com", "1.2.3.4", "80"), 1);

    const std::string block = "<VirtualHost *:80>\n    ServerName a.com\n    Options All\n</VirtualHost>\n";
    const std::string file = conf(block);
    const std::vector<std::string> scratches = {"_temp11", "_temp1", "_temp12", "_qzbackup_cp"};
    for (const std::string& scratch : scratches) makeDir("/conf/httpd.conf" + scratch);
    EXPECT_EQ(helper.Apache_DeleteDirectivesInVH(file, "a.com", {"Options"}), 2);
    EXPECT_EQ(helper.Apache_UpdateDirectiveInVH(file, "a.com", "Options", "None", false), 2);
    EXPECT_EQ(helper.Apache_UpdateVHDirectiveContents(file, "a.com", "Options", "X", true), 2);
    EXPECT_EQ(helper.Apache_ChangeVirtualHostPort(file, "a.com", "1.2.3.4", "80"), 2);
    EXPECT_EQ(confText(), block);
    for (const std::string& scratch : scratches) ASSERT_EQ(rmdir(path("/conf/httpd.conf" + scratch).c_str()), 0);

    // Lines hold at most 2023 characters; a longer one ends the scan and the
    // rest of the file is lost from the rewrite (the backup keeps it).
    const std::string longLine = "# " + std::string(2022, 'x');
    conf(block + "# " + std::string(2021, 'x') + "\n" + longLine + "\nListen 80\n");
    EXPECT_EQ(helper.Apache_UpdateDirectiveInVH(file, "a.com", "Options", "None", false), 0);
    EXPECT_EQ(confText(), "<VirtualHost *:80>\n    ServerName a.com\n\tOptions None\n</VirtualHost>\n# " +
                              std::string(2021, 'x') + "\n");
    EXPECT_EQ(readFile("/conf/httpd.conf.qzbackup.rt"), block + "# " + std::string(2021, 'x') + "\n" + longLine +
                                                            "\nListen 80\n");
}

TEST_F(ToolkitVHostTest, IsModuleExistsInVHComparesTheNameBeforeTheDot) {
    const std::string file = golden("ifmodule_names");
    captureOutput();
    EXPECT_TRUE(helper.Apache_isModuleExistsInVH(file, "example.com", "mod_php5"));
    EXPECT_EQ(capturedOutput(), "modname=mod_fcgid\nmodname=MOD_PHP5\n");
    captureOutput();
    EXPECT_FALSE(helper.Apache_isModuleExistsInVH(file, "example.com", "mod_tab"));
    EXPECT_FALSE(helper.Apache_isModuleExistsInVH(file, "example.com", "mod_commented"));
    EXPECT_FALSE(helper.Apache_isModuleExistsInVH(file, "tab.com", "mod_tab"));
    EXPECT_FALSE(helper.Apache_isModuleExistsInVH(path("/conf/missing.conf"), "example.com", "mod_php5"));
    EXPECT_EQ(capturedOutput(), "modname=mod_fcgid\nmodname=MOD_PHP5\nmodname=mod_fcgid\nmodname=MOD_PHP5\n");
    captureOutput();
    EXPECT_TRUE(helper.Apache_isModuleExistsInVH(file, "OTHER.com", "MOD_php5"));
    EXPECT_EQ(capturedOutput(), "modname=mod_php5\n");
}

TEST_F(ToolkitVHostTest, DeleteVhIfmoduleBlockRemovesUpToTheFirstClosingLine) {
    const std::string file = golden("ifmodule_first_closing_ends");
    captureOutput();
    EXPECT_EQ(helper.Apache_DeleteVhIfmoduleBlock(file, "example.com", "MOD_PHP5"), 0);
    EXPECT_EQ(capturedOutput(), "modname=mod_php5\n");
    EXPECT_EQ(confText(), expected("ifmodule_first_closing_ends"));
    EXPECT_FALSE(exists("/conf/httpd.conf.dif"));
    EXPECT_EQ(commandLog(), (Lines{"mv " + file + ".dif " + file}));

    // The line after the section is copied even when empty.
    golden("ifmodule_then_blank_line");
    EXPECT_EQ(helper.Apache_DeleteVhIfmoduleBlock(file, "example.com", "mod_php5"), 0);
    EXPECT_EQ(confText(), expected("ifmodule_then_blank_line"));

    // At the end of the file that line is an empty read.
    conf("<VirtualHost *:80>\nServerName a.com\n<IfModule mod_x.c>\n</IfModule>\n");
    EXPECT_EQ(helper.Apache_DeleteVhIfmoduleBlock(file, "a.com", "mod_x"), 0);
    EXPECT_EQ(confText(), "<VirtualHost *:80>\nServerName a.com\n\n");
}

TEST_F(ToolkitVHostTest, DeleteVhIfmoduleBlockLeavesItsScratchFileWhenNothingIsRemoved) {
    const std::string original = "<VirtualHost *:80>\n\n    ServerName a.com\n    <IfModule mod_x.c>\n"
                                 "    </IfModule>\n</VirtualHost>\n";
    const std::string file = conf(original);
    EXPECT_EQ(helper.Apache_DeleteVhIfmoduleBlock(file, "a.com", "mod_y"), 0);
    EXPECT_EQ(confText(), original);
    EXPECT_EQ(readFile("/conf/httpd.conf.dif"), "<VirtualHost *:80>\n    ServerName a.com\n    <IfModule mod_x.c>\n"
                                                "    </IfModule>\n</VirtualHost>\n");
    EXPECT_TRUE(commandLog().empty());

    // Over-long lines (2047 characters) leave the file alone.
    const std::string overLong = original + "# " + std::string(2045, 'x') + "\n";
    conf(overLong);
    EXPECT_EQ(helper.Apache_DeleteVhIfmoduleBlock(file, "a.com", "mod_x"), 22);
    EXPECT_EQ(confText(), overLong);
    EXPECT_TRUE(commandLog().empty());

    // The scratch file is opened first.
    const std::string missing = path("/conf/missing.conf");
    EXPECT_EQ(helper.Apache_DeleteVhIfmoduleBlock(missing, "a.com", "mod_x"), 22);
    EXPECT_TRUE(exists("/conf/missing.conf.dif"));
    makeDir("/conf/other.conf.dif");
    EXPECT_EQ(helper.Apache_DeleteVhIfmoduleBlock(path("/conf/other.conf"), "a.com", "mod_x"), 23);
}

TEST_F(ToolkitVHostTest, ChangeVirtualHostPortRewritesTheHeldOpeningLine) {
    expectRewrite("port_changed", "port_changed", ".qzbackup.cp", "_qzbackup_cp", [this] {
        return helper.Apache_ChangeVirtualHostPort(file_, "example.com", "10.0.0.2", "8080");
    });
    const std::string& file = file_;

    conf("<VirtualHost 10.0.0.1:443>\nServerName a.com\n</VirtualHost>\n");
    EXPECT_EQ(helper.Apache_ChangeVirtualHostPort(file, "a.com", "2001:db8::1", "443"), 0);
    EXPECT_EQ(confText(), "<VirtualHost [2001:db8::1]:443>\nServerName a.com\n</VirtualHost>\n\n");

    // A bare <VirtualHost> opens nothing; no block of the domain: 3.
    expectUnchanged("<VirtualHost>\nServerName a.com\n</VirtualHost>\n", 3, ".qzbackup.cp", "_qzbackup_cp",
                    [&] { return helper.Apache_ChangeVirtualHostPort(file, "a.com", "1.2.3.4", "80"); });
    // An over-long line would keep the scan going for ever: left alone, 1.
    expectUnchanged("<VirtualHost *:80>\nServerName a.com\n# " + std::string(2997, 'x') + "\n", 1, ".qzbackup.cp",
                    "_qzbackup_cp",
                    [&] { return helper.Apache_ChangeVirtualHostPort(file, "a.com", "1.2.3.4", "80"); });
}
