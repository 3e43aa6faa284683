// Reading a website's settings from its block, and the site-block rewrite.
#include "website/WebsiteInfoScan.h"

#include <cstring>

namespace qz {

const char* const kMaintenanceBegin = "# qzapache maintenance: begin";
const char* const kMaintenanceEnd = "# qzapache maintenance: end";

namespace {

// The entry keywords in the order the reader tests them, each with how far
// its text starts from the keyword (the keyword and one separator).
struct EntryKeyword {
    const char* keyword;
    size_t skip;
    InfoKind kind;
};
const EntryKeyword kEntries[] = {
    {"ProxyPassReverse", 17, InfoKind::ProxyPassReverse}, {"Alias", 6, InfoKind::Alias},
    {"ScriptAlias", 12, InfoKind::ScriptAlias},           {"Redirect", 9, InfoKind::Redirect},
    {"ErrorDocument", 14, InfoKind::ErrorDoc},             {"ServerAlias", 12, InfoKind::ServerAlias},
    {"Include", 8, InfoKind::Include},                     {"DirectoryIndex", 15, InfoKind::DirIndex},
};

void clearPairs(UpdateVHost& info) {
    info.Alias.clear();
    info.ScriptAlias.clear();
    info.ProxyPass.clear();
    info.ProxyPassReverse.clear();
    info.Redirect.clear();
    info.ErrorDoc.clear();
}

}  // namespace

InfoLine readInfoLine(const char* raw, InfoScan& scan) {
    const bool inBlock = scan.block.inBlock();
    const BlockLine kind = scan.block.examine(raw);
    const char* p = scan.block.text();
    InfoLine line;
    if (kind == BlockLine::Opening) {
        scan.maintenance = false;
        line.kind = InfoKind::Open;
        return line;
    }
    if (!inBlock) return line;
    if (kind == BlockLine::SiteName) {
        line.kind = InfoKind::NameSite;
    } else if (kind == BlockLine::Name) {
        scan.proxyPassTaken = false;
        line.kind = InfoKind::NameOther;
    } else if (startsWithNoCase(p, "DocumentRoot")) {
        line.kind = InfoKind::DocRoot;
    } else if (kind == BlockLine::SiteClosing || kind == BlockLine::Closing) {
        line.kind = kind == BlockLine::SiteClosing ? InfoKind::CloseSite : InfoKind::CloseOther;
        scan.proxyPassTaken = false;
        scan.maintenance = false;
    } else if (strcmp(p, kMaintenanceBegin) == 0) {
        scan.maintenance = true;
    } else if (strcmp(p, kMaintenanceEnd) == 0) {
        scan.maintenance = false;
    } else if (scan.block.inSite() && !scan.maintenance) {
        if (!scan.proxyPassTaken && startsWithNoCase(p, "ProxyPass")) {
            scan.proxyPassTaken = true;
            line.kind = InfoKind::ProxyPass;
            line.body = static_cast<size_t>(advance(p, 10) - raw);
            return line;
        }
        for (const EntryKeyword& e : kEntries) {
            if (!startsWithNoCase(p, e.keyword)) continue;
            line.kind = e.kind;
            line.body = static_cast<size_t>(advance(p, e.skip) - raw);
            break;
        }
    }
    return line;
}

bool isPairKind(InfoKind kind) {
    return kind >= InfoKind::ProxyPass && kind <= InfoKind::ErrorDoc;
}

NameValueVector& pairsOf(UpdateVHost& v, InfoKind kind) {
    switch (kind) {
        case InfoKind::ProxyPass: return v.ProxyPass;
        case InfoKind::ProxyPassReverse: return v.ProxyPassReverse;
        case InfoKind::Alias: return v.Alias;
        case InfoKind::ScriptAlias: return v.ScriptAlias;
        case InfoKind::Redirect: return v.Redirect;
        default: return v.ErrorDoc;
    }
}

StringVector& wordsOf(UpdateVHost& v, InfoKind kind) {
    switch (kind) {
        case InfoKind::ServerAlias: return v.ServerAlias;
        case InfoKind::Include: return v.Include;
        default: return v.DirIndex;
    }
}

const char* directiveOf(InfoKind kind) {
    switch (kind) {
        case InfoKind::ProxyPass: return "ProxyPass";
        case InfoKind::ProxyPassReverse: return "ProxyPassReverse";
        case InfoKind::Alias: return "Alias";
        case InfoKind::ScriptAlias: return "ScriptAlias";
        case InfoKind::Redirect: return "Redirect";
        case InfoKind::ErrorDoc: return "ErrorDocument";
        case InfoKind::ServerAlias: return "ServerAlias";
        case InfoKind::Include: return "Include";
        case InfoKind::DirIndex: return "DirectoryIndex";
        default: return "DocumentRoot";
    }
}

NameValueSt splitNameValue(const char* p) {
    p = skipSpace(p);
    size_t n;
    if (*p == '"') {
        const char* close = strchr(p + 1, '"');
        n = close ? static_cast<size_t>(close - p) + 1 : strlen(p);
    } else {
        n = strcspn(p, " \t\r\n\v\f");
    }
    NameValueSt pair;
    pair.Name.assign(p, n);
    pair.Value = skipSpace(p + n);
    const std::string& v = pair.Value;
    if (v.size() >= 2 && v.front() == '"' && v.back() == '"') pair.Value = v.substr(1, v.size() - 2);
    return pair;
}

static NameValueSt entryPair(const char* raw, InfoLine line, const std::string& domain, bool say) {
    NameValueSt pair = splitNameValue(raw + line.body);
    if (line.kind != InfoKind::ScriptAlias) return pair;
    if (say) sayLine("TNameValue.Value=" + pair.Value);
    const std::string::size_type at = pair.Value.find(domain);
    if (!pair.Value.empty() && pair.Value[0] == '/' && !domain.empty() && at != std::string::npos)
        pair.Value.erase(0, at + domain.size());
    return pair;
}

NameValueSt entryPair(const char* raw, InfoLine line, const std::string& domain) {
    return entryPair(raw, line, domain, false);
}

void appendWords(const char* p, StringVector& words) {
    while (*p != '\0') {
        const size_t n = strcspn(p, " ");
        if (n > 0) words.emplace_back(p, n);
        p += n;
        if (*p == ' ') ++p;
    }
}

std::string documentRoot(const char* raw) {
    if (const char* open = strchr(raw, '"')) {
        const char* close = strchr(open + 1, '"');
        return close ? std::string(open + 1, close) : std::string(open + 1);
    }
    return afterName(raw, 12);
}

bool readWebsiteInfo(LineReader& in, const std::string& domain, UpdateVHost& info, std::string& docRoot, bool say) {
    InfoScan scan(domain);
    // A line too long for the buffer is read cut to it, and then ends the scan
    // as the end of the file would.
    while (in.nextUntilEof()) {
        const char* raw = in.c_str();
        const InfoLine line = readInfoLine(raw, scan);
        switch (line.kind) {
            case InfoKind::Other:
            case InfoKind::Open:
            case InfoKind::NameSite: break;
            case InfoKind::NameOther:
            case InfoKind::CloseOther: clearPairs(info); break;
            case InfoKind::CloseSite: return true;
            case InfoKind::DocRoot:
                docRoot = documentRoot(raw);
                info.DocRootPath.push_back(docRoot);
                break;
            default:
                if (isPairKind(line.kind))
                    pairsOf(info, line.kind).push_back(entryPair(raw, line, domain, say));
                else
                    appendWords(raw + line.body, wordsOf(info, line.kind));
        }
    }
    return scan.block.inSite();
}

namespace {

// Writes one line of the copy; the file's last line keeps its missing end
// of line.
void put(OutFile& out, std::string_view text, bool last) {
    if (last) out.write(text);
    else out.writeLine(text);
}

}  // namespace

SiteRewrite rewriteSiteBlocks(const std::string& conf, const std::string& scratch, const std::string& domain,
                              const std::function<void(SiteBlock&)>& edit,
                              const std::function<bool(bool found)>& decide,
                              const std::function<void(const std::vector<std::string>&)>& other,
                              const std::string& preamble) {
    constexpr FilePlan plan{nullptr, nullptr, kNoLineLimit, LoopEnd::StreamFailure, EmptyLines::Handed};
    bool found = false;
    OutFile* out = nullptr;
    bool changed = false;
    std::vector<std::string> held;
    bool heldUnterminated = false;  // the last held line ends the file without an end of line

    const auto flush = [&]() {
        SiteBlock block;
        block.info.reserve(held.size());
        InfoScan scan(domain);
        bool named = false, site = false;
        size_t nameLine = 0;
        for (size_t i = 0; i < held.size(); ++i) {
            const InfoLine line = readInfoLine(held[i].c_str(), scan);
            block.info.push_back(line);
            if (!named && (line.kind == InfoKind::NameSite || line.kind == InfoKind::NameOther)) {
                named = true;
                site = line.kind == InfoKind::NameSite;
                nameLine = i;
            }
        }
        if (!site) {
            if (other) other(held);
            for (size_t i = 0; i < held.size(); ++i) put(*out, held[i], heldUnterminated && i + 1 == held.size());
            held.clear();
            return;
        }
        block.lines.swap(held);
        const size_t n = block.lines.size();
        block.close = n;
        block.maintenance = n;
        for (size_t i = 0; i < n; ++i) {
            const InfoKind kind = block.info[i].kind;
            if (kind == InfoKind::CloseSite || kind == InfoKind::CloseOther) block.close = i;
            const char* p = block.lines[i].c_str();
            if (*p == '#') ++p;
            if (block.maintenance == n && strcmp(skipSpace(p), kMaintenanceBegin) == 0) block.maintenance = i;
        }
        if (block.maintenance > block.close) block.maintenance = block.close;
        const std::string& name = block.lines[nameLine];
        const size_t hash = name[0] == '#' ? 1 : 0;
        block.indent = name.substr(0, static_cast<size_t>(skipSpace(name.c_str() + hash) - name.c_str()));
        block.first = !found;
        block.before.resize(n + 1);
        block.dropped.assign(n, false);
        found = true;
        edit(block);
        changed = changed || block.changed;
        // The block's text, the last line of the file keeping its missing end of line.
        std::vector<std::string_view> text;
        for (size_t i = 0; i <= n; ++i) {
            for (const std::string& added : block.before[i]) text.emplace_back(added);
            if (i < n && !block.dropped[i]) text.emplace_back(block.lines[i]);
        }
        for (size_t i = 0; i < text.size(); ++i) put(*out, text[i], heldUnterminated && i + 1 == text.size());
        held.clear();
    };

    bool preambleDone = false;
    BlockScan blocks(forms::kWebsiteBlocks);
    const Rewritten end = rewriteFile(
        conf, scratch, plan,
        [&](LineReader& in, Rewrite& copy, bool&) {
            out = &copy.out();
            const bool unterminated = in.eof();
            const bool open = blocks.inBlock();
            const BlockLine kind = blocks.examine(in.c_str());
            if (kind == BlockLine::Opening) {
                if (open) flush();
                if (!preambleDone) out->write(preamble);
                preambleDone = true;
            }
            if (open || kind == BlockLine::Opening) {
                held.emplace_back(in.rawView());
                heldUnterminated = unterminated;
                if (kind == BlockLine::Closing) flush();
            } else {
                put(*out, in.rawView(), unterminated);
            }
            return Next::Line;
        },
        NothingOnOpen(),
        [&](Rewrite& copy, bool& replace) {
            out = &copy.out();
            if (blocks.inBlock()) flush();
            replace = changed || (preambleDone && !preamble.empty());
            return decide(found);
        });
    return {end, found};
}

int siteRewriteFailure(Rewritten end, const char* message) {
    switch (end) {
    case Rewritten::FileNotOpened:
    case Rewritten::TooLong:
        if (message != nullptr) sayLine(message);
        return qz::result::ConfigNotOpened;
    case Rewritten::ScratchNotOpened:
    case Rewritten::NotWritten: return qz::result::ScratchNotWritten;
    case Rewritten::Replaced:
    case Rewritten::Unchanged:
    case Rewritten::Withheld: break;
    }
    return 0;
}

bool dropMaintenanceLines(SiteBlock& block) {
    bool dropped = false;
    for (size_t i = block.maintenance; i < block.close; ++i) {
        const char* p = block.lines[i].c_str();
        if (*p == '#') ++p;
        if (strcmp(skipSpace(p), kMaintenanceBegin) != 0) continue;
        size_t end = i + 1;
        while (end < block.close && strcmp(skipSpace(block.lines[end].c_str() + (block.lines[end][0] == '#')),
                                           kMaintenanceEnd) != 0)
            ++end;
        // Only a whole set of lines, with its closing comment, is taken out.
        if (end == block.close) break;
        for (size_t j = i; j <= end; ++j) block.drop(j);
        dropped = true;
        i = end;
    }
    return dropped;
}

bool safeConfigText(const std::string& text, bool allowEmpty) {
    if (text.empty()) return allowEmpty;
    for (const char c : text) {
        const unsigned char u = static_cast<unsigned char>(c);
        if (u < 0x20 || u == 0x7f || c == '"') return false;
    }
    return text.back() != '\\';
}

}  // namespace qz
