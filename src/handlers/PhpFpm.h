// What the PHP-FPM operations share: the names of a site's pool, its file
// and socket, the Apache section that hands .php files to the socket, the
// scan of the site's <VirtualHost> blocks and the checks of values written
// into pool files.
//
// A site's pool is named "qz-<domain>", in lower case (the prefix keeps it apart from
// Debian's own "www" pool and from any pool the administrator wrote) and
// lives in <root>/etc/php/<version>/fpm/pool.d/qz-<domain>.conf.
#ifndef QZ_PHP_FPM_H
#define QZ_PHP_FPM_H

#include "core/QZCore.h"

#include <string>
#include <vector>

namespace qz::fpm {

// "8.2": one to three digits, a dot, one to three digits.
bool validVersion(const std::string& version);
// A domain that can name a pool file and a socket: letters, digits, '.',
// '-', '_' and bytes of UTF-8 names, not starting with '.' or '-'.
bool validDomain(const std::string& domain);

std::string poolName(const std::string& domain);
std::string poolFolder(const std::string& version);
std::string poolFile(const std::string& version, const std::string& domain);
// The php-fpm main file whose check covers every pool of the version.
std::string mainFile(const std::string& version);
// <root>/run/php/qz-<domain>.sock, or with a 16-digit hash of the domain in
// place of the domain when the path would not fit a socket address (107
// characters).
std::string socketPath(const std::string& domain);

// The versions (folders of <root>/etc/php named like "8.2") in name order.
std::vector<std::string> versions();
// Removes the site's pool file from every version but `keep`; how many went.
int removePools(const std::string& domain, const std::string& keep = "");

// Whether `name` is an executable file in a folder of PATH.
bool onPath(const std::string& name);

// A path that may be written into a pool file or an Apache line between
// double quotes: absolute, no ':' (the list separator), no control
// character, no '"', '\\' or '$' (quoting and expansion in either syntax) and
// no ".." component.
bool writablePath(const std::string& path);

// The section that hands .php files to the pool's socket, one line each. The
// <If> keeps a .htaccess from pointing the files at another socket.
std::vector<std::string> section(const std::string& socket);

// The configuration, whole lines, and what it says about one site's live
// (not commented-out) blocks.
struct SiteConf {
    std::vector<std::string> lines;
    bool found = false;         // a live block names the site
    bool otherHandler = false;  // one holds <IfModule mod_php*|mod_suphp|mod_fcgid ...>
    std::string documentRoot;   // the first DocumentRoot of its blocks, unquoted
    // Reads the configuration; false when it does not open.
    bool read(const char* conf, const std::string& domain);
    // The lines with every section of the site's blocks removed and, when
    // `socket` is given, a new section before each block's closing line.
    // `changed` tells whether they differ from the lines read.
    std::vector<std::string> edited(const std::string& socket, bool& changed) const;
    // The lines with every "php_admin_value open_basedir" line of the site's
    // <IfModule mod_php...> blocks removed and, when `value` is given, a new
    // one before each such block's closing line. `blocks` counts them.
    std::vector<std::string> withModuleBasedir(const std::string& value, int& blocks) const;

private:
    std::string domain_;
};

// Writes `lines` over `conf` through the scratch file: false when the
// scratch file does not open or cannot be written whole (the configuration
// is then untouched).
bool writeLines(const std::string& scratch, const std::string& conf, const std::vector<std::string>& lines);

}  // namespace qz::fpm

#endif
