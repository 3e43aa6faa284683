#include "handlers/HandlerScan.h"

#include <algorithm>

namespace qz {

std::string_view handlerForm(std::string_view line) {
    if (!line.empty() && line.front() == ' ') line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
    if (!line.empty() && line.front() == '\t') line.remove_prefix(std::min(line.find_first_not_of('\t'), line.size()));
    return line;
}

std::string siteFolder(const std::string& documentRoot, const std::string& domain) {
    const size_t at = domain.empty() ? std::string::npos : documentRoot.find(domain);
    if (at == std::string::npos) return "";
    return documentRoot.substr(0, at + domain.size());
}

}  // namespace qz
