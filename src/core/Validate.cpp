#include "core/Validate.h"

namespace qz {

bool hasControlChar(std::string_view value) {
    for (char c : value) {
        const unsigned char u = static_cast<unsigned char>(c);
        if (u < 0x20 || u == 0x7f) return true;
    }
    return false;
}

bool noControlChars(std::initializer_list<std::string_view> values) {
    for (std::string_view value : values)
        if (hasControlChar(value)) return false;
    return true;
}

bool isLineValue(std::string_view value) {
    for (char c : value) {
        const unsigned char u = static_cast<unsigned char>(c);
        if ((u < 0x20 && c != '\t') || u == 0x7f) return false;
    }
    return true;
}

bool allLineValues(const std::vector<std::string>& values) {
    for (const std::string& value : values)
        if (!isLineValue(value)) return false;
    return true;
}

bool isQuotedValue(std::string_view value) { return isLineValue(value) && value.find('"') == std::string_view::npos; }

namespace {

bool isLabelChar(char c, bool unicode) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
           (unicode && static_cast<unsigned char>(c) >= 0x80);
}

bool hasHostLabels(std::string_view name, bool unicode) {
    if (name.empty() || name.size() > 253) return false;
    size_t label = 0;
    for (size_t i = 0; i <= name.size(); ++i) {
        const char c = i < name.size() ? name[i] : '.';
        if (c == '.') {
            if (label == 0 || label > 63 || name[i - 1] == '-' || name[i - label] == '-') return false;
            label = 0;
        } else if (isLabelChar(c, unicode)) {
            ++label;
        } else {
            return false;
        }
    }
    return true;
}

}  // namespace

bool isHostName(std::string_view name, bool wildcard) {
    if (wildcard && name.substr(0, 2) == "*.") name.remove_prefix(2);
    return hasHostLabels(name, false);
}

bool isDomainName(std::string_view name) { return hasHostLabels(name, true); }

bool isDirectiveSafe(std::string_view value) {
    return !hasControlChar(value) && value.find('"') == std::string_view::npos;
}

bool isTagSafe(std::string_view value) {
    return isDirectiveSafe(value) && value.find_first_of("<>") == std::string_view::npos;
}

bool hasDotDot(std::string_view path) {
    for (size_t start = 0; start <= path.size();) {
        size_t end = path.find('/', start);
        if (end == std::string_view::npos) end = path.size();
        if (path.substr(start, end - start) == "..") return true;
        start = end + 1;
    }
    return false;
}

bool isSafePath(std::string_view path) { return isDirectiveSafe(path) && !hasDotDot(path); }

bool isPlainName(std::string_view name) {
    return !name.empty() && name != "." && name != ".." && name.find('/') == std::string_view::npos &&
           !hasControlChar(name);
}

}  // namespace qz
