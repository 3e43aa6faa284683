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
// line replaced by change(line, layout), then renames /etc/temp over it (in
// one step: the file is never missing). The copy runs to the end of the
// file, so its final empty read adds an empty line at the end. An input that
// cannot be read leaves the file empty. A scratch file that cannot be opened,
// or written whole, leaves the redirect file as it was (and no scratch file);
// nothing tells the caller.
void rewriteRedirectAliases(const std::string& domain,
                            const std::function<std::string(std::string_view, RedirectLayout)>& change);

}  // namespace qz

#endif
