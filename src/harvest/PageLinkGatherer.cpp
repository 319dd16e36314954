#include "PageLinkGatherer.h"

#include <optional>
#include <unordered_set>

#include "CrawlUrl.h"

namespace harvest {
namespace {

bool isAsciiSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f';
}

char lowerAscii(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}

bool sameFolded(std::string_view a, std::string_view lower) {
    if (a.size() != lower.size()) {
        return false;
    }
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (lowerAscii(a[i]) != lower[i]) {
            return false;
        }
    }
    return true;
}

std::string_view trimmed(std::string_view s) {
    while (!s.empty() && isAsciiSpace(s.front())) {
        s.remove_prefix(1);
    }
    while (!s.empty() && isAsciiSpace(s.back())) {
        s.remove_suffix(1);
    }
    return s;
}

// Whether a list of tokens separated by blanks (or also commas) holds one
// token, in any case.
bool hasToken(std::string_view list, std::string_view lowerToken, bool commas) {
    std::size_t at = 0;
    while (at < list.size()) {
        while (at < list.size() && (isAsciiSpace(list[at]) || (commas && list[at] == ','))) {
            ++at;
        }
        const std::size_t start = at;
        while (at < list.size() && !isAsciiSpace(list[at]) && !(commas && list[at] == ',')) {
            ++at;
        }
        if (at > start && sameFolded(list.substr(start, at - start), lowerToken)) {
            return true;
        }
    }
    return false;
}

std::optional<std::string_view> attribute(std::span<const HtmlAttribute> attributes,
                                          std::string_view name) {
    for (const HtmlAttribute& a : attributes) {
        if (a.name == name) {
            return a.value;
        }
    }
    return std::nullopt;
}

// The URL of a meta refresh's content, read as browsers read it: a time
// ("5", "0.5", ".5"), then after a ';' or ',' or blanks the URL, with or
// without "url=" before it and quotes around it. Nothing when the content
// is not a refresh or names no URL (the page reloads itself).
std::optional<std::string_view> refreshUrl(std::string_view content) {
    std::size_t at = 0;
    const auto skipSpace = [&] {
        while (at < content.size() && isAsciiSpace(content[at])) {
            ++at;
        }
    };
    const auto next = [&](char lower) {
        return at < content.size() && lowerAscii(content[at]) == lower;
    };
    skipSpace();
    const std::size_t timeStart = at;
    while (at < content.size() && content[at] >= '0' && content[at] <= '9') {
        ++at;
    }
    if (at == timeStart && !next('.')) {
        return std::nullopt;
    }
    while (at < content.size() && ((content[at] >= '0' && content[at] <= '9') || next('.'))) {
        ++at;
    }
    if (at < content.size()) {
        if (!isAsciiSpace(content[at]) && !next(';') && !next(',')) {
            return std::nullopt;
        }
        skipSpace();
        at += next(';') || next(',') ? 1 : 0;
        skipSpace();
    }
    if (at >= content.size()) {
        return std::nullopt;
    }
    const std::size_t urlStart = at;
    // "url" and "=" are optional; text that only starts like them is the URL.
    bool skipQuotes = !next('u');
    if (!skipQuotes) {
        ++at;
        if (next('r')) {
            ++at;
            if (next('l')) {
                ++at;
                skipSpace();
                if (next('=')) {
                    ++at;
                    skipSpace();
                    skipQuotes = true;
                }
            }
        }
    }
    if (!skipQuotes) {
        return content.substr(urlStart);  // not empty: it starts with 'u'
    }
    std::string_view url = content.substr(at);
    if (!url.empty() && (url.front() == '"' || url.front() == '\'')) {
        const char quote = url.front();
        url.remove_prefix(1);
        url = url.substr(0, url.find(quote));
    }
    // "url=" with nothing after it reloads the page too.
    return trimmed(url).empty() ? std::nullopt : std::optional(url);
}

}  // namespace

void PageLinkGatherer::startTag(std::string_view name, std::span<const HtmlAttribute> attributes) {
    if (name == "a" || name == "area" || name == "link") {
        const std::optional<std::string_view> href = attribute(attributes, "href");
        if (!href) {
            return;
        }
        const std::string_view rel = attribute(attributes, "rel").value_or("");
        if (hasToken(rel, "nofollow", false)) {
            return;
        }
        // A link element links to a page only as another version of it; an
        // alternative style sheet is a style sheet all the same.
        if (name == "link" &&
            (!hasToken(rel, "alternate", false) || hasToken(rel, "stylesheet", false))) {
            return;
        }
        addHref(*href);
    } else if (name == "frame" || name == "iframe") {
        if (const std::optional<std::string_view> src = attribute(attributes, "src")) {
            addHref(*src);
        }
    } else if (name == "base") {
        const std::optional<std::string_view> href = attribute(attributes, "href");
        if (href && !hasBase_) {
            base_ = *href;
            hasBase_ = true;
        }
    } else if (name == "meta") {
        const std::string_view content = attribute(attributes, "content").value_or("");
        const std::string_view metaName = trimmed(attribute(attributes, "name").value_or(""));
        if (sameFolded(metaName, "robots") || sameFolded(metaName, "gleanmark")) {
            robotsMeta(content);
        }
        const std::string_view equiv = trimmed(attribute(attributes, "http-equiv").value_or(""));
        if (sameFolded(equiv, "refresh")) {
            if (const std::optional<std::string_view> url = refreshUrl(content)) {
                addHref(*url);
            }
        }
    }
}

void PageLinkGatherer::addHref(std::string_view href) {
    hrefs_.append(href);
    ends_.push_back(hrefs_.size());
}

void PageLinkGatherer::robotsMeta(std::string_view content) {
    const bool none = hasToken(content, "none", true);
    nofollow_ = nofollow_ || none || hasToken(content, "nofollow", true);
    noindex_ = noindex_ || none || hasToken(content, "noindex", true);
}

PageLinks PageLinkGatherer::finish(const QUrl& pageUrl, std::size_t maxLinks) const {
    PageLinks out;
    out.nofollow = nofollow_;
    out.noindex = noindex_;
    out.base = pageUrl;
    if (hasBase_) {
        const QUrl base = resolveLink(pageUrl, base_);
        if (base.isValid()) {
            out.base = base;
        }
    }
    // Many hrefs of a page are the same text (menus, "top" links): those are
    // resolved once. The views stay valid, since hrefs_ no longer grows.
    std::unordered_set<std::string_view> seenHrefs;
    std::unordered_set<std::string> seenLinks;
    std::size_t start = 0;
    for (const std::size_t end : ends_) {
        if (out.links.size() >= maxLinks) {
            break;
        }
        const std::string_view href = std::string_view(hrefs_).substr(start, end - start);
        start = end;
        if (!seenHrefs.insert(href).second) {
            continue;
        }
        const QUrl link = resolveLink(out.base, href);
        if (link.isValid() && seenLinks.insert(link.toEncoded().toStdString()).second) {
            out.links.push_back(link);
        }
    }
    return out;
}

}  // namespace harvest
