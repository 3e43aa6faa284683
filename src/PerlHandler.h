// The scan shared by EnablePerl and DisablePerl: the site's <VirtualHost>
// state and the <Directory "..."> line of its document root.
#ifndef QZ_PERL_HANDLER_H
#define QZ_PERL_HANDLER_H

#include "HandlerScan.h"

#include <string>

namespace qz {

constexpr const char* kPerlScratch = "/etc/tempapa1";
constexpr size_t kPerlLineLimit = 2047;

struct PerlSiteScan {
    PerlSiteScan(const std::string& domainName, const std::string& root) : domain(domainName), documentRoot(root) {}

    // Follows the block lines: "<VirtualHost" enters a host, a "ServerName"
    // in a host naming the domain marks the site (another name does not
    // unmark it), "</VirtualHost>" clears both. True for a "<Directory" line
    // of the marked site whose quoted path is the document root (ignoring
    // case); a path without double quotes never is.
    bool rootDirectory(const WordLine& w);

    const std::string& domain;
    const std::string& documentRoot;
    bool inHost = false;
    bool site = false;
};

}  // namespace qz

#endif
