// The shared primitives: the line reader against std::istream::getline, the
// shell quoting rule and system paths.
#include "QZCore.h"
#include "QZTestFixture.h"

#include <fstream>
#include <random>

namespace {

struct Read {
    std::string line;
    bool eof, fail;
    bool operator==(const Read& o) const { return line == o.line && eof == o.eof && fail == o.fail; }
};

std::ostream& operator<<(std::ostream& os, const Read& r) {
    return os << "{\"" << r.line << "\" eof=" << r.eof << " fail=" << r.fail << "}";
}

// Up to `reads` getline(buf, n) calls on a real stream, with a zeroed buffer.
std::vector<Read> streamReads(const std::string& file, size_t n, int reads) {
    std::ifstream in(file);
    std::vector<char> buf(n);
    std::vector<Read> out;
    for (int i = 0; i < reads; ++i) {
        std::fill(buf.begin(), buf.end(), '\0');
        in.getline(buf.data(), static_cast<std::streamsize>(n));
        out.push_back({buf.data(), in.eof(), in.fail()});
    }
    return out;
}

// Up to `reads` std::getline calls into one string on a real stream.
std::vector<Read> stringReads(const std::string& file, int reads) {
    std::ifstream in(file);
    std::string line;
    std::vector<Read> out;
    for (int i = 0; i < reads; ++i) {
        std::getline(in, line);
        out.push_back({line.c_str(), in.eof(), in.fail()});
    }
    return out;
}

std::vector<Read> readerReads(const std::string& file, size_t n, int reads) {
    qz::LineReader in(file, n);
    std::vector<Read> out;
    for (int i = 0; i < reads; ++i) {
        in.getline();
        out.push_back({in.c_str(), in.eof(), in.fail()});
    }
    return out;
}

}  // namespace

class CoreTest : public QZTest {};

TEST_F(CoreTest, LineReaderMatchesIstreamGetline) {
    const std::vector<std::string> contents = {
        "",
        "\n",
        "abc",
        "abc\n",
        "abcd\nef\n\n",
        "1234\n12345\n123\n",   // a line of exactly N-1, then one too long
        "12345",                 // too long at end of file
        "1234",                  // exactly N-1 at end of file
        "\n\n\nx",
        "ab\0cd\nnext\n",        // a NUL byte inside a line
    };
    std::mt19937 random(7);
    std::vector<std::string> all = contents;
    for (int i = 0; i < 200; ++i) {
        std::string text;
        int length = static_cast<int>(random() % 40);
        for (int j = 0; j < length; ++j) text += "ab\n c"[random() % 5];
        all.push_back(text);
    }
    const std::string file = path("/lines.txt");
    for (const std::string& text : all) {
        writeFile("/lines.txt", text);
        for (size_t n : {1u, 2u, 3u, 5u, 8u, 120u}) {
            SCOPED_TRACE("n=" + std::to_string(n) + " text=\"" + text + "\"");
            EXPECT_EQ(readerReads(file, n, 12), streamReads(file, n, 12));
        }
        SCOPED_TRACE("unlimited, text=\"" + text + "\"");
        EXPECT_EQ(readerReads(file, 0, 12), stringReads(file, 12));
    }
    writeFile("/lines.txt", std::string("ab\0cd\nnext\n", 11));
    EXPECT_EQ(readerReads(file, 10, 3), streamReads(file, 10, 3));
}

TEST_F(CoreTest, LineReaderAcrossBlockBoundariesAndUnlimitedLines) {
    std::string big;
    std::vector<std::string> lines;
    for (int i = 0; i < 20000; ++i) {
        lines.push_back(std::string(static_cast<size_t>(i % 97), 'x') + std::to_string(i));
        big += lines.back() + "\n";
    }
    lines.push_back(std::string(200000, 'y'));
    big += lines.back();
    writeFile("/big.txt", big);

    qz::LineReader limited(path("/big.txt"), 3000);
    for (size_t i = 0; i + 1 < lines.size(); ++i) {
        ASSERT_TRUE(limited.nextUntilEof());
        ASSERT_EQ(limited.view(), lines[i]);
    }
    ASSERT_TRUE(limited.nextUntilEof()) << "the over-long last line is handed out cut";
    EXPECT_EQ(limited.view(), std::string(2999, 'y'));
    EXPECT_TRUE(limited.tooLong());
    EXPECT_FALSE(limited.nextUntilEof()) << "and then ends the scan";

    qz::LineReader whole(path("/big.txt"), 0);
    size_t count = 0;
    while (whole.nextUntilEof()) ASSERT_EQ(whole.view(), lines[count++]);
    EXPECT_EQ(count, lines.size());
}

TEST_F(CoreTest, UntilEndOfFileLoopSeesTheFinalEmptyRead) {
    writeFile("/f", "a\nb\n");
    qz::LineReader in(path("/f"), 3000);
    std::vector<std::string> seen;
    while (in.nextUntilEof()) seen.emplace_back(in.view());
    EXPECT_EQ(seen, (std::vector<std::string>{"a", "b", ""}));

    writeFile("/f", "a\nb");
    qz::LineReader noNewline(path("/f"), 3000);
    seen.clear();
    while (noNewline.nextUntilEof()) seen.emplace_back(noNewline.view());
    EXPECT_EQ(seen, (std::vector<std::string>{"a", "b"}));

    qz::LineReader missing(path("/nothing"), 3000);
    EXPECT_FALSE(missing.isOpen());
}

TEST_F(CoreTest, ShellWordsKeepOrdinaryNamesAndQuoteEverythingElse) {
    EXPECT_EQ(qz::shellCommand({"mv", "/etc/httpd/conf/1732166400", "/etc/httpd/conf/httpd.conf"}),
              "mv /etc/httpd/conf/1732166400 /etc/httpd/conf/httpd.conf");
    EXPECT_EQ(qz::shellWord("user@example.com:qz7group,a=b+c%d_e-f"), "user@example.com:qz7group,a=b+c%d_e-f");
    EXPECT_EQ(qz::shellWord(""), "");
    EXPECT_EQ(qz::shellCommand({"chown", "-R", "a:qz7group", ""}), "chown -R a:qz7group ");
    EXPECT_EQ(qz::shellWord("a b"), "'a b'");
    EXPECT_EQ(qz::shellWord("it's"), "'it'\\''s'");
    EXPECT_EQ(qz::shellQuotedBody("p'w"), "p'\\''w");

    // Hostile words reach the command as one argument each and run nothing.
    const std::string canary = path("/canary");
    const std::vector<std::string> hostile = {
        "; touch " + canary,  "| touch " + canary,  "& touch " + canary, "$(touch " + canary + ")",
        "`touch " + canary + "`", "a\ntouch " + canary, "\"; touch " + canary + "; \"", "'; touch " + canary + "; '",
        "-rf",
    };
    for (const std::string& word : hostile) {
        const std::string out = path("/argv");
        qz::runShell(qz::shellCommand({"printf", "%s", word}) + " > " + qz::shellWord(out));
        EXPECT_EQ(readFile("/argv"), word);
        EXPECT_FALSE(exists("/canary")) << word;
    }
}

TEST_F(CoreTest, ShellPipeReadsACommandsOutput) {
    fakeCommand("apachectl", "echo 'Server version: Apache/2.4.62 (Debian)'");
    qz::ShellPipe pipe(qz::shellCommand({"apachectl", "-v"}));
    ASSERT_NE(pipe.get(), nullptr);
    char line[128] = {};
    ASSERT_NE(fgets(line, sizeof line, pipe.get()), nullptr);
    EXPECT_STREQ(line, "Server version: Apache/2.4.62 (Debian)\n");
    EXPECT_EQ(pipe.close(), 0);
    EXPECT_EQ(pipe.get(), nullptr);
}

TEST_F(CoreTest, FixedPathsResolveUnderTheSystemRoot) {
    EXPECT_EQ(qz::systemRoot(), root_);
    EXPECT_EQ(qz::sysPath("/etc/QZ.conf"), root_ + "/etc/QZ.conf");
    qz::setSystemRoot("");
    EXPECT_EQ(qz::sysPath("/etc/QZ.conf"), "/etc/QZ.conf");
}
