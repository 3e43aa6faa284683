// CQZWebsite::GetWebsiteInfo: one website's settings, read from its block.
#include "CQZWebsite.h"

#include "QZCore.h"

#include <cstring>
#include <sys/stat.h>

namespace {

// "Name Value" after a keyword: the first word (a quoted first word runs to
// its closing quote and keeps its quotes), then the rest after white space
// with one pair of surrounding double quotes removed.
NameValueSt splitNameValue(const char* p) {
    p = qz::skipSpace(p);
    size_t n;
    if (*p == '"') {
        const char* close = strchr(p + 1, '"');
        n = close ? static_cast<size_t>(close - p) + 1 : strlen(p);
    } else {
        n = strcspn(p, " \t\r\n\v\f");
    }
    NameValueSt pair;
    pair.Name.assign(p, n);
    pair.Value = qz::skipSpace(p + n);
    const std::string& v = pair.Value;
    if (v.size() >= 2 && v.front() == '"' && v.back() == '"') pair.Value = v.substr(1, v.size() - 2);
    return pair;
}

// The words of the rest of a line, split at blanks.
void appendWords(const char* p, StringVector& words) {
    while (*p != '\0') {
        const size_t n = strcspn(p, " ");
        if (n > 0) words.emplace_back(p, n);
        p += n;
        if (*p == ' ') ++p;
    }
}

void clearPairs(UpdateVHost& info) {
    info.Alias.clear();
    info.ScriptAlias.clear();
    info.ProxyPass.clear();
    info.ProxyPassReverse.clear();
    info.Redirect.clear();
    info.ErrorDoc.clear();
}

// The value of a DocumentRoot line: between its first two double quotes, or,
// unquoted, from the thirteenth character of the raw line on (right only for
// an unindented line, as the panel has always read it).
std::string documentRoot(const char* raw) {
    if (const char* open = strchr(raw, '"')) {
        const char* close = strchr(open + 1, '"');
        return close ? std::string(open + 1, close) : std::string(open + 1);
    }
    return qz::afterName(raw, 12);
}

}  // namespace

char CQZWebsite::GetWebsiteInfo(UpdateVHost* ObjUVHost) {
    qz::sayLine("CQZWebsite::GetWebsiteInfo");
    // Without a record there is no domain to look up.
    if (ObjUVHost == nullptr) return 26;
    UpdateVHost& info = *ObjUVHost;
    const std::string domain = qz::str(info.pDomain);
    qz::trackMethod(TrackManager, "GetWebsiteInfo", {domain}, {"ObjUVHost->pDomain"});

    qz::LineReader in(HttpdConfFile, 3000);
    if (int failed = qz::configurationUnreadable(HttpdConfFile, in)) return failed;

    enum { Outside, UnnamedBlock, SiteBlock } state = Outside;
    bool proxyPassTaken = false;
    std::string docRoot;
    // A line too long for the buffer is read cut to it, and then ends the scan
    // as the end of the file would.
    while (in.nextUntilEof()) {
        const char* p = in.c_str();
        if (*p == '#') ++p;
        p = qz::skipSpace(p);

        if (qz::startsWithNoCase(p, "<VirtualHost")) {
            state = UnnamedBlock;
            continue;
        }
        if (state == Outside) continue;

        if (qz::startsWithNoCase(p, "ServerName")) {
            if (qz::serverNameIs(p, domain)) {
                state = SiteBlock;
            } else {
                state = Outside;
                clearPairs(info);
                proxyPassTaken = false;
            }
        } else if (qz::startsWithNoCase(p, "DocumentRoot")) {
            docRoot = documentRoot(in.c_str());
            info.DocRootPath.push_back(docRoot);
        } else if (qz::startsWithNoCase(p, "</VirtualHost>")) {
            if (state == SiteBlock) break;
            state = Outside;
            clearPairs(info);
            proxyPassTaken = false;
        } else if (state != SiteBlock) {
            continue;
        } else if (!proxyPassTaken && qz::startsWithNoCase(p, "ProxyPass")) {
            // Also takes a ProxyPassReverse line that comes first.
            info.ProxyPass.push_back(splitNameValue(qz::advance(p, 10)));
            proxyPassTaken = true;
        } else if (qz::startsWithNoCase(p, "ProxyPassReverse")) {
            info.ProxyPassReverse.push_back(splitNameValue(qz::advance(p, 17)));
        } else if (qz::startsWithNoCase(p, "Alias")) {
            info.Alias.push_back(splitNameValue(qz::advance(p, 6)));
        } else if (qz::startsWithNoCase(p, "ScriptAlias")) {
            NameValueSt pair = splitNameValue(qz::advance(p, 12));
            qz::sayLine("TNameValue.Value=" + pair.Value);
            const std::string::size_type at = pair.Value.find(domain);
            if (!pair.Value.empty() && pair.Value[0] == '/' && !domain.empty() && at != std::string::npos)
                pair.Value.erase(0, at + domain.size());
            info.ScriptAlias.push_back(pair);
        } else if (qz::startsWithNoCase(p, "Redirect")) {
            info.Redirect.push_back(splitNameValue(qz::advance(p, 9)));
        } else if (qz::startsWithNoCase(p, "ErrorDocument")) {
            info.ErrorDoc.push_back(splitNameValue(qz::advance(p, 14)));
        } else if (qz::startsWithNoCase(p, "ServerAlias")) {
            appendWords(qz::advance(p, 12), info.ServerAlias);
        } else if (qz::startsWithNoCase(p, "Include")) {
            appendWords(qz::advance(p, 8), info.Include);
        } else if (qz::startsWithNoCase(p, "DirectoryIndex")) {
            appendWords(qz::advance(p, 15), info.DirIndex);
        }
    }
    in.close();

    if (state != SiteBlock) {
        info.pDomain = nullptr;
        return 26;
    }
    struct stat st;
    if (stat(docRoot.c_str(), &st) != 0) return 27;
    info.AccessMode = st.st_mode;
    return 25;
}
