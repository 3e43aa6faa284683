// PHP as an Apache module (the per-site <IfModule> block, the handler query,
// the site's PHP Include line, the server-level LoadModule line), through
// mod_fcgid (the server-level settings, the site's block with its settings
// folder) and Perl CGI (the handler line under the site's <Directory> line):
// scripts of tests/data/handlers.
#include "HandlerTestFixture.h"

using PhpModuleTest = HandlerTest;

TEST_F(PhpModuleTest, EnablePhpMatchesTheWholeServerNameLineAndGuardsOnTheNextLine) { run("handlers/enable_php"); }
TEST_F(PhpModuleTest, UnopenableFiles) { run("handlers/php_unopenable"); }
TEST_F(PhpModuleTest, DisablePhpRemovesVersionedModuleBlocksAndEveryEmptyLine) { run("handlers/disable_php"); }
TEST_F(PhpModuleTest, ISPhpEnabledNamesTheHandlerBlockAndTheSitesPhpInclude) { run("handlers/is_php_enabled"); }
TEST_F(PhpModuleTest, ModuleFilesChecksAndFolders) { run("handlers/php_modules"); }
TEST_F(PhpModuleTest, AddModuleGoesBeforeTheFirstLoadModuleOrVirtualHost) { run("handlers/php_add_module"); }
TEST_F(PhpModuleTest, DisableModuleAppendsToTheScratchFile) { run("handlers/php_disable_module"); }
TEST_F(PhpModuleTest, ConfigureFcgidGloballyPutsABlockBeforeEveryColumnOneIncludeOrAppendsOne) { run("handlers/configure_fcgid_globally"); }
TEST_F(PhpModuleTest, EnableFcgidMakesTheSettingsFolderAndTheBlock) { run("handlers/enable_fcgid"); }
TEST_F(PhpModuleTest, DisableFcgidRemovesABlockOfAtMostTenLines) { run("handlers/disable_fcgid"); }
TEST_F(PhpModuleTest, EnableAndDisablePerlWriteTheLineUnderTheFirstQuotedDocumentRoot) { run("handlers/perl"); }
TEST_F(PhpModuleTest, PerlOnUnreadableConfigurations) { run("handlers/perl_unreadable"); }

TEST_F(PhpModuleTest, ASiteSwitchedModuleOffFastCgiOffKeepsItsBlock) {
    run("handlers/module_fastcgi_off");
    // Empty lines aside, the file is the one the site started with.
    std::string original = rootedData("handlers/sites.conf");
    for (size_t at; (at = original.find("\n\n")) != std::string::npos;) original.erase(at, 1);
    EXPECT_EQ(readConf(), original + "\n");
}
