// FileHandling (the scripts of tests/data/params): key/value files before and
// after each operation, with its result and printed lines.
#include "WebsiteTestFixture.h"

using FileHandlingTest = WebsiteTest;

TEST_F(FileHandlingTest, DeleteAndEditRewriteEveryMatchingLine) { run("params/delete_and_edit"); }
TEST_F(FileHandlingTest, ExistsStopsAtTheFirstMatchingLine) { run("params/exists"); }
TEST_F(FileHandlingTest, EmptyArgumentsUnopenableFilesAndLongLines) { run("params/empty_unopenable_long"); }
TEST_F(FileHandlingTest, AddAppendsTheValueAndANewline) { run("params/add"); }
