#include "directory/DirectoryScan.h"

#include <strings.h>

namespace qz {

void writeDirectoryBody(Rewrite& scratch, const std::vector<std::string>& directives) {
    for (const std::string& directive : directives) scratch.writeLine("\t\t" + directive);
    scratch.writeLine("\t</Directory>");
}

PathForm directoryPath(const char* p, std::string& path) {
    const char* start = afterName(p, 11);
    if (*start != '"') {
        path = start;
        return PathForm::Unquoted;
    }
    const char* close = strchr(start + 1, '"');
    if (close == nullptr) return PathForm::Unterminated;
    path.assign(start + 1, close);
    return PathForm::Quoted;
}

int editDirectorySection(const std::string& file, const FilePlan& plan, const std::string& domain,
                         const std::string& path, bool unquotedStops, SectionEdit edit,
                         const std::string& newPath, const std::vector<std::string>& directives) {
    BlockScan block(domain, forms::kDirectiveRead);
    bool dropping = false;  // inside the matched section, whose old lines go
    bool done = false;      // the rest of the file is copied as it is
    int stopped = 0;
    std::string sectionPath;
    const int result = rewriteLines(file, plan, kSectionFailures, [&](LineReader& line, Rewrite& scratch, bool& edited) {
        if (done) {
            scratch.writeLine(line.view());
            return Next::Line;
        }
        const char* p = skipSpace(line.c_str());
        if (dropping) {
            // The old lines go up to and including the first "</Directory"
            // line, or to the end of the file.
            if (!startsWithNoCase(p, "</Directory")) return Next::Line;
            dropping = false;
            done = true;
            return Next::Line;
        }
        if (block.examine(line.c_str()) != BlockLine::Other || !block.inSite() || !opensDirectory(p)) {
            scratch.writeLine(line.view());
            return Next::Line;
        }
        const PathForm form = directoryPath(p, sectionPath);
        if (form == PathForm::Unterminated || (form == PathForm::Unquoted && unquotedStops)) {
            stopped = 3;
            return Next::Stop;
        }
        if (strcasecmp(sectionPath.c_str(), path.c_str()) != 0) {
            scratch.writeLine(line.view());
            return Next::Line;
        }
        edited = true;
        switch (edit) {
        case SectionEdit::Delete:
            dropping = true;
            break;
        case SectionEdit::Rename:
            scratch.writeLine(directoryOpening(newPath));
            done = true;
            break;
        case SectionEdit::Replace:
            scratch.writeLine(line.view());
            writeDirectoryBody(scratch, directives);
            dropping = true;
            break;
        }
        return Next::Line;
    });
    return stopped != 0 ? stopped : result;
}

}  // namespace qz
