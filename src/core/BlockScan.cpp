#include "core/BlockScan.h"

namespace qz {

BlockScan::Keyword BlockScan::keyword(const char* p, const char*& rest) const {
    if (form_.keywords == BlockKeywords::Word) {
        const WordLine w(p);
        rest = w.rest;
        if (w.is("<VirtualHost")) return Keyword::Opening;
        if (w.is("</VirtualHost>")) return Keyword::Closing;
        if (w.is("ServerName")) return Keyword::Name;
        return Keyword::None;
    }
    if (startsWithNoCase(p, "<VirtualHost")) {
        return form_.bareOpening || !startsWithNoCase(p, "<VirtualHost>") ? Keyword::Opening : Keyword::None;
    }
    if (form_.closing != 0 && startsWithNoCase(p, std::string_view("</VirtualHost>", form_.closing))) {
        return Keyword::Closing;
    }
    if (startsWithNoCase(p, "ServerName")) {
        rest = afterName(p, 11);
        return Keyword::Name;
    }
    return Keyword::None;
}

namespace {
const std::string kNoSite;
}  // namespace

BlockScan::BlockScan(const BlockForm& form) : BlockScan(kNoSite, form) {}

bool BlockScan::closes(const char* line) const {
    const char* p = line;
    if (form_.comments == BlockComments::HashStepped && *p == '#') ++p;
    const char* rest = nullptr;
    return keyword(skipSpace(p), rest) == Keyword::Closing;
}

BlockLine BlockScan::examine(const char* line) {
    const char* p = line;
    if (form_.comments == BlockComments::HashStepped && *p == '#') ++p;
    p = skipSpace(p);
    text_ = p;
    if ((form_.comments == BlockComments::Skipped && *line == '#') ||
        (form_.comments == BlockComments::SkippedAfterSpace && *p == '#')) {
        return BlockLine::Other;
    }
    const char* rest = nullptr;
    switch (keyword(p, rest)) {
    case Keyword::Opening:
        inBlock_ = true;
        named_ = false;
        site_ = site_ && form_.siteKeptOnOpening;
        return BlockLine::Opening;
    case Keyword::Closing: {
        if (form_.closingOnlyInSite && !site_) return BlockLine::Other;
        const bool wasSite = site_;
        inBlock_ = named_ = false;
        site_ = site_ && form_.siteKeptOnClosing;
        return wasSite ? BlockLine::SiteClosing : BlockLine::Closing;
    }
    case Keyword::Name: {
        if (!inBlock_ || (form_.names == BlockNames::First && named_)) return BlockLine::Other;
        if (form_.names == BlockNames::Listed) {
            inBlock_ = false;
            return BlockLine::Name;
        }
        const bool names = equalsNoCase(rest, domain_.c_str());
        switch (form_.names) {
        case BlockNames::Listed:
        case BlockNames::First:
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
        }
        return names ? BlockLine::SiteName : BlockLine::Name;
    }
    case Keyword::None:
        break;
    }
    return BlockLine::Other;
}

}  // namespace qz
