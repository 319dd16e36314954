#include "CrawlUrl.h"

#include <libpsl.h>

#include <algorithm>

#include "UrlEscapes.h"

namespace harvest {

namespace {

bool isHttpScheme(const QString& scheme) {
    return scheme.compare(QLatin1String("http"), Qt::CaseInsensitive) == 0 ||
           scheme.compare(QLatin1String("https"), Qt::CaseInsensitive) == 0;
}

int defaultPort(const QString& scheme) {
    if (scheme == QLatin1String("http")) {
        return 80;
    }
    return scheme == QLatin1String("https") ? 443 : -1;
}

// "." and ".." segments of an absolute path resolved; ".." above the root
// stays at the root. A path that ends in a dot segment keeps its last "/".
std::string withoutDotSegments(std::string_view path) {
    std::vector<std::string_view> segments;
    bool trailingSlash = false;
    std::size_t from = 1;
    while (true) {
        const std::size_t slash = path.find('/', from);
        const bool last = slash == std::string_view::npos;
        const std::string_view segment = path.substr(from, last ? path.npos : slash - from);
        if (segment == "." || segment == "..") {
            if (segment == ".." && !segments.empty()) {
                segments.pop_back();
            }
            trailingSlash = last;
        } else {
            segments.push_back(segment);
        }
        if (last) {
            break;
        }
        from = slash + 1;
    }
    std::string out;
    for (std::string_view segment : segments) {
        out += '/';
        out += segment;
    }
    if (trailingSlash || out.empty()) {
        out += '/';
    }
    return out;
}

// The href as a browser reads it: without the blanks and controls around it,
// without tabs and line breaks inside it, "\" as "/" before the query.
std::string cleanedHref(std::string_view href) {
    while (!href.empty() && static_cast<unsigned char>(href.front()) <= 0x20) {
        href.remove_prefix(1);
    }
    while (!href.empty() && static_cast<unsigned char>(href.back()) <= 0x20) {
        href.remove_suffix(1);
    }
    std::string out;
    out.reserve(href.size());
    bool inPath = true;
    for (char c : href) {
        if (c == '\t' || c == '\n' || c == '\r') {
            continue;
        }
        inPath = inPath && c != '?' && c != '#';
        out += inPath && c == '\\' ? '/' : c;
    }
    return out;
}

// The scheme an href starts with, in lower case, or "" when it has none.
std::string schemeOf(std::string_view href) {
    std::string scheme;
    for (char c : href) {
        if (c == ':') {
            return scheme;
        }
        const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
        const bool other = (c >= '0' && c <= '9') || c == '+' || c == '-' || c == '.';
        if (!letter && (scheme.empty() || !other)) {
            return {};
        }
        scheme += static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    }
    return {};
}

bool isIpAddress(std::string_view host) {
    return host.find(':') != std::string_view::npos ||
           std::all_of(host.begin(), host.end(),
                       [](char c) { return (c >= '0' && c <= '9') || c == '.'; });
}

std::string portText(const QUrl& normalised) {
    return normalised.port() < 0 ? std::string() : std::to_string(normalised.port());
}

std::string asciiHost(const QUrl& url) {
    return url.host(QUrl::FullyEncoded).toLower().toStdString();
}

}  // namespace

bool crawlable(const QUrl& url) {
    return url.isValid() && isHttpScheme(url.scheme()) && !url.host().isEmpty();
}

QUrl normaliseUrl(const QUrl& url) {
    if (!url.isValid()) {
        return {};
    }
    QUrl out = url;
    const QString scheme = url.scheme().toLower();
    out.setScheme(scheme);
    out.setHost(url.host().toLower());
    if (out.port() == defaultPort(scheme)) {
        out.setPort(-1);
    }
    out.setFragment(QString());
    std::string path = normalisedEscapes(url.path(QUrl::FullyEncoded).toStdString());
    if (path.starts_with('/')) {
        path = withoutDotSegments(path);
    } else if (path.empty() && !out.host().isEmpty()) {
        path = "/";
    }
    out.setPath(QString::fromStdString(path), QUrl::TolerantMode);
    return out.isValid() ? out : QUrl();
}

std::string urlKey(const QUrl& url) {
    const QUrl normalised = normaliseUrl(url);
    return normalised.isValid() ? normalised.toEncoded().toStdString() : std::string();
}

QUrl resolveLink(const QUrl& base, std::string_view href) {
    std::string cleaned = cleanedHref(href);
    const std::string scheme = schemeOf(cleaned);
    if (!scheme.empty()) {
        if (scheme != "http" && scheme != "https") {
            return {};
        }
        // As browsers read http and https: "http:page" and "http:/page" are
        // relative to a base of the same scheme; otherwise the host follows
        // after any number of slashes.
        const std::string_view rest = std::string_view(cleaned).substr(scheme.size() + 1);
        const bool relative =
            !rest.starts_with("//") && base.scheme().toLower().toStdString() == scheme;
        if (relative) {
            cleaned = std::string(rest);
        } else {
            const std::size_t slashes = std::min(rest.find_first_not_of('/'), rest.size());
            cleaned = scheme + "://" + std::string(rest.substr(slashes));
        }
    }
    // An empty href links to the page itself.
    QUrl target = base;
    if (!cleaned.empty()) {
        const QUrl reference(
            QString::fromUtf8(cleaned.data(), static_cast<qsizetype>(cleaned.size())),
            QUrl::TolerantMode);
        if (!reference.isValid()) {
            return {};
        }
        target = base.resolved(reference);
    }
    const QUrl normalised = normaliseUrl(target);
    return crawlable(normalised) ? normalised : QUrl();
}

std::optional<CrawlScope> parseScope(std::string_view name) {
    const QString folded =
        QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size())).trimmed().toLower();
    if (folded == QLatin1String("host")) {
        return CrawlScope::Host;
    }
    if (folded == QLatin1String("domain")) {
        return CrawlScope::Domain;
    }
    if (folded == QLatin1String("prefix")) {
        return CrawlScope::Prefix;
    }
    if (folded == QLatin1String("any")) {
        return CrawlScope::Any;
    }
    return std::nullopt;
}

void ScopeCheck::PslFree::operator()(psl_ctx_st* psl) const {
    psl_free(psl);
}

ScopeCheck::ScopeCheck(CrawlScope scope, const std::vector<QUrl>& startUrls) : scope_(scope) {
    // The list from the publicsuffix package when it is newer than the one
    // built into libpsl.
    latest_.reset(psl_latest(nullptr));
    psl_ = latest_ ? latest_.get() : psl_builtin();
    for (const QUrl& url : startUrls) {
        if (!crawlable(url)) {
            continue;
        }
        const QUrl normalised = normaliseUrl(url);
        std::string path = normalised.path(QUrl::FullyEncoded).toStdString();
        path.erase(path.rfind('/') + 1);
        starts_.push_back(Start{siteOf(normalised), std::move(path)});
    }
}

ScopeCheck::~ScopeCheck() = default;
ScopeCheck::ScopeCheck(ScopeCheck&&) noexcept = default;
ScopeCheck& ScopeCheck::operator=(ScopeCheck&&) noexcept = default;

bool ScopeCheck::inScope(const QUrl& url) const {
    if (!crawlable(url)) {
        return false;
    }
    if (scope_ == CrawlScope::Any) {
        return true;
    }
    const QUrl normalised = normaliseUrl(url);
    const std::string site = siteOf(normalised);
    const std::string path = normalised.path(QUrl::FullyEncoded).toStdString();
    return std::any_of(starts_.begin(), starts_.end(), [&](const Start& start) {
        return start.site == site &&
               (scope_ != CrawlScope::Prefix || path.starts_with(start.folder));
    });
}

std::string ScopeCheck::registrableDomain(const QUrl& url) const {
    std::string host = asciiHost(url);
    if (host.ends_with('.')) {
        host.pop_back();
    }
    if (psl_ == nullptr || host.empty() || isIpAddress(host)) {
        return host;
    }
    const char* domain = psl_registrable_domain(psl_, host.c_str());
    return domain != nullptr ? std::string(domain) : host;
}

std::string ScopeCheck::siteOf(const QUrl& normalised) const {
    switch (scope_) {
        case CrawlScope::Host:
            return asciiHost(normalised) + " " + portText(normalised);
        case CrawlScope::Domain:
            return registrableDomain(normalised);
        case CrawlScope::Prefix:
            return normalised.scheme().toStdString() + " " + asciiHost(normalised) + " " +
                   portText(normalised);
        case CrawlScope::Any:
            break;
    }
    return {};
}

}  // namespace harvest
