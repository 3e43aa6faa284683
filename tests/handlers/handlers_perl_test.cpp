// Perl CGI: the handler line under the <Directory> line of a site's document
// root, added and removed through the fixed scratch file.
#include "HandlerTestFixture.h"

class PerlTest : public HandlerTest {
protected:
    void SetUp() override {
        HandlerTest::SetUp();
        watch("/etc/tempapa1");
    }
};

TEST_F(PerlTest, EnableAndDisablePerlWriteTheLineUnderTheFirstQuotedDocumentRoot) {
    useConf("handlers/perl_directories.conf");
    STEP("enable", website_->EnablePerl("PERL.com"));
    // Nothing guards against a second line; another site only loses its
    // empty lines.
    writeConf("<VirtualHost *:80>\nServerName a.com\nDocumentRoot \"/w\"\n<Directory \"/w\">\n</Directory>\n</VirtualHost>\n\n");
    STEP("another site", website_->EnablePerl("b.com"));
    STEP("enable", website_->EnablePerl("a.com"));
    STEP("enable again", website_->EnablePerl("a.com"));
    useConf("handlers/perl_handlers.conf");
    STEP("disable", website_->DisablePerl("perl.com"));
    // A path without double quotes is never the document root.
    writeConf("<VirtualHost *:80>\nServerName a.com\nDocumentRoot \"/w\"\n<Directory /w>\nAddHandler cgi-script cgi pl\n"
              "</Directory>\n</VirtualHost>\n");
    STEP("disable, an unquoted path", website_->DisablePerl("a.com"));
    EXPECT_DATA(transcript_, "handlers/perl.transcript");
}

TEST_F(PerlTest, UnreadableConfigurations) {
    CQZWebsite missing(&tracker_, missing_.c_str());
    STEP("enable, no configuration", missing.EnablePerl("a.com"));
    STEP("disable, no configuration", missing.DisablePerl("a.com"));
    // A line over 2046 characters: the configuration stays as it is.
    const std::string text = "<VirtualHost *:80>\n\n# " + std::string(2045, 'x') + "\n</VirtualHost>\n";
    writeConf(text);
    STEP("enable, a line of 2047 characters", website_->EnablePerl("a.com"));
    STEP("DisablePhp, a line of 2047 characters", website_->DisablePhp("a.com"));
    writeConf(text + std::string(2048, 'y') + "\n");
    STEP("DisablePhp, a longer line", website_->DisablePhp("a.com"));
    STEP("disable, a longer line", website_->DisablePerl("a.com"));
    EXPECT_DATA(transcript_, "handlers/perl_unreadable.transcript");
}
