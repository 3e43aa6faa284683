// Password-protected private folders of a website (.htaccess and .htpasswd).
// Results: 1501 and 1601-1606.
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

    int addPrivateFolder(std::string folderPath, std::string userName, std::string userPasswd);
    int deletePrivateFolder(std::string folderPath, std::string userName);
    int editPrivateFolder(std::string newFolderPath, std::string oldFolderPath, std::string userName, std::string userPasswd);
};

#endif
