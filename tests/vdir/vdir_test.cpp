// Virtual directories: the sections written into every block of a site, read
// back, replaced and removed, the access and Options lines, the password file,
// the commands, the printed progress lines, the lookups and the early exits
// (scripts of tests/data/vdir).
#include "VirtualDirectoryTestFixture.h"

using VirtualDirectoryScriptTest = VirtualDirectoryTest;

TEST_F(VirtualDirectoryScriptTest, CreateWritesASectionIntoEveryBlockOfTheSite) { run("vdir/every_matching_block"); }
TEST_F(VirtualDirectoryScriptTest, AccessAndOptionsLinesFollowOrderAndTheApacheVersion) { run("vdir/access_and_options_lines"); }
TEST_F(VirtualDirectoryScriptTest, WhereASectionGoesOrWhyNoneDoes) { run("vdir/create_where_a_section_goes"); }
TEST_F(VirtualDirectoryScriptTest, FailuresGive21To23WithTheConfigurationUnchanged) { run("vdir/create_failures"); }
TEST_F(VirtualDirectoryScriptTest, PasswordFileIsCreatedOrKeptNeverFollowedThroughALinkAndOwnedByGetPathOwner) { run("vdir/password_file"); }
TEST_F(VirtualDirectoryScriptTest, ShellMetacharactersReachTheCommandsAsPlainWords) { run("vdir/shell_metacharacters"); }
TEST_F(VirtualDirectoryScriptTest, InfoReadsTheSectionOfTheSiteAndEndsWithoutABlockOrAtALongLine) { run("vdir/info"); }
TEST_F(VirtualDirectoryScriptTest, UpdateReplacesTheSectionOfTheFirstBlockOrAppendsOne) { run("vdir/update"); }
TEST_F(VirtualDirectoryScriptTest, DeleteExistsListAndAliasLookups) { run("vdir/lookups"); }
