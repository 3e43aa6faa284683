// CQZVirtualDirectory::GetVirtualDirectoryinfo: reads a folder's <Directory>
// section of a website back into the record.
#include "CQZVirtualDirectory.h"

#include "core/BlockScan.h"
#include "core/QZCore.h"
#include "vdir/VirtualDirectoryScan.h"

#include <algorithm>
#include <cstring>
#include <strings.h>
#include <sys/stat.h>

namespace {

// A list of an Allow or Deny line (given at the list) into its record field:
// an opening quote is dropped and the list ends at the next one. The copy is
// cut to the field's capacity.
template <size_t N>
void copyList(const char* list, char (&field)[N]) {
    const std::string text = qz::unquoted(list);
    const size_t length = std::min(text.size(), N - 1);
    memcpy(field, text.data(), length);
    field[length] = '\0';
}

// Each option searched anywhere in the rest of an Options line.
void readOptions(const char* rest, SOptions& options) {
    for (const qz::OptionWord& word : qz::kOptionWords) {
        const std::string plus = std::string("+") + word.name;
        const std::string minus = std::string("-") + word.name;
        char flag = 0;
        if (strstr(rest, plus.c_str()) != nullptr) {
            flag = '+';
        } else if (strstr(rest, minus.c_str()) != nullptr) {
            flag = '-';
        }
        options.*word.flag = flag;
    }
}

// The lines of the section after its opening line, up to "</Directory" or
// the end of the file. Comment lines are skipped. True when "</Directory"
// ended the section.
bool readSection(qz::LineReader& in, SDDir& dir) {
    using namespace qz;
    dir.Order = 1;
    copyList("All", dir.Allow);
    dir.Deny[0] = '\0';
    while (in.nextUntilEof()) {
        const char* line = in.c_str();
        if (*line == '#') continue;
        const char* p = skipSpace(line);
        if (startsWithNoCase(p, "Options")) {
            readOptions(afterName(p, 8), dir.Options);
        } else if (startsWithNoCase(p, "Order")) {
            if (startsWithNoCase(afterName(p, 6), "Allow")) dir.Order = 1;
        } else if (startsWithNoCase(p, "Allow")) {
            copyList(afterName(afterName(p, 6), 5), dir.Allow);  // past "Allow", then "from"
        } else if (startsWithNoCase(p, "Deny")) {
            copyList(afterName(afterName(p, 5), 5), dir.Deny);
        } else if (startsWithNoCase(p, "AuthType Basic")) {
            dir.AnonAccess = '1';
        } else if (strcasecmp(p, "AddHandler cgi-script cgi pl") == 0) {
            dir.PerlEnabled = '1';
        } else if (strcasecmp(p, "AddHandler fastcgi-script .fcgi") == 0) {
            dir.RubyOnRails = '1';
        } else if (startsWithNoCase(p, "</Directory")) {
            return true;
        }
    }
    return false;
}

}  // namespace

char CQZVirtualDirectory::GetVirtualDirectoryinfo(SDDir* ObjDDir) {
    using namespace qz;
    // Without a record there is no website to look up.
    if (ObjDDir == nullptr) return qz::result::NoSuchWebsite;
    SDDir& dir = *ObjDDir;
    const std::string domain = field(dir.DomainName);
    const std::string dirPath = field(dir.DirPath);
    trackMethod(TrackManager, "GetVirtualDirectoryinfo", {domain, dirPath},
                {"ObjDDir->DomainName", "ObjDDir->DirPath"});

    LineReader in(HttpdConfFile, kVirtualDirectoryLineLimit);
    if (int failed = configurationUnreadable(HttpdConfFile, in, nullptr)) return failed;

    BlockScan block(domain, forms::kVirtualDirectoryInfo);
    // Commented-out lines are read as live ones: one '#' in the first column
    // is stepped over. A line over 2999 characters is examined cut to the
    // limit, and then the reading ends: past it the stream has failed and a
    // loop until end of file would never end. What follows it is unknown, so
    // unless that cut line itself ended the search the result is 22, as for a
    // file that cannot be read, not an answer about the site.
    while (in.nextUntilEof()) {
        const BlockLine kind = block.examine(in.c_str());
        const char* p = block.text();
        if (kind == BlockLine::SiteName) {
            struct stat st;
            dir.Permission = stat(dirPath.c_str(), &st) == 0 ? st.st_mode : 0;
        } else if (kind == BlockLine::Other && block.inSite() && startsWithNoCase(p, "<Directory")) {
            std::string path;
            if (!readDirectoryPath(p, path)) {
                // The shared scan's way out: the scratch file goes, although
                // this operation never writes one.
                in.close();
                deleteScratch(TEMPFILE);
                return 1;
            }
            if (strcasecmp(path.c_str(), dirPath.c_str()) != 0) continue;
            if (!readSection(in, dir) && in.tooLong()) return qz::result::ConfigNotOpened;
            return qz::result::vdir::Found;
        } else if (kind == BlockLine::SiteClosing) {
            return qz::result::vdir::Found;  // the site's block has no section for the folder
        }
    }
    if (in.tooLong()) return qz::result::ConfigNotOpened;
    // The end of the file without a block of the site: the result of a
    // website lookup that finds none. A block of the site left open at the
    // end reads as one without the section.
    return block.inSite() ? qz::result::vdir::Found : qz::result::NoSuchWebsite;
}
