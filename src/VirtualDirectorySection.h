// The text of a virtual directory's <Directory> section as creation and
// update write it, and the password file that protects it.
#ifndef QZ_VIRTUAL_DIRECTORY_SECTION_H
#define QZ_VIRTUAL_DIRECTORY_SECTION_H

#include "QZCore.h"
#include "QZTypes.h"

#include <string>
#include <string_view>

namespace qz {

// Whether the local Apache takes the 2.4 access syntax ("Require"): version
// 2.4 or later. A version that cannot be read counts as older.
bool apacheUsesRequire();

// The CGI handler line of a section.
constexpr std::string_view kCgiHandlerLine = "\t\tAddHandler cgi-script cgi pl";

// The access lines of a section. With Order 0: a Deny line when Deny is set,
// and then an Allow line when Allow is set too. Otherwise, for Apache before
// 2.4: "Order Deny,Allow", an Allow line when Allow is set, and then a Deny
// line when Deny is set too; for 2.4: "Require all granted" when Allow is set,
// else "Require all denied" when Deny is set. Each list is written whole.
void writeAccessLines(OutFile& out, const SDDir& dir, bool requireSyntax);

// The Options line: written when any option flag is set, with a "+Word" or
// "-Word" for each flag that is '+' or '-', in the order of kOptionWords.
void writeOptionsLine(OutFile& out, const SOptions& options);

// The password file of a protected section:
// WebAdminPath/DomainName/webusers_DomainName.htpasswd
std::string passwordFileOf(const SDDir& dir);

// The four basic-authentication lines naming `authFile`.
void writeAuthLines(OutFile& out, const std::string& authFile);

// Creates `authFile` empty when it cannot be opened for reading. Never
// through a symbolic link (O_NOFOLLOW): the file lies in the customer's
// folder, and root would otherwise create or truncate what a planted link
// points at.
void ensurePasswordFile(const std::string& authFile);

// The password file lies in a folder of the site's owner, but htpasswd and
// chown run as root: a password file that is a symbolic link is neither
// written nor given away by the two functions below, whatever it points at.

// When the name and the password are both given and `authFile` exists:
// prints "cmd=" and the command, then runs "htpasswd -b authFile name 'pass'".
void addWebadminLogin(const std::string& authFile, const std::string& name, const std::string& pass);

// Runs "chown owner:qz7group authFile".
void chownPasswordFile(const std::string& owner, const std::string& authFile);


}  // namespace qz

#endif
