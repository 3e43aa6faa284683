// CQZUsers construction, copying and destruction.
#include "CQZUsers.h"

#include "QZCore.h"

#include <cstdlib>
#include <cstring>

namespace {

char* copyBuffer(const char* text) { return text ? strdup(text) : nullptr; }

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
    TEMPFILE = tempnam(qz::sysPath("/etc").c_str(), nullptr);
}

CQZUsers::CQZUsers(CQZTrackManager* TrackManager, const char* InsFolder, const char* DomainName,
                   const char* FolderPath)
    : TEMPFILE(nullptr), InsFolder(InsFolder), DomainName(DomainName), FolderPath(nullptr),
      TrackManager(TrackManager) {
    qz::trackModule(TrackManager, "WebServerManager");
    this->FolderPath = flattenedFolderPath(FolderPath);
    TEMPFILE = tempnam(InsFolder, nullptr);
}

CQZUsers::CQZUsers(const CQZUsers& other)
    : TEMPFILE(copyBuffer(other.TEMPFILE)), InsFolder(other.InsFolder), DomainName(other.DomainName),
      FolderPath(copyBuffer(other.FolderPath)), TrackManager(other.TrackManager) {}

CQZUsers& CQZUsers::operator=(const CQZUsers& other) {
    if (this != &other) {
        char* tempFile = copyBuffer(other.TEMPFILE);
        char* folderPath = copyBuffer(other.FolderPath);
        free(TEMPFILE);
        free(FolderPath);
        TEMPFILE = tempFile;
        FolderPath = folderPath;
        InsFolder = other.InsFolder;
        DomainName = other.DomainName;
        TrackManager = other.TrackManager;
    }
    return *this;
}

// Both buffers come from malloc (tempnam, strdup).
CQZUsers::~CQZUsers() {
    free(TEMPFILE);
    free(FolderPath);
}
