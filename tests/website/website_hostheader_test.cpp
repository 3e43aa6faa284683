// Host headers (the scripts of tests/data/hostheader): a name added to and
// removed from the ServerAlias line of a site's blocks and of its HTTPS
// redirect file.
#include "WebsiteTestFixture.h"

using HostHeaderTest = WebsiteTest;

TEST_F(HostHeaderTest, AnAliasIsAddedToAndRemovedFromBothBlocksAndTheRedirect) { run("hostheader/alias_added_and_removed"); }
TEST_F(HostHeaderTest, AddingRefusesANameThatBeginsAnAlias) { run("hostheader/adding_refuses_a_prefix"); }
TEST_F(HostHeaderTest, DeletingRebuildsTheAliasLists) { run("hostheader/deleting_rebuilds_the_lists"); }
TEST_F(HostHeaderTest, FailuresAndTheFixedScratchFile) { run("hostheader/failures_and_final_newlines"); }
