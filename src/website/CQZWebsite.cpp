// CQZWebsite construction, copying and destruction.
#include "CQZWebsite.h"

#include "core/QZCore.h"

#include <cstdlib>
#include <cstring>
#include <ctime>

namespace {

// The folder of the configuration file (everything before its last "/"; the
// whole path when it has none), "/", then the current time in seconds. The
// buffer is zero-filled and 500 bytes long, or longer when the folder needs
// more, so a long path is never cut or overrun.
char* timeStampedScratch(const char* confFile) {
    std::string folder = qz::str(confFile);
    std::string::size_type slash = folder.rfind('/');
    if (slash != std::string::npos) folder.erase(slash);
    folder += '/';
    folder += std::to_string(static_cast<long>(std::time(nullptr)));
    char* buffer = static_cast<char*>(calloc(folder.size() + 1 > 500 ? folder.size() + 1 : 500, 1));
    if (buffer != nullptr) memcpy(buffer, folder.data(), folder.size());
    return buffer;
}

}  // namespace

CQZWebsite::CQZWebsite() : TEMPFILE(nullptr), HttpdConfFile(nullptr), TrackManager(nullptr) {}

CQZWebsite::CQZWebsite(CQZTrackManager* TrackManager)
    : TEMPFILE(nullptr), HttpdConfFile(""), TrackManager(TrackManager) {
    qz::trackModule(TrackManager, "Apache");
    TEMPFILE = m_ownTempFile = tempnam(qz::sysPath("/etc").c_str(), nullptr);
}

CQZWebsite::CQZWebsite(CQZTrackManager* TrackManager, const char* HttpdConfFile)
    : TEMPFILE(nullptr), HttpdConfFile(HttpdConfFile), TrackManager(TrackManager) {
    qz::trackModule(TrackManager, "Apache");
    TEMPFILE = m_ownTempFile = timeStampedScratch(HttpdConfFile);
    if (TrackManager != nullptr) TrackManager->CQZModuleProperties({qz::str(HttpdConfFile)}, {"HDCFFile"});
}

CQZWebsite::CQZWebsite(const CQZWebsite& other)
    : TEMPFILE(nullptr), HttpdConfFile(other.HttpdConfFile), TrackManager(other.TrackManager) {
    TEMPFILE = qz::copyOwned(other.TEMPFILE, other.m_ownTempFile, m_ownTempFile);
}

CQZWebsite& CQZWebsite::operator=(const CQZWebsite& other) {
    if (this != &other) {
        free(m_ownTempFile);
        TEMPFILE = qz::copyOwned(other.TEMPFILE, other.m_ownTempFile, m_ownTempFile);
        HttpdConfFile = other.HttpdConfFile;
        TrackManager = other.TrackManager;
    }
    return *this;
}

// The buffer comes from malloc (tempnam, calloc or strdup).
CQZWebsite::~CQZWebsite() { free(m_ownTempFile); }
