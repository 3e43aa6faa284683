#include "toolkit/DirectiveScan.h"

#include <cstdio>
#include <strings.h>

namespace qz {

void makeBackup(const std::string& file, const FilePlan& plan) {
    if (plan.backupSuffix != nullptr) runShell(shellCommand({"cp", file, file + plan.backupSuffix}));
}

bool appendLine(const std::string& file, std::string_view text) {
    // Through a symbolic link, as the file has always been appended to.
    OutFile out;
    if (!out.openAppendTarget(file.c_str())) return false;
    out.writeLine(text);
    return out.finish();
}

void skipVirtualHost(LineReader& in, size_t limit) {
    while (in.getline(limit)) {
        if (startsWithNoCase(skipSpace(in.c_str()), "</VirtualHost")) return;
    }
}

LineKind lineKind(const char* p, const BlockForm& form) {
    if (startsWithNoCase(p, "<VirtualHost")) {
        if (form.bareOpeningCounts || !startsWithNoCase(p, "<VirtualHost>")) return LineKind::Opening;
        return LineKind::Other;
    }
    if (startsWithNoCase(p, std::string_view("</VirtualHost>", form.closingLength))) return LineKind::Closing;
    if (startsWithNoCase(p, "ServerName")) return LineKind::ServerName;
    return LineKind::Other;
}

bool DomainBlockScan::examine(const char* p) {
    switch (lineKind(p, form)) {
    case LineKind::Opening:
        inHost = true;
        return true;
    case LineKind::Closing:
        inHost = inDomain = false;
        return true;
    case LineKind::ServerName:
        if (!inHost) return false;
        inDomain = serverNameIs(p, domain);
        return true;
    case LineKind::Other:
        break;
    }
    return false;
}

const char* WordBlockScan::ifModuleInDomain(const char* p) {
    if (isComment(p)) return nullptr;
    const WordLine w(p);
    if (w.is("<VirtualHost")) {
        inHost = true;
    } else if (w.is("</VirtualHost>")) {
        inHost = inDomain = false;
    } else if (w.is("ServerName")) {
        if (inHost) inDomain = strcasecmp(w.rest, domain.c_str()) == 0;
    } else if (w.is("<IfModule") && inDomain) {
        return w.rest;
    }
    return nullptr;
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
    enum class State { Outside, InHost, InDomain } state = State::Outside;
    return rewriteLines(file, plan, {1, 1, 1}, [&](LineReader& line, ScratchRewrite& scratch, bool& added) {
        if (added && !everyBlock) {
            scratch.writeLine(line.view());
            return Next::Line;
        }
        const char* p = line.c_str();
        if (*p == '#') ++p;
        p = skipSpace(p);
        switch (lineKind(p, kAddForm)) {
        case LineKind::Opening:
            state = State::InHost;
            break;
        case LineKind::ServerName:
            if (state != State::Outside) state = serverNameIs(p, domain) ? State::InDomain : State::Outside;
            break;
        case LineKind::Closing:
            if (state == State::InDomain) {
                for (const std::string& text : lines) scratch.writeLine("\t" + text);
                added = true;
            }
            state = State::Outside;
            break;
        case LineKind::Other:
            break;
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

bool HeldOpening::copy(const LineReader& line, ScratchRewrite& scratch) {
    const char* p = skipSpace(line.c_str());
    bool matched = false;
    switch (lineKind(p, kPortForm)) {
    case LineKind::Opening:
        held_.assign(line.view());
        holding_ = true;
        return false;
    case LineKind::Closing:
        holding_ = false;
        break;
    case LineKind::ServerName:
        if (!holding_) break;
        holding_ = false;
        matched = serverNameIs(p, domain_);
        scratch.writeLine(matched ? opening_ : held_);
        break;
    case LineKind::Other:
        break;
    }
    scratch.writeLine(line.view());
    return matched;
}

}  // namespace qz
