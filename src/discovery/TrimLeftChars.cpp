// ApacheHelper::TrimLeftChars.
#include "ApacheHelper.h"

#include "discovery/ApacheDiscovery.h"

std::string qz::trimLeftChars(std::string str, const std::string& chars) {
    const size_t first = str.find_first_not_of(chars);
    // A text made only of such characters comes back unchanged.
    return first == std::string::npos ? str : str.substr(first);
}

std::string ApacheHelper::TrimLeftChars(std::string str, std::string chars) { return qz::trimLeftChars(str, chars); }
