// The shared primitives: the line reader against std::istream::getline, the
// shell quoting rule and system paths.
#include "core/QZCore.h"
#include "core/SafePath.h"
#include "QZTestFixture.h"

#include <cerrno>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>
#include <random>

namespace {

// One line per read: the text read (up to a NUL) and its length, then "eof"
// and "fail" as set.
std::string state(std::string_view line, bool eof, bool fail) {
    return std::string(line) + " [" + std::to_string(line.size()) + "]" + (eof ? " eof" : "") + (fail ? " fail" : "") + "\n";
}

// The limit of read `i`: `n` for every read, or, when `mixed`, a limit of
// its own for every other read, as a scan that reads a section's lines with a
// shorter buffer does.
size_t limitOf(size_t n, int i, bool mixed) { return mixed && i % 2 == 1 ? 1 + (n + i) % 7 : n; }

// Up to `reads` getline(buf, n) calls on the reader, or on a real stream with
// a zeroed buffer (std::getline into one string when n is 0).
std::string reads(const std::string& file, size_t n, int reads, bool mixed, bool reader) {
    qz::LineReader lines(file, n);
    std::ifstream in(file);
    std::string line, out;
    for (int i = 0; i < reads; ++i) {
        const size_t limit = limitOf(n, i, mixed);
        std::vector<char> buf(limit + 1, '\0');
        if (reader) lines.getline(limit);
        else if (limit == 0) std::getline(in, line);
        else in.getline(buf.data(), static_cast<std::streamsize>(limit));
        EXPECT_TRUE(!reader || lines.view() == std::string_view(lines.c_str()));
        out += reader ? state(lines.view(), lines.eof(), lines.fail()) : state(limit == 0 ? line.c_str() : buf.data(), in.eof(), in.fail());
    }
    return out;
}

}  // namespace

using CoreTest = QZTest;

// Short texts (edge cases and random ones) with small limits, some reads
// with limits of their own; and a file of several of the reader's blocks,
// with long lines and NUL bytes, so that lines handed out where they lie in
// the block and lines copied (crossing its end, reaching the limit or
// following a NUL) are both read as the stream reads them.
TEST_F(CoreTest, LineReaderMatchesIstreamGetline) {
    std::vector<std::string> all = {
        "", "\n", "abc", "abc\n", "abcd\nef\n\n",
        "1234\n12345\n123\n",  // a line of exactly N-1, then one too long
        "12345",               // too long at end of file
        "1234",                // exactly N-1 at end of file
        "\n\n\nx",
        std::string("ab\0cd\nnext\n", 11),  // a NUL byte inside a line
        std::string("x\nab\0cd\n\0\nnext", 13),  // ... inside lines handed out in place
    };
    std::mt19937 random(7);
    for (int i = 0; i < 200; ++i) {
        std::string text;
        for (int j = static_cast<int>(random() % 40); j > 0; --j) text += "ab\n c"[random() % 5];
        all.push_back(text);
    }
    const std::string file = path("/lines.txt");
    for (const std::string& text : all) {
        writeFile("/lines.txt", text);
        for (size_t n : {0u, 1u, 2u, 3u, 5u, 8u, 10u, 120u}) {
            SCOPED_TRACE("n=" + std::to_string(n) + " text=\"" + text + "\"");
            for (const bool mixed : {false, n > 0}) EXPECT_EQ(reads(file, n, 12, mixed, true), reads(file, n, 12, mixed, false));
        }
    }
    std::string text;
    int lines = 0;
    for (; text.size() < 300000; ++lines) {
        const size_t length = random() % 50 == 0 ? 2000 + random() % 4000 : random() % 120;
        for (size_t j = 0; j < length; ++j) text += random() % 5000 == 0 ? '\0' : "ab c\t"[random() % 5];
        text += '\n';
    }
    text.pop_back();  // the last line ends the file without its newline
    writeFile("/lines.txt", text);
    for (size_t n : {0u, 3000u, 2025u, 120u, 2u}) {
        const std::string reader = reads(file, n, lines + 2, false, true), stream = reads(file, n, lines + 2, false, false);
        EXPECT_TRUE(reader == stream) << "n=" << n << " differs from read " << std::count(reader.begin(), reader.begin() +
            (std::mismatch(reader.begin(), reader.end(), stream.begin(), stream.end()).first - reader.begin()), '\n');
    }
}

// The loop "until end of file" sees the final empty read after a last
// newline; an over-long line is handed out cut, marked, and ends the scan;
// without a limit lines have any length.
TEST_F(CoreTest, LineReaderScansUntilEndOfFile) {
    std::string big, lines;
    for (int i = 0; i < 20000; ++i) {
        const std::string line = std::string(static_cast<size_t>(i % 97), 'x') + std::to_string(i);
        big += line + "\n";
        lines += line + "|";
    }
    big += std::string(200000, 'y');
    const std::vector<std::tuple<std::string, size_t, std::string>> rows = {
        {"a\nb\n", 3000, "a|b||"},
        {"a\nb", 3000, "a|b|"},
        {big, 3000, lines + std::string(2999, 'y') + " (too long)|"},
        {big, 0, lines + std::string(200000, 'y') + "|"},
    };
    for (const auto& [text, limit, expected] : rows) {
        writeFile("/f", text);
        qz::LineReader in(path("/f"), limit);
        std::string seen;
        while (seen.size() <= expected.size() && in.nextUntilEof()) seen += std::string(in.view()) + (in.tooLong() ? " (too long)|" : "|");
        EXPECT_TRUE(seen == expected) << "limit " << limit << ", text of " << text.size() << " bytes: " << seen.substr(0, 200);
    }
    EXPECT_FALSE(qz::LineReader(path("/nothing"), 3000).isOpen());
}

// Output files gather small writes in a buffer of their own and write large
// ones straight through: whatever the mix of sizes, and whether the file is
// closed or simply destroyed, it must hold exactly the bytes written, in order.
TEST_F(CoreTest, OutFileKeepsEveryByteInOrder) {
    std::mt19937 random(5);
    const size_t sizes[] = {0, 1, 2, 100, 65535, 65536, 65537, 200000};
    for (int round = 0; round < 60; ++round) {
        const std::string rel = "/out" + std::to_string(round % 3), file = path(rel);
        std::string expected = round % 3 == 1 ? "kept\n" : "";
        writeFile(rel, expected);
        {
            qz::OutFile out;
            ASSERT_TRUE(round % 3 == 0 ? out.open(file.c_str()) : round % 3 == 1 ? out.openAppend(file.c_str()) : out.openTarget(file.c_str()));
            for (int piece = 0; piece < 6; ++piece) {
                std::string text(sizes[random() % 8], static_cast<char>('a' + random() % 26));
                if (!text.empty()) text[0] = static_cast<char>('0' + piece);
                const bool line = random() % 2;
                line ? out.writeLine(text) : out.write(text);
                expected += line ? text + "\n" : text;
            }
            if (round % 2) out.close();  // otherwise the destructor closes it
        }
        ASSERT_EQ(readFile(rel), expected) << "round " << round;
    }
    qz::OutFile never;
    never.write("dropped");  // a file never opened takes writes and writes nothing
    never.close();
}

// The keyword tests answer as strncasecmp and strcasecmp do, for every mix
// of letter case, other ASCII, bytes above 0x7f and early ends.
TEST_F(CoreTest, NoCaseComparisonsMatchTheCLibrary) {
    std::mt19937 random(5);
    const std::string alphabet = std::string("sSeErR@`[{ \t") + "\xc9\xe9\xff";
    auto word = [&](size_t length) {
        std::string w;
        while (w.size() < length) w += alphabet[random() % alphabet.size()];
        return w;
    };
    for (int i = 0; i < 20000; ++i) {
        const std::string a = word(random() % 6), b = word(random() % 6);
        SCOPED_TRACE("a=\"" + a + "\" b=\"" + b + "\"");
        ASSERT_EQ(qz::startsWithNoCase(a.c_str(), b), strncasecmp(a.c_str(), b.c_str(), b.size()) == 0);
        ASSERT_EQ(qz::equalsNoCase(a.c_str(), b.c_str()), strcasecmp(a.c_str(), b.c_str()) == 0);
    }
    EXPECT_TRUE(qz::startsWithNoCase("servername example.com", "ServerName"));
    EXPECT_FALSE(qz::startsWithNoCase("Server", "ServerName"));
    EXPECT_TRUE(qz::equalsNoCase("Example.COM", "example.com"));
}

// Ordinary words stay as they are; any other is quoted, and reaches the
// command as one argument that runs nothing. A word with one character to
// quote and nothing else is quoted too: no blank or quote forces it.
// "canary" is a command that would create the canary file; "*" and "?"
// match the "/argv" file written.
TEST_F(CoreTest, ShellWordsKeepOrdinaryNamesAndQuoteEverythingElse) {
    EXPECT_EQ(qz::shellCommand({"mv", "/etc/httpd/conf/1732166400", "/etc/httpd/conf/httpd.conf"}),
              "mv /etc/httpd/conf/1732166400 /etc/httpd/conf/httpd.conf");
    EXPECT_EQ(qz::shellCommand({"chown", "-R", "a:qz7group", ""}), "chown -R a:qz7group ");
    EXPECT_EQ(qz::shellQuotedBody("p'w"), "p'\\''w");
    EXPECT_EQ(qz::shellWord(""), "");
    const std::string canary = path("/canary");
    fakeCommand("canary", ": >" + qz::shellWord(canary));
    // Each word and its quoted form ("" for the word in single quotes).
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"user@example.com:qz7group,a=b+c%d_e-f", "user@example.com:qz7group,a=b+c%d_e-f"}, {"-rf", "-rf"},
        {"a b", ""}, {"it's", "'it'\\''s'"}, {"'; touch " + canary + "; '", "''\\''; touch " + canary + "; '\\'''"},
        {"; touch " + canary, ""}, {"| touch " + canary, ""}, {"& touch " + canary, ""}, {"$(touch " + canary + ")", ""},
        {"`touch " + canary + "`", ""}, {"a\ntouch " + canary, ""}, {"\"; touch " + canary + "; \"", ""},
        {"a;canary", ""}, {"a|canary", ""}, {"a&canary", ""}, {"$HOME", ""}, {"`canary`", ""}, {">" + canary, ""}, {"<x", ""},
        {path("/arg*"), ""}, {path("/arg?"), ""}, {"~root", ""}, {"#a", ""}, {"a(b", ""}, {"a\\b", ""}, {"a\tb", ""}, {"a\nb", ""}};
    for (const auto& [word, quoted] : rows) {
        EXPECT_EQ(qz::shellWord(word), quoted.empty() ? "'" + word + "'" : quoted);
        qz::runShell(qz::shellCommand({"printf", "%s", word}) + " > " + qz::shellWord(path("/argv")));
        EXPECT_EQ(readFile("/argv"), word);
        EXPECT_FALSE(exists("/canary")) << word;
    }
}

TEST_F(CoreTest, ShellPipeReadsACommandsOutputAndPathsResolveUnderTheRoot) {
    fakeCommand("apachectl", "echo 'Server version: Apache/2.4.62 (Debian)'");
    qz::ShellPipe pipe(qz::shellCommand({"apachectl", "-v"}));
    ASSERT_NE(pipe.get(), nullptr);
    char line[128] = {};
    ASSERT_NE(fgets(line, sizeof line, pipe.get()), nullptr);
    EXPECT_STREQ(line, "Server version: Apache/2.4.62 (Debian)\n");
    EXPECT_EQ(pipe.close(), 0);
    EXPECT_EQ(pipe.get(), nullptr);
    EXPECT_EQ(qz::systemRoot(), root_);
    EXPECT_EQ(qz::sysPath("/etc/QZ.conf"), root_ + "/etc/QZ.conf");
    qz::setSystemRoot("");
    EXPECT_EQ(qz::sysPath("/etc/QZ.conf"), "/etc/QZ.conf");
}

// The guard of every unit test: a real server tool started, or a write to the
// system's /etc, /var or /run, is found and named (and then forgotten, so
// that this test itself passes).
TEST_F(CoreTest, GuardCatchesRealToolsAndWritesOutsideTheScratchRoot) {
    if (!guard_.armed()) GTEST_SKIP() << "the guard needs root and a mount namespace";
    std::ofstream("/run/qzapache-guard-probe") << "x";
    Lines expected = {"wrote /run/qzapache-guard-probe"};
    if (access("/usr/sbin/apache2", X_OK) == 0) {
        EXPECT_EQ(std::system("/usr/sbin/apache2 -v >/dev/null 2>&1") >> 8, 126);
        expected.insert(expected.begin(), "ran /usr/sbin/apache2 -v");
    }
    EXPECT_EQ(guard_.findings(), expected);
    EXPECT_EQ(guard_.findings(), Lines{});
}

// Which folders the locks take from their owners, and what they give back:
// a customer's folder is held (root's, without group or other write) and
// given back; a folder of root's is never changed: under a sticky folder
// others can write (as /tmp) the path is held, under one without the sticky
// bit the path is refused. A tree lock holds every folder below too and
// gives each its owner back with the mode it has by then.
TEST_F(CoreTest, FolderLocksHoldOnlyCustomersFolders) {
    if (geteuid() != 0) GTEST_SKIP() << "holding folders needs root";
    // "rel uid mode" of each folder, on one line.
    auto state = [&](std::initializer_list<const char*> rels) {
        std::string line;
        for (const char* rel : rels) {
            struct stat st {};
            char text[128];
            lstat(path(rel).c_str(), &st);
            snprintf(text, sizeof text, "%s%s %u %04o", line.empty() ? "" : "; ", rel, st.st_uid, static_cast<unsigned>(st.st_mode & 07777));
            line += text;
        }
        return line + "\n";
    };
    chmod(root_.c_str(), 0755);
    for (const auto& [rel, uid, mode] : std::vector<std::tuple<std::string, uid_t, mode_t>>{
             {"/sticky", 0, 01777}, {"/sticky/site", 65534, 0755}, {"/open", 0, 0777}, {"/open/site", 65534, 0755},
             {"/sticky/site/d", 65534, 0777}, {"/sticky/site/d/e", 65534, 0775}}) {
        makeDir(rel);
        ASSERT_EQ(chown(path(rel).c_str(), uid, uid) | chmod(path(rel).c_str(), mode), 0) << rel;
    }
    std::string seen;
    {
        qz::FolderLock still;
        seen += std::string("sticky: ") + (still.lock(path("/sticky/site")) ? "held" : "refused") + "\n";
        seen += state({"/sticky", "/sticky/site"});
    }
    seen += state({"/sticky", "/sticky/site"});
    {
        qz::FolderLock still;
        const bool held = still.lock(path("/open/site"));
        seen += std::string("open: ") + (held ? "held" : errno == EPERM ? "refused (EPERM)" : "refused") + "\n";
        seen += state({"/open", "/open/site"});
    }
    {
        qz::FolderLock parent;
        qz::TreeLock tree;
        const bool held = parent.lock(path("/sticky/site")) && tree.lock(path("/sticky/site/d"));
        seen += std::string("tree: ") + (held ? "held" : "refused") + "\n" + state({"/sticky/site/d", "/sticky/site/d/e"});
        chmod(path("/sticky/site/d").c_str(), 0705);  // as chmod -R would
    }
    seen += state({"/sticky/site/d", "/sticky/site/d/e", "/sticky/site"});
    {
        // An empty path (a command with no operand) holds nothing, not the working folder.
        ASSERT_EQ(chdir(path("/sticky").c_str()), 0);
        qz::FolderLock still;
        qz::TreeLock tree;
        seen += std::string("empty: ") + (still.lock("") && tree.lock("") ? "held" : "refused") + "\n";
        seen += state({"/sticky/site", "/sticky/site/d"});
    }
    EXPECT_DATA(seen, "core-locks/folder_locks_hold_only_customers_folders.txt");
}
