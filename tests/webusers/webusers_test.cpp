// Web users (the scripts of tests/data/webusers): the password file's name,
// its lines after each operation, the mv of the scratch file, result codes,
// printed lines and tracking.
#include "WebsiteTestFixture.h"

using WebUsersTest = WebsiteTest;

TEST_F(WebUsersTest, CreateDeleteAndChangeRewriteThePasswordFile) { run("webusers/create_delete_change"); }
TEST_F(WebUsersTest, ListAndCount) { run("webusers/list_and_count"); }
TEST_F(WebUsersTest, MissingFileAndScratchFile) { run("webusers/missing_file_and_scratch_file"); }
