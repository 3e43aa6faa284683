// Directives inside one domain's <VirtualHost> block: reading, adding,
// deleting and replacing directive lines, nested-block lines, <IfModule>
// sections and the block's address, with their backups and scratch files.
#include "ToolkitTestFixture.h"

#include <unistd.h>

class ToolkitVHostTest : public ToolkitTest {
protected:
    void SetUp() override {
        ToolkitTest::SetUp();
        inputs_ = "toolkit/vhost.inputs";
    }
};

TEST_F(ToolkitVHostTest, GetDirectiveInVHReadsAfterTheDomainsServerName) {
    const std::string file = golden("vhost_directive_values");
    // "<result> <value>", the value "stale" before the call.
    auto get = [&](const std::string& file, const char* domain, const char* name, bool quoted) {
        std::string value = "stale";
        return std::to_string(helper.Apache_getDirectiveInVH(file, domain, name, value, quoted)) + " " + value;
    };
    EXPECT_EQ(get(file, "example.com", "documentroot", false), "0 /var/www/example");
    EXPECT_EQ(get(file, "example.com", "SSLCertificateFile", true), "0 /etc/ssl/example.pem");
    EXPECT_EQ(get(file, "example.com", "SSLCertificateFile", false), "0 \"/etc/ssl/example.pem\" tail");
    // Quoted values must open with the quote and close.
    EXPECT_EQ(get(file, "example.com", "ErrorLog", true), "3 ");
    EXPECT_EQ(get(file, "example.com", "CustomLog", true), "3 ");
    EXPECT_EQ(get(file, "example.com", "Header", false), "4 ");
    EXPECT_EQ(get(file, "above.com", "DocumentRoot", false), "4 ");
    EXPECT_EQ(get(file, "example.com:80", "DocumentRoot", false), "0 /port/suffix");
    EXPECT_EQ(get(missing_, "example.com", "DocumentRoot", false).substr(0, 2), "1 ");
    EXPECT_TRUE(commandLog().empty());
}

TEST_F(ToolkitVHostTest, AddDirectivesGoIntoTheDomainsBlocks) {
    // Into every block, empty lines kept; quoted or not.
    expectRewrite("add_every_block", "add_every_block", ".qzbackup.ACEP", "_qzbackup_ACEP",
                  [this] { return helper.Apache_AddDirectiveInVH(file_, "example.com", "SetEnv", "QZ on", true); });
    // Several lines into the first block only.
    expectRewrite("add_every_block", "add_first_block_only", ".qzbackup.AD", "_qzbackup_ACEP", [this] {
        return helper.Apache_AddDirectivesInVH(file_, "example.com", {"Alias /a /b", "Options -Indexes"});
    });

    watchConf({"_qzbackup_ACEP"}, {"/conf/missing.conf", "/conf/missing.conf_qzbackup_ACEP"});
    auto addOne = [this](const std::string& f) { return helper.Apache_AddDirectiveInVH(f, "example.com", "Options", "None", false); };
    auto addMany = [this](const std::string& f) { return helper.Apache_AddDirectivesInVH(f, "example.com", {"Options None"}); };
    GIVEN_STEP("unquoted, domain in capitals", helper.Apache_AddDirectiveInVH(file_, "A.COM", "Options", "-Indexes", false));
    STEP("a second line: the file grows by one empty line a call", helper.Apache_AddDirectiveInVH(file_, "a.com", "Header", "set X 1", false));
    GIVEN_STEP("one line, no block of the domain", addOne(file_));
    GIVEN_STEP("many lines, no block of the domain", addMany(file_));
    GIVEN_STEP("one line, an over-long line keeps the file", addOne(file_));
    GIVEN_STEP("many lines, an over-long line keeps the file", addMany(file_));
    makeDir("/conf/httpd.conf_qzbackup_ACEP");
    GIVEN_STEP("one line, the scratch file a folder", addOne(file_));
    STEP("many lines, the scratch file a folder", addMany(file_));
    STEP("one line, no input", addOne(missing_));
    STEP("many lines, no input", addMany(missing_));
    EXPECT_DATA(transcript_, "toolkit/add_directives_in_vh.transcript");
}

TEST_F(ToolkitVHostTest, DeleteAndUpdateDirectivesInVH) {
    // Names followed by a space, dropped in the first block; the first line
    // of each block replaced.
    expectRewrite("delete_first_block_only", "delete_first_block_only", ".qzbackup.drt", "_temp11",
                  [this] { return helper.Apache_DeleteDirectivesInVH(file_, "example.com", {"Options", "Header"}); });
    expectRewrite("update_every_block", "update_every_block", ".qzbackup.rt", "_temp1", [this] {
        return helper.Apache_UpdateDirectiveInVH(file_, "example.com", "DocumentRoot", "/new", true);
    });

    watchConf({"_temp11", "_temp1"});
    auto drop = [this](std::vector<std::string> names) { return helper.Apache_DeleteDirectivesInVH(file_, "a.com", names); };
    GIVEN_STEP("delete, the block found but nothing to drop: still rewritten", drop({"Options"}));
    GIVEN_STEP("delete, a second ServerName does not end the block; the first block only", drop({"Options", "Header"}));
    GIVEN_STEP("delete, a bare <VirtualHost>", drop({"Options"}));
    GIVEN_STEP("update, unquoted", helper.Apache_UpdateDirectiveInVH(file_, "a.com", "ServerAdmin", "admin@a.com", false));
    GIVEN_STEP("update, above ServerName: not replaced and not added",
               helper.Apache_UpdateDirectiveInVH(file_, "a.com", "DocumentRoot", "/y", false));
    EXPECT_DATA(transcript_, "toolkit/delete_and_update_directives_in_vh.transcript");
}

TEST_F(ToolkitVHostTest, UpdateVHDirectiveContentsAddsOrTogglesANestedLine) {
    const std::string dir = "<Directory \"/home/example.com/www/html\">";
    expectRewrite("nested_block", "nested_value_added", ".qzbackup.rt", "_temp12", [&] {
        return helper.Apache_UpdateVHDirectiveContents(file_, "example.com", dir, "Require all granted", true);
    });

    watchConf({"_temp12"});
    auto update = [&](const char* value, bool add) {
        golden("nested_block");
        return helper.Apache_UpdateVHDirectiveContents(file_, "example.com", dir, value, add);
    };
    // Present: kept when adding, dropped otherwise; absent: added either way.
    STEP("present, adding", update("allowoverride", true));
    STEP("present, not adding", update("AllowOverride All", false));
    STEP("absent, not adding", update("Require all granted", false));
    golden("nested_block");
    STEP("no such section", helper.Apache_UpdateVHDirectiveContents(file_, "example.com", "<Directory /other>", "X", true));
    GIVEN_STEP("nested, once found not added to a later block",
               helper.Apache_UpdateVHDirectiveContents(file_, "a.com", "<Directory /a>", "Options", true));
    GIVEN_STEP("nested, a section left open ends with its block",
               helper.Apache_UpdateVHDirectiveContents(file_, "a.com", "<Directory /a>", "X", true));
    EXPECT_DATA(transcript_, "toolkit/update_vh_directive_contents.transcript");
}

TEST_F(ToolkitVHostTest, ReadAndUpdateFailuresAndTheirLineLimit) {
    EXPECT_EQ(helper.Apache_DeleteDirectivesInVH(missing_, "a.com", {"Options"}), 1);
    EXPECT_EQ(helper.Apache_UpdateDirectiveInVH(missing_, "a.com", "Options", "None", false), 1);
    EXPECT_EQ(helper.Apache_UpdateVHDirectiveContents(missing_, "a.com", "<Directory", "X", true), 1);
    EXPECT_EQ(helper.Apache_ChangeVirtualHostPort(missing_, "a.com", "1.2.3.4", "80"), 1);

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

    // The backup keeps what the rewrite loses.
    watchConf({".qzbackup.rt"});
    GIVEN_STEP("update, lines of 2023 characters at most: the rest is lost",
               helper.Apache_UpdateDirectiveInVH(file, "a.com", "Options", "None", false));
    EXPECT_DATA(transcript_, "toolkit/line_limit.transcript");
}

TEST_F(ToolkitVHostTest, IsModuleExistsInVHComparesTheNameBeforeTheDot) {
    const std::string file = golden("ifmodule_names");
    const std::string both = "modname=mod_fcgid\nmodname=MOD_PHP5\n";
    EXPECT_PRINTS(helper.Apache_isModuleExistsInVH(file, "example.com", "mod_php5"), true, both);
    EXPECT_PRINTS(helper.Apache_isModuleExistsInVH(file, "example.com", "mod_tab"), false, both);
    EXPECT_PRINTS(helper.Apache_isModuleExistsInVH(file, "example.com", "mod_commented"), false, both);
    EXPECT_PRINTS(helper.Apache_isModuleExistsInVH(file, "tab.com", "mod_tab"), false, "");
    EXPECT_PRINTS(helper.Apache_isModuleExistsInVH(missing_, "example.com", "mod_php5"), false, "");
    EXPECT_PRINTS(helper.Apache_isModuleExistsInVH(file, "OTHER.com", "MOD_php5"), true, "modname=mod_php5\n");
}

TEST_F(ToolkitVHostTest, DeleteVhIfmoduleBlockRemovesUpToTheFirstClosingLine) {
    watchConf({".dif"}, {"/conf/missing.conf.dif"});
    golden("ifmodule_first_closing_ends");
    STEP("the first closing line ends the section", helper.Apache_DeleteVhIfmoduleBlock(file_, "example.com", "MOD_PHP5"));
    // The line after the section is copied even when empty.
    golden("ifmodule_then_blank_line");
    STEP("then a blank line", helper.Apache_DeleteVhIfmoduleBlock(file_, "example.com", "mod_php5"));
    GIVEN_STEP("ifmodule, at the end of the file the line after is an empty read",
               helper.Apache_DeleteVhIfmoduleBlock(file_, "a.com", "mod_x"));
    GIVEN_STEP("ifmodule, nothing removed: the scratch file stays", helper.Apache_DeleteVhIfmoduleBlock(file_, "a.com", "mod_y"));
    GIVEN_STEP("ifmodule, an over-long line (2047 characters) keeps the file",
               helper.Apache_DeleteVhIfmoduleBlock(file_, "a.com", "mod_x"));
    // The scratch file is opened first.
    STEP("no input", helper.Apache_DeleteVhIfmoduleBlock(missing_, "a.com", "mod_x"));
    makeDir("/conf/other.conf.dif");
    STEP("the scratch file a folder", helper.Apache_DeleteVhIfmoduleBlock(path("/conf/other.conf"), "a.com", "mod_x"));
    EXPECT_DATA(transcript_, "toolkit/delete_vh_ifmodule_block.transcript");
}

TEST_F(ToolkitVHostTest, ChangeVirtualHostPortRewritesTheHeldOpeningLine) {
    expectRewrite("port_changed", "port_changed", ".qzbackup.cp", "_qzbackup_cp", [this] {
        return helper.Apache_ChangeVirtualHostPort(file_, "example.com", "10.0.0.2", "8080");
    });
    watchConf({"_qzbackup_cp"});
    auto change = [this](const char* ip, const char* port) { return helper.Apache_ChangeVirtualHostPort(file_, "a.com", ip, port); };
    GIVEN_STEP("port, IPv6", change("2001:db8::1", "443"));
    GIVEN_STEP("port, a bare <VirtualHost> opens nothing: 3", change("1.2.3.4", "80"));
    GIVEN_STEP("port, an over-long line would keep the scan going for ever: 1", change("1.2.3.4", "80"));
    EXPECT_DATA(transcript_, "toolkit/change_virtual_host_port.transcript");
}
