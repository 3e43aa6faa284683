// The directive toolkit: stateless primitives that read, add, update and
// delete directives at server level, inside one website's <VirtualHost> block
// and inside <Directory> sections, load modules, and manage per-domain HTTPS
// redirect files and Let's Encrypt entries. Primitives return 0 (or true) on
// success and small per-operation numbers otherwise; they do not track.
// Editing primitives first copy the file to a ".qzbackup..." backup.
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
    // or appending), 2 scratch file not opened.
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
    // opened, 4 appending failed ("Unable to open file in append mode").
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
    // (or the file could not be read).
    int  Apache_AddDirectiveInVH(std::string apacheConfFile, std::string domainName, std::string directive, std::string value, bool valueQuoted);
    // Adds "\t<directive>" for each element at the end of the first block of
    // the domain; otherwise as Apache_AddDirectiveInVH.
    int  Apache_AddDirectivesInVH(std::string apacheConfFile, std::string domainName, std::vector<std::string> directives);
    // Drops the lines of the domain's first block, after its ServerName line,
    // that start with one of the names and a space. 0 rewritten, 1 file not opened, 2 scratch file not
    // opened, 3 no block of the domain.
    int  Apache_DeleteDirectivesInVH(std::string apacheConfFile, std::string domainName, std::vector<std::string> directives);
    // Replaces the first `directive` line of every block of the domain with
    // "\t<directive> <value>" (value quoted when valueQuoted). 0 replaced,
    // 1 file not opened, 2 scratch file not opened, 3 directive not found.
    int  Apache_UpdateDirectiveInVH(std::string apacheConfFile, std::string domainName, std::string directive, std::string value, bool valueQuoted);
    // In the nested block opened by `directive` (a <Directory ...> line) of
    // the domain's block: adds "\t\t<value>" before "</Directory>" when no
    // line starts with `value`; with addValue false also drops such a line.
    // 0 rewritten, 1 file not opened, 2 scratch file not opened, 3 no such
    // nested block.
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
    // 1 file not opened, 2 scratch file not opened, 3 no block of the domain.
    int  Apache_ChangeVirtualHostPort(std::string apacheConfFile, std::string domainName, std::string ip, std::string port);

    int  Apache_addDirectoryTag(std::string apacheConfFile, std::string domainName, std::string dirPath, std::vector<std::string> dirEntry);
    int  Apache_deleteDirectoryTag(std::string apacheConfFile, std::string domainName, std::string dirPath);
    int  Apache_UpdateDirectoryTagPath(std::string apacheConfFile, std::string domainName, std::string oldPath, std::string newPath);
    int  Apache_UpdateDirectoryDirectives(std::string apacheConfFile, std::string domainName, std::string dirPath, std::vector<std::string> entry);

    bool Apache_RedirectVHFromHttpToHttps(std::string httpdConfFile, std::string domainName, std::string ipAddress, std::string port);
    bool Apache_DeleteRedirectVHFromHttpToHttps(std::string httpdConfFile, std::string domainName);
    bool Apache_StopRedirectVHFromHttpToHttps(std::string httpdConfFile, std::string domainName);
    bool Apache_StartRedirectVHFromHttpToHttps(std::string httpdConfFile, std::string domainName);
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
