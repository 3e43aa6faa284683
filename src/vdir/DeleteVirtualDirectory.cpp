// CQZVirtualDirectory::DeleteVirtualDirectory: removes every <Directory>
// section for one path from the whole configuration.
#include "CQZVirtualDirectory.h"

#include "core/QZCore.h"
#include "vdir/VirtualDirectoryScan.h"
#include "core/QZLock.h"

#include <fcntl.h>
#include <unistd.h>

namespace {

// The configuration is opened for reading and writing: a file that cannot be
// written counts as one that cannot be opened.
bool openableForUpdate(const char* path) {
    const int fd = ::open(path, O_RDWR | O_CLOEXEC);
    if (fd < 0) return false;
    ::close(fd);
    return true;
}

}  // namespace

char CQZVirtualDirectory::DeleteVirtualDirectory(const char* pDDir) {
    const qz::OperationLock lock;
    using namespace qz;
    const std::string wanted = str(pDDir);
    trackMethod(TrackManager, "DeleteVirtualDirectory", {wanted}, {"pDDir"});

    if (!isEmpty(HttpdConfFile) && !openableForUpdate(HttpdConfFile)) return qz::result::ConfigNotOpened;
    bool inSection = false;
    std::string path;
    // A "<Directory" path without its closing quote gives up with 1.
    const char done = qz::result::vdir::Deleted;
    return rewriteConfiguration(HttpdConfFile, TEMPFILE, done, {}, NothingOnOpen(),
                                [&](const LineReader& line, const char* p, OutFile& out) -> char {
        if (startsWithNoCase(p, "<Directory")) {
            const PathForm form = directoryPath(p, path);
            if (form == PathForm::Unterminated) return 1;
            // The path is compared exactly, letter case included.
            if (path == wanted)
                inSection = true;
            else
                copyDirectoryOpening(out, line, form, path);
        } else if (inSection) {
            if (startsWithNoCase(p, "</Directory")) inSection = false;
        } else if (!line.empty()) {
            out.writeLine(line.view());
        }
        return 0;
    });
}
