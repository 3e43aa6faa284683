// <Directory> sections of one domain's <VirtualHost> block: inserting,
// deleting, renaming and refilling a section, with the ".qzbackup.rt" backup
// and a scratch file of its own for each edit (scripts of tests/data/toolkit).
#include "ToolkitTestFixture.h"

using ToolkitDirectoryTest = ToolkitTest;

TEST_F(ToolkitDirectoryTest, EditsTouchTheFirstMatchingSectionOfTheDomain) { run("toolkit/directory_edits"); }
TEST_F(ToolkitDirectoryTest, AnUnquotedOrUnterminatedPathStopsTheSearchAndFilesThatDoNotOpen) { run("toolkit/directory_search_stops"); }
