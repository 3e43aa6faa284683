// Virtual directories: <Directory> sections inside a website's blocks, with
// options, access lists and basic authentication.
//
// Construction (module "WebServerManager"):
//   (tm)                          only TrackManager; the other pointers null.
//   (tm, httpdConfFile, insFolder) TEMPFILE = /etc/apactemp
//   (tm, httpdConfFile)            TEMPFILE = /etc/apactemp1, InsFolder null.
// The scratch paths are fixed; the library's lock makes directory operations
// take turns, even on different objects. 23 also when the scratch file cannot
// be written whole (nothing is moved).
#ifndef CQZ_VIRTUAL_DIRECTORY_H
#define CQZ_VIRTUAL_DIRECTORY_H

#include "CQZTrackManager.h"
#include "QZExport.h"
#include "QZTypes.h"

#include <string>

class QZ_EXPORT CQZVirtualDirectory {
public:
    const char* HttpdConfFile;
    const char* InsFolder;
    const char* TEMPFILE;
    CQZTrackManager* TrackManager;

    CQZVirtualDirectory(CQZTrackManager* TrackManager);
    CQZVirtualDirectory(CQZTrackManager* TrackManager, const char* HttpdConfFile, const char* InsFolder);
    CQZVirtualDirectory(CQZTrackManager* TrackManager, const char* HttpdConfFile);
    CQZVirtualDirectory(const CQZVirtualDirectory& other);
    CQZVirtualDirectory& operator=(const CQZVirtualDirectory& other);

    // Adds a <Directory> section for the folder before the end of every block
    // whose ServerName is DomainName. The folder is DirPath, or, when that is
    // empty, the block's DocumentRoot without its last five characters. The
    // owner of WebAdminPath/DomainName gets the folder (chown -R, chmod -R 705).
    // With AnonAccess '1' the section asks for a login from the password file
    // WebAdminPath/DomainName/webusers_DomainName.htpasswd, which is created
    // empty when missing and gets WebadminName when a password is given too.
    // A non-zero AdminFlag writes no section. Returns 'S' when the file was
    // rewritten (also when no block matched), 1 when the site's block already
    // has a section for the folder, 'W' for a "<Directory" path whose quote is
    // never closed or a null record, 21 without a configuration file, 22 when
    // it cannot be read (or holds a line over 2999 characters), 23 when the
    // scratch file cannot be written; on 1, 'W' and 22 nothing is changed.
    // 'W' also refuses, before anything is written or run: a DomainName that
    // is not a host name; a DirPath or WebAdminPath with a control character,
    // a '"' or a ".." component; an Allow or Deny list with a control
    // character or a '"'; a WebadminName with a control character or a
    // password with a NUL; a folder given to chown/chmod that is reached
    // through a link a customer could plant, or that lies below a folder of
    // root's that others can write without the sticky bit; a password file
    // that is a link, a FIFO, a folder or a hard link. chmod -R runs on the
    // folder's tree held by root (every folder below given back afterwards).
    char CreateVirtualDirectory(SDDir* ObjDDir, int AdminFlag, std::string WebadminName, std::string WebadminPass);
    // Reads the section for DirPath in the first block of DomainName into the
    // record: Permission (the folder's st_mode, 0 when it cannot be read),
    // Order (always 1), Options, Allow ("All" unless an Allow line says
    // otherwise; 2.4 Require lines are not read) and Deny, and sets AnonAccess,
    // PerlEnabled and RubyOnRails to '1' when the section has their lines
    // (never clears them). Lines commented out with one '#' read as live ones.
    // Returns 'V' when the site's block was found, with or without the
    // section, 26 when no block names the site, 1 for a "<Directory" path
    // whose quote is never closed, 21 without a configuration file, 22 when it
    // cannot be read or when the search runs into a line over 2999 characters
    // (the record may then be partly filled). Allow and Deny are cut to their
    // 255 characters.
    char GetVirtualDirectoryinfo(SDDir* ObjDDir);
    // Writes the section for DirPath afresh in the first block of DomainName:
    // in place of the old one (protected when AnonAccess is '1', with the Ruby
    // on Rails lines when RubyOnRails is '1'), or, when the block has none,
    // at the block's end (protected when AnonAccess is '0', never with the
    // Rails lines). The password file is owned by the local part of the
    // block's ServerAdmin address. Other "<Directory" lines of that block are
    // rewritten in one quoted form when their path is quoted, and copied
    // unchanged when it is not. Returns 'Y' when the file was rewritten
    // (also when no block matched), 'W' for a "<Directory" path whose quote is
    // never closed, a null record or a record creation refuses, 21, 22 and
    // 23 as creation does.
    char UpdateVirtualDirectory(SDDir* ObjDDir, std::string WebadminName, std::string WebadminPass);

    // The operations below return 21 when HttpdConfFile is empty and 22 when
    // it cannot be opened. Lines are read up to 2999 characters; keywords are
    // matched ignoring case over their own length after leading white space.
    // A website's block is the one whose first ServerName equals the domain
    // ignoring case.

    // Removes every <Directory> section whose path equals pDDir exactly
    // (letter case included), in every block and outside them, and every
    // empty line of the file; comment lines stay, other <Directory> lines with
    // a quoted path are rewritten as "\t<Directory \"path\">" and those with
    // an unquoted one (the server's "<Directory />") copied unchanged. Returns 'U' after moving the
    // scratch copy over the file; 22 also when the file cannot be written or
    // holds a line over 2999 characters (the file is then left as it is); 23
    // when TEMPFILE cannot be written; 1 for a "<Directory \"" line without
    // its closing quote (TEMPFILE deleted, file untouched). Tracked as
    // "DeleteVirtualDirectory".
    char DeleteVirtualDirectory(const char* pDDir);
    // 1 when a block of DomainName holds a <Directory> section for DirPath
    // (ignoring case; a section after the block's end, before the next block,
    // counts), 0 when none does; 1 also for a "<Directory \"" line without its
    // closing quote, which deletes TEMPFILE. 22 prints "Error opening
    // HttpdConfFile file". Tracked as "GetVirtualDirectoryinfo".
    char VirtualDirectoryExists(SDDir* ObjDDir);
    // Appends, for each Alias line of the website's blocks, its target (quotes
    // removed) and then its name without the leading "/". The list is not
    // cleared first. Returns 0.
    char VirtualDirectoryList(const char* DomainName, StringVector* DDirList);
    // The target (quotes removed) of the website's alias named VDName exactly,
    // leading "/" included, read from httpdConfFile; "" when there is none or
    // the file does not open ("Error while opening HttpdConfFile" printed).
    // Not tracked.
    std::string GetVDPath(std::string httpdConfFile, std::string domainName, std::string VDName);
    // 1 when more than one Alias of the website has the quoted target DirPath
    // (ignoring case, nothing after the closing quote), else 0. 22 prints
    // "Error opening HttpdConfFile file". Tracked as "GetVirtualDirectoryinfo".
    char DirectoryRequired(std::string DomainName, std::string DirPath);
    // '}' when the website has an Alias named DirName (ignoring case; "/shop
    // /x" is named shop), 'X' when not; 1, with TEMPFILE deleted, for an alias
    // "/name" with no target. 22 prints "Error opening HttpdConfFile file".
    char CheckVirDir(SDDir* ObjDDir);

private:
    std::string m_tempFile;  // storage behind TEMPFILE when a constructor sets it
};

#endif
