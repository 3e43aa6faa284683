// Internal primitives shared by every operation: fixed system paths, the line
// reader, keyword matching, the scratch-file rewrite, shell command lines and
// tracking. Not part of the public interface.
#ifndef QZ_CORE_H
#define QZ_CORE_H

#include "CQZTrackManager.h"
#include "QZResults.h"
#include "QZTypes.h"
#include "core/Messages.h"

#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <string>
#include <string_view>
#include <strings.h>
#include <utility>

namespace qz {

// ---- System paths ---------------------------------------------------------

// A fixed absolute path the library names itself, resolved under the system
// root: sysPath("/etc/QZ.conf") is systemRoot() + "/etc/QZ.conf".
std::string sysPath(std::string_view fixedPath);

// ---- Line reading -----------------------------------------------------------

// Reads a file line by line exactly as std::istream::getline(buf, N) does
// with a zeroed buffer of N bytes, streaming through one block buffer and one
// line buffer, both allocated once. A line that lies whole in the block is
// handed out where it lies (its '\n' overwritten by the terminating NUL), so
// most lines are never copied; one that crosses the end of the block, or that
// is cut at the limit, is copied into the line buffer:
//   - at most N-1 characters are stored; the '\n' is consumed, not stored;
//   - a line of N-1 characters followed by '\n' is read whole;
//   - a longer line stores N-1 characters and fails the stream (the rest of
//     the line stays unread);
//   - a read that extracts nothing (end of file) fails the stream;
//   - once the stream is not good, every further read fails and stores "".
// N == 0 means "no limit" (std::getline into a std::string), and then a read
// on a stream that is no longer good fails and leaves the line as it was.
// A folder does not open. A file that opens but cannot be read (an I/O error)
// reads as empty, as an ifstream does.
// The read limits (N above) of the line scans, by what is read. Each is part
// of an operation's documented behaviour: which lines count as too long.
constexpr size_t kNoLineLimit = 0;               // std::getline: whole lines
constexpr size_t kConfigLineLimit = 3000;        // a configuration file read as getline(buf, 3000)
constexpr size_t kPhpStatusLineLimit = 2048;     // ISPhpEnabled's scan
constexpr size_t kSettingsLineLimit = 120;       // the panel's settings file (QZ.conf)

class LineReader {
public:
    LineReader(const char* path, size_t limit);
    LineReader(const std::string& path, size_t limit) : LineReader(path.c_str(), limit) {}
    ~LineReader();
    LineReader(const LineReader&) = delete;
    LineReader& operator=(const LineReader&) = delete;

    bool isOpen() const { return fd_ >= 0; }
    void close();

    // One getline(buf, N) with the reader's limit, or with `limit` for this
    // read only. True unless the stream failed.
    bool getline() { return getline(limit_); }
    bool getline(size_t limit);

    // One turn of the loop "until end of file": `while (!eof()) { getline();
    // ...use the line... }`. True while the loop body runs with a line,
    // including the final empty read at end of file. A line longer than the
    // limit is handed out cut to the limit, as the loop body sees it, with
    // tooLong() set; the stream has failed, so such a loop would then spin on
    // empty reads for ever without seeing end of file: the next turn ends the
    // scan instead.
    bool nextUntilEof();

    bool eof() const { return eof_; }
    bool fail() const { return fail_; }
    bool good() const { return !eof_ && !fail_; }
    // True when the last read failed because its line was too long.
    bool tooLong() const { return tooLong_; }

    // The line as a C string: what the program sees through the char buffer,
    // so it ends at the first NUL byte of the line, if any. The line may lie
    // in the reader's block: it stays valid only until the next read, close()
    // or the reader's end; copy what must outlive them.
    const char* c_str() const { return line_; }
    std::string_view view() const { return std::string_view(line_, clen_); }
    // The whole line, NUL bytes and what follows them included: for copies
    // that must keep every byte.
    std::string_view rawView() const { return std::string_view(line_, len_); }
    size_t length() const { return clen_; }
    bool empty() const { return clen_ == 0; }

private:
    bool refill();
    bool getlineCopied(size_t room);
    void indexBlock();
    size_t nextNewline(size_t from, size_t stop) const;
    void reserve(size_t n);
    void append(const char* p, size_t n);

    int fd_ = -1;
    size_t limit_;
    char* block_ = nullptr;     // kBlockSize bytes read from the file (no byte to spare)
    size_t pos_ = 0, end_ = 0;  // the unread part of the block
    bool blockHasNul_ = false;  // the block holds a NUL byte: lines must be measured
    uint64_t* newlines_ = nullptr;  // one bit a byte of the block: set where it read '\n'
    char* own_ = nullptr;       // the line buffer
    const char* line_ = nullptr;  // the line: in the block, or own_
    size_t cap_ = 0, len_ = 0, clen_ = 0;
    bool eof_ = false, fail_ = false, tooLong_ = false;
};

// The check an operation makes after opening its configuration file: 21 when
// none is named, 22 (after `message` on a line of standard output, unless it
// is null) when `in` did not open it, 0 when it is open. The website
// operations print "Error while opening HttpdConfFile".
int configurationUnreadable(const char* httpdConfFile, const LineReader& in,
                            const char* message = msg::kConfigNotOpened);

// ---- Keyword matching -----------------------------------------------------

// First character at or after p that is not white space (isspace).
// Blanks and tabs, and every character of the ASCII range outside "\n\v\f\r",
// are decided without asking isspace: they are the same in every locale.
inline const char* skipSpace(const char* p) {
    for (;; ++p) {
        const unsigned char c = static_cast<unsigned char>(*p);
        if (c == ' ' || c == '\t') continue;
        if (c == '\0' || (c < 0x80 && (c < '\n' || c > '\r'))) return p;
        if (!std::isspace(c)) return p;
    }
}

// p moved n characters on, but never past the end of its string. Scanners
// step over a keyword and its separator this way, so a line holding only the
// keyword yields an empty value instead of a read past its end.
inline const char* advance(const char* p, size_t n) {
    return p + strnlen(p, n);
}

// Case-insensitive comparison over the keyword's length only: a prefix match.
// Case-insensitive comparisons as strncasecmp and strcasecmp make them, in
// the current locale, with the C library asked only when the answer depends
// on the locale: bytes that are equal are equal in every locale, and two
// ASCII characters that are neither equal nor one letter in two cases differ
// in every locale. Most lines differ from a keyword within its first
// characters, and most that match are written in the keyword's own case.
inline bool startsWithNoCase(const char* p, std::string_view keyword) {
    for (size_t i = 0; i < keyword.size(); ++i) {
        const unsigned a = static_cast<unsigned char>(p[i]), b = static_cast<unsigned char>(keyword[i]);
        if (a == b) {
            if (a == 0) return true;  // both end here
            continue;
        }
        if ((a | b) < 0x80 && ((a ^ b) & ~0x20u) != 0) return false;
        return strncasecmp(p + i, keyword.data() + i, keyword.size() - i) == 0;
    }
    return true;
}

inline bool equalsNoCase(const char* a, const char* b) {
    for (;; ++a, ++b) {
        const unsigned x = static_cast<unsigned char>(*a), y = static_cast<unsigned char>(*b);
        if (x == y) {
            if (x == 0) return true;
            continue;
        }
        if ((x | y) < 0x80 && ((x ^ y) & ~0x20u) != 0) return false;
        return strcasecmp(a, b) == 0;
    }
}

// The text after a keyword of known length (with its separator, when that
// is counted in) and the white space after it.
inline const char* afterName(const char* p, size_t nameLength) { return skipSpace(advance(p, nameLength)); }

// Whether the ServerName line at `p` (given after its leading white space)
// names the domain: 11 characters on (the keyword and one separator), then
// white space, then the whole rest equal to the domain ignoring case.
inline bool serverNameIs(const char* p, const std::string& domain) {
    return equalsNoCase(afterName(p, 11), domain.c_str());
}

// The text between the first two double quotes of `line`, into `text`; false,
// with `text` left as it was, when the line holds fewer than two.
inline bool firstQuoted(const char* line, std::string& text) {
    const char* open = strchr(line, '"');
    if (open == nullptr) return false;
    const char* close = strchr(open + 1, '"');
    if (close == nullptr) return false;
    text.assign(open + 1, close);
    return true;
}

// A line (given after its leading white space) cut at its first blank (a tab
// does not separate) into its first word and the rest after white space.
struct WordLine {
    explicit WordLine(const char* p) {
        const char* space = strchr(p, ' ');
        word = space ? std::string_view(p, static_cast<size_t>(space - p)) : std::string_view(p);
        rest = space ? skipSpace(space + 1) : p + word.size();
    }

    // The first word equals `keyword` in full, ignoring case.
    bool is(std::string_view keyword) const {
        return word.size() == keyword.size() && startsWithNoCase(word.data(), keyword);
    }

    std::string_view word;
    const char* rest;
};

// ---- Output ---------------------------------------------------------------

// Writes to standard output, where the library's diagnostics go.
void say(std::string_view text);
void sayLine(std::string_view text);

// The one way the library writes a file. A file written from the start
// (truncated), or at its end, through a buffer of its own that goes to the
// file in large writes. A write, flush, sync or close that fails (no space
// left, an I/O error, a file-size limit, a short write) is recorded: ok()
// turns false and stays false until the next open, and close() and finish()
// report it, so that a caller never takes a short file for a whole one.
class OutFile {
public:
    OutFile() = default;
    ~OutFile();
    OutFile(const OutFile&) = delete;
    OutFile& operator=(const OutFile&) = delete;

    bool open(const char* path);
    // A file written at its end: opened in append mode, created when
    // missing, and, like open(), never through a symbolic link. When a write
    // fails, close() and finish() cut the file back to the length it had
    // here, so that it never ends in a partial line.
    bool openAppend(const char* path);
    // A file the operation is meant to write, such as a redirect file: opened
    // the same way but through a symbolic link, as an administrator's link
    // to it is kept.
    bool openTarget(const char* path);
    // Written at its end, through a symbolic link, like openAppend otherwise.
    bool openAppendTarget(const char* path);
    // A file the caller opened for writing itself, checked the way it must
    // be (no link, no FIFO, no hard link): written from the descriptor's
    // offset through a duplicate of it, so `fd` stays open for the caller.
    bool openDescriptor(int fd);
    bool isOpen() const { return fd_ >= 0; }
    // True while every write since the open went through.
    bool ok() const { return !failed_; }
    void write(std::string_view text) {
        // Text that fits (an empty text goes the slow way, where it is dropped).
        if (text.size() - 1 < room_ - used_) {
            memcpy(buffer_ + used_, text.data(), text.size());
            used_ += text.size();
        } else {
            writeThrough(text);
        }
    }
    void writeLine(std::string_view text) {
        write(text);
        write(std::string_view("\n", 1));
    }
    // Writes out the buffer and closes the file: true when every write went
    // through (false also when the file was never open).
    bool close();
    // The same, after the file's data reached the disk (fsync).
    bool finish();

private:
    bool attach(int fd, bool append);
    void flush();
    void writeThrough(std::string_view text);
    bool end(bool durable);

    int fd_ = -1;
    char* buffer_ = nullptr;
    size_t room_ = 0;  // the buffer's size while the file is open, else 0
    size_t used_ = 0;
    bool failed_ = false;
    long long appendStart_ = -1;  // an appended file's length at its open
};

// ---- Shell ------------------------------------------------------------------

// One command-line word: an argument made only of A-Z a-z 0-9 @ % _ + = : , . / -
// is written as it stands (the empty one as nothing); any other is single-quoted
// so that the shell passes it as one word and runs nothing from it.
std::string shellWord(std::string_view arg);

// The group of every file the panel lays out for a site's administrator.
constexpr const char* kPanelGroup = "qz7group";

// The owner word of chown for the panel's files: owner + ":qz7group".
inline std::string panelOwner(const std::string& owner) { return owner + ":" + kPanelGroup; }

// The words joined by blanks, each through shellWord.
std::string shellCommand(std::initializer_list<std::string_view> words);

// Text to place between single quotes that the command line writes itself
// (a password in '...'): each single quote becomes '\''.
std::string shellQuotedBody(std::string_view text);

// The text in single quotes, each quote of its own escaped as above: one word
// to the shell, whatever it holds (a password is always written so).
std::string shellQuoted(std::string_view text);

// Runs a command line through the shell (system). The exit status is returned
// for callers that want it; the library's operations do not examine it.
int runShell(const std::string& commandLine);

// A command line run through the shell (popen) with its standard output to
// read; closed (pclose) when the object goes. get() is null when popen failed.
class ShellPipe {
public:
    explicit ShellPipe(const std::string& commandLine);
    ~ShellPipe() { close(); }
    ShellPipe(const ShellPipe&) = delete;
    ShellPipe& operator=(const ShellPipe&) = delete;

    FILE* get() const { return pipe_; }
    // Waits for the command; its status, or -1 when it never ran.
    int close();

private:
    FILE* pipe_ = nullptr;
};

// ---- Rewriting a file -----------------------------------------------------

// The rewrite idiom: the new contents go to a scratch file, which then
// replaces the target through the shell with "mv scratch target".
class Rewrite {
public:
    Rewrite(std::string scratch, std::string target)
        : scratch_(std::move(scratch)), target_(std::move(target)) {}

    bool open() { return out_.open(scratch_.c_str()); }
    // The scratch file opened at its end, keeping what it holds.
    bool openAppend() { return out_.openAppend(scratch_.c_str()); }
    OutFile& out() { return out_; }
    void write(std::string_view text) { out_.write(text); }
    void writeLine(std::string_view text) { out_.writeLine(text); }
    // Closes the scratch file once its data is on the disk, moves it over the
    // target, then puts the target and its folder entry on the disk, so that
    // a power cut leaves the old file or the new one, whole. The exit status
    // of mv is not examined. False when a write, the sync or the close of the
    // scratch file failed: then nothing is moved, the scratch file is
    // deleted and the target stays as it was; the caller answers as for a
    // scratch file that cannot be opened.
    [[nodiscard]] bool commit();
    // The same with rename(2) (replaceByRename) in place of mv.
    [[nodiscard]] bool commitByRename();
    // Closes and deletes the scratch file; the target stays as it was.
    void discard();

private:
    std::string scratch_, target_;
    OutFile out_;
};

// Puts a whole scratch file in the place of `target` with rename(2), which
// replaces the old file at once: a reader finds the old file or the new one,
// never none. When a folder stands at the target's name, it is removed first
// (it goes only when empty), as a delete before the rename always did. The
// file and its folder entry are then put on the disk (syncPlaced). False when
// the scratch file could not be moved (it then stays where it is).
bool replaceByRename(const std::string& scratch, const std::string& target);

// Puts a file that was just moved into place, and the folder entry that
// names it, on the disk. A failure here cannot be undone any more than a
// failed mv: like mv's exit status, it is not reported.
void syncPlaced(const std::string& path);

// ---- Tracking -------------------------------------------------------------

// The two calls every operation opens with: its name, then its argument
// values and names (values first). Nothing is sent without a tracker.
void trackMethod(CQZTrackManager* tracker, const char* method, StringVector values, StringVector names);
void trackModule(CQZTrackManager* tracker, const char* module);

// Managers allocate some public char* members themselves and free them; the
// caller may still point such a member elsewhere. For a copied manager: a new
// copy of the source's own buffer when the member still points at it (the copy
// then owns it in `own`), else the member's borrowed pointer as it is.
char* copyOwned(char* member, const char* sourceOwn, char*& own);

// A borrowed C string as text; null reads as "".
inline std::string str(const char* p) { return p ? std::string(p) : std::string(); }

// True for a null or empty borrowed C string (a manager with no configuration).
inline bool isEmpty(const char* p) { return p == nullptr || *p == '\0'; }

// A fixed character field of a caller's record as text, read up to its NUL
// but never past the array, so an unterminated field cannot be overrun.
template <size_t N>
std::string field(const char (&chars)[N]) {
    return std::string(chars, strnlen(chars, N));
}

}  // namespace qz

#endif
