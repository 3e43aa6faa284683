// CQZUsers construction, copying and destruction.
#include "CQZUsers.h"

#include "core/QZCore.h"

#include <cstdlib>
#include <cstring>

namespace {

// A copy of the folder path with every "/" turned into "_"; "" for null.
char* flattenedFolderPath(const char* folderPath) {
    char* copy = strdup(folderPath ? folderPath : "");
    if (copy != nullptr)
        for (char* p = copy; *p != '\0'; ++p)
            if (*p == '/') *p = '_';
    return copy;
}

}  // namespace

CQZUsers::CQZUsers(CQZTrackManager* TrackManager)
    : TEMPFILE(nullptr), InsFolder(nullptr), DomainName(nullptr), FolderPath(nullptr), TrackManager(TrackManager) {
    qz::trackModule(TrackManager, "WebServerManager");
    TEMPFILE = m_ownTempFile = tempnam(qz::sysPath("/etc").c_str(), nullptr);
}

CQZUsers::CQZUsers(CQZTrackManager* TrackManager, const char* InsFolder, const char* DomainName,
                   const char* FolderPath)
    : TEMPFILE(nullptr), InsFolder(InsFolder), DomainName(DomainName), FolderPath(nullptr),
      TrackManager(TrackManager) {
    qz::trackModule(TrackManager, "WebServerManager");
    this->FolderPath = m_ownFolderPath = flattenedFolderPath(FolderPath);
    TEMPFILE = m_ownTempFile = tempnam(InsFolder, nullptr);
}

CQZUsers::CQZUsers(const CQZUsers& other)
    : TEMPFILE(nullptr), InsFolder(other.InsFolder), DomainName(other.DomainName), FolderPath(nullptr),
      TrackManager(other.TrackManager) {
    TEMPFILE = qz::copyOwned(other.TEMPFILE, other.m_ownTempFile, m_ownTempFile);
    FolderPath = qz::copyOwned(other.FolderPath, other.m_ownFolderPath, m_ownFolderPath);
}

CQZUsers& CQZUsers::operator=(const CQZUsers& other) {
    if (this != &other) {
        free(m_ownTempFile);
        free(m_ownFolderPath);
        TEMPFILE = qz::copyOwned(other.TEMPFILE, other.m_ownTempFile, m_ownTempFile);
        FolderPath = qz::copyOwned(other.FolderPath, other.m_ownFolderPath, m_ownFolderPath);
        InsFolder = other.InsFolder;
        DomainName = other.DomainName;
        TrackManager = other.TrackManager;
    }
    return *this;
}

// Both buffers come from malloc (tempnam, strdup).
CQZUsers::~CQZUsers() {
    free(m_ownTempFile);
    free(m_ownFolderPath);
}
