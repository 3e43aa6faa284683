#include "toolkit/DirectiveScan.h"

#include <cstdio>
#include <strings.h>

namespace qz {

bool appendLine(const std::string& file, std::string_view text) {
    // Through a symbolic link, as the file has always been appended to.
    OutFile out;
    if (!out.openAppendTarget(file.c_str())) return false;
    out.writeLine(text);
    return out.finish();
}

void skipVirtualHost(LineReader& in, size_t limit) {
    const BlockScan level(forms::kServerLevel);
    while (in.getline(limit)) {
        if (level.closes(in.c_str())) return;
    }
}

const char* ifModuleInSite(BlockScan& block, const char* line) {
    if (block.examine(line) != BlockLine::Other || !block.inSite() || isComment(block.text())) return nullptr;
    const WordLine w(block.text());
    return w.is("<IfModule") ? w.rest : nullptr;
}

bool ifModuleNames(const char* rest, const std::string& moduleName) {
    const char* dot = strchr(rest, '.');
    if (dot == nullptr) return false;
    const std::string name(rest, dot);
    sayLine("modname=" + name);
    return strcasecmp(name.c_str(), moduleName.c_str()) == 0;
}

int addLinesToDomainBlocks(const std::string& file, const std::string& domain, const FilePlan& plan,
                           const std::vector<std::string>& lines, bool everyBlock) {
    // A loop until end of file over an input that did not open would never
    // end, and nothing could be added to it. Here it reports 1, and so do a scratch
    // file that cannot be opened (nothing could be added) and an over-long
    // line; the file is left as it is in each case.
    BlockScan block(domain, forms::kDirectiveAdd);
    return rewriteLines(file, plan, {1, 1, 1}, [&](LineReader& line, Rewrite& scratch, bool& added) {
        if ((!added || everyBlock) && block.examine(line.c_str()) == BlockLine::SiteClosing) {
            for (const std::string& text : lines) scratch.writeLine("\t" + text);
            added = true;
        }
        scratch.writeLine(line.view());
        return Next::Line;
    });
}

// ---- Rewriting the opening line of a domain's block ---------------------------------

std::string virtualHostOpening(const std::string& ip, const std::string& port) {
    const std::string address = ip.find(':') != std::string::npos ? "[" + ip + "]" : ip;
    return "<VirtualHost " + address + ":" + port + ">";
}

bool HeldOpening::copy(const LineReader& line, Rewrite& scratch) {
    const BlockLine kind = block_.examine(line.c_str());
    if (kind == BlockLine::Opening) {
        held_.assign(line.view());
        return false;
    }
    // The block's first ServerName decides what goes in the held line's place.
    if (kind == BlockLine::Name || kind == BlockLine::SiteName)
        scratch.writeLine(kind == BlockLine::SiteName ? opening_ : held_);
    scratch.writeLine(line.view());
    return kind == BlockLine::SiteName;
}

}  // namespace qz
