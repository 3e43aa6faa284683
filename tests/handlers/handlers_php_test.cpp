// PHP as an Apache module: the per-site <IfModule> block, the handler query,
// the site's PHP Include line and the server-level LoadModule line.
#include "HandlerTestFixture.h"

#include <climits>
#include <sys/stat.h>
#include <unistd.h>

class PhpModuleTest : public HandlerTest {
protected:
    void SetUp() override {
        HandlerTest::SetUp();
        inputs_ = "handlers/php.inputs";
    }
};

TEST_F(PhpModuleTest, EnablePhpMatchesTheWholeServerNameLineAndGuardsOnTheNextLine) {
    watch("/conf/httpd.conf.tmpdso");
    // Another module's block after CustomLog (it contains "IfModule"); a
    // ServerName with a port or a trailing blank: no block is written.
    useConf("handlers/php_server_name_lines.conf");
    for (const char* domain : {"a.com", "b.com", "c.com"}) STEP(domain, website_->EnablePhp(domain, "mod_php5"));
    // Blanks then tabs are cut, not tabs then blanks; a site without
    // CustomLog leaves the mark for the next block's CustomLog, and a
    // CustomLog line that ends the file without a newline is read again.
    GIVEN_STEP("enable, tab then blank; no CustomLog; a last CustomLog without a newline", website_->EnablePhp("a.com", "mod_php7"));
    STEP("without CustomLog", website_->EnablePhp("d.com", "mod_php7"));
    EXPECT_DATA(transcript_, "handlers/enable_php.transcript");
}

TEST_F(PhpModuleTest, UnopenableFiles) {
    watch("/conf/httpd.conf.tmpdso");
    STEP("no configuration", website_->EnablePhp("a.com", "mod_php5"));
    std::remove(path("/conf/httpd.conf.tmpdso").c_str());
    makeDir("/conf/httpd.conf.tmpdso");
    writeConf("ServerName a.com\n");
    STEP("the scratch file a folder", website_->EnablePhp("a.com", "mod_php5"));
    STEP("DisablePhp, no configuration", CQZWebsite(&tracker_, missing_.c_str()).DisablePhp("a.com"));
    STEP("ISPhpEnabled, no configuration", CQZWebsite(&tracker_, missing_.c_str()).ISPhpEnabled("a.com"));

    // No configuration named: 21, and not even a scratch file is made. The
    // FastCGI and Perl operations have reported themselves by then.
    CQZWebsite unnamed(&tracker_);
    watch(std::string(unnamed.TEMPFILE).substr(root_.size()));
    watch("/etc/tempapa1");
    STEP("EnablePhp, unnamed", unnamed.EnablePhp("a.com", "mod_php5"));
    STEP("DisablePhp, unnamed", unnamed.DisablePhp("a.com"));
    STEP("ISPhpEnabled, unnamed", unnamed.ISPhpEnabled("a.com"));
    STEP("EnableFcgid, unnamed", unnamed.EnableFcgid("a.com", "/p", "enabled"));
    STEP("DisableFcgid, unnamed", unnamed.DisableFcgid("a.com", "mod_fcgid", "x"));
    STEP("EnablePerl, unnamed", unnamed.EnablePerl("a.com"));
    STEP("DisablePerl, unnamed", unnamed.DisablePerl("a.com"));
    EXPECT_DATA(transcript_, "handlers/php_unopenable.transcript");
}

TEST_F(PhpModuleTest, DisablePhpRemovesVersionedModuleBlocksAndEveryEmptyLine) {
    // The site's mark lasts until the next <VirtualHost>, so the server-level
    // block right after it goes as well.
    useConf("handlers/php_blocks.conf");
    STEP("example.com", website_->DisablePhp("example.com"));
    GIVEN_STEP("disable php, an unknown site: only the empty lines go", website_->DisablePhp("nosuch.com"));
    EXPECT_DATA(transcript_, "handlers/disable_php.transcript");
}

TEST_F(PhpModuleTest, ISPhpEnabledNamesTheHandlerBlock) {
    const std::tuple<const char*, const char*, int, const char*> cases[] = {
        {"<IfModule mod_php5.c>\n", "a.com", 1, "mod_php5\ndso enabled\n"},
        {"<IfModule MOD_PHP.c>\n", "a.com", 1, "MOD_PHP\ndso enabled\n"},
        {"<IfModule mod_suphp.c>\n", "a.com", 2, "mod_suphp\nsuphp enabled\n"},
        {"<IfModule mod_fcgid.c>\n", "a.com", 3, "mod_fcgid\nfcgid enabled\n"},
        {"<IfModule mod_rewrite.c>\n<IfModule proxy_fcgi_module>\n#<IfModule mod_php5.c>\n", "a.com", 0, "mod_rewrite\n"},
        {"<IfModule mod_php5.c>\n", "nope.com", 0, ""},
        // A second ServerName of the block is not looked at.
        {"ServerName b.com\n<IfModule mod_fcgid.c>\n", "a.com", 3, "mod_fcgid\nfcgid enabled\n"},
        {"ServerName b.com\n<IfModule mod_fcgid.c>\n", "b.com", 0, ""},
    };
    for (auto [body, domain, result, printed] : cases) {
        SCOPED_TRACE(body);
        writeConf("# ServerName a.com\n<VirtualHost *:80>\nServerName nope.com\n</VirtualHost>\n"
                  "<VirtualHost *:80>\n\n    ServerName A.com\n" + std::string(body) + "</VirtualHost>\n");
        EXPECT_PRINTS(website_->ISPhpEnabled(domain), result, printed);
    }
}

TEST_F(PhpModuleTest, GetPHPEntryToDeleteFindsTheSitesPhpInclude) {
    CQZWebsite website;
    writeConf("<VirtualHost *:80>\n  ServerName other.com\n  Include /etc/php/other.conf\n</VirtualHost>\n"
              "#<VirtualHost *:80>\n#  ServerName A.COM\n  Include conf/site.conf\n#  Include  /etc/php/a.conf\n"
              "</VirtualHost>\n");
    EXPECT_EQ(website.getPHPEntryToDelete("a.com", conf_), "/etc/php/a.conf");
    EXPECT_EQ(website.getPHPEntryToDelete("b.com", conf_), "");
    writeConf("<VirtualHost *:80>\nServerName a.com\n</VirtualHost>\nInclude php.conf\n");
    EXPECT_EQ(website.getPHPEntryToDelete("a.com", conf_), "");
    EXPECT_PRINTS(website.getPHPEntryToDelete("a.com", ""), "", "");
    EXPECT_PRINTS(website.getPHPEntryToDelete("a.com", missing_), "", "Error while opening HttpdConfFile\n");
}

TEST_F(PhpModuleTest, CheckModulePhysicalPathWantsLibphpAndOneDigit) {
    writeConf("ServerRoot \"" + root_ + "/srv\"\nLoadModule dir_module modules/mod_dir.so\n");
    CQZWebsite website;
    EXPECT_PRINTS(website.Php_checkModulePhysicalPath(conf_), "NULL", "can't open directory: ");
    makeDir("/srv/modules");
    for (const char* name : {"libphp.so", "libphp-8.1.so", "libphp55.so", "xlibphp5.so", "libphp5.la"})
        writeFile(std::string("/srv/modules/") + name, "");
    makeDir("/srv/modules/libphp8.so");
    EXPECT_EQ(website.Php_checkModulePhysicalPath(conf_), "NULL");
    char cwd[PATH_MAX];
    ASSERT_NE(getcwd(cwd, sizeof cwd), nullptr);
    EXPECT_EQ(std::string(cwd), path("/srv/modules"));
    writeFile("/srv/modules/libphp7.so.1", "");
    EXPECT_EQ(website.Php_checkModulePhysicalPath(conf_), "libphp7.so.1");
}

TEST_F(PhpModuleTest, CheckModuleLooksOutsideSiteBlocksOnly) {
    CQZWebsite website;
    writeConf("  #LoadModule php7_module modules/libphp7.so\n<VirtualHost *:80>\n"
              "LoadModule php5_module modules/libphp5.so\n</VirtualHost>\n \tLoadModule dir_module modules/mod_dir.so\n"
              "\t LoadModule php8_module modules/libphp8.so\n");
    EXPECT_EQ(website.Php_checkModule(conf_, "libphp7.so"), 0);
    EXPECT_EQ(website.Php_checkModule(conf_, "libphp5.so"), 0);
    EXPECT_EQ(website.Php_checkModule(conf_, "mod_dir"), 1);
    // A tab then a blank is not cut: "#" is not the line's first character.
    writeConf("\t #LoadModule php7_module modules/libphp7.so\n");
    EXPECT_EQ(website.Php_checkModule(conf_, "libphp7.so"), 1);
    EXPECT_EQ(website.Php_checkModule(missing_, "libphp7.so"), 21);
}

TEST_F(PhpModuleTest, AddModuleGoesBeforeTheFirstLoadModuleOrVirtualHost) {
    loggedCommand("cp");
    watch("/conf/httpd.conf.qzbackup.rt");
    watch(temp_);
    auto add = [&](const char* module) { return website_->Php_addModule(conf_, module); };
    GIVEN_STEP("add, before the first column-1 LoadModule", add("libphp5.so"));
    GIVEN_STEP("add, no column-1 LoadModule: before the first column-1 <VirtualHost", add("mod_php7.so"));
    GIVEN_STEP("add, neither: 4 and no scratch file", add("libphp5.so"));
    STEP("add, no configuration", website_->Php_addModule(conf_ + ".none", "libphp5.so"));
    makeDir(temp_);
    STEP("add, the scratch file a folder", add("libphp5.so"));
    rmdir(path(temp_).c_str());
    GIVEN_STEP("add, a line over 2999 characters: 1, the file not cut short", add("libphp5.so"));
    GIVEN_STEP("add, an absolute folder under /usr/lib is kept whole", add("libphp7.so"));
    GIVEN_STEP("add, of another absolute folder only the last name", add("libphp7.so"));
    GIVEN_STEP("add, a relative folder is joined to the server root first", add("libphp7.so"));
    GIVEN_STEP("add, a relative folder joined to a server root under /usr/lib", add("libphp7.so"));
    EXPECT_DATA(transcript_, "handlers/php_add_module.transcript");
}

TEST_F(PhpModuleTest, DisableModuleAppendsToTheScratchFile) {
    GIVEN_STEP("disable, outside site blocks", website_->Php_disableModule(conf_, "libphp5"));
    writeFile(temp_, "Stale 1\n");
    GIVEN_STEP("disable, what the scratch file holds already comes first", website_->Php_disableModule(conf_, "libphp5"));
    STEP("no configuration", website_->Php_disableModule(conf_ + ".none", "libphp5"));
    EXPECT_DATA(transcript_, "handlers/php_disable_module.transcript");
}

TEST_F(PhpModuleTest, PhpAndPerlModuleFilesComeFromConfDOrModsEnabled) {
    writeConf("ServerRoot \"" + root_ + "/srv\"\n");
    CQZWebsite website;
    auto paths = [&] {
        std::string perl = "stale", php = "stale";
        const bool found = website.getApachePHPPerlModulesPath(conf_, perl, php);
        return std::string(found ? "true " : "false ") + unrooted(php) + " " + unrooted(perl);
    };
    EXPECT_PRINTS(paths(), "false  ", "No Path found\n");
    makeDir("/srv/mods-enabled");
    for (const char* name : {"php7.load", "perl.load", "php.conf"}) writeFile(std::string("/srv/mods-enabled/") + name, "");
    EXPECT_EQ(paths(), "true @ROOT@/srv/mods-enabled/php7.load @ROOT@/srv/mods-enabled/perl.load");
    // conf.d, once it opens, is the only folder looked at; folders in it
    // do not count.
    makeDir("/srv/conf.d/php-dir.conf");
    EXPECT_EQ(paths().substr(0, 6), "false ");
    writeFile("/srv/conf.d/php.conf", "");
    EXPECT_EQ(paths(), "true @ROOT@/srv/conf.d/php.conf ");
}
