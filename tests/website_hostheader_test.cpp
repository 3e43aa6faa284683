// Host headers: a name added to and removed from the ServerAlias line of a
// site's blocks and of its HTTPS redirect file.
#include "QZTestFixture.h"

#include <memory>

using Lines = std::vector<std::string>;

class HostHeaderTest : public HttpdConfTest {
protected:
    void SetUp() override {
        HttpdConfTest::SetUp();
        loggedCommand("cp");
        loggedCommand("mv");
        makeDir("/etc/apache2/qz");
        makeDir("/etc/httpd/qz");
        site = std::make_unique<CQZWebsite>(&tracker, conf_.c_str());
    }
    static std::string block(const std::string& line) {
        return "<VirtualHost *:80>\nServerName a.com\n" + line + "\n</VirtualHost>\n";
    }
    int add(const std::string& name) { return site->AddHostHeader("a.com", name); }

    static constexpr const char* kDebian = "/etc/apache2/qz/a.com.conf";
    static constexpr const char* kRedHat = "/etc/httpd/qz/a.com.conf";
    CQZTrackManager tracker;
    std::unique_ptr<CQZWebsite> site;
};

TEST_F(HostHeaderTest, AnAliasIsAddedToAndRemovedFromBothBlocksAndTheRedirect) {
    // The redirect file as the toolkit writes it for a Debian server root.
    fakeCommand("apachectl", "[ \"$1\" = -V ] && echo ' -D HTTPD_ROOT=\"" + path("/etc/apache2") + "\"'");
    useConf("hostheader/site.conf");
    captureOutput();
    ASSERT_TRUE(ApacheHelper().Apache_RedirectVHFromHttpToHttps(conf_, "example.com", "10.0.0.1", "80"));
    capturedOutput();
    const std::string redirect = "/etc/apache2/qz/example.com.conf";

    EXPECT_PRINTS(site->AddHostHeader("example.com", "shop.example.com"), 0, "");
    EXPECT_EQ(readConf(), data("hostheader/alias_added.expected"));
    EXPECT_EQ(readFile(redirect), data("hostheader/redirect_alias_added.expected"));
    EXPECT_EQ(commandLog(), (Lines{"cp " + conf_ + " " + conf_ + ".qzbackup.rt", "mv " + conf_ + "_temp1 " + conf_}));
    EXPECT_PRINTS(site->DeleteHostHeader("example.com", "www.example.com"), 0, "Ptr1=www.example.com\nmatched\n");
    EXPECT_EQ(readConf(), data("hostheader/alias_removed.expected"));
    EXPECT_EQ(readFile(redirect), data("hostheader/redirect_alias_removed.expected"));
    EXPECT_FALSE(exists("/etc/temp"));
    EXPECT_EQ(calls(tracker), (Lines{"CQZModuleName Apache", "CQZModuleProperties [" + conf_ + "] [HDCFFile]",
                                     "CQZMethodName AddHostHeader",
                                     "CQZMethodArguments [example.com|shop.example.com] [DomainName|HostHeader]",
                                     "CQZMethodName DeleteHostHeader",
                                     "CQZMethodArguments [example.com|www.example.com] [DomainName|HostHeader]"}));
}

TEST_F(HostHeaderTest, AddingRefusesANameThatBeginsAnAlias) {
    writeConf(block("ServerAlias x.example a.example.net"));
    // Red Hat's alias line is expected to end with a space; it gets the name
    // before the duplicate test.
    writeFile(kRedHat, "<VirtualHost *:80>\n\tServerAlias www.a.com \n</VirtualHost>\n");
    EXPECT_EQ(add("x.example"), 2);
    EXPECT_EQ(add("a.example"), 2);
    EXPECT_EQ(readConf(), block("ServerAlias x.example a.example.net"));
    EXPECT_EQ(readFile(kRedHat), "<VirtualHost *:80>\n\tServerAlias www.a.com x.example a.example \n</VirtualHost>\n\n\n");
    EXPECT_TRUE(commandLog().empty());
    // Only an occurrence at the start or after a space counts.
    EXPECT_EQ(add("example"), 0);
    EXPECT_EQ(readConf(), block("\tServerAlias x.example a.example.net example"));

    // With a Debian file too, only that one changes; the alias line is found
    // from its first letter (so in a comment too), in this exact case only.
    writeFile(kDebian, "# ServerAlias x\n  ServerAlias\tb.com\nserveralias c.com\n");
    const std::string redHat = readFile(kRedHat);
    EXPECT_EQ(add("d.com"), 0);
    EXPECT_EQ(readFile(kDebian), "# ServerAlias x d.com\n  ServerAlias\tb.com d.com\nserveralias c.com\n\n");
    EXPECT_EQ(readFile(kRedHat), redHat);

    // A value of at most two characters is replaced.
    for (const char* value : {"ServerAlias", "ServerAlias ab"}) {
        writeConf(block(value));
        EXPECT_EQ(add("new.com"), 0);
        EXPECT_EQ(readConf(), block("\tServerAlias new.com"));
    }
}

TEST_F(HostHeaderTest, DeletingRebuildsTheAliasLists) {
    const std::tuple<const char*, const char*, const char*, const char*> cases[] = {
        {"a.com b.com c.com", "a.com", "Ptr1=a.com\nmatched\nPtr1=b.com\n", "\tServerAlias  b.com c.com"},
        {"a.com  b.com \t c.com", "b.com", "Ptr1=a.com\nPtr1=b.com\nmatched\n", "\tServerAlias a.com c.com"},
        {"a.com b.com", "z.com", "Ptr1=a.com\n", "\tServerAlias a.com b.com"},
        {"a.com", "a.com", "matched\n", "\tServerAlias "},
        {"a.com b.com ", "b.com", "Ptr1=a.com\nPtr1=b.com\nmatched\n", "\tServerAlias a.com "},
    };
    for (auto [aliases, name, printed, line] : cases) {
        SCOPED_TRACE(aliases);
        writeConf(block("ServerAlias " + std::string(aliases)));
        EXPECT_PRINTS(site->DeleteHostHeader("a.com", name), 0, printed);
        EXPECT_EQ(readConf(), block(line));
    }
    // The redirect line is split at every single space, empty words kept.
    writeConf(block("ServerAlias b.com"));
    writeFile(kDebian, "\tServerAlias www.a.com  b.com b.com\nServerName b.com\n");
    EXPECT_PRINTS(site->DeleteHostHeader("a.com", "b.com"), 0, "matched\n");
    EXPECT_EQ(readFile(kDebian), " \tServerAlias www.a.com  \nServerName b.com\n\n");
}

TEST_F(HostHeaderTest, FailuresAndTheFixedScratchFile) {
    const std::string redirect = "\tServerAlias www.a.com\n";
    writeFile(kDebian, redirect);
    // No alias line to read: 1, after the redirect file took the name.
    writeConf(block("DocumentRoot /a"));
    EXPECT_EQ(add("b.com"), 1);
    EXPECT_EQ(readFile(kDebian), "\tServerAlias www.a.com b.com\n\n");
    writeFile(kDebian, redirect);
    EXPECT_EQ(site->DeleteHostHeader("a.com", "www.a.com"), 1);
    EXPECT_EQ(CQZWebsite(&tracker).DeleteHostHeader("a.com", "www.a.com"), 1);
    EXPECT_EQ(readFile(kDebian), redirect);

    // The update fails: "Update error" from adding only.
    writeConf(block("ServerAlias c.com"));
    makeDir("/conf/httpd.conf_temp1");
    EXPECT_PRINTS(add("d.com"), 1, "Update error\n");
    EXPECT_PRINTS(site->DeleteHostHeader("a.com", "c.com"), 1, "matched\n");
    EXPECT_EQ(readConf(), block("ServerAlias c.com"));
    std::remove(path("/conf/httpd.conf_temp1").c_str());

    // /etc/temp cannot be written (a folder stands there): the redirect file
    // is deleted all the same and the folder is renamed to its name.
    writeFile(kDebian, redirect);
    makeDir("/etc/temp/inside");
    EXPECT_EQ(add("e.com"), 0);
    EXPECT_FALSE(exists("/etc/temp"));
    EXPECT_TRUE(exists(std::string(kDebian) + "/inside"));
    EXPECT_EQ(readConf(), block("\tServerAlias c.com e.com"));
    // A redirect file that cannot be read is replaced by the empty copy.
    EXPECT_EQ(std::system(("rm -r " + path(kDebian)).c_str()), 0);
    makeDir(kDebian);
    EXPECT_EQ(add("f.com"), 0);
    EXPECT_EQ(readFile(kDebian), "");
    EXPECT_TRUE(exists(kDebian));

    // A manager without a configuration file: 1, the redirect file already
    // rewritten.
    writeFile(kDebian, redirect);
    EXPECT_EQ(CQZWebsite(&tracker, "").AddHostHeader("a.com", "g.com"), 1);
    EXPECT_EQ(readFile(kDebian), "\tServerAlias www.a.com g.com\n\n");
}

TEST_F(HostHeaderTest, ARedirectFileWithoutAFinalNewline) {
    writeConf(block("ServerAlias www.a.com"));
    writeFile(kDebian, "<VirtualHost *:80>\n\tServerAlias www.a.com\n</VirtualHost>");
    EXPECT_EQ(add("b.com"), 0);
    // The last line is read without its end of file, so no empty line is
    // added after it.
    EXPECT_EQ(readFile(kDebian), "<VirtualHost *:80>\n\tServerAlias www.a.com b.com\n</VirtualHost>\n");
    writeFile(kRedHat, "\tServerAlias www.a.com ");
    std::remove(path(kDebian).c_str());
    EXPECT_PRINTS(site->DeleteHostHeader("a.com", "www.a.com"), 0, "Ptr1=www.a.com\nmatched\n");
    EXPECT_EQ(readFile(kRedHat), " \tServerAlias  \n");
    EXPECT_EQ(readConf(), block("\tServerAlias  b.com"));
}
