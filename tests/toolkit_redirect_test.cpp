// HTTPS redirect files in the "qz" folder of the server root (created,
// stopped, started and deleted) and the Let's Encrypt rewrite of a domain's
// block.
#include "ToolkitTestFixture.h"

#include <sys/stat.h>
#include <unistd.h>

class ToolkitRedirectTest : public ToolkitTest {
protected:
    void SetUp() override {
        ToolkitTest::SetUp();
        fakeCommand("apachectl", "[ \"$1\" = -V ] && echo ' -D HTTPD_ROOT=\"" + path("/etc/httpd") + "\"'");
        makeDir("/etc/httpd");
    }

    static std::string qz(const std::string& name) { return "/etc/httpd/qz/" + name; }

    bool redirect(const std::string& domain, const std::string& ip = "10.0.0.1") {
        return helper.Apache_RedirectVHFromHttpToHttps(file_, domain, ip, "80");
    }
};

TEST_F(ToolkitRedirectTest, CreatingMakesTheFolderTheIncludeLineAndTheFile) {
    const mode_t mask = umask(022);
    conf("ServerRoot \"/etc/httpd\"\nListen 80\n\n<VirtualHost *:80>\nInclude conf.d/a.conf\n</VirtualHost>\n");
    captureOutput();
    EXPECT_TRUE(redirect("example.com"));
    EXPECT_EQ(capturedOutput(), "writing entry\n0\n");
    // No server-level Include line: appended, with the file otherwise as it was.
    EXPECT_EQ(confText(), "ServerRoot \"/etc/httpd\"\nListen 80\n\n<VirtualHost *:80>\nInclude conf.d/a.conf\n"
                          "</VirtualHost>\nInclude qz/*.conf\n");
    EXPECT_EQ(commandLog(), Lines{"cp " + file_ + " " + file_ + ".qzbackup.rt"});
    EXPECT_EQ(readFile(qz("example.com.conf")), expected("redirect_file"));
    EXPECT_EQ(readFile(qz("dummy.conf")), "#dummy conf file, please don't delete it\n");
    struct stat st;
    ASSERT_EQ(stat(path("/etc/httpd/qz").c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 07777, 0755u);
    umask(mask);

    // Again: one Include line, and the file is written afresh. An existing
    // folder gets no placeholder.
    const std::string conf = confText();
    writeFile(qz("example.com.conf"), "stale contents longer than the redirect file itself ...\n" + conf + conf);
    ASSERT_EQ(unlink(path(qz("dummy.conf")).c_str()), 0);
    captureOutput();
    EXPECT_TRUE(redirect("example.com"));
    EXPECT_EQ(capturedOutput(), "without quotes\nfound\nentry already exists\n");
    EXPECT_EQ(confText(), conf);
    EXPECT_EQ(readFile(qz("example.com.conf")), expected("redirect_file"));
    EXPECT_FALSE(exists(qz("dummy.conf")));
    EXPECT_EQ(commandLog().size(), 1u);

    // An IPv6 address is written as given.
    EXPECT_TRUE(helper.Apache_RedirectVHFromHttpToHttps(file_, "b.com", "2001:db8::1", "8080"));
    EXPECT_EQ(readFile(qz("b.com.conf")).substr(0, 31), "<VirtualHost 2001:db8::1:8080>\n");
}

TEST_F(ToolkitRedirectTest, TheIncludeLineIsFoundAndPlacedByPrefix) {
    // After the first server-level line starting with "Include", which an
    // IncludeOptional line is too.
    golden("include_after_first");
    captureOutput();
    EXPECT_TRUE(redirect("a.com"));
    EXPECT_EQ(capturedOutput(), "without quotes\nwithout quotes\nwriting entry\n0\n");
    EXPECT_EQ(confText(), expected("include_after_first"));
    EXPECT_EQ(commandLog(), (Lines{"cp " + file_ + " " + file_ + ".qzbackup.rt", "mv " + file_ + ".wd " + file_}));

    // "IncludeOptional qz/*.conf" counts as "Include qz/*.conf": nothing is
    // added. A commented-out line does not count.
    const std::string optional = "# Include qz/*.conf\nIncludeOptional qz/*.conf\n";
    conf(optional);
    captureOutput();
    EXPECT_TRUE(redirect("a.com"));
    EXPECT_EQ(capturedOutput(), "without quotes\nfound\nentry already exists\n");
    EXPECT_EQ(confText(), optional);
}

TEST_F(ToolkitRedirectTest, ARedirectIsStoppedStartedAndDeletedByRenaming) {
    conf("Include qz/*.conf\n");
    const std::string active = qz("a.com.conf"), stopped = qz("a.com.conf.stop");
    auto state = [&] { return std::to_string(exists(active)) + std::to_string(exists(stopped)); };
    captureOutput();
    EXPECT_TRUE(helper.Apache_StopRedirectVHFromHttpToHttps(file_, "a.com"));
    EXPECT_EQ(state(), "00");
    EXPECT_TRUE(redirect("a.com"));
    EXPECT_TRUE(helper.Apache_StopRedirectVHFromHttpToHttps(file_, "a.com"));
    EXPECT_EQ(state(), "01");
    const std::string first = readFile(stopped);
    EXPECT_TRUE(helper.Apache_StopRedirectVHFromHttpToHttps(file_, "a.com"));
    EXPECT_TRUE(helper.Apache_DeleteRedirectVHFromHttpToHttps(file_, "a.com"));  // a stopped one stays
    EXPECT_EQ(state(), "01");
    EXPECT_TRUE(helper.Apache_StartRedirectVHFromHttpToHttps(file_, "a.com"));
    EXPECT_EQ(state(), "10");
    EXPECT_EQ(readFile(active), first);
    EXPECT_TRUE(helper.Apache_StartRedirectVHFromHttpToHttps(file_, "a.com"));
    EXPECT_TRUE(helper.Apache_DeleteRedirectVHFromHttpToHttps(file_, "a.com"));
    EXPECT_EQ(state(), "00");
    const std::string line = "file path:" + path(active) + "\n";
    std::string sixLines;
    for (int i = 0; i < 6; ++i) sixLines += line;
    EXPECT_EQ(capturedOutput(), line + "without quotes\nfound\nentry already exists\n" + sixLines);

    // Created while stopped: both files; starting again puts the stopped one
    // back over the new one.
    EXPECT_TRUE(redirect("a.com"));
    EXPECT_TRUE(helper.Apache_StopRedirectVHFromHttpToHttps(file_, "a.com"));
    EXPECT_TRUE(redirect("a.com", "10.0.0.9"));
    EXPECT_EQ(state(), "11");
    EXPECT_EQ(readFile(active).substr(0, 24), "<VirtualHost 10.0.0.9:80");
    EXPECT_TRUE(helper.Apache_StartRedirectVHFromHttpToHttps(file_, "a.com"));
    EXPECT_EQ(state(), "10");
    EXPECT_EQ(readFile(active), first);
    EXPECT_EQ(readFile(qz("dummy.conf")), "#dummy conf file, please don't delete it\n");
    EXPECT_EQ(confText(), "Include qz/*.conf\n");
}

TEST_F(ToolkitRedirectTest, AFileThatCannotBeWrittenOrAnUnknownServerRoot) {
    conf("Listen 80\n");
    makeDir(qz("a.com.conf"));
    captureOutput();
    EXPECT_FALSE(redirect("a.com"));
    EXPECT_EQ(capturedOutput(), "writing entry\n0\nunable to open file: " + path(qz("a.com.conf")) + "\n");

    // apachectl names no server root: nothing is created anywhere.
    fakeCommand("apachectl", "exit 0");
    conf("Listen 80\n");
    const size_t logged = commandLog().size();
    captureOutput();
    EXPECT_FALSE(redirect("b.com"));
    EXPECT_TRUE(helper.Apache_StopRedirectVHFromHttpToHttps(file_, "b.com"));
    EXPECT_TRUE(helper.Apache_StartRedirectVHFromHttpToHttps(file_, "b.com"));
    EXPECT_TRUE(helper.Apache_DeleteRedirectVHFromHttpToHttps(file_, "b.com"));
    EXPECT_EQ(capturedOutput(), "unable to open file: /qz/b.com.conf\nfile path:/qz/b.com.conf\n"
                                "file path:/qz/b.com.conf\nfile path:/qz/b.com.conf\n");
    EXPECT_EQ(confText(), "Listen 80\n");
    EXPECT_EQ(commandLog().size(), logged);
}

TEST_F(ToolkitRedirectTest, LetsEncryptEntriesGoIntoTheFirstBlockOfTheDomain) {
    captureOutput();
    expectRewrite("letsencrypt", "letsencrypt_first_block", ".qzbackup.cp", "_qzbackup_cp", [this] {
        return helper.Apache_MakeLetsEncryptEntries(
            file_, "example.com", "10.0.0.2", "443",
            {"SSLEngine on", "SSLCertificateFile /etc/letsencrypt/live/example.com/cert.pem",
             "SSLCertificateKeyFile /etc/letsencrypt/live/example.com/privkey.pem"},
            true, "NameVirtualHost 10.0.0.2:443");
    });
    EXPECT_EQ(capturedOutput(), "mv " + file_ + "_qzbackup_cp " + file_ + "\n");

    conf("<VirtualHost 10.0.0.1:443>\nServerName a.com\n</VirtualHost>\n");
    EXPECT_EQ(helper.Apache_MakeLetsEncryptEntries(file_, "a.com", "2001:db8::1", "443", {"SSLEngine on"}, false, "X"),
              0);
    EXPECT_EQ(confText(), "<VirtualHost [2001:db8::1]:443>\nServerName a.com\n\tSSLEngine on\n</VirtualHost>\n\n");

    // Lines of up to 5998 characters are read whole.
    const std::string longest(5998, 'x');
    conf("<VirtualHost *:80>\nServerName a.com\n" + longest + "\n</VirtualHost>");
    EXPECT_EQ(helper.Apache_MakeLetsEncryptEntries(file_, "a.com", "1.2.3.4", "80", {}, true, "Listen 80"), 0);
    EXPECT_EQ(confText(), "<VirtualHost 1.2.3.4:80>\nServerName a.com\n" + longest + "\n</VirtualHost>\nListen 80\n");
}

TEST_F(ToolkitRedirectTest, LetsEncryptEntriesLeaveTheFileAloneOnFailure) {
    auto make = [this] { return helper.Apache_MakeLetsEncryptEntries(file_, "a.com", "1.2.3.4", "80", {"X"}, true, "Y"); };
    EXPECT_EQ(helper.Apache_MakeLetsEncryptEntries(path("/conf/missing"), "a.com", "1.2.3.4", "80", {}, false, ""), 1);

    const Lines cases = {
        "<VirtualHost *:80>\nServerName b.com\n</VirtualHost>\n<VirtualHost>\nServerName a.com\n</VirtualHost>\n",
        // An over-long line would keep the scan going for ever.
        "<VirtualHost *:80>\nServerName a.com\n" + std::string(5999, 'x') + "\n</VirtualHost>\n"};
    for (size_t i = 0; i < cases.size(); ++i) {
        conf(cases[i]);
        captureOutput();
        EXPECT_EQ(make(), i == 0 ? 3 : 1);
        EXPECT_EQ(capturedOutput(), "");
        EXPECT_EQ(confText(), cases[i]);
        EXPECT_EQ(readFile("/conf/httpd.conf.qzbackup.cp"), cases[i]);
        EXPECT_FALSE(exists("/conf/httpd.conf_qzbackup_cp"));
    }
    makeDir("/conf/httpd.conf_qzbackup_cp");
    EXPECT_EQ(make(), 2);
    EXPECT_EQ(confText(), cases[1]);
}
