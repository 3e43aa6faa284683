// How a website's settings are read from its <VirtualHost> block, line by
// line: shared by the operation that reads them and the ones that write them
// back, so that both see exactly the same entries. Also the site-block
// rewrite those writers share. Internal.
#ifndef QZ_WEBSITE_INFO_SCAN_H
#define QZ_WEBSITE_INFO_SCAN_H

#include "core/BlockScan.h"
#include "core/QZCore.h"
#include "core/RewritePlan.h"
#include "QZTypes.h"

#include <functional>
#include <string>
#include <vector>

namespace qz {

// What a line is to the reader of a website's settings.
enum class InfoKind {
    Other, Open, NameSite, NameOther, DocRoot, CloseSite, CloseOther,
    // Entries, read only inside the site's block after its name:
    ProxyPass, ProxyPassReverse, Alias, ScriptAlias, Redirect, ErrorDoc, ServerAlias, Include, DirIndex,
};

// The reader's position in the blocks (form kWebsiteInfo: outside any
// block, in a block not yet named, or in the site's block); whether the one
// ProxyPass has been taken; whether the line is inside the maintenance lines
// the library writes (never entries).
struct InfoScan {
    explicit InfoScan(const std::string& domain) : block(domain, forms::kWebsiteInfo) {}
    BlockScan block;
    bool proxyPassTaken = false;
    bool maintenance = false;
};

struct InfoLine {
    InfoKind kind = InfoKind::Other;
    size_t body = 0;  // where the entry's text starts in the raw line
};

// Classifies one raw line and moves `scan` on. A "#" in the first column is
// stepped over once (a stopped site reads like a running one); keywords are
// prefixes compared without case, in the reader's order (the first ProxyPass
// line also takes a ProxyPassReverse that comes first).
InfoLine readInfoLine(const char* raw, InfoScan& scan);

bool isPairKind(InfoKind kind);
// The record's list for a kind.
NameValueVector& pairsOf(UpdateVHost& v, InfoKind kind);
StringVector& wordsOf(UpdateVHost& v, InfoKind kind);
// The directive written for a kind ("Alias", "ErrorDocument", ...).
const char* directiveOf(InfoKind kind);

// "Name Value": the first word (a quoted one runs to its closing quote and
// keeps its quotes), then the rest after white space with one pair of
// surrounding double quotes removed.
NameValueSt splitNameValue(const char* p);
// The pair of an entry line; a ScriptAlias target starting with "/" keeps
// only what follows the first occurrence of the domain.
NameValueSt entryPair(const char* raw, InfoLine line, const std::string& domain);
// The words of the rest of a line, split at single blanks.
void appendWords(const char* p, StringVector& words);
// The value of a DocumentRoot line: between its first two double quotes,
// or, unquoted, from the thirteenth character of the raw line on.
std::string documentRoot(const char* raw);

// Reads the site's settings into `info` as CQZWebsite::GetWebsiteInfo does
// (printing its "TNameValue.Value=" lines only when `say` is set). True when
// the site's block was found; `docRoot` is then its last DocumentRoot.
bool readWebsiteInfo(LineReader& in, const std::string& domain, UpdateVHost& info, std::string& docRoot, bool say);

// The lines the library writes at the end of a block while a site is under
// maintenance lie between these two comment lines.
extern const char* const kMaintenanceBegin;
extern const char* const kMaintenanceEnd;

// One held <VirtualHost> block of the site, open for editing.
struct SiteBlock {
    std::vector<std::string> lines;   // without their end of line
    std::vector<InfoLine> info;       // each line as the reader sees it
    size_t close = 0;                 // the closing line, or lines.size() when unclosed
    size_t maintenance = 0;           // the first maintenance line, or `close`
    std::string indent;               // "#" when the block is commented out, then the
                                      // white space before its ServerName
    bool first = false;               // the block the reader reads
    // Lines to write before line i (i == lines.size() at the end), and lines dropped.
    std::vector<std::vector<std::string>> before;
    std::vector<bool> dropped;
    bool changed = false;

    void insertBefore(size_t i, const std::string& directive) {
        before[i].push_back(indent + directive);
        changed = true;
    }
    void drop(size_t i) {
        dropped[i] = true;
        changed = true;
    }
    void replace(size_t i, const std::string& text) {
        lines[i] = text;
        changed = true;
    }
};

// Copies the configuration `conf` to `scratch` line for line, byte for byte
// (a last line without an end of line stays so), handing each block that the
// site names (its first ServerName, compared as the reader does) to `edit`
// before writing it. Blocks of other sites go to `other`, when given;
// `preamble` (whole lines) goes before the file's first block. `found` tells
// whether the site has a block. Once the whole file is read, decide() says
// whether the copy may replace the configuration (Rewritten::Withheld when
// not); it does when a block changed or the preamble went in.
struct SiteRewrite {
    Rewritten end;
    bool found;
};
SiteRewrite rewriteSiteBlocks(const std::string& conf, const std::string& scratch, const std::string& domain,
                              const std::function<void(SiteBlock&)>& edit,
                              const std::function<bool(bool found)>& decide,
                              const std::function<void(const std::vector<std::string>&)>& other = nullptr,
                              const std::string& preamble = std::string());

// The answer to a site rewrite that did not happen: 22 (after `message`,
// unless null) when the configuration did not open, 23 when the scratch file
// could not be opened or written whole; else 0.
int siteRewriteFailure(Rewritten end, const char* message);

// Drops the maintenance lines of a block (from the opening comment through
// the closing one; a set without its closing comment stays); true when there
// were some.
bool dropMaintenanceLines(SiteBlock& block);

// A typed value that may go into a configuration line: no control character
// (it would end the line or add one), no double quote, no backslash at its
// end (it would join the next line). Empty passes only when allowEmpty.
bool safeConfigText(const std::string& text, bool allowEmpty = false);

}  // namespace qz

#endif
