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
    int letsEncrypt(const std::string& ip, std::vector<std::string> directives, bool nvh, const std::string& entry) {
        return helper.Apache_MakeLetsEncryptEntries(file_, "a.com", ip, "443", directives, nvh, entry);
    }
};

TEST_F(ToolkitRedirectTest, CreatingMakesTheFolderTheIncludeLineAndTheFile) {
    const mode_t mask = umask(022);
    const std::string vhostOnly = "Listen 80\n\n<VirtualHost *:80>\nInclude conf.d/a.conf\n</VirtualHost>\n";
    conf(vhostOnly);
    captureOutput();
    EXPECT_TRUE(redirect("example.com"));
    EXPECT_EQ(capturedOutput(), "writing entry\n0\n");
    EXPECT_EQ(confText(), vhostOnly + "Include qz/*.conf\n");  // appended, blank line kept
    EXPECT_EQ(commandLog(), Lines{"cp " + file_ + " " + file_ + ".qzbackup.rt"});
    EXPECT_EQ(readFile(qz("example.com.conf")), expected("redirect_file"));
    EXPECT_EQ(readFile(qz("dummy.conf")), "#dummy conf file, please don't delete it\n");
    struct stat st;
    ASSERT_EQ(stat(path("/etc/httpd/qz").c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 07777, 0755u);
    umask(mask);

    // Again: one Include line, the file written afresh, and an existing
    // folder gets no placeholder.
    writeFile(qz("example.com.conf"), std::string(500, 'x'));
    std::remove(path(qz("dummy.conf")).c_str());
    captureOutput();
    EXPECT_TRUE(redirect("example.com"));
    EXPECT_EQ(capturedOutput(), "without quotes\nfound\nentry already exists\n");
    EXPECT_EQ(confText(), vhostOnly + "Include qz/*.conf\n");
    EXPECT_EQ(readFile(qz("example.com.conf")), expected("redirect_file"));
    EXPECT_FALSE(exists(qz("dummy.conf")));

    // After the first server-level line starting with "Include", which an
    // IncludeOptional line is too.
    golden("include_after_first");
    captureOutput();
    EXPECT_TRUE(redirect("a.com"));
    EXPECT_EQ(capturedOutput(), "without quotes\nwithout quotes\nwriting entry\n0\n");
    EXPECT_EQ(confText(), expected("include_after_first"));
    EXPECT_EQ(commandLog().back(), "mv " + file_ + ".wd " + file_);

    // "IncludeOptional qz/*.conf" counts as "Include qz/*.conf" (names match
    // by prefix): nothing is added.
    conf("# Include qz/*.conf\nIncludeOptional qz/*.conf\n");
    captureOutput();
    EXPECT_TRUE(redirect("a.com"));
    EXPECT_EQ(capturedOutput(), "without quotes\nfound\nentry already exists\n");
    EXPECT_EQ(confText(), "# Include qz/*.conf\nIncludeOptional qz/*.conf\n");
}

TEST_F(ToolkitRedirectTest, ARedirectIsStoppedStartedAndDeletedByRenaming) {
    conf("Include qz/*.conf\n");
    const std::string active = qz("a.com.conf"), stopped = active + ".stop";
    auto state = [&] { return std::to_string(exists(active)) + std::to_string(exists(stopped)); };
    auto stop = [&] { return helper.Apache_StopRedirectVHFromHttpToHttps(file_, "a.com"); };
    auto start = [&] { return helper.Apache_StartRedirectVHFromHttpToHttps(file_, "a.com"); };
    auto remove = [&] { return helper.Apache_DeleteRedirectVHFromHttpToHttps(file_, "a.com"); };
    captureOutput();
    EXPECT_TRUE(stop());
    EXPECT_EQ(state(), "00");
    EXPECT_TRUE(redirect("a.com"));
    const std::string first = readFile(active);
    EXPECT_TRUE(stop());
    EXPECT_TRUE(stop());
    EXPECT_TRUE(remove());  // a stopped redirect stays
    EXPECT_EQ(state(), "01");
    EXPECT_TRUE(start());
    EXPECT_EQ(state(), "10");
    EXPECT_EQ(readFile(active), first);
    EXPECT_TRUE(start());
    EXPECT_TRUE(remove());
    EXPECT_EQ(state(), "00");
    const std::string line = "file path:" + path(active) + "\n";
    EXPECT_EQ(capturedOutput(), line + "without quotes\nfound\nentry already exists\n" + line + line + line + line +
                                    line + line);

    // Created while stopped: both files; starting puts the stopped one back.
    EXPECT_TRUE(redirect("a.com") && stop() && redirect("a.com", "10.0.0.9"));
    EXPECT_EQ(state(), "11");
    EXPECT_EQ(readFile(active).substr(0, 26), "<VirtualHost 10.0.0.9:80>\n");
    EXPECT_TRUE(start());
    EXPECT_EQ(state(), "10");
    EXPECT_EQ(readFile(active), first);
}

TEST_F(ToolkitRedirectTest, AFileThatCannotBeWrittenOrAnUnknownServerRoot) {
    conf("Listen 80\n");
    makeDir(qz("a.com.conf"));
    captureOutput();
    EXPECT_FALSE(redirect("a.com"));
    EXPECT_EQ(capturedOutput(), "writing entry\n0\nunable to open file: " + path(qz("a.com.conf")) + "\n");

    // apachectl names no server root: nothing is created or changed.
    fakeCommand("apachectl", "exit 0");
    conf("Listen 80\n");
    const size_t logged = commandLog().size();
    captureOutput();
    EXPECT_FALSE(redirect("b.com"));
    EXPECT_TRUE(helper.Apache_StopRedirectVHFromHttpToHttps(file_, "b.com"));
    EXPECT_EQ(capturedOutput(), "unable to open file: /qz/b.com.conf\nfile path:/qz/b.com.conf\n");
    EXPECT_EQ(confText(), "Listen 80\n");
    EXPECT_EQ(commandLog().size(), logged);
}

TEST_F(ToolkitRedirectTest, ARedirectFileIsWrittenThroughASymbolicLink) {
    conf("Include qz/*.conf\n");
    makeDir("/etc/httpd/qz");
    makeDir("/srv");
    writeFile("/srv/example.com.conf", std::string(500, 'x'));
    ASSERT_EQ(symlink(path("/srv/example.com.conf").c_str(), path(qz("example.com.conf")).c_str()), 0);
    // A link to a file not there yet creates it.
    ASSERT_EQ(symlink(path("/srv/b.com.conf").c_str(), path(qz("b.com.conf")).c_str()), 0);
    captureOutput();
    EXPECT_TRUE(redirect("example.com"));
    EXPECT_TRUE(redirect("b.com"));
    capturedOutput();
    EXPECT_EQ(readFile("/srv/example.com.conf"), expected("redirect_file"));
    const std::string start = "<VirtualHost 10.0.0.1:80>\n\tServerName b.com\n";
    EXPECT_EQ(readFile("/srv/b.com.conf").substr(0, start.size()), start);
    struct stat st;
    ASSERT_EQ(lstat(path(qz("example.com.conf")).c_str(), &st), 0);
    EXPECT_TRUE(S_ISLNK(st.st_mode));
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

    // IPv6 in brackets; lines of up to 5998 characters are read whole.
    const std::string longest(5998, 'x');
    conf("<VirtualHost 10.0.0.1:443>\nServerName a.com\n" + longest + "\n</VirtualHost>");
    EXPECT_EQ(letsEncrypt("2001:db8::1", {"SSLEngine on"}, false, "X"), 0);
    EXPECT_EQ(confText(), "<VirtualHost [2001:db8::1]:443>\nServerName a.com\n" + longest +
                              "\n\tSSLEngine on\n</VirtualHost>\n");

    // No block of the domain (a bare <VirtualHost> opens none): 3; a longer
    // line, which the scan would never get past: 1. The file stays as it is.
    for (const std::string& text :
         {std::string("<VirtualHost>\nServerName a.com\n</VirtualHost>\n"),
          "<VirtualHost *:80>\nServerName a.com\n" + std::string(5999, 'x') + "\n</VirtualHost>\n"}) {
        conf(text);
        captureOutput();
        EXPECT_EQ(letsEncrypt("1.2.3.4", {"X"}, true, "Y"), text.size() < 100 ? 3 : 1);
        EXPECT_EQ(capturedOutput(), "");
        EXPECT_EQ(confText(), text);
        EXPECT_EQ(readFile("/conf/httpd.conf.qzbackup.cp"), text);
        EXPECT_FALSE(exists("/conf/httpd.conf_qzbackup_cp"));
    }
    makeDir("/conf/httpd.conf_qzbackup_cp");
    EXPECT_EQ(letsEncrypt("1.2.3.4", {}, false, ""), 2);
    std::remove(file_.c_str());
    EXPECT_EQ(letsEncrypt("1.2.3.4", {}, false, ""), 1);
}
