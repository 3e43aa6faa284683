// Perl CGI: the handler line under the <Directory> line of a site's document
// root, added and removed through the fixed scratch file.
#include "HandlerTestFixture.h"

class PerlTest : public HandlerTest {
protected:
    std::string scratch() const { return path("/etc/tempapa1"); }
};

TEST_F(PerlTest, EnablePerlWritesTheLineUnderTheFirstQuotedDocumentRoot) {
    useConf("perl_directories");
    CQZWebsite website(&tracker_, conf_.c_str());
    captureOutput();
    EXPECT_EQ(website.EnablePerl("PERL.com"), 0);
    EXPECT_EQ(capturedOutput(), "AddHandler cgi-script cgi pl added for /home/u/perl.com/www/html\n");
    EXPECT_EQ(readConf(), golden("perl_directories.expected"));
    EXPECT_EQ(commandLog(), Lines{mvOf(scratch())});
    EXPECT_FALSE(exists("/etc/tempapa1"));

    // Nothing guards against a second line; another site only loses its
    // empty lines.
    writeConf("<VirtualHost *:80>\nServerName a.com\nDocumentRoot \"/w\"\n<Directory \"/w\">\n</Directory>\n"
              "</VirtualHost>\n\n");
    captureOutput();
    EXPECT_EQ(website.EnablePerl("b.com"), 0);
    EXPECT_EQ(website.EnablePerl("a.com"), 0);
    EXPECT_EQ(website.EnablePerl("a.com"), 0);
    EXPECT_EQ(capturedOutput(), "AddHandler cgi-script cgi pl added for /w\nAddHandler cgi-script cgi pl added for /w\n");
    EXPECT_EQ(readConf(), "<VirtualHost *:80>\nServerName a.com\nDocumentRoot \"/w\"\n<Directory \"/w\">\n"
                          "\t\tAddHandler cgi-script cgi pl\n\t\tAddHandler cgi-script cgi pl\n</Directory>\n"
                          "</VirtualHost>\n");
    Lines reported = constructed();
    for (const char* domain : {"PERL.com", "b.com", "a.com", "a.com"})
        add(reported, tracked("EnablePerl", domain, "szDomainName"));
    EXPECT_EQ(calls(tracker_), reported);
}

TEST_F(PerlTest, DisablePerlDropsTheMatchingHandlerLine) {
    useConf("perl_handlers");
    CQZWebsite website(&tracker_, conf_.c_str());
    captureOutput();
    EXPECT_EQ(website.DisablePerl("perl.com"), 0);
    EXPECT_EQ(readConf(), golden("perl_handlers.expected"));
    EXPECT_EQ(commandLog(), Lines{mvOf(scratch())});

    // A path without double quotes is never the document root.
    const std::string unquoted = "<VirtualHost *:80>\nServerName a.com\nDocumentRoot \"/w\"\n<Directory /w>\n"
                                 "AddHandler cgi-script cgi pl\n</Directory>\n</VirtualHost>\n";
    writeConf(unquoted);
    EXPECT_EQ(website.DisablePerl("a.com"), 0);
    EXPECT_EQ(readConf(), unquoted);
    EXPECT_EQ(capturedOutput(), "");
    Lines reported = constructed();
    add(reported, tracked("DisablePerl", "perl.com", "szDomainName"));
    add(reported, tracked("DisablePerl", "a.com", "szDomainName"));
    EXPECT_EQ(calls(tracker_), reported);
}

TEST_F(PerlTest, UnreadableConfigurations) {
    CQZWebsite missing(&tracker_, missing_.c_str());
    EXPECT_EQ(missing.EnablePerl("a.com"), 21);
    EXPECT_EQ(missing.DisablePerl("a.com"), 21);
    EXPECT_TRUE(exists("/etc/tempapa1"));

    // A line over 2046 characters: the configuration stays as it is.
    CQZWebsite website(&tracker_, conf_.c_str());
    const std::string text = "<VirtualHost *:80>\n\n# " + std::string(2045, 'x') + "\n</VirtualHost>\n";
    writeConf(text);
    EXPECT_EQ(website.EnablePerl("a.com"), 21);
    EXPECT_EQ(website.DisablePhp("a.com"), 0);
    EXPECT_EQ(readConf(), "<VirtualHost *:80>\n# " + std::string(2045, 'x') + "\n</VirtualHost>\n");
    writeConf(text + std::string(2048, 'y') + "\n");
    EXPECT_EQ(website.DisablePhp("a.com"), 21);
    EXPECT_EQ(website.DisablePerl("a.com"), 21);
    EXPECT_EQ(readConf(), text + std::string(2048, 'y') + "\n");
    EXPECT_EQ(commandLog().size(), 1u);
}
