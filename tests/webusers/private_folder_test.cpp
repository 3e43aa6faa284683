// Private folders (the scripts of tests/data/private): the ".htaccess" lines,
// the real htpasswd and the password it stores, file modes, printed command
// lines, result codes and tracking.
#include "WebsiteTestFixture.h"

using PrivateFolderTest = WebsiteTest;

TEST_F(PrivateFolderTest, AddWritesTheFilesThenAddsUsers) { run("private/add"); }
TEST_F(PrivateFolderTest, DeleteRemovesUsersThenTheProtection) { run("private/delete"); }
TEST_F(PrivateFolderTest, EditRecreatesTheUserOrMovesTheProtection) { run("private/edit"); }
