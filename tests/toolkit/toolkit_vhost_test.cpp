// Directives inside one domain's <VirtualHost> block: reading, adding,
// deleting and replacing directive lines, nested-block lines, <IfModule>
// sections and the block's address, with their backups and scratch files
// (scripts of tests/data/toolkit).
#include "ToolkitTestFixture.h"

using ToolkitVHostTest = ToolkitTest;

TEST_F(ToolkitVHostTest, GetDirectiveInVHReadsAfterTheDomainsServerName) { run("toolkit/get_directive_in_vh"); }
TEST_F(ToolkitVHostTest, AddDirectivesGoIntoTheDomainsBlocks) { run("toolkit/add_directives_in_vh"); }
TEST_F(ToolkitVHostTest, DeleteAndUpdateDirectivesInVH) { run("toolkit/delete_and_update_directives_in_vh"); }
TEST_F(ToolkitVHostTest, UpdateVHDirectiveContentsAddsOrTogglesANestedLine) { run("toolkit/update_vh_directive_contents"); }
TEST_F(ToolkitVHostTest, ReadAndUpdateFailuresAndTheirLineLimit) { run("toolkit/line_limit"); }
TEST_F(ToolkitVHostTest, DeleteVhIfmoduleBlockRemovesUpToTheFirstClosingLine) { run("toolkit/delete_vh_ifmodule_block"); }
TEST_F(ToolkitVHostTest, ChangeVirtualHostPortRewritesTheHeldOpeningLine) { run("toolkit/change_virtual_host_port"); }
