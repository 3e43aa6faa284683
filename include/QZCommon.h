// Free functions shared by the managers, and the process-wide flag of
// website creation.
#ifndef QZ_COMMON_H
#define QZ_COMMON_H

#include "QZExport.h"

#include <string>

// Reads one key of the panel's settings file: a line `key = "value"`.
// Returns 1 and sets ParamVal to the text between the first two double quotes
// of the first line whose key begins with `param` (case-insensitive, compared
// over the length of `param` only). Returns 0 otherwise and leaves ParamVal
// untouched, so callers preset their default. Lines are read with a limit of
// 119 characters; a longer line ends the reading.
QZ_EXPORT int getParamFromQZConfFile(std::string qzConfFile, std::string& ParamVal, std::string param);

// Version of the local Apache, each part -1 when it cannot be found: parsed
// from the first line of "apachectl -v", or of "httpd -v" when that line has
// 4 characters or fewer, or else of "apache2 -v"; a line of 5 characters or
// fewer is not parsed. Prints "major=", "minor=" and "minorMinor=" lines.
QZ_EXPORT void getApacheVersion(int& major, int& minor, int& minorMinor);

// Login name of the user who owns Path, looked up in /etc/passwd; "" when
// Path or the file cannot be read or no entry has the owner's user id.
QZ_EXPORT std::string GetPathOwner(std::string Path);

// Deletes the folder DName and everything in it, depth first. false when it
// is gone; true when it cannot be opened, an entry cannot be stat'ed, a
// sub-folder cannot be deleted, or DName itself cannot be removed (a file
// that cannot be removed is skipped and then keeps its folder). A symbolic
// link is removed as a link; the folder it points to is left alone.
QZ_EXPORT bool RemoveDir(const char* DName);

// True when /etc/CloudLinux-release exists.
QZ_EXPORT bool ISCloudLinux();

// Highest "LVEId <number>" in the file, commented-out lines (a stopped site)
// included; 0 when there is none or the file cannot be read. Numbers of
// INT_MAX and above are passed over.
QZ_EXPORT int ExtractHighestLVEid(std::string httpdConfFile);

// The user and group Apache runs as: from "apachectl -t -D DUMP_RUN_CFG"
// (User: name="www-data" id=33), then APACHE_RUN_USER / APACHE_RUN_GROUP of
// /etc/apache2/envvars, then the server-level User / Group lines of
// /etc/apache2/apache2.conf or /etc/httpd/conf/httpd.conf; each taken from
// the first that names it (a "${...}" value names nothing). Both cleared
// first; true when both were found.
QZ_EXPORT bool getApacheUserGroup(std::string& user, std::string& group);

// Set for the life of the process once website creation writes or finds a
// NameVirtualHost line with a port.
extern QZ_EXPORT bool IsPortEnabled;

#endif
