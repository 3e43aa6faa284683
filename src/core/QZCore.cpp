#include "core/QZCore.h"

#include "QZSystemRoot.h"

#include <algorithm>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <iostream>
#include <unistd.h>

namespace qz {

// ---- System root ------------------------------------------------------------

namespace {
std::string& rootStorage() {
    static std::string root;
    return root;
}
}  // namespace

void setSystemRoot(const std::string& root) { rootStorage() = root; }

const std::string& systemRoot() { return rootStorage(); }

std::string sysPath(std::string_view fixedPath) {
    std::string path = rootStorage();
    path.append(fixedPath.data(), fixedPath.size());
    return path;
}

// ---- LineReader -----------------------------------------------------------

namespace {
constexpr size_t kBlockSize = 1 << 16;
}

LineReader::LineReader(const char* path, size_t limit) : limit_(limit) {
    if (path != nullptr) fd_ = ::open(path, O_RDONLY | O_CLOEXEC);
    // A folder opens for reading but holds no lines: it is not a file to scan.
    struct stat st;
    if (fd_ >= 0 && fstat(fd_, &st) == 0 && S_ISDIR(st.st_mode)) close();
    reserve(limit == 0 ? 256 : limit);
    own_[0] = '\0';
    line_ = own_;
}

int configurationUnreadable(const char* httpdConfFile, const LineReader& in, const char* message) {
    if (isEmpty(httpdConfFile)) return qz::result::NoConfigFile;
    if (in.isOpen()) return 0;
    if (message != nullptr) sayLine(message);
    return qz::result::ConfigNotOpened;
}

LineReader::~LineReader() {
    close();
    delete[] block_;
    delete[] newlines_;
    delete[] own_;
}

void LineReader::close() {
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
}

void LineReader::reserve(size_t n) {
    if (n <= cap_) return;
    size_t cap = cap_ == 0 ? n : cap_;
    while (cap < n) cap *= 2;
    char* grown = new char[cap];
    if (len_ > 0 && line_ == own_) memcpy(grown, own_, len_);
    if (line_ == own_) line_ = grown;
    delete[] own_;
    own_ = grown;
    cap_ = cap;
}

void LineReader::append(const char* p, size_t n) {
    reserve(len_ + n + 1);
    memcpy(own_ + len_, p, n);
    len_ += n;
}

bool LineReader::refill() {
    if (fd_ < 0) return false;
    if (block_ == nullptr) {
        block_ = new char[kBlockSize];
        newlines_ = new uint64_t[kBlockSize / 64];
    }
    for (;;) {
        ssize_t got = ::read(fd_, block_, kBlockSize);
        if (got > 0) {
            pos_ = 0;
            end_ = static_cast<size_t>(got);
            indexBlock();
            return true;
        }
        if (got < 0 && errno == EINTR) continue;
        return false;  // end of file, or a file that cannot be read
    }
}

// Marks where the block just read holds '\n' (one bit a byte, 64 a word)
// and notes whether it holds a NUL byte: 16 bytes at a time where the
// processor has SSE2, byte by byte for the rest.
void LineReader::indexBlock() {
    bool nul = false;
    size_t word = 0;
#if defined(__SSE2__)
    const __m128i newline = _mm_set1_epi8('\n'), zero = _mm_setzero_si128();
    __m128i nuls = zero;
    for (; (word + 1) * 64 <= end_; ++word) {
        const char* p = block_ + word * 64;
        uint64_t bits = 0;
        for (int k = 0; k < 4; ++k) {
            const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 16 * k));
            bits |= static_cast<uint64_t>(static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(v, newline))))
                    << (16 * k);
            nuls = _mm_or_si128(nuls, _mm_cmpeq_epi8(v, zero));
        }
        newlines_[word] = bits;
    }
    nul = _mm_movemask_epi8(nuls) != 0;
#endif
    for (; word * 64 < end_; ++word) {
        uint64_t bits = 0;
        const size_t stop = std::min(end_, (word + 1) * 64);
        for (size_t i = word * 64; i < stop; ++i) {
            if (block_[i] == '\n') bits |= uint64_t{1} << (i % 64);
            nul = nul || block_[i] == '\0';
        }
        newlines_[word] = bits;
    }
    blockHasNul_ = nul;
}

// The position of the first '\n' of the block in [from, stop), from < stop <=
// end_; SIZE_MAX when there is none.
size_t LineReader::nextNewline(size_t from, size_t stop) const {
    size_t word = from / 64;
    uint64_t bits = newlines_[word] & (~uint64_t{0} << (from % 64));
    for (;;) {
        if (bits != 0) {
            const size_t at = word * 64 + static_cast<size_t>(__builtin_ctzll(bits));
            return at < stop ? at : SIZE_MAX;
        }
        if (++word * 64 >= stop) return SIZE_MAX;
        bits = newlines_[word];
    }
}

bool LineReader::getline(size_t limit) {
    tooLong_ = false;
    if (!good()) {
        // The sentry of a stream that is not good fails the read: getline(buf,
        // N) still stores an empty string, std::getline into a string leaves
        // the string as it was.
        fail_ = true;
        if (limit != 0) {
            len_ = 0;
            own_[0] = '\0';
            line_ = own_;
            clen_ = 0;
        }
        return false;
    }
    const size_t room = limit == 0 ? SIZE_MAX : limit - 1;
    // The common case: the line and its '\n' lie in the block, within the limit.
    const size_t scan = std::min(end_ - pos_, room);
    const size_t nl = scan > 0 ? nextNewline(pos_, pos_ + scan) : SIZE_MAX;
    if (nl != SIZE_MAX) {
        char* start = block_ + pos_;
        len_ = nl - pos_;
        block_[nl] = '\0';
        line_ = start;
        pos_ = nl + 1;
        clen_ = blockHasNul_ ? strnlen(line_, len_) : len_;
        return true;
    }
    return getlineCopied(room);
}

// A line that crosses the end of the block, reaches the limit or ends the
// file: copied into the line buffer, block by block.
bool LineReader::getlineCopied(size_t room) {
    len_ = 0;
    line_ = own_;
    bool delimiter = false;
    for (;;) {
        if (pos_ == end_ && !refill()) {
            eof_ = true;
            break;
        }
        size_t scan = end_ - pos_;
        if (scan > room - len_) scan = room - len_;
        const char* start = block_ + pos_;
        const char* nl = static_cast<const char*>(memchr(start, '\n', scan));
        if (nl != nullptr) {
            append(start, static_cast<size_t>(nl - start));
            pos_ += static_cast<size_t>(nl - start) + 1;
            delimiter = true;
            break;
        }
        append(start, scan);
        pos_ += scan;
        if (len_ == room) {
            // N-1 characters stored: the line is whole only if '\n' follows.
            if (pos_ == end_ && !refill()) {
                eof_ = true;
                break;
            }
            if (block_[pos_] == '\n') {
                ++pos_;
                delimiter = true;
            } else {
                fail_ = true;
                tooLong_ = true;
            }
            break;
        }
    }
    if (len_ == 0 && !delimiter) fail_ = true;  // nothing extracted
    reserve(len_ + 1);
    own_[len_] = '\0';
    line_ = own_;
    clen_ = strnlen(own_, len_);
    return !fail_;
}

bool LineReader::nextUntilEof() {
    if (eof_ || tooLong_) return false;
    getline();
    return true;
}

// ---- Output -----------------------------------------------------------------

void say(std::string_view text) {
    std::cout.write(text.data(), static_cast<std::streamsize>(text.size()));
    std::cout.flush();
}

void sayLine(std::string_view text) {
    std::cout.write(text.data(), static_cast<std::streamsize>(text.size()));
    std::cout << std::endl;
}

namespace {
// A file opened for writing with `flags`, never through a symbolic link: one
// planted where a scratch file goes would redirect the write to its target.
int openNoFollow(const char* path, int flags) {
    if (path == nullptr) return -1;
    return ::open(path, O_WRONLY | O_CREAT | O_NOFOLLOW | O_CLOEXEC | flags, 0666);
}

// Writes all of `n` bytes; false when the file did not take them all.
bool writeAll(int fd, const char* p, size_t n) {
    while (n > 0) {
        const ssize_t put = ::write(fd, p, n);
        if (put < 0 && errno == EINTR) continue;
        if (put <= 0) return false;
        p += put;
        n -= static_cast<size_t>(put);
    }
    return true;
}
}  // namespace

OutFile::~OutFile() {
    close();
    delete[] buffer_;
}

bool OutFile::attach(int fd, bool append) {
    failed_ = false;
    appendStart_ = -1;
    if (fd < 0) return false;
    fd_ = fd;
    if (append) {
        struct stat st;
        if (fstat(fd, &st) == 0) appendStart_ = static_cast<long long>(st.st_size);
    }
    if (buffer_ == nullptr) buffer_ = new char[kBlockSize];
    room_ = kBlockSize;
    used_ = 0;
    return true;
}

bool OutFile::open(const char* path) {
    close();
    return attach(openNoFollow(path, O_TRUNC), false);
}

bool OutFile::openAppend(const char* path) {
    close();
    return attach(openNoFollow(path, O_APPEND), true);
}

void OutFile::flush() {
    if (used_ > 0 && !failed_ && !writeAll(fd_, buffer_, used_)) failed_ = true;
    used_ = 0;
}

void OutFile::writeThrough(std::string_view text) {
    if (text.empty()) return;
    if (fd_ < 0) {
        failed_ = true;  // a write to a file that is not open is lost
        return;
    }
    flush();
    if (text.size() < room_) {
        memcpy(buffer_, text.data(), text.size());
        used_ = text.size();
    } else if (!failed_ && !writeAll(fd_, text.data(), text.size())) {
        failed_ = true;
    }
}

bool OutFile::end(bool durable) {
    if (fd_ < 0) return false;
    flush();
    if (durable && !failed_ && fsync(fd_) != 0) failed_ = true;
    // An append that did not go through whole is taken back, so that the
    // file keeps its old lines and no partial one.
    if (failed_ && appendStart_ >= 0 && ftruncate(fd_, static_cast<off_t>(appendStart_)) != 0) {
        // Nothing more can be done for the file; the failure is reported all the same.
    }
    if (::close(fd_) != 0) failed_ = true;
    fd_ = -1;
    room_ = 0;
    appendStart_ = -1;
    return !failed_;
}

bool OutFile::close() { return end(false); }

bool OutFile::finish() { return end(true); }

// ---- Shell ------------------------------------------------------------------

namespace {
bool isPlainShellChar(unsigned char c) {
    if (std::isalnum(c) && c < 0x80) return true;
    return std::strchr("@%_+=:,./-", c) != nullptr && c != '\0';
}
}  // namespace

std::string shellWord(std::string_view arg) {
    // An empty argument holds no character to quote: it is written as it
    // stands (as nothing), like every other plain argument.
    bool plain = true;
    for (char c : arg) {
        if (!isPlainShellChar(static_cast<unsigned char>(c))) {
            plain = false;
            break;
        }
    }
    if (plain) return std::string(arg);
    return shellQuoted(arg);
}

std::string shellQuotedBody(std::string_view text) {
    std::string out;
    out.reserve(text.size() + 2);
    for (char c : text) {
        if (c == '\'')
            out += "'\\''";
        else
            out += c;
    }
    return out;
}

std::string shellQuoted(std::string_view text) { return "'" + shellQuotedBody(text) + "'"; }

std::string shellCommand(std::initializer_list<std::string_view> words) {
    std::string line;
    for (std::string_view word : words) {
        if (!line.empty()) line += ' ';
        line += shellWord(word);
    }
    return line;
}

namespace {
// What the library printed goes out before a command prints anything.
void flushOutput() {
    std::cout.flush();
    fflush(stdout);
}
}  // namespace

int runShell(const std::string& commandLine) {
    flushOutput();
    return std::system(commandLine.c_str());
}

ShellPipe::ShellPipe(const std::string& commandLine) {
    flushOutput();
    pipe_ = popen(commandLine.c_str(), "re");
}

int ShellPipe::close() {
    if (pipe_ == nullptr) return -1;
    int status = pclose(pipe_);
    pipe_ = nullptr;
    return status;
}

// ---- Rewrite ----------------------------------------------------------------

bool Rewrite::commit() {
    if (!out_.finish()) {
        std::remove(scratch_.c_str());
        return false;
    }
    runShell(shellCommand({"mv", scratch_, target_}));
    syncPlaced(target_);
    return true;
}

bool Rewrite::commitByRename() {
    if (!out_.finish()) {
        std::remove(scratch_.c_str());
        return false;
    }
    // The rename's result is not examined, as mv's is not.
    replaceByRename(scratch_, target_);
    return true;
}

void Rewrite::discard() {
    out_.close();
    std::remove(scratch_.c_str());
}

bool replaceByRename(const std::string& scratch, const std::string& target) {
    bool placed = std::rename(scratch.c_str(), target.c_str()) == 0;
    if (!placed && errno == EISDIR && std::remove(target.c_str()) == 0)
        placed = std::rename(scratch.c_str(), target.c_str()) == 0;
    syncPlaced(target);
    return placed;
}

void syncPlaced(const std::string& path) {
    // The file itself: mv copies when the scratch file lay on another file system.
    const int file = ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (file >= 0) {
        struct stat st;
        if (fstat(file, &st) == 0 && S_ISREG(st.st_mode) && fsync(file) != 0) { /* see the declaration */ }
        ::close(file);
    }
    const size_t slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
    const int dir = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dir >= 0) {
        if (fsync(dir) != 0) { /* see the declaration */ }
        ::close(dir);
    }
}

// ---- Owned buffers ---------------------------------------------------------

char* copyOwned(char* member, const char* sourceOwn, char*& own) {
    own = nullptr;
    if (member == nullptr || member != sourceOwn) return member;
    own = strdup(sourceOwn);
    return own;
}

// ---- Tracking ---------------------------------------------------------------

void trackMethod(CQZTrackManager* tracker, const char* method, StringVector values, StringVector names) {
    if (tracker == nullptr) return;
    tracker->CQZMethodName(method);
    tracker->CQZMethodArguments(std::move(values), std::move(names));
}

void trackModule(CQZTrackManager* tracker, const char* module) {
    if (tracker != nullptr) tracker->CQZModuleName(module);
}

// ---- Target files -----------------------------------------------------------

bool OutFile::openTarget(const char* path) {
    close();
    if (path == nullptr) return false;
    return attach(::open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666), false);
}

bool OutFile::openDescriptor(int fd) {
    close();
    return attach(fd < 0 ? -1 : fcntl(fd, F_DUPFD_CLOEXEC, 0), false);
}

bool OutFile::openAppendTarget(const char* path) {
    close();
    if (path == nullptr) return false;
    return attach(::open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666), true);
}

}  // namespace qz
