#pragma once
// Reading a site's sitemap: an XML list of pages (<urlset>), an XML list of
// further sitemaps (<sitemapindex>), or a plain text list with one address a
// line; any of them may come gzip-compressed.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace harvest {

enum class SitemapKind {
    Pages,    // <urlset>: the addresses are pages
    Index,    // <sitemapindex>: the addresses are further sitemaps
    Text,     // one address a line
    Unknown,  // XML with another root element, or nothing readable
};

struct SitemapEntries {
    SitemapKind kind = SitemapKind::Unknown;
    // Every <loc> in document order, entities decoded and whitespace trimmed;
    // for a text sitemap every line that is an http or https address.
    std::vector<std::string> urls;
    // Why the sitemap was not read whole; empty when it was. The addresses
    // read before the trouble are kept.
    std::string problem;
};

struct SitemapLimits {
    std::int64_t maxInflatedBytes = 50LL << 20;  // a compressed sitemap, expanded
    size_t maxUrls = 50000;                      // addresses taken from one sitemap
};

SitemapEntries parseSitemap(std::string_view bytes, const SitemapLimits& limits = {});

}  // namespace harvest
