// CQZVirtualDirectory::DeleteVirtualDirectory: removes every <Directory>
// section for one path from the whole configuration.
#include "CQZVirtualDirectory.h"

#include "QZCore.h"
#include "VirtualDirectoryLookup.h"

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
    const std::string wanted = qz::str(pDDir);
    qz::trackMethod(TrackManager, "DeleteVirtualDirectory", {wanted}, {"pDDir"});

    qz::LineReader in(HttpdConfFile, qz::kVirtualDirectoryLineLimit);
    if (int failed = qz::configurationUnreadable(HttpdConfFile, in, nullptr)) return failed;
    if (!openableForUpdate(HttpdConfFile)) return 22;
    qz::Rewrite rewrite(qz::str(TEMPFILE), HttpdConfFile);
    if (TEMPFILE == nullptr || !rewrite.open()) return 23;
    qz::OutFile& out = rewrite.out();

    bool inSection = false;
    std::string path;
    while (in.nextUntilEof()) {
        const char* line = in.c_str();
        if (line[0] == '#') {
            out.writeLine(in.view());
            continue;
        }
        const char* p = qz::skipSpace(line);
        if (qz::startsWithNoCase(p, "<Directory")) {
            if (!qz::readDirectoryPath(p, path)) {
                rewrite.discard();
                return 1;
            }
            // The path is compared exactly, letter case included.
            if (path == wanted)
                inSection = true;
            else
                out.writeLine("\t<Directory \"" + path + "\">");
        } else if (inSection) {
            if (qz::startsWithNoCase(p, "</Directory")) inSection = false;
        } else if (!in.empty()) {
            out.writeLine(in.view());
        }
    }
    // A line over the limit fails the stream, and a loop until end of file
    // would then read on forever. Moving the copy made so far would lose the
    // rest of the configuration, so the configuration stays as it is and the
    // copy is deleted.
    if (in.tooLong()) {
        rewrite.discard();
        return 22;
    }
    in.close();
    rewrite.commit();
    return 'U';
}
