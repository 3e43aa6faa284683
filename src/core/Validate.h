// Checks of the values callers type before any of them reaches a file, a
// file name or a command: a value that fails one is refused whole, never
// cleaned up, so that what is written is always what was asked for.
#ifndef QZ_VALIDATE_H
#define QZ_VALIDATE_H

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace qz {

// A character below 0x20 (newline, carriage return, NUL, tab...) or 0x7f: one
// would end a configuration or password line and start a line of its own.
bool hasControlChar(std::string_view value);

// None of `values` holds a control character.
bool noControlChars(std::initializer_list<std::string_view> values);

// A host name: dot-separated labels of letters, digits and hyphens (an
// international name in its punycode form), each 1-63 characters, not
// starting or ending with a hyphen, 253 characters at most; with `wildcard`
// it may also start with "*.". A trailing dot is not taken.
bool isHostName(std::string_view name, bool wildcard = false);

// A value that may stand in a configuration or key/value line as given: no
// control character but the tab, which such lines already take as a blank
// (Apache between the words of a directive, a key/value file as its
// delimiter), so a tab never starts a line of its own.
bool isLineValue(std::string_view value);

// Every one of `values` is a line value.
bool allLineValues(const std::vector<std::string>& values);

// A line value that also stands inside double quotes the library writes
// around it: no '"', which would end it there.
bool isQuotedValue(std::string_view value);

// A domain as a customer may spell it: a host name whose labels may also
// hold bytes of UTF-8 characters (0x80 and above) for an international name
// in its own letters ("bücher.de"), which the punycode form accompanies.
bool isDomainName(std::string_view name);

// A value that can stand in a directive line or inside its double quotes
// without ending the value or the line: no control character and no '"'.
// ('<' and '>' end nothing there: Apache closes a section's opening line at
// its last '>', after the quoted path.)
bool isDirectiveSafe(std::string_view value);

// A value of a section's opening line written without quotes, such as the
// address of "<VirtualHost address>": directive-safe, and no '<' or '>'.
bool isTagSafe(std::string_view value);

// A path with a ".." component (at the start, between slashes or at the end).
bool hasDotDot(std::string_view path);

// A path that may be written into a configuration line and walked inside a
// customer's folder: directive-safe and without a ".." component.
bool isSafePath(std::string_view path);

// One file name: not empty, not "." or "..", no '/', no control character.
bool isPlainName(std::string_view name);

}  // namespace qz

#endif
