// Virtual directories: <Directory> sections inside a website's blocks, with
// options, access lists and basic authentication.
//
// Construction (module "WebServerManager"):
//   (tm)                          only TrackManager; the other pointers null.
//   (tm, httpdConfFile, insFolder) TEMPFILE = /etc/apactemp
//   (tm, httpdConfFile)            TEMPFILE = /etc/apactemp1, InsFolder null.
// The scratch paths are fixed, so directory operations must not run at the
// same time, even on different objects.
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

    char CreateVirtualDirectory(SDDir* ObjDDir, int AdminFlag, std::string WebadminName, std::string WebadminPass);
    char GetVirtualDirectoryinfo(SDDir* ObjDDir);
    char UpdateVirtualDirectory(SDDir* ObjDDir, std::string WebadminName, std::string WebadminPass);

    // The operations below return 21 when HttpdConfFile is empty and 22 when
    // it cannot be opened. Lines are read up to 2999 characters; keywords are
    // matched ignoring case over their own length after leading white space.
    // A website's block is the one whose first ServerName equals the domain
    // ignoring case.

    // Removes every <Directory> section whose path equals pDDir exactly
    // (letter case included), in every block and outside them, and every
    // empty line of the file; comment lines stay, other <Directory> lines are
    // rewritten as "\t<Directory \"path\">". Returns 'U' after moving the
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
