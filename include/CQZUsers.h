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
// 23 also when TEMPFILE cannot be written whole (nothing is moved); a user
// line that cannot be appended whole is taken back ('N').
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

    // The password file is InsFolder + "/etc/webusers/passwd." + DomainName,
    // plus "_" + FolderPath when FolderPath is not empty (under the system
    // root). One "login:password" a line; passwords are stored as given.
    // Every operation is tracked with its name and arguments. A login with a
    // ':' or a control character (a tab too: a password file has no blank),
    // or a password with a control character, would start a user line of its
    // own: it is refused, right after tracking, with nothing printed, read or
    // written ('N' for UserCreate and UserDelete, 22 for ChangePasswd).

    // Appends "UserName:Passwd" to the existing file, keeping its users (a
    // login already there is added again). 'M' done; 'N' when the file does
    // not exist ("Error opening passwd file") or cannot be written, as a
    // folder cannot ("Error opening file"), or a value is refused.
    char UserCreate(const char* UserName, const char* Passwd);
    // Removes every line beginning with UserName + ":" and every empty line.
    // 'O' (also when the user was not there); 'N' no file, a line over 2999
    // characters (the file is left as it is) or the login refused; 23
    // TEMPFILE cannot be written.
    char UserDelete(const char* UserName);
    // Replaces every line beginning with UserName + ":" by UserName + ":" +
    // Passwd and drops empty lines. 'L' found; '5' not found (the file is
    // rewritten anyway); 22 no file, a line over 2999 characters (the file
    // is left as it is) or a value refused; 23 TEMPFILE cannot be written.
    char ChangePasswd(std::string UserName, std::string Passwd);
    // Appends the login (text before ":") of each line, and one "" for the
    // read at the end of the file. 'R'; 22 no file.
    char UserList(StringVector* List);
    // Appends one "" per user line, up to the first line without ":". 'Q'
    // (nothing appended when the file is a folder); 22 no file ("Error
    // opening HttpdConfFile file" printed).
    char UserExist(StringVector* List);
    // Deletes the password file. Always 'P'.
    char UserDeleteAll();

private:
    char* m_ownTempFile = nullptr;    // the buffers the constructors allocated
    char* m_ownFolderPath = nullptr;
};

#endif
