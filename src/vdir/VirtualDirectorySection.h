// The text of a virtual directory's <Directory> section as creation and
// update write it, and the password file that protects it.
#ifndef QZ_VIRTUAL_DIRECTORY_SECTION_H
#define QZ_VIRTUAL_DIRECTORY_SECTION_H

#include "core/QZCore.h"
#include "core/SafePath.h"
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

// Whether the record and the typed login may be used at all: a domain that
// is a host name (or none), a DirPath and WebAdminPath that are safe paths,
// Allow and Deny lists that cannot end their quoted value, a login without a
// control character and a password without a NUL (htpasswd stores its hash).
// A record that fails is refused whole, before anything is written or run.
bool isAcceptable(const SDDir& dir, const std::string& login, const std::string& password);

// The password file lies in a folder of the site's owner, but it is created,
// handed to htpasswd and given away by root: each step below first checks
// the file as openFile reaches it (no link a customer could plant, no FIFO,
// no hard link), and a file that fails is left alone: false.

// Creates `authFile` empty when it is missing or cannot be opened for reading.
bool ensurePasswordFile(const std::string& authFile);

// Whether the password file is missing or a file the steps above would use.
bool passwordFileUsable(const std::string& authFile);

// When the name and the password are both given and `authFile` exists:
// prints "cmd=" and the command, then runs "htpasswd -b authFile name 'pass'".
bool addWebadminLogin(const std::string& authFile, const std::string& name, const std::string& pass);

// Runs "chown owner:qz7group authFile".
bool chownPasswordFile(const std::string& owner, const std::string& authFile);

// Holds `folder` still (see FolderLock) while commands run in it: true when
// it is held or does not exist, false for a folder to refuse.
bool holdStill(FolderLock& still, const std::string& folder);

// Whether `folder`, given to "chown -R" and "chmod -R", may be: reached
// without a link a customer could plant and without "..", or missing (the
// commands then change nothing).
bool folderUsable(const std::string& folder);

}  // namespace qz

#endif
