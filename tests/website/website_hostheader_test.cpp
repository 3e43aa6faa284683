// Host headers: a name added to and removed from the ServerAlias line of a
// site's blocks and of its HTTPS redirect file.
#include "QZTestFixture.h"

#include <memory>


class HostHeaderTest : public HttpdConfTest {
protected:
    void SetUp() override {
        HttpdConfTest::SetUp();
        loggedCommand("cp");
        loggedCommand("mv");
        makeDir("/etc/apache2/qz");
        makeDir("/etc/httpd/qz");
        site = std::make_unique<CQZWebsite>(&tracker, conf_.c_str());
        for (const char* file : {"/conf/httpd.conf", kDebian, kRedHat, "/etc/temp"}) watch(file);
    }
    static std::string block(const std::string& line) {
        return "<VirtualHost *:80>\nServerName a.com\n" + line + "\n</VirtualHost>\n";
    }
    int add(const std::string& name) { return site->AddHostHeader("a.com", name); }
    int remove(const std::string& name) { return site->DeleteHostHeader("a.com", name); }

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
    writeFile(kRedHat, "<VirtualHost *:80>\n\tServerAlias www.a.com \n</VirtualHost>\n");
    // Red Hat's alias line is expected to end with a space; it gets the name
    // before the duplicate test.
    STEP("x.example begins an alias", add("x.example"));
    STEP("a.example begins an alias", add("a.example"));
    STEP("example, only at the start or after a space", add("example"));
    // With a Debian file too, only that one changes; the alias line is found
    // from its first letter (so in a comment too), in this exact case only.
    writeFile(kDebian, "# ServerAlias x\n  ServerAlias\tb.com\nserveralias c.com\n");
    STEP("d.com with a Debian redirect file", add("d.com"));
    // A value of at most two characters is replaced.
    for (const char* value : {"ServerAlias", "ServerAlias ab"}) {
        writeConf(block(value));
        STEP(value, add("new.com"));
    }
    EXPECT_DATA(transcript_, "hostheader/adding_refuses_a_prefix.transcript");
}

TEST_F(HostHeaderTest, DeletingRebuildsTheAliasLists) {
    for (auto [aliases, name] : {std::pair{"a.com b.com c.com", "a.com"}, {"a.com  b.com \t c.com", "b.com"},
                                 {"a.com b.com", "z.com"}, {"a.com", "a.com"}, {"a.com b.com ", "b.com"}}) {
        writeConf(block("ServerAlias " + std::string(aliases)));
        STEP(name + std::string(" from ") + aliases, remove(name));
    }
    // The redirect line is split at every single space, empty words kept.
    writeConf(block("ServerAlias b.com"));
    writeFile(kDebian, "\tServerAlias www.a.com  b.com b.com\nServerName b.com\n");
    STEP("b.com from the redirect file", remove("b.com"));
    EXPECT_DATA(transcript_, "hostheader/deleting_rebuilds_the_lists.transcript");
}

TEST_F(HostHeaderTest, FailuresAndTheFixedScratchFile) {
    const std::string redirect = "\tServerAlias www.a.com\n";
    writeFile(kDebian, redirect);
    // No alias line to read: 1, after the redirect file took the name.
    writeConf(block("DocumentRoot /a"));
    STEP("add, no alias line", add("b.com"));
    writeFile(kDebian, redirect);
    STEP("delete, no alias line", remove("www.a.com"));
    STEP("delete, no configuration", CQZWebsite(&tracker).DeleteHostHeader("a.com", "www.a.com"));
    // The update fails: "Update error" from adding only.
    writeConf(block("ServerAlias c.com"));
    makeDir("/conf/httpd.conf_temp1");
    STEP("add, the scratch file a folder", add("d.com"));
    STEP("delete, the scratch file a folder", remove("c.com"));
    std::remove(path("/conf/httpd.conf_temp1").c_str());
    // /etc/temp cannot be written (a folder stands there): the redirect file
    // is kept as it is and the folder stays.
    writeFile(kDebian, redirect);
    makeDir("/etc/temp/inside");
    STEP("add, /etc/temp a folder", add("e.com"));
    EXPECT_EQ(readFile(kDebian), redirect);
    EXPECT_TRUE(exists("/etc/temp/inside"));
    EXPECT_EQ(std::system(("rm -r " + path("/etc/temp")).c_str()), 0);
    // A redirect file that cannot be read is replaced by the empty copy.
    EXPECT_EQ(std::system(("rm -r " + path(kDebian)).c_str()), 0);
    makeDir(kDebian);
    STEP("add, the redirect file a folder", add("f.com"));
    // A manager without a configuration file: 1, the redirect file already
    // rewritten.
    writeFile(kDebian, redirect);
    STEP("add, no configuration", CQZWebsite(&tracker, "").AddHostHeader("a.com", "g.com"));
    // The last line of a redirect file is read without its end of file, so
    // no empty line is added after it.
    writeConf(block("ServerAlias www.a.com"));
    writeFile(kDebian, "<VirtualHost *:80>\n\tServerAlias www.a.com\n</VirtualHost>");
    STEP("add, no final newline", add("b.com"));
    writeFile(kRedHat, "\tServerAlias www.a.com ");
    std::remove(path(kDebian).c_str());
    STEP("delete, no final newline", remove("www.a.com"));
    EXPECT_DATA(transcript_, "hostheader/failures_and_final_newlines.transcript");
}
