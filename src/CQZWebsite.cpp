// CQZWebsite construction, copying and destruction.
#include "CQZWebsite.h"

#include "QZCore.h"

#include <cstdlib>
#include <cstring>
#include <ctime>

namespace {

char* copyBuffer(const char* text) { return text ? strdup(text) : nullptr; }

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
    TEMPFILE = tempnam(qz::sysPath("/etc").c_str(), nullptr);
}

CQZWebsite::CQZWebsite(CQZTrackManager* TrackManager, const char* HttpdConfFile)
    : TEMPFILE(nullptr), HttpdConfFile(HttpdConfFile), TrackManager(TrackManager) {
    qz::trackModule(TrackManager, "Apache");
    TEMPFILE = timeStampedScratch(HttpdConfFile);
    if (TrackManager != nullptr) TrackManager->CQZModuleProperties({qz::str(HttpdConfFile)}, {"HDCFFile"});
}

CQZWebsite::CQZWebsite(const CQZWebsite& other)
    : TEMPFILE(copyBuffer(other.TEMPFILE)), HttpdConfFile(other.HttpdConfFile), TrackManager(other.TrackManager) {}

CQZWebsite& CQZWebsite::operator=(const CQZWebsite& other) {
    if (this != &other) {
        char* copy = copyBuffer(other.TEMPFILE);
        free(TEMPFILE);
        TEMPFILE = copy;
        HttpdConfFile = other.HttpdConfFile;
        TrackManager = other.TrackManager;
    }
    return *this;
}

// Every TEMPFILE buffer comes from malloc (tempnam, calloc or strdup).
CQZWebsite::~CQZWebsite() { free(TEMPFILE); }
