// Web users of one website (or of one protected folder of it), kept in the
// password files under /etc/webusers/.
//
// Construction (module "WebServerManager"):
//   (tm)                                       TEMPFILE from tempnam("/etc", NULL);
//                                              the other pointers null.
//   (tm, insFolder, domainName, folderPath)    FolderPath = a copy of folderPath
//                                              with every "/" turned into "_"
//                                              ("" for null); TEMPFILE from
//                                              tempnam(insFolder, NULL).
// The object frees the TEMPFILE and FolderPath buffers it allocated, exactly
// once, even when the caller has pointed the members elsewhere (a caller's
// buffer is never freed). A copy gets its own copies of them.
#ifndef CQZ_USERS_H
#define CQZ_USERS_H

#include "CQZTrackManager.h"
#include "QZExport.h"
#include "QZTypes.h"

#include <string>

class QZ_EXPORT CQZUsers {
public:
    char* TEMPFILE;
    const char* InsFolder;
    const char* DomainName;
    char* FolderPath;
    CQZTrackManager* TrackManager;

    CQZUsers(CQZTrackManager* TrackManager);
    CQZUsers(CQZTrackManager* TrackManager, const char* InsFolder, const char* DomainName, const char* FolderPath);
    CQZUsers(const CQZUsers& other);
    CQZUsers& operator=(const CQZUsers& other);
    ~CQZUsers();

    char UserCreate(const char* UserName, const char* Passwd);
    char UserDelete(const char* UserName);
    char ChangePasswd(std::string UserName, std::string Passwd);
    char UserList(StringVector* List);
    char UserExist(StringVector* List);
    char UserDeleteAll();

private:
    char* m_ownTempFile = nullptr;    // the buffers the constructors allocated
    char* m_ownFolderPath = nullptr;
};

#endif
