// The host-header operations keep a domain's HTTPS redirect file answering
// for the same names as the site: its ServerAlias lines are rewritten
// through the fixed scratch file /etc/temp.
#ifndef QZ_HOST_HEADER_REDIRECT_H
#define QZ_HOST_HEADER_REDIRECT_H

#include <functional>
#include <string>
#include <string_view>

namespace qz {

// Where the redirect file was found: Debian's /etc/apache2/qz/ is looked at
// first, Red Hat's /etc/httpd/qz/ next.
enum class RedirectLayout { Debian, RedHat };

// A ServerAlias line of a redirect file: from its first ASCII letter, the
// 11 characters "ServerAlias" exactly (case-sensitive).
bool isAliasLine(std::string_view line);

// When the domain has a redirect file, copies it to /etc/temp with each alias
// line replaced by change(line, layout), then deletes the file and renames
// /etc/temp to its name. The copy runs to the end of the file, so its final
// empty read adds an empty line at the end. Failures are not looked at: the
// delete and the rename run whatever the copy found, so an input that cannot
// be read leaves the file empty, and a scratch file that cannot be written
// leaves no file (or whatever stood at /etc/temp) in its place.
void rewriteRedirectAliases(const std::string& domain,
                            const std::function<std::string(std::string_view, RedirectLayout)>& change);

}  // namespace qz

#endif
