// CQZVirtualDirectory construction and copying.
#include "CQZVirtualDirectory.h"

#include "core/QZCore.h"

CQZVirtualDirectory::CQZVirtualDirectory(CQZTrackManager* TrackManager)
    : HttpdConfFile(nullptr), InsFolder(nullptr), TEMPFILE(nullptr), TrackManager(TrackManager) {
    qz::trackModule(TrackManager, "WebServerManager");
}

CQZVirtualDirectory::CQZVirtualDirectory(CQZTrackManager* TrackManager, const char* HttpdConfFile,
                                         const char* InsFolder)
    : HttpdConfFile(HttpdConfFile), InsFolder(InsFolder), TEMPFILE(nullptr), TrackManager(TrackManager),
      m_tempFile(qz::sysPath("/etc/apactemp")) {
    qz::trackModule(TrackManager, "WebServerManager");
    TEMPFILE = m_tempFile.c_str();
}

CQZVirtualDirectory::CQZVirtualDirectory(CQZTrackManager* TrackManager, const char* HttpdConfFile)
    : HttpdConfFile(HttpdConfFile), InsFolder(nullptr), TEMPFILE(nullptr), TrackManager(TrackManager),
      m_tempFile(qz::sysPath("/etc/apactemp1")) {
    qz::trackModule(TrackManager, "WebServerManager");
    TEMPFILE = m_tempFile.c_str();
}

// TEMPFILE points into the object's own storage when a constructor set it;
// a copy points into the copy's storage. Any other value (a caller's own
// string) is shared as it is.
CQZVirtualDirectory::CQZVirtualDirectory(const CQZVirtualDirectory& other)
    : HttpdConfFile(other.HttpdConfFile), InsFolder(other.InsFolder), TEMPFILE(other.TEMPFILE),
      TrackManager(other.TrackManager), m_tempFile(other.m_tempFile) {
    if (other.TEMPFILE != nullptr && other.TEMPFILE == other.m_tempFile.c_str()) TEMPFILE = m_tempFile.c_str();
}

CQZVirtualDirectory& CQZVirtualDirectory::operator=(const CQZVirtualDirectory& other) {
    if (this != &other) {
        HttpdConfFile = other.HttpdConfFile;
        InsFolder = other.InsFolder;
        TrackManager = other.TrackManager;
        m_tempFile = other.m_tempFile;
        TEMPFILE = other.TEMPFILE;
        if (other.TEMPFILE != nullptr && other.TEMPFILE == other.m_tempFile.c_str()) TEMPFILE = m_tempFile.c_str();
    }
    return *this;
}
