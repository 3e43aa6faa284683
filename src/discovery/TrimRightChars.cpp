// ApacheHelper::TrimRightChars.
#include "ApacheHelper.h"

#include "discovery/ApacheDiscovery.h"

std::string qz::trimRightChars(std::string str, const std::string& chars) {
    // npos + 1 is 0: a text made only of such characters becomes empty.
    str.erase(str.find_last_not_of(chars) + 1);
    return str;
}

std::string ApacheHelper::TrimRightChars(std::string str, std::string chars) { return qz::trimRightChars(str, chars); }
