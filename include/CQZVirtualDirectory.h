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
    char DeleteVirtualDirectory(const char* pDDir);
    char VirtualDirectoryExists(SDDir* ObjDDir);
    char VirtualDirectoryList(const char* DomainName, StringVector* DDirList);
    std::string GetVDPath(std::string httpdConfFile, std::string domainName, std::string VDName);
    char DirectoryRequired(std::string DomainName, std::string DirPath);
    char CheckVirDir(SDDir* ObjDDir);

private:
    std::string m_tempFile;  // storage behind TEMPFILE when a constructor sets it
};

#endif
