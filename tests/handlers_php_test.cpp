// PHP as an Apache module: the per-site <IfModule> block, the handler query,
// the site's PHP Include line and the server-level LoadModule line.
#include "HandlerTestFixture.h"

#include <climits>
#include <sys/stat.h>
#include <unistd.h>

class PhpModuleTest : public HandlerTest {};

TEST_F(PhpModuleTest, EnablePhpMatchesTheWholeServerNameLineAndGuardsOnTheNextLine) {
    CQZWebsite website(&tracker_, conf_.c_str());
    // Another module's block after CustomLog (it contains "IfModule"); a
    // ServerName with a port or a trailing blank; no CustomLog at all.
    const std::string text = "<VirtualHost *:80>\n  \tServerName a.com\nCustomLog a_log\n<IfModule mod_suphp.c>\n"
                             "</IfModule>\n</VirtualHost>\n<VirtualHost *:80>\nServerName b.com:80\nCustomLog b_log\n"
                             "</VirtualHost>\n<VirtualHost *:80>\nServerName c.com \nCustomLog c_log\n</VirtualHost>\n"
                             "<VirtualHost *:80>\nServerName d.com\n</VirtualHost>\n";
    writeConf(text);
    for (const char* domain : {"a.com", "b.com", "c.com"}) {
        EXPECT_EQ(website.EnablePhp(domain, "mod_php5"), 96);
        EXPECT_EQ(readConf(), text);
        EXPECT_EQ(readFile("/conf/httpd.conf.tmpdso"), text + "\n");
    }
    // Blanks then tabs are cut, not tabs then blanks; a site without
    // CustomLog leaves the mark for the next block's CustomLog, and a
    // CustomLog line that ends the file without a newline is read again.
    writeConf("\t ServerName a.com\nCustomLog x\n ServerName d.com\nServerName e.com\nCustomLog e_log");
    EXPECT_EQ(website.EnablePhp("a.com", "mod_php7"), 96);
    EXPECT_EQ(website.EnablePhp("d.com", "mod_php7"), 96);
    EXPECT_EQ(readConf(), "\t ServerName a.com\nCustomLog x\n ServerName d.com\nServerName e.com\nCustomLog e_log\n"
                          "\t<IfModule mod_php7.c>\n\t\tAddHandler application/x-httpd-php .php\n\t</IfModule>\n"
                          "CustomLog e_log\n");
    EXPECT_TRUE(commandLog().size() == 1);
}

TEST_F(PhpModuleTest, UnopenableFiles) {
    CQZWebsite website(&tracker_, conf_.c_str());
    EXPECT_EQ(website.EnablePhp("a.com", "mod_php5"), 21);
    EXPECT_TRUE(exists("/conf/httpd.conf.tmpdso"));
    std::remove(path("/conf/httpd.conf.tmpdso").c_str());
    makeDir("/conf/httpd.conf.tmpdso");
    writeConf("ServerName a.com\n");
    EXPECT_EQ(website.EnablePhp("a.com", "mod_php5"), 23);

    // No configuration named: 21, and not even a scratch file is made. The
    // FastCGI and Perl operations have reported themselves by then; the PHP
    // module ones never do.
    CQZTrackManager tracker;
    CQZWebsite unnamed(&tracker);
    for (int result : {unnamed.EnablePhp("a.com", "mod_php5"), unnamed.DisablePhp("a.com"),
                       unnamed.ISPhpEnabled("a.com"), unnamed.EnableFcgid("a.com", "/p", "enabled"),
                       unnamed.DisableFcgid("a.com", "mod_fcgid", "x"), unnamed.EnablePerl("a.com"),
                       unnamed.DisablePerl("a.com")})
        EXPECT_EQ(result, 21);
    EXPECT_FALSE(exists(std::string(unnamed.TEMPFILE).substr(root_.size())));
    EXPECT_FALSE(exists("/etc/tempapa1"));
    EXPECT_TRUE(commandLog().empty());
    Lines expected = {"CQZModuleName Apache"};
    add(expected, tracked("EnableFcgid", "a.com|/p|enabled", "DomainName|phpCGIPath|suexecSetting"));
    add(expected, tracked("DisableFcgid", "a.com|mod_fcgid|x", "DomainName|ModuleName|PHPCGI"));
    add(expected, tracked("EnablePerl", "a.com", "szDomainName"));
    add(expected, tracked("DisablePerl", "a.com", "szDomainName"));
    EXPECT_EQ(calls(tracker), expected);
}

TEST_F(PhpModuleTest, DisablePhpRemovesVersionedModuleBlocksAndEveryEmptyLine) {
    useConf("php_blocks");
    CQZWebsite website(&tracker_, conf_.c_str());
    const std::string temp = website.TEMPFILE;
    EXPECT_EQ(website.DisablePhp("example.com"), 0);
    // The site's mark lasts until the next <VirtualHost>, so the server-level
    // block right after it goes as well.
    EXPECT_EQ(readConf(), golden("php_blocks.expected"));
    EXPECT_EQ(commandLog(), Lines{mvOf(temp)});

    // An unknown site: only the empty lines go.
    writeConf("\nListen 80\n\n<IfModule mod_php5.c>\n</IfModule>\n\n");
    EXPECT_EQ(website.DisablePhp("nosuch.com"), 0);
    EXPECT_EQ(readConf(), "Listen 80\n<IfModule mod_php5.c>\n</IfModule>\n");

    CQZWebsite missing(&tracker_, missing_.c_str());
    EXPECT_EQ(missing.DisablePhp("a.com"), 21);
    EXPECT_EQ(missing.ISPhpEnabled("a.com"), 21);
}

TEST_F(PhpModuleTest, ISPhpEnabledNamesTheHandlerBlock) {
    CQZWebsite website(&tracker_, conf_.c_str());
    auto query = [&](const std::string& body, const char* domain, int result, const std::string& printed) {
        SCOPED_TRACE(body);
        writeConf("# ServerName a.com\n<VirtualHost *:80>\nServerName nope.com\n</VirtualHost>\n"
                  "<VirtualHost *:80>\n\n    ServerName A.com\n" + body + "</VirtualHost>\n");
        captureOutput();
        EXPECT_EQ(website.ISPhpEnabled(domain), result);
        EXPECT_EQ(capturedOutput(), printed);
    };
    query("<IfModule mod_php5.c>\n", "a.com", 1, "mod_php5\ndso enabled\n");
    query("<IfModule MOD_PHP.c>\n", "a.com", 1, "MOD_PHP\ndso enabled\n");
    query("<IfModule mod_suphp.c>\n", "a.com", 2, "mod_suphp\nsuphp enabled\n");
    query("<IfModule mod_fcgid.c>\n", "a.com", 3, "mod_fcgid\nfcgid enabled\n");
    query("<IfModule mod_rewrite.c>\n<IfModule proxy_fcgi_module>\n#<IfModule mod_php5.c>\n", "a.com", 0,
          "mod_rewrite\n");
    query("<IfModule mod_php5.c>\n", "nope.com", 0, "");
    // A second ServerName of the block is not looked at.
    query("ServerName b.com\n<IfModule mod_fcgid.c>\n", "a.com", 3, "mod_fcgid\nfcgid enabled\n");
    query("ServerName b.com\n<IfModule mod_fcgid.c>\n", "b.com", 0, "");
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

    captureOutput();
    EXPECT_EQ(website.getPHPEntryToDelete("a.com", ""), "");
    EXPECT_EQ(website.getPHPEntryToDelete("a.com", missing_), "");
    EXPECT_EQ(capturedOutput(), "Error while opening HttpdConfFile\n");
}

TEST_F(PhpModuleTest, CheckModulePhysicalPathWantsLibphpAndOneDigit) {
    writeConf("ServerRoot \"" + root_ + "/srv\"\nLoadModule dir_module modules/mod_dir.so\n");
    CQZWebsite website;
    captureOutput();
    EXPECT_EQ(website.Php_checkModulePhysicalPath(conf_), "NULL");
    EXPECT_EQ(capturedOutput(), "can't open directory: ");

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
    CQZWebsite website(&tracker_, conf_.c_str());
    const std::string temp = website.TEMPFILE;
    const std::string head = "ServerRoot \"/etc/httpd\"\n\n  LoadModule a_module /usr/lib/a.so\n";
    writeConf(head + "loadmodule dir_module modules/mod_dir.so\nLoadModule b_module modules/b.so\n");
    EXPECT_EQ(website.Php_addModule(conf_, "libphp5.so"), 0);
    EXPECT_EQ(readConf(), "ServerRoot \"/etc/httpd\"\n  LoadModule a_module /usr/lib/a.so\n"
                          "LoadModule php5_module modules/libphp5.so\nloadmodule dir_module modules/mod_dir.so\n"
                          "LoadModule b_module modules/b.so\n");
    EXPECT_EQ(readFile("/conf/httpd.conf.qzbackup.rt").substr(0, head.size()), head);
    EXPECT_EQ(commandLog(), (Lines{"cp " + conf_ + " " + conf_ + ".qzbackup.rt", mvOf(temp)}));

    // No column-1 LoadModule: before the first column-1 <VirtualHost.
    writeConf("ServerRoot \"/srv/www\"\n  LoadModule x_module modules/x.so\n <VirtualHost *:80>\n"
              "<virtualhost *:81>\n</VirtualHost>\n");
    EXPECT_EQ(website.Php_addModule(conf_, "mod_php7.so"), 0);
    EXPECT_EQ(readConf(), "ServerRoot \"/srv/www\"\n  LoadModule x_module modules/x.so\n <VirtualHost *:80>\n"
                          "LoadModule php7_module modules/mod_php7.so\n<virtualhost *:81>\n</VirtualHost>\n");

    // Neither: 4 and no scratch file; a missing file 1; no TEMPFILE 2.
    const std::string neither = "ServerRoot \"/srv/www\"\n  LoadModule x_module modules/x.so\n";
    writeConf(neither);
    EXPECT_EQ(website.Php_addModule(conf_, "libphp5.so"), 4);
    EXPECT_EQ(website.Php_addModule(conf_ + ".none", "libphp5.so"), 1);
    EXPECT_FALSE(exists(temp.substr(root_.size())));
    makeDir(temp.substr(root_.size()));
    EXPECT_EQ(website.Php_addModule(conf_, "libphp5.so"), 2);
    EXPECT_EQ(readConf(), neither);
    // A line over 2999 characters: 1, and the file is not cut short.
    rmdir(temp.c_str());
    const std::string overLong = "LoadModule a_module modules/a.so\n# " + std::string(2998, 'x') + "\nListen 80\n";
    writeConf(overLong);
    EXPECT_EQ(website.Php_addModule(conf_, "libphp5.so"), 1);
    EXPECT_EQ(readConf(), overLong);
}

TEST_F(PhpModuleTest, AddModuleKeepsAUsrLibFolderWholeAndOtherwiseItsLastName) {
    loggedCommand("cp");
    CQZWebsite website(&tracker_, conf_.c_str());
    struct Case {
        std::string server, loadModule, entry;
    };
    const Case cases[] = {
        // Absolute module folders: whole under /usr/lib, else the last name.
        {"", "LoadModule a_module /usr/lib64/httpd/modules/mod_a.so",
         "LoadModule php7_module /usr/lib64/httpd/modules/libphp7.so"},
        {"", "LoadModule a_module /opt/apache/libexec/mod_a.so", "LoadModule php7_module libexec/libphp7.so"},
        // Relative ones, joined to the server root first.
        {"ServerRoot \"/etc/httpd\"\n", "LoadModule a_module modules/extra/mod_a.so",
         "LoadModule php7_module extra/libphp7.so"},
        {"ServerRoot \"/usr/lib/apache2\"\n", "LoadModule a_module modules/mod_a.so",
         "LoadModule php7_module /usr/lib/apache2/modules/libphp7.so"},
    };
    for (const Case& c : cases) {
        writeConf(c.server + c.loadModule + "\n");
        EXPECT_EQ(website.Php_addModule(conf_, "libphp7.so"), 0);
        EXPECT_EQ(readConf(), c.server + c.entry + "\n" + c.loadModule + "\n");
    }
}

TEST_F(PhpModuleTest, DisableModuleAppendsToTheScratchFile) {
    CQZWebsite website(&tracker_, conf_.c_str());
    const std::string temp = website.TEMPFILE;
    writeConf("LoadModule php5_module modules/libphp5.so\n<VirtualHost *:80>\n"
              "  LoadModule php5_module modules/libphp5.so\n</VirtualHost>\n#LoadModule php5_module x/libphp5.so\n"
              "  \tLoadModule php5_module modules/libphp5.so\nLoadModule dir_module modules/mod_dir.so\n");
    EXPECT_EQ(website.Php_disableModule(conf_, "libphp5"), 0);
    EXPECT_EQ(readConf(), "<VirtualHost *:80>\n  LoadModule php5_module modules/libphp5.so\n</VirtualHost>\n"
                          "#LoadModule php5_module x/libphp5.so\nLoadModule dir_module modules/mod_dir.so\n");
    EXPECT_EQ(commandLog(), Lines{mvOf(temp)});

    // What the scratch file holds already comes first.
    writeFile(temp.substr(root_.size()), "Stale 1\n");
    writeConf("Listen 80\n");
    EXPECT_EQ(website.Php_disableModule(conf_, "libphp5"), 0);
    EXPECT_EQ(readConf(), "Stale 1\nListen 80\n");
    EXPECT_EQ(website.Php_disableModule(conf_ + ".none", "libphp5"), 21);
}

TEST_F(PhpModuleTest, PhpAndPerlModuleFilesComeFromConfDOrModsEnabled) {
    writeConf("ServerRoot \"" + root_ + "/srv\"\n");
    CQZWebsite website;
    std::string perl = "stale", php = "stale";
    captureOutput();
    EXPECT_FALSE(website.getApachePHPPerlModulesPath(conf_, perl, php));
    EXPECT_EQ(capturedOutput(), "No Path found\n");
    EXPECT_EQ(perl + php, "");

    makeDir("/srv/mods-enabled");
    for (const char* name : {"php7.load", "perl.load", "php.conf"}) writeFile(std::string("/srv/mods-enabled/") + name, "");
    EXPECT_TRUE(website.getApachePHPPerlModulesPath(conf_, perl, php));
    EXPECT_EQ(php + " " + perl, root_ + "/srv/mods-enabled/php7.load " + root_ + "/srv/mods-enabled/perl.load");

    // conf.d, once it opens, is the only folder looked at; folders in it
    // do not count.
    makeDir("/srv/conf.d/php-dir.conf");
    EXPECT_FALSE(website.getApachePHPPerlModulesPath(conf_, perl, php));
    writeFile("/srv/conf.d/php.conf", "");
    EXPECT_TRUE(website.getApachePHPPerlModulesPath(conf_, perl, php));
    EXPECT_EQ(php + " " + perl, root_ + "/srv/conf.d/php.conf ");
}
