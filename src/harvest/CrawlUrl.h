#pragma once
// Addresses as a crawl frontier handles them: one spelling per page, links
// resolved the way browsers resolve them, and the scope that keeps a crawl on
// the sites it was started on.
#include <QUrl>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct psl_ctx_st;

namespace harvest {

// Only http and https URLs with a host are fetched.
bool crawlable(const QUrl& url);

// One spelling for a URL: scheme and host in lower case, the default port
// (80 for http, 443 for https) dropped, the fragment dropped, "." and ".."
// path segments resolved, an empty path made "/", escapes of unreserved
// characters decoded and the hex of other escapes in upper case. The query is
// kept. An invalid URL gives an invalid URL.
QUrl normaliseUrl(const QUrl& url);

// The normalised URL as text: the key of a set of visited pages. Empty for an
// invalid URL.
std::string urlKey(const QUrl& url);

// An href as found in a page, resolved against the page's base URL and
// normalised. Blanks around it and tabs and line breaks inside it are dropped
// and "\" counts as "/" before the query, as browsers do. Gives an invalid
// URL for javascript:, mailto:, data:, tel: and anything else that is not a
// crawlable http or https URL.
QUrl resolveLink(const QUrl& base, std::string_view href);

enum class CrawlScope {
    Host,    // the host and port of a start URL, under either scheme
    Domain,  // the registrable domain of a start URL, with its subdomains
    Prefix,  // the scheme, host and port of a start URL and its folder below
    Any,     // every crawlable URL
};

// "host", "domain", "prefix" or "any", in any case.
std::optional<CrawlScope> parseScope(std::string_view name);

// Whether a URL lies in the scope of any of the start URLs. Start URLs that
// are not crawlable are left out.
class ScopeCheck {
public:
    ScopeCheck(CrawlScope scope, const std::vector<QUrl>& startUrls);
    ~ScopeCheck();
    ScopeCheck(ScopeCheck&&) noexcept;
    ScopeCheck& operator=(ScopeCheck&&) noexcept;
    ScopeCheck(const ScopeCheck&) = delete;
    ScopeCheck& operator=(const ScopeCheck&) = delete;

    bool inScope(const QUrl& url) const;

    // The registrable domain of a host from the public suffix list
    // ("www.example.co.uk" gives "example.co.uk"). An IP address, a single
    // label such as "localhost", or a public suffix itself is its own domain.
    std::string registrableDomain(const QUrl& url) const;

private:
    // What a URL is compared by: the host and port, the registrable domain,
    // or the scheme, host, port and folder.
    struct Start {
        std::string site;
        std::string folder;
    };
    std::string siteOf(const QUrl& normalised) const;

    struct PslFree {
        void operator()(psl_ctx_st* psl) const;
    };

    CrawlScope scope_;
    std::unique_ptr<psl_ctx_st, PslFree> latest_;
    const psl_ctx_st* psl_ = nullptr;
    std::vector<Start> starts_;
};

}  // namespace harvest
