// The directive toolkit: stateless primitives that read, add, update and
// delete directives at server level, inside one website's <VirtualHost> block
// and inside <Directory> sections, load modules, and manage per-domain HTTPS
// redirect files and Let's Encrypt entries. Primitives return 0 (or true) on
// success and small per-operation numbers otherwise; they do not track.
// Editing primitives first copy the file to a ".qzbackup..." backup. A
// scratch file that cannot be written whole counts as one that cannot be
// opened (2, or 23 where the declaration says so): nothing is moved.
// A primitive that writes a caller's value into a line refuses it with 5,
// before anything is read, copied or written, when the value holds a control
// character other than a tab (a tab stands in a line as a blank does): a
// newline would start a line of the caller's own. A value the line puts in
// double quotes may not hold '"' either, nor an address or port of a
// "<VirtualHost ...>" line '"', '<', '>' or a tab.
#ifndef APACHE_HELPER_H
#define APACHE_HELPER_H

#include "QZExport.h"

#include <string>
#include <vector>

class QZ_EXPORT ApacheHelper {
public:
    ApacheHelper();

    // Server-level primitives: lines of a <VirtualHost> block are not theirs.
    // A directive name matches by case-insensitive prefix (Listen also
    // matches ListenBacklog). Rewrites drop the file's empty lines and leave
    // "<file>.qzbackup.rt" behind.

    // The value of the first server-level line of `directive`: the rest of the
    // line, or the text between its first two double quotes when
    // isValueQuoted (printing "returning with quote"). 0 found, 1 file not
    // opened, 2 empty directive, 3 that line lacks two double quotes, 6 not
    // found.
    int  Apache_getDirectiveValue(std::string apacheConfFile, std::string directive, std::string& value, bool isValueQuoted);
    // True when a server-level, uncommented line gives `directive` exactly
    // `value` (the rest of the line, or its first quoted text when
    // isValueQuoted). Prints "without quotes" / "found" or
    // "returning with quote" on the way.
    bool Apache_isDirectiveWithValueExists(std::string apacheConfFile, std::string directive, std::string value, bool isValueQuoted);
    // Writes `entry` before (or after) the first server-level line starting
    // with `reference`; failing that, appends it (lineCount -1) or writes it
    // before line number lineCount. 0 written, 1 file not opened (for reading
    // or appending), 2 scratch file not opened, 5 entry refused.
    int  Apache_writeDirective(std::string apacheConfFile, std::string entry, std::string reference, bool beforeReference, int lineCount);
    // Whether a LoadModule line before the first <VirtualHost> names a module
    // (prefix of the module name). 0 found (isExist true), 1 file not
    // opened, 2 not found.
    int  Apache_checkModule(std::string apacheConfFile, std::string moduleName, bool& isExist);
    // Whether "<modules folder>/mod_<moduleName>.so" exists; the file must
    // hold a non-empty line before its first <VirtualHost>. 0 present (isExist
    // true), 1 file not opened, 4 absent or nothing to examine.
    int  Apache_checkModulePhysicalPath(std::string apacheConfFile, std::string moduleName, bool& isExist);
    // Adds "LoadModule <name>_module <folder>/mod_<name>.so" before the first
    // server-level LoadModule line, else before the first <VirtualHost>, else
    // at the end; prints "entry=..." and "LoadModule found", "VirtualHost
    // found" or "apending". 0 added, 1 file not opened, 2 scratch file not
    // opened, 4 appending failed ("Unable to open file in append mode"),
    // 5 a module name with a control character (a tab too).
    int  Apache_addModule(std::string apacheConfFile, std::string moduleName);

    // Primitives on one domain's <VirtualHost> block: the block whose
    // ServerName line (after it) equals domainName ignoring case. Each edit
    // but Apache_DeleteVhIfmoduleBlock first copies the file to a
    // "<file>.qzbackup..." backup.

    // The value of the first `directive` line after the domain's ServerName:
    // the rest of the line, or with valueQuoted the text between the double
    // quote that must follow the name and the next one. 0 found, 1 file not
    // opened, 3 value not quoted, 4 not found.
    int  Apache_getDirectiveInVH(std::string apacheConfFile, std::string domainName, std::string directive, std::string& value, bool valueQuoted);
    // Adds "\t<directive> <value>" (value in double quotes when valueQuoted)
    // at the end of every block of the domain. The rewrite keeps empty lines
    // and adds one at the end of the file. 0 added, 1 no block of the domain
    // (or the file could not be read), 5 directive or value refused.
    int  Apache_AddDirectiveInVH(std::string apacheConfFile, std::string domainName, std::string directive, std::string value, bool valueQuoted);
    // Adds "\t<directive>" for each element at the end of the first block of
    // the domain; otherwise as Apache_AddDirectiveInVH (5: an element refused).
    int  Apache_AddDirectivesInVH(std::string apacheConfFile, std::string domainName, std::vector<std::string> directives);
    // Drops the lines of the domain's first block, after its ServerName line,
    // that start with one of the names and a space. 0 rewritten, 1 file not opened, 2 scratch file not
    // opened, 3 no block of the domain.
    int  Apache_DeleteDirectivesInVH(std::string apacheConfFile, std::string domainName, std::vector<std::string> directives);
    // Replaces the first `directive` line of every block of the domain with
    // "\t<directive> <value>" (value quoted when valueQuoted). 0 replaced,
    // 1 file not opened, 2 scratch file not opened, 3 directive not found,
    // 5 directive or value refused.
    int  Apache_UpdateDirectiveInVH(std::string apacheConfFile, std::string domainName, std::string directive, std::string value, bool valueQuoted);
    // In the nested block opened by `directive` (a <Directory ...> line) of
    // the domain's block: adds "\t\t<value>" before "</Directory>" when no
    // line starts with `value`; with addValue false also drops such a line.
    // 0 rewritten, 1 file not opened, 2 scratch file not opened, 3 no such
    // nested block, 5 value refused.
    int  Apache_UpdateVHDirectiveContents(std::string apacheConfFile, std::string domainName, std::string directive, std::string value, bool addValue);
    // True when the domain's block holds "<IfModule <moduleName>.xxx>" (name
    // compared ignoring case); prints "modname=..." for each "<IfModule" line
    // of the domain's block whose text holds a ".".
    bool Apache_isModuleExistsInVH(std::string httpdConfFile, std::string domainName, std::string moduleName);
    // Removes the first such <IfModule> section of the domain's block, up to
    // its first "</IfModule>" line. 0 (also when nothing was found, the
    // "<file>.dif" scratch file then staying), 22 file not opened, 23 scratch
    // file not opened.
    int  Apache_DeleteVhIfmoduleBlock(std::string apacheConfFile, std::string domainName, std::string moduleName);
    // Rewrites the opening line of the domain's block as
    // "<VirtualHost ip:port>" ("[ip]" for an IPv6 address). 0 rewritten,
    // 1 file not opened, 2 scratch file not opened, 3 no block of the domain,
    // 5 address or port refused.
    int  Apache_ChangeVirtualHostPort(std::string apacheConfFile, std::string domainName, std::string ip, std::string port);

    // <Directory "path"> sections of the domain's block, found by the path
    // between the double quotes of their opening line, compared in full
    // ignoring case. Only the first matching section of the domain's blocks is
    // touched. Each edit copies the file to "<file>.qzbackup.rt" first and
    // drops the file's empty lines. Results: 0 done, 1 file not opened,
    // 2 scratch file not opened, 4 no such section, 5 (adding, renaming and
    // replacing) a path or entry refused.

    // Inserts "\t<Directory \"dirPath\">", "\t\t<entry>" for each entry and
    // "\t</Directory>" before the first <Directory line of the domain's block
    // (whatever its path; an existing section for dirPath is not looked for).
    // 4 when the block has none.
    int  Apache_addDirectoryTag(std::string apacheConfFile, std::string domainName, std::string dirPath, std::vector<std::string> dirEntry);
    // Removes the section up to and including the first "</Directory" line
    // after its opening line (a section never closed: up to the end of the
    // file). 3 when a <Directory line met before it has an unquoted or
    // unterminated path.
    int  Apache_deleteDirectoryTag(std::string apacheConfFile, std::string domainName, std::string dirPath);
    // Rewrites the section's opening line as "\t<Directory \"newPath\">". 3 when
    // a path met before it has no closing quote; an unquoted path is compared
    // as it stands (">" included).
    int  Apache_UpdateDirectoryTagPath(std::string apacheConfFile, std::string domainName, std::string oldPath, std::string newPath);
    // Keeps the section's opening line and replaces its contents by
    // "\t\t<entry>" for each entry and "\t</Directory>"; the old lines go as
    // for deleting. 3 as for deleting.
    int  Apache_UpdateDirectoryDirectives(std::string apacheConfFile, std::string domainName, std::string dirPath, std::vector<std::string> entry);

    // HTTPS redirect files: "<domain>.conf" in the "qz" folder of the server
    // root that Apache_GetHttpdRootPath names, "<domain>.conf.stop" when
    // switched off. With no known server root nothing is touched.

    // Writes the domain's redirect file: a <VirtualHost ipAddress:port> with
    // its ServerName, "ServerAlias www.<domain>" and a 301 rewrite to HTTPS.
    // Creates the folder (0755) with its "dummy.conf" placeholder when
    // missing, and adds "Include qz/*.conf" after the first server-level
    // Include line (or at the end) unless a line gives Include (or a name
    // starting with it, such as IncludeOptional) that value; prints
    // "writing entry" and the result of that write, or "entry already
    // exists". The file and the placeholder are written through a symbolic
    // link. The file is written to "<file>.qzscratch" beside it (beside the
    // file a link leads to) and renamed over it once whole and on the disk,
    // keeping the old file's owner and mode. False, after "unable to open
    // file: <path>", when the file cannot be opened, or when it cannot be
    // written whole: the old file then stays as it was. False at once, with nothing made or printed, for a domain
    // that is not a host name, or an address or port holding a control
    // character, '"', '<' or '>'.
    bool Apache_RedirectVHFromHttpToHttps(std::string httpdConfFile, std::string domainName, std::string ipAddress, std::string port);
    // Deletes the active redirect file (not a stopped one). Prints
    // "file path:<path>"; true, but false at once, with nothing printed or
    // changed, for a domain that is not a host name. So do Stop and Start.
    bool Apache_DeleteRedirectVHFromHttpToHttps(std::string httpdConfFile, std::string domainName);
    // Renames an active redirect file to "<domain>.conf.stop".
    bool Apache_StopRedirectVHFromHttpToHttps(std::string httpdConfFile, std::string domainName);
    // Renames a stopped redirect file back to "<domain>.conf".
    bool Apache_StartRedirectVHFromHttpToHttps(std::string httpdConfFile, std::string domainName);
    // In the domain's first block: the opening line becomes
    // "<VirtualHost ip:port>" ("[ip]" for IPv6), "\t<directive>" lines go
    // before its closing line, and NVHentry after it when makeNVHentry.
    // Backup "<file>.qzbackup.cp"; empty lines are kept and one is added at
    // the end; prints the "mv" command. 0 done, 1 file not opened (or a line
    // over 5998 characters), 2 scratch file not opened, 3 no block, 5 an
    // address, port, directive or NVHentry refused.
    int  Apache_MakeLetsEncryptEntries(std::string apacheConfFile, std::string domainName, std::string ip, std::string port,
                                       std::vector<std::string> directives, bool makeNVHentry, std::string NVHentry);

    // The value of the last HTTPD_ROOT line of "apachectl -V", without its
    // quotes ("" when there is none).
    std::string Apache_GetHttpdRootPath();
    // Appends every line the shell command prints, each with its newline.
    // 0 when the command ran; 1 when it could not be started, after printing
    // "Error opening file 'apachectl -V'" to standard error (that text
    // whatever the command).
    int  GetCommandOutput(std::string command, std::vector<std::string>& lines);
    // str from its first character not in chars; str unchanged when it has
    // no such character.
    std::string TrimLeftChars(std::string str, std::string chars);
    // str up to its last character not in chars; "" when it has none.
    std::string TrimRightChars(std::string str, std::string chars);
    // True when path can be stat'ed and is a directory.
    bool IsDirectoryExists(std::string path);
};

#endif
