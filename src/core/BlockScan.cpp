#include "core/BlockScan.h"

namespace qz {

namespace {
const std::string kNoSite;

bool holds(const char* line, const char* part) { return std::strstr(line, part) != nullptr; }
}  // namespace

BlockScan::BlockScan(const BlockForm& form) : BlockScan(kNoSite, form) {}

const char* BlockScan::stepComment(const char* line) const {
    if (form_.keywords == BlockKeywords::Exact) return line;
    const char* p = line;
    if (form_.comments == BlockComments::HashStepped && *p == '#') ++p;
    p = skipSpace(p);
    if (form_.comments == BlockComments::HashSteppedAfterSpace && *p == '#') p = skipSpace(p + 1);
    return p;
}

bool BlockScan::opensAt(const char* line, const char* p) const {
    switch (form_.keywords) {
    case BlockKeywords::Word: return WordLine(p).is("<VirtualHost");
    case BlockKeywords::Exact: return std::string_view(p).compare(0, 12, "<VirtualHost") == 0;
    case BlockKeywords::Anywhere: return holds(line, "<VirtualHost ") && !holds(line, "<VirtualHost>");
    case BlockKeywords::Prefix: break;
    }
    return startsWithNoCase(p, "<VirtualHost") && (form_.bareOpening || !startsWithNoCase(p, "<VirtualHost>"));
}

BlockScan::Keyword BlockScan::nameOrClosing(const char* line, const char* p, const char*& rest) const {
    if (form_.keywords == BlockKeywords::Exact)
        return std::string_view(p).compare(0, 13, "</VirtualHost") == 0 ? Keyword::Closing : Keyword::None;
    if (form_.keywords == BlockKeywords::Word) {
        const WordLine w(p);
        rest = w.rest;
        if (w.is("ServerName")) return Keyword::Name;
        const bool closing = form_.closing == BlockClosing::Within
                                 ? w.word.find("</VirtualHost>") != std::string_view::npos
                                 : form_.closing != BlockClosing::NotExamined && w.is("</VirtualHost>");
        return closing ? Keyword::Closing : Keyword::None;
    }
    if (startsWithNoCase(p, "ServerName")) {
        rest = afterName(p, 11);
        return Keyword::Name;
    }
    switch (form_.closing) {
    case BlockClosing::NotExamined: break;
    case BlockClosing::Short: return startsWithNoCase(p, "</VirtualHost") ? Keyword::Closing : Keyword::None;
    case BlockClosing::Full: return startsWithNoCase(p, "</VirtualHost>") ? Keyword::Closing : Keyword::None;
    case BlockClosing::Within: return holds(line, "</VirtualHost>") ? Keyword::Closing : Keyword::None;
    }
    return Keyword::None;
}

bool BlockScan::closes(const char* line) const {
    const char* p = stepComment(line);
    const char* rest = nullptr;
    return !opensAt(line, p) && nameOrClosing(line, p, rest) == Keyword::Closing;
}

BlockLine BlockScan::examine(const char* line) {
    const char* p = stepComment(line);
    text_ = p;
    opened_ = false;
    if ((form_.comments == BlockComments::Skipped && *line == '#') ||
        (form_.comments == BlockComments::SkippedAfterSpace && *p == '#')) {
        return BlockLine::Other;
    }
    if (opensAt(line, p)) {
        opened_ = true;
        inBlock_ = true;
        named_ = false;
        ++openings_;
        site_ = site_ && form_.siteKeptOnOpening;
        // Only a line found anywhere in the text may be a name or a closing
        // line as well.
        if (form_.keywords != BlockKeywords::Anywhere) return BlockLine::Opening;
    }
    const char* rest = nullptr;
    switch (nameOrClosing(line, p, rest)) {
    case Keyword::Closing: {
        if (form_.closingOnlyInSite && !site_) return opened_ ? BlockLine::Opening : BlockLine::Other;
        const bool wasSite = site_;
        inBlock_ = named_ = false;
        openings_ = 0;
        site_ = site_ && form_.siteKeptOnClosing;
        return wasSite ? BlockLine::SiteClosing : BlockLine::Closing;
    }
    case Keyword::Name: {
        const BlockLine kind = name(rest);
        return kind == BlockLine::Other && opened_ ? BlockLine::Opening : kind;
    }
    case Keyword::None:
        break;
    }
    return opened_ ? BlockLine::Opening : BlockLine::Other;
}

BlockLine BlockScan::name(const char* rest) {
    if (!inBlock_ || form_.names == BlockNames::None || (form_.names == BlockNames::First && named_) ||
        (form_.nestedHidesName && openings_ != 1)) {
        return BlockLine::Other;
    }
    if (form_.names == BlockNames::Listed) {
        inBlock_ = false;
        return BlockLine::Name;
    }
    const bool names = equalsNoCase(rest, domain_.c_str());
    switch (form_.names) {
    case BlockNames::First:
        openings_ = 0;
        [[fallthrough]];
    case BlockNames::UntilOther:
        named_ = true;
        site_ = names;
        inBlock_ = names;
        break;
    case BlockNames::Any:
        site_ = names;
        break;
    case BlockNames::Sticky:
        site_ = site_ || names;
        break;
    case BlockNames::None:
    case BlockNames::Listed:
        break;
    }
    return names ? BlockLine::SiteName : BlockLine::Name;
}

}  // namespace qz
