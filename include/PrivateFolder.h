// Password-protected private folders of a website (.htaccess and .htpasswd).
// Results: 1501 and 1601-1607 (1601 also when .htaccess cannot be written
// whole).
//
// Each operation first refuses, with 1607 and nothing written or run, a path
// or user name holding a control character (below 0x20, or 0x7f), a password
// holding a NUL (htpasswd stores only its hash: any other character is taken),
// a path with a ".." component, a folder reached only through a symbolic
// link its owner could have planted or lying below a folder of root's that
// others can write without the sticky bit, and a .htaccess, .htpasswd or
// .htaccess_qzbackup that is a link, a FIFO, a folder or a file with more
// than one name.
#ifndef PRIVATE_FOLDER_H
#define PRIVATE_FOLDER_H

#include "CQZTrackManager.h"
#include "QZExport.h"

#include <string>

class QZ_EXPORT PrivateFolder {
public:
    CQZTrackManager* TrackManager;

    PrivateFolder();                                // TrackManager null, nothing tracked
    PrivateFolder(CQZTrackManager* TrackManager);   // module "WebServerManager"

    // folderPath + "/.htaccess" gets "AuthUserFile <folderPath>/.htpasswd",
    // "AuthName \"Restricted Area\"", "AuthType Basic", "require valid-user":
    // written (mode 0444) when the file is missing, else each appended when
    // absent. Then htpasswd -cb (no .htpasswd yet) or -b adds the user; the
    // password file is set to 0444. 1602 done; 1601 when .htaccess cannot be
    // created or htpasswd cannot be started. Its exit status is not examined.
    int addPrivateFolder(std::string folderPath, std::string userName, std::string userPasswd);
    // Runs "htpasswd -D" for the user (printed as "command=..."), pauses two
    // seconds, and deletes .htpasswd when it is left empty. When no user is
    // left (or there was no .htpasswd) the four directives are removed from
    // .htaccess, which keeps its other lines. 1603 done; 1604 when htpasswd
    // cannot be started or .htpasswd is gone after it.
    int deletePrivateFolder(std::string folderPath, std::string userName);
    // A new path: delete from the old folder, then add to the new one; 1605
    // when both succeed, else the failing code of either. The same path:
    // htpasswd -D, then -b with the new password (both printed); 1605 done,
    // 1606 no .htpasswd or the second command cannot be started, 1501 the
    // first cannot be started.
    int editPrivateFolder(std::string newFolderPath, std::string oldFolderPath, std::string userName, std::string userPasswd);
};

#endif
