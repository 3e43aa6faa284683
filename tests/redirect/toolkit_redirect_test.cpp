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
    watchConf({".qzbackup.rt"});
    for (const char* name : {"example.com.conf", "dummy.conf", "a.com.conf"}) watch(qz(name));
    const mode_t mask = umask(022);
    // The Include line appended, blank line kept; a placeholder in the new folder.
    conf("Listen 80\n\n<VirtualHost *:80>\nInclude conf.d/a.conf\n</VirtualHost>\n");
    STEP("a first redirect", redirect("example.com"));
    EXPECT_EQ(modeOf(qz("")), 0755);
    umask(mask);
    // Again: one Include line, the file written afresh, and an existing
    // folder gets no placeholder.
    writeFile(qz("example.com.conf"), std::string(500, 'x'));
    std::remove(path(qz("dummy.conf")).c_str());
    STEP("the same again", redirect("example.com"));
    // After the first server-level line starting with "Include", which an
    // IncludeOptional line is too.
    golden("include_after_first");
    STEP("after the first Include line", redirect("a.com"));
    // "IncludeOptional qz/*.conf" counts as "Include qz/*.conf" (names match
    // by prefix): nothing is added.
    conf("# Include qz/*.conf\nIncludeOptional qz/*.conf\n");
    STEP("IncludeOptional qz/*.conf", redirect("a.com"));
    EXPECT_DATA(transcript_, "toolkit/redirect_created.transcript");
}

TEST_F(ToolkitRedirectTest, ARedirectIsStoppedStartedAndDeletedByRenaming) {
    conf("Include qz/*.conf\n");
    const std::string active = qz("a.com.conf"), stopped = active + ".stop";
    watch(active);
    watch(stopped);
    auto stop = [&] { return helper.Apache_StopRedirectVHFromHttpToHttps(file_, "a.com"); };
    auto start = [&] { return helper.Apache_StartRedirectVHFromHttpToHttps(file_, "a.com"); };
    auto remove = [&] { return helper.Apache_DeleteRedirectVHFromHttpToHttps(file_, "a.com"); };
    STEP("stop, no redirect", stop());
    STEP("create", redirect("a.com"));
    STEP("stop", stop());
    STEP("stop again", stop());
    STEP("delete, stopped: it stays", remove());
    STEP("start", start());
    STEP("start again", start());
    STEP("delete", remove());
    // Created while stopped: both files; starting puts the stopped one back.
    STEP("create", redirect("a.com"));
    STEP("stop", stop());
    STEP("create at another address", redirect("a.com", "10.0.0.9"));
    STEP("start", start());
    EXPECT_DATA(transcript_, "toolkit/redirect_stop_start_delete.transcript");
}

TEST_F(ToolkitRedirectTest, AFileThatCannotBeWrittenOrAnUnknownServerRoot) {
    watchConf();
    conf("Listen 80\n");
    makeDir(qz("a.com.conf"));
    STEP("the file a folder", redirect("a.com"));
    // apachectl names no server root: nothing is created or changed.
    fakeCommand("apachectl", "exit 0");
    conf("Listen 80\n");
    STEP("no server root", redirect("b.com"));
    STEP("stop, no server root", helper.Apache_StopRedirectVHFromHttpToHttps(file_, "b.com"));
    EXPECT_DATA(transcript_, "toolkit/redirect_not_written.transcript");
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
    EXPECT_EQ(confText(), "<VirtualHost [2001:db8::1]:443>\nServerName a.com\n" + longest + "\n\tSSLEngine on\n</VirtualHost>\n");

    // No block of the domain (a bare <VirtualHost> opens none): 3; a longer
    // line, which the scan would never get past: 1. The file stays as it is.
    for (const std::string& text : {std::string("<VirtualHost>\nServerName a.com\n</VirtualHost>\n"),
                                    "<VirtualHost *:80>\nServerName a.com\n" + std::string(5999, 'x') + "\n</VirtualHost>\n"}) {
        conf(text);
        EXPECT_PRINTS(letsEncrypt("1.2.3.4", {"X"}, true, "Y"), text.size() < 100 ? 3 : 1, "");
        EXPECT_EQ(confText(), text);
        EXPECT_EQ(readFile("/conf/httpd.conf.qzbackup.cp"), text);
        EXPECT_FALSE(exists("/conf/httpd.conf_qzbackup_cp"));
    }
    makeDir("/conf/httpd.conf_qzbackup_cp");
    EXPECT_EQ(letsEncrypt("1.2.3.4", {}, false, ""), 2);
    std::remove(file_.c_str());
    EXPECT_EQ(letsEncrypt("1.2.3.4", {}, false, ""), 1);
}
