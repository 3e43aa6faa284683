// The scratch world of the fuzz targets: one system root per process, fake
// commands as the only programs on PATH, and the input split into the
// arguments and the configuration contents of one operation.
#ifndef QZ_FUZZ_ROOT_H
#define QZ_FUZZ_ROOT_H

#include "libqzapache.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace qzfuzz {

// The scratch system root (made on first use, with its fake commands).
const std::string& root();

// Empties the scratch root but for its fake commands, recreates its usual
// folders (/etc, /conf, /home, /admin, /etc/httpd/qz, /etc/webusers) and
// makes it the working folder again.
void reset();

// `text` kept inside the scratch root: every ".." becomes "__" and every "/"
// not preceded by "<" (closing tags keep theirs) becomes root() + "/", so any
// path taken from it, absolute or relative (the working folder is the root),
// names something under the root. A result that occurs inside the root's own
// path gets a "!" (which that path never holds): the library cuts paths at
// its arguments (a site folder is the document root cut after the domain),
// and a cut inside the root's path would name one of its ancestors.
std::string confined(const std::string& text);

// Writes `contents` to root() + rel.
void writeFile(const std::string& rel, const std::string& contents);

// root() + "/conf/httpd.conf".
const std::string& confPath();

// One input: an operation number and flags taken from its end, arguments
// from its front (each ended by a backslash and another character), and the
// configuration contents as the rest.
class Input {
public:
    Input(const uint8_t* data, size_t size) : fdp_(data, size) {}

    int pick(int count) { return fdp_.ConsumeIntegralInRange<int>(0, count - 1); }
    bool flag() { return fdp_.ConsumeBool(); }
    int number(int low, int high) { return fdp_.ConsumeIntegralInRange<int>(low, high); }
    char character() { return static_cast<char>(fdp_.ConsumeIntegral<uint8_t>()); }
    // An argument (a name, value, directive or path), confined to the root:
    // the library may take any of them as a path.
    std::string text() { return confined(fdp_.ConsumeRandomLengthString(400)); }
    // A list of up to four arguments.
    std::vector<std::string> list();
    // The rest of the input, confined, as the contents of a file.
    std::string contents() { return confined(fdp_.ConsumeRemainingBytesAsString()); }

private:
    FuzzedDataProvider fdp_;
};

// `text` into a fixed character field of a record, cut to fit.
template <size_t N>
void put(char (&field)[N], const std::string& text) {
    snprintf(field, N, "%s", text.c_str());
}

// The configuration file written from the rest of `in`, and its path.
const std::string& writeConf(Input& in);

}  // namespace qzfuzz

#endif
