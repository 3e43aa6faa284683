// ApacheHelper::TrimLeftChars.
#include "ApacheHelper.h"

std::string ApacheHelper::TrimLeftChars(std::string str, std::string chars) {
    const size_t first = str.find_first_not_of(chars);
    // A text made only of such characters comes back unchanged.
    return first == std::string::npos ? str : str.substr(first);
}
