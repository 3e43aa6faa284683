// CQZWebsite::UpdateWebsite: writes a website's edited settings back into its
// block(s).
//
// The record is read as GetWebsiteInfo reads it (the base); each list is
// compared with the base (longest common subsequence), and only the
// difference is applied to every block of the site, each block re-read the
// same way: entries dropped from a list lose their line (or word), added ones
// go next to their kind, and everything else stays byte for byte. A record
// equal to the base therefore writes nothing at all. The site's other blocks
// (its 443 block, say) get the same additions and removals, an addition being
// skipped where that block already has the entry.
#include "CQZWebsite.h"

#include "core/QZCore.h"
#include "core/QZLock.h"
#include "core/SafePath.h"
#include "core/Validate.h"
#include "website/WebsiteInfoScan.h"
#include "core/Messages.h"

#include <fcntl.h>
#include <map>
#include <set>
#include <sys/stat.h>

namespace {

using qz::InfoKind;

const InfoKind kPairKinds[] = {InfoKind::ProxyPass, InfoKind::ProxyPassReverse, InfoKind::Alias,
                               InfoKind::ScriptAlias, InfoKind::Redirect, InfoKind::ErrorDoc};
const InfoKind kWordKinds[] = {InfoKind::ServerAlias, InfoKind::Include, InfoKind::DirIndex};

std::string keyOf(const NameValueSt& pair) { return pair.Name + '\n' + pair.Value; }

// What one list asks of the blocks: the wanted entries in order, for each
// the occurrence of its entry in the base it is kept from (-1: added), and
// the occurrences of each entry that go. Entries are told apart by their
// occurrence (the second "Alias /a /b" of the list), so that of two equal
// lines the one the list dropped is the one removed.
struct Plan {
    InfoKind kind;
    std::vector<std::string> keys;  // wanted, in order
    std::vector<std::string> text;  // the line (pairs) to write for each added one
    std::vector<int> keptAt;
    std::map<std::string, std::set<int>> removed;
    bool same = true;
};

// Matches the longest common subsequence of base and wanted: from[j] is the
// base entry wanted entry j is kept from, or -1. Common ends are matched
// first, so the usual small edit costs little; a very large middle is
// compared only when it fits a bounded table.
std::vector<long> matchLists(const std::vector<std::string>& base, const std::vector<std::string>& wanted) {
    const size_t n = base.size(), m = wanted.size();
    std::vector<long> from(m, -1);
    size_t pre = 0;
    while (pre < n && pre < m && base[pre] == wanted[pre]) from[pre] = static_cast<long>(pre), ++pre;
    size_t suf = 0;
    while (suf < n - pre && suf < m - pre && base[n - 1 - suf] == wanted[m - 1 - suf])
        from[m - 1 - suf] = static_cast<long>(n - 1 - suf), ++suf;
    const size_t bn = n - pre - suf, wm = m - pre - suf;
    if (bn == 0 || wm == 0 || bn * wm > 4000000) return from;
    std::vector<uint32_t> table((bn + 1) * (wm + 1), 0);
    const auto at = [&](size_t i, size_t j) -> uint32_t& { return table[i * (wm + 1) + j]; };
    for (size_t i = bn; i-- > 0;)
        for (size_t j = wm; j-- > 0;)
            at(i, j) = base[pre + i] == wanted[pre + j] ? at(i + 1, j + 1) + 1 : std::max(at(i + 1, j), at(i, j + 1));
    for (size_t i = 0, j = 0; i < bn && j < wm;) {
        if (base[pre + i] == wanted[pre + j]) {
            from[pre + j] = static_cast<long>(pre + i);
            ++i, ++j;
        } else if (at(i + 1, j) >= at(i, j + 1)) {
            ++i;
        } else {
            ++j;
        }
    }
    return from;
}

// Which occurrence of its entry each entry of a list is.
std::vector<int> occurrences(const std::vector<std::string>& list) {
    std::map<std::string, int> seen;
    std::vector<int> occurrence;
    for (const std::string& key : list) occurrence.push_back(seen[key]++);
    return occurrence;
}

void planFor(Plan& plan, const std::vector<std::string>& base) {
    const std::vector<long> from = matchLists(base, plan.keys);
    const std::vector<int> occurrence = occurrences(base);
    std::vector<bool> baseKept(base.size(), false);
    for (const long i : from) {
        plan.keptAt.push_back(i < 0 ? -1 : occurrence[static_cast<size_t>(i)]);
        if (i >= 0) baseKept[static_cast<size_t>(i)] = true;
    }
    for (size_t i = 0; i < base.size(); ++i)
        if (!baseKept[i]) plan.removed[base[i]].insert(occurrence[i]);
    plan.same = plan.removed.empty() && base.size() == plan.keys.size();
}

bool removes(const Plan& plan, const std::string& key, int occurrence) {
    const auto it = plan.removed.find(key);
    return it != plan.removed.end() && it->second.count(occurrence) != 0;
}

// ---- What a typed value may be ------------------------------------------

bool isWord(const std::string& text) { return qz::safeConfigText(text) && text.find(' ') == std::string::npos; }

// A first argument: one word, or one text in a pair of double quotes.
bool isFirstArgument(const std::string& text) {
    if (text.size() >= 2 && text.front() == '"' && text.back() == '"')
        return qz::safeConfigText(text.substr(1, text.size() - 2));
    return isWord(text);
}

// How many words the text holds, separated by single blanks; 0 when it is
// not such a text.
size_t wordCount(const std::string& text) {
    if (!qz::safeConfigText(text) || text.front() == ' ' || text.back() == ' ') return 0;
    size_t words = 1;
    for (size_t i = 1; i < text.size(); ++i) {
        if (text[i] != ' ') continue;
        if (text[i - 1] == ' ') return 0;
        ++words;
    }
    return words;
}

bool isStatus(const std::string& text, int low, int high) {
    if (text.size() != 3 || !isdigit(static_cast<unsigned char>(text[0])) ||
        !isdigit(static_cast<unsigned char>(text[1])) || !isdigit(static_cast<unsigned char>(text[2])))
        return false;
    const int code = std::stoi(text);
    return code >= low && code <= high;
}

bool isUrl(const std::string& text) { return text.rfind("http://", 0) == 0 || text.rfind("https://", 0) == 0; }

// A Redirect target: a URL, or a path on the same server.
bool isTarget(const std::string& text) {
    const std::string::size_type scheme = text.find("://");
    return (!text.empty() && text[0] == '/') || (scheme != std::string::npos && scheme > 0);
}

// Redirect [status] URL-path URL: the statuses Apache takes with a target,
// and the ones (gone, 4xx, 5xx) that take the path alone.
bool isRedirect(const NameValueSt& pair) {
    const std::string& status = pair.Name;
    const std::string& value = pair.Value;
    if (!status.empty() && (status[0] == '/' || status.rfind("\"/", 0) == 0))
        return wordCount(value) == 1 && isTarget(value);
    if (strcasecmp(status.c_str(), "permanent") == 0 || strcasecmp(status.c_str(), "temp") == 0 ||
        strcasecmp(status.c_str(), "seeother") == 0 || isStatus(status, 300, 399))
        return wordCount(value) == 2 && value[0] == '/' && isTarget(value.substr(value.find(' ') + 1));
    if (strcasecmp(status.c_str(), "gone") == 0 || isStatus(status, 400, 599))
        return wordCount(value) == 1 && value[0] == '/';
    return false;
}

// An error document: a local path or a URL (one word each), or a text.
bool isErrorDocument(const std::string& value) {
    if (!qz::safeConfigText(value)) return false;
    return (value[0] != '/' && !isUrl(value)) || value.find(' ') == std::string::npos;
}

bool acceptable(InfoKind kind, const NameValueSt& pair) {
    if (!isFirstArgument(pair.Name)) return false;
    switch (kind) {
        case InfoKind::Redirect: return isRedirect(pair);
        case InfoKind::ErrorDoc: return isStatus(pair.Name, 400, 599) && isErrorDocument(pair.Value);
        case InfoKind::Alias:
        case InfoKind::ScriptAlias:
            return qz::safeConfigText(pair.Value) && pair.Value.front() != ' ' && pair.Value.back() != ' ';
        default: return wordCount(pair.Value) != 0;  // a URL and its key=value settings
    }
}

// The directive line of an added pair; reading it back yields the pair.
std::string pairLine(InfoKind kind, const NameValueSt& pair) {
    std::string value = pair.Value;
    const bool quote = (kind == InfoKind::Alias || kind == InfoKind::ScriptAlias)
                           ? value.find(' ') != std::string::npos
                           : kind == InfoKind::ErrorDoc && value[0] != '/' && !isUrl(value);
    if (quote) value = '"' + value + '"';
    return std::string(qz::directiveOf(kind)) + " " + pair.Name + " " + value;
}

bool acceptablePath(const std::string& path) {
    return qz::safeConfigText(path) && path[0] == '/' && !qz::hasDotDot(path);
}

// ---- Applying a plan to one block -----------------------------------------

// Where an added entry of a kind with no line in the block goes: a
// ProxyPassReverse after the ProxyPass, anything else at the end of the
// block, ahead of the maintenance lines.
size_t defaultPlace(const qz::SiteBlock& block, InfoKind kind) {
    if (kind == InfoKind::ProxyPassReverse)
        for (size_t i = 0; i < block.close; ++i)
            if (block.info[i].kind == InfoKind::ProxyPass) return i + 1;
    return block.maintenance;
}

void applyPairs(qz::SiteBlock& block, const Plan& plan, const std::string& domain) {
    std::vector<size_t> lines;
    std::vector<std::string> keys;
    for (size_t i = 0; i < block.lines.size(); ++i) {
        if (block.info[i].kind != plan.kind) continue;
        lines.push_back(i);
        keys.push_back(keyOf(qz::entryPair(block.lines[i].c_str(), block.info[i], domain)));
    }
    const std::vector<int> occurrence = occurrences(keys);
    std::vector<bool> gone(lines.size(), false);
    for (size_t k = 0; k < lines.size(); ++k) {
        if (!removes(plan, keys[k], occurrence[k])) continue;
        gone[k] = true;
        block.drop(lines[k]);
    }
    const auto present = [&](const std::string& key) {
        for (size_t k = 0; k < keys.size(); ++k)
            if (!gone[k] && keys[k] == key) return true;
        return false;
    };
    // Additions go after the kept entry before them; in a block that lacks
    // it, after the kind's last line; with none before them, before its first.
    size_t place = 0;
    bool placed = false, afterKept = false;
    for (size_t w = 0; w < plan.keys.size(); ++w) {
        if (plan.keptAt[w] >= 0) {
            afterKept = true;
            for (size_t k = 0; k < lines.size(); ++k)
                if (keys[k] == plan.keys[w] && occurrence[k] == plan.keptAt[w]) place = lines[k] + 1, placed = true;
            continue;
        }
        if (!block.first && present(plan.keys[w])) continue;
        if (!placed) {
            place = lines.empty() ? defaultPlace(block, plan.kind) : afterKept ? lines.back() + 1 : lines[0];
            placed = true;
        }
        block.insertBefore(place, plan.text[w]);
    }
}

void applyWords(qz::SiteBlock& block, const Plan& plan) {
    struct WordLine {
        size_t line;
        StringVector words;
        std::vector<bool> gone;
        std::vector<int> occurrence;
        std::vector<StringVector> after;  // words added after each word; [words.size()] = at the front
    };
    std::vector<WordLine> lines;
    for (size_t i = 0; i < block.lines.size(); ++i) {
        if (block.info[i].kind != plan.kind) continue;
        WordLine line{i, {}, {}, {}, {}};
        qz::appendWords(block.lines[i].c_str() + block.info[i].body, line.words);
        line.gone.assign(line.words.size(), false);
        line.after.resize(line.words.size() + 1);
        lines.push_back(std::move(line));
    }
    std::map<std::string, int> seen;
    for (WordLine& line : lines)
        for (size_t k = 0; k < line.words.size(); ++k) {
            line.occurrence.push_back(seen[line.words[k]]++);
            if (!removes(plan, line.words[k], line.occurrence[k])) continue;
            line.gone[k] = true;
            block.changed = true;
        }
    const auto present = [&](const std::string& word) {
        for (const WordLine& line : lines)
            for (size_t k = 0; k < line.words.size(); ++k)
                if (!line.gone[k] && line.words[k] == word) return true;
        return false;
    };
    // One Include names one file: each added one is a line of its own, after
    // the line of the word before it (so after the other words of a line
    // that reads as several, such as "IncludeOptional x").
    const bool ownLines = plan.kind == InfoKind::Include;
    const std::string directive = qz::directiveOf(plan.kind);
    size_t atLine = 0, atWord = 0;
    bool placed = false;
    StringVector fresh;  // words for a new line, when the block has none of the kind
    for (size_t w = 0; w < plan.keys.size(); ++w) {
        const std::string& word = plan.keys[w];
        if (plan.keptAt[w] >= 0) {
            for (size_t l = 0; l < lines.size(); ++l)
                for (size_t k = 0; k < lines[l].words.size(); ++k)
                    if (lines[l].words[k] == word && lines[l].occurrence[k] == plan.keptAt[w])
                        atLine = l, atWord = k, placed = true;
            continue;
        }
        if (!block.first && present(word)) continue;
        if (lines.empty()) {
            fresh.push_back(word);
        } else if (ownLines) {
            const size_t line = placed ? lines[atLine].line + 1 : lines[0].line;
            block.insertBefore(line, directive + " " + word);
        } else {
            WordLine& line = lines[placed ? atLine : 0];
            line.after[placed ? atWord : line.words.size()].push_back(word);
            block.changed = true;
        }
    }
    if (!fresh.empty()) {
        const size_t place = defaultPlace(block, plan.kind);
        if (ownLines) {
            for (const std::string& word : fresh) block.insertBefore(place, directive + " " + word);
        } else {
            std::string text = directive;
            for (const std::string& word : fresh) text += " " + word;
            block.insertBefore(place, text);
        }
    }
    for (WordLine& line : lines) {
        bool edited = !line.after[line.words.size()].empty();
        StringVector words = line.after[line.words.size()];
        for (size_t k = 0; k < line.words.size(); ++k) {
            if (!line.gone[k]) words.push_back(line.words[k]);
            else edited = true;
            edited = edited || !line.after[k].empty();
            words.insert(words.end(), line.after[k].begin(), line.after[k].end());
        }
        if (!edited) continue;
        if (words.empty()) {
            block.drop(line.line);
            continue;
        }
        const std::string& raw = block.lines[line.line];
        std::string text = raw.substr(0, block.info[line.line].body);
        if (block.info[line.line].body >= raw.size()) text += ' ';  // the keyword alone on its line
        for (size_t k = 0; k < words.size(); ++k) text += (k ? " " : "") + words[k];
        block.replace(line.line, text);
    }
}

// Host names another site answers to (its ServerName and ServerAlias
// words), gathered from a block of another site.
void gatherNames(const std::vector<std::string>& lines, StringVector& names) {
    for (const std::string& line : lines) {
        const char* p = line.c_str();
        if (*p == '#') ++p;
        p = qz::skipSpace(p);
        if (qz::startsWithNoCase(p, "ServerName")) names.emplace_back(qz::afterName(p, 11));
        else if (qz::startsWithNoCase(p, "ServerAlias")) qz::appendWords(qz::advance(p, 12), names);
    }
}

// Sets the permission bits of the folder, reached through no link that a
// customer could have planted in any component, and not a file with a second
// name elsewhere (the mode is set on the very folder checked).
void applyMode(const std::string& folder, mode_t mode) {
    qz::Fd entry;
    if (!qz::openEntry(folder, entry) || chmod(qz::descriptorPath(entry).c_str(), mode & 07777) != 0)
        qz::sayLine(qz::msg::kModeNotSet + folder);
}

}  // namespace

char CQZWebsite::UpdateWebsite(UpdateVHost* ObjUVHost) {
    if (ObjUVHost == nullptr || ObjUVHost->pDomain == nullptr) return qz::result::website::NotFound;
    UpdateVHost& wanted = *ObjUVHost;
    const std::string domain = wanted.pDomain;
    const qz::OperationLock lock;
    qz::trackMethod(TrackManager, "UpdateWebsite", {domain}, {"ObjUVHost->pDomain"});

    // The base: the site's settings as they stand, read as GetWebsiteInfo reads them.
    UpdateVHost base = {};
    std::string docRoot;
    {
        qz::LineReader in(HttpdConfFile, qz::kConfigLineLimit);
        if (int failed = qz::configurationUnreadable(HttpdConfFile, in)) return failed;
        const bool found = qz::readWebsiteInfo(in, domain, base, docRoot, false);
        // A line too long to read would hide the rest of the block.
        if (in.tooLong()) return qz::result::ConfigNotOpened;
        if (!found) return qz::result::website::NotFound;
    }

    // What each list asks, every added entry checked before anything is written.
    std::vector<Plan> plans;
    for (InfoKind kind : kPairKinds) {
        Plan plan{kind, {}, {}, {}, {}, true};
        std::vector<std::string> baseKeys;
        for (const NameValueSt& pair : qz::pairsOf(base, kind)) baseKeys.push_back(keyOf(pair));
        for (const NameValueSt& pair : qz::pairsOf(wanted, kind)) plan.keys.push_back(keyOf(pair));
        planFor(plan, baseKeys);
        const NameValueVector& pairs = qz::pairsOf(wanted, kind);
        for (size_t w = 0; w < pairs.size(); ++w) {
            const bool added = plan.keptAt[w] < 0;
            if (added && !acceptable(kind, pairs[w])) return qz::result::website::ValueRefused;
            plan.text.push_back(added ? pairLine(kind, pairs[w]) : std::string());
        }
        if (!plan.same) plans.push_back(std::move(plan));
    }
    StringVector addedAliases;
    for (InfoKind kind : kWordKinds) {
        Plan plan{kind, qz::wordsOf(wanted, kind), {}, {}, {}, true};
        planFor(plan, qz::wordsOf(base, kind));
        for (size_t w = 0; w < plan.keys.size(); ++w) {
            if (plan.keptAt[w] >= 0) continue;
            if (!isWord(plan.keys[w])) return qz::result::website::ValueRefused;
            if (kind == InfoKind::ServerAlias) addedAliases.push_back(plan.keys[w]);
        }
        if (!plan.same) plans.push_back(std::move(plan));
    }
    // Document roots, paired with the base's in order.
    std::map<std::string, std::string> newRoots;
    std::map<std::string, bool> rootMoved;
    if (wanted.DocRootPath.size() != base.DocRootPath.size()) return qz::result::website::ValueRefused;
    for (size_t i = 0; i < base.DocRootPath.size(); ++i) {
        const std::string &from = base.DocRootPath[i], &to = wanted.DocRootPath[i];
        if (from == to) continue;
        if (!acceptablePath(to)) return qz::result::website::ValueRefused;
        auto [it, inserted] = newRoots.emplace(from, to);
        if (!inserted && it->second != to) return qz::result::website::ValueRefused;
    }
    std::string modeFolder = wanted.DocRootPath.empty() ? docRoot : wanted.DocRootPath.back();
    if (wanted.DirPath != nullptr && strlen(wanted.DirPath) >= 3) modeFolder = wanted.DirPath;
    if (wanted.AccessMode != 0 && !acceptablePath(modeFolder)) return qz::result::website::ValueRefused;

    if (!plans.empty() || !newRoots.empty()) {
        if (qz::isEmpty(HttpdConfFile)) return qz::result::NoConfigFile;
        StringVector others;
        int refused = 0;  // why the edit was not written, once the configuration is read
        const qz::SiteRewrite rewritten = qz::rewriteSiteBlocks(
            HttpdConfFile, qz::str(TEMPFILE), domain,
            [&](qz::SiteBlock& block) {
                for (size_t i = 0; i < block.lines.size(); ++i) {
                    if (block.info[i].kind != InfoKind::DocRoot) continue;
                    auto it = newRoots.find(qz::documentRoot(block.lines[i].c_str()));
                    if (it == newRoots.end()) continue;
                    rootMoved[it->first] = true;
                    const char* raw = block.lines[i].c_str();
                    const char* p = raw + (*raw == '#' ? 1 : 0);
                    const size_t head = static_cast<size_t>(qz::skipSpace(p) - raw);
                    block.replace(i, block.lines[i].substr(0, head) + "DocumentRoot \"" + it->second + "\"");
                }
                for (const Plan& plan : plans) {
                    if (qz::isPairKind(plan.kind)) applyPairs(block, plan, domain);
                    else applyWords(block, plan);
                }
            },
            [&](bool) {
                // A root read from another site's block (before its ServerName) is not this site's to change.
                if (rootMoved.size() != newRoots.size()) {
                    refused = qz::result::website::ValueRefused;
                    return false;
                }
                for (const std::string& alias : addedAliases)
                    for (const std::string& name : others)
                        if (qz::equalsNoCase(alias.c_str(), name.c_str())) {
                            refused = qz::result::website::AliasTaken;
                            return false;
                        }
                return true;
            },
            [&](const std::vector<std::string>& lines) { gatherNames(lines, others); });
        if (int failed = qz::siteRewriteFailure(rewritten.end, qz::msg::kConfigNotOpened)) return failed;
        if (refused != 0) return refused;
    }
    if (wanted.AccessMode != 0) applyMode(modeFolder, wanted.AccessMode);
    return qz::result::website::Done;
}
