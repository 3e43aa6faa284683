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

    int  Apache_getDirectiveValue(std::string apacheConfFile, std::string directive, std::string& value, bool isValueQuoted);
    bool Apache_isDirectiveWithValueExists(std::string apacheConfFile, std::string directive, std::string value, bool isValueQuoted);
    int  Apache_writeDirective(std::string apacheConfFile, std::string entry, std::string reference, bool beforeReference, int lineCount);
    int  Apache_checkModule(std::string apacheConfFile, std::string moduleName, bool& isExist);
    int  Apache_checkModulePhysicalPath(std::string apacheConfFile, std::string moduleName, bool& isExist);
    int  Apache_addModule(std::string apacheConfFile, std::string moduleName);

    int  Apache_getDirectiveInVH(std::string apacheConfFile, std::string domainName, std::string directive, std::string& value, bool valueQuoted);
    int  Apache_AddDirectiveInVH(std::string apacheConfFile, std::string domainName, std::string directive, std::string value, bool valueQuoted);
    int  Apache_AddDirectivesInVH(std::string apacheConfFile, std::string domainName, std::vector<std::string> directives);
    int  Apache_DeleteDirectivesInVH(std::string apacheConfFile, std::string domainName, std::vector<std::string> directives);
    int  Apache_UpdateDirectiveInVH(std::string apacheConfFile, std::string domainName, std::string directive, std::string value, bool valueQuoted);
    int  Apache_UpdateVHDirectiveContents(std::string apacheConfFile, std::string domainName, std::string directive, std::string value, bool addValue);
    bool Apache_isModuleExistsInVH(std::string httpdConfFile, std::string domainName, std::string moduleName);
    int  Apache_DeleteVhIfmoduleBlock(std::string apacheConfFile, std::string domainName, std::string moduleName);
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
