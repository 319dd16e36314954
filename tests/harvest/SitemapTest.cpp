#include "Sitemap.h"

#include <gtest/gtest.h>

#include "ArchiveWriting.h"

namespace harvest {
namespace {

using Urls = std::vector<std::string>;

std::string urlset(const Urls& locs) {
    std::string xml =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<urlset xmlns=\"http://www.sitemaps.org/schemas/sitemap/0.9\">\n";
    for (const std::string& loc : locs) {
        xml += "  <url><loc>" + loc + "</loc><lastmod>2024-01-01</lastmod></url>\n";
    }
    return xml + "</urlset>\n";
}

Urls numbered(int count) {
    Urls urls;
    for (int n = 1; n <= count; ++n) {
        urls.push_back("https://a.example/" + std::to_string(n));
    }
    return urls;
}

struct Case {
    const char* what;
    std::string bytes;
    SitemapKind kind;
    Urls urls;
    std::string problem;  // a part of the problem text; empty for none
    SitemapLimits limits = {};
};

void check(const Case& c) {
    SCOPED_TRACE(c.what);
    const SitemapEntries entries = parseSitemap(c.bytes, c.limits);
    EXPECT_EQ(entries.kind, c.kind);
    EXPECT_EQ(entries.urls, c.urls);
    if (c.problem.empty()) {
        EXPECT_EQ(entries.problem, "");
    } else {
        EXPECT_NE(entries.problem.find(c.problem), std::string::npos) << entries.problem;
    }
}

TEST(Sitemap, ReadsXmlSitemaps) {
    const std::string broken = urlset(numbered(3));
    const Case cases[] = {
        {"page list", urlset(numbered(2)), SitemapKind::Pages, numbered(2), ""},
        {"index",
         "<sitemapindex xmlns=\"http://www.sitemaps.org/schemas/sitemap/0.9\">"
         "<sitemap><loc>https://a.example/s1.xml.gz</loc></sitemap>"
         "<sitemap><loc>https://a.example/s2.xml</loc><lastmod>2024</lastmod></sitemap>"
         "</sitemapindex>",
         SitemapKind::Index,
         {"https://a.example/s1.xml.gz", "https://a.example/s2.xml"},
         ""},
        {"entities, CDATA, whitespace",
         urlset({"\n   https://a.example/?a=1&amp;b=2\t\n", "https://a.example/&#x41;&#66;",
                 "<![CDATA[https://a.example/c?d&e]]>", "  ", "https://a.example/caf\xC3\xA9"}),
         SitemapKind::Pages,
         {"https://a.example/?a=1&b=2", "https://a.example/AB", "https://a.example/c?d&e",
          "https://a.example/caf\xC3\xA9"},
         ""},
        {"prefixes, extensions, a byte-order mark",
         "\xEF\xBB\xBF<sm:urlset xmlns:image=\"http://www.google.com/schemas/sitemap-image/1.1\">"
         "<sm:url><sm:loc>https://a.example/p</sm:loc>"
         "<image:image><image:loc>https://a.example/i.png</image:loc></image:image></sm:url>"
         "<url><loc>https://a.example/q</loc></url></sm:urlset>",
         SitemapKind::Pages,
         {"https://a.example/p", "https://a.example/q"},
         ""},
        {"an entry of the other kind",
         "<sitemapindex><url><loc>https://a.example/page</loc></url>"
         "<sitemap><loc>https://a.example/s.xml</loc></sitemap></sitemapindex>",
         SitemapKind::Index,
         {"https://a.example/s.xml"},
         ""},
        {"cut off", broken.substr(0, broken.find("/3")), SitemapKind::Pages, numbered(2),
         "broken XML"},
        {"mismatched tag", "<urlset><url><loc>https://a.example/1</loc></url><url></urlset>",
         SitemapKind::Pages, numbered(1), "broken XML at line 1"},
        {"unknown entity", urlset({"https://a.example/1", "https://a.example/&nbsp;"}),
         SitemapKind::Pages, numbered(1), "broken XML"},
        {"an HTML page",
         "<!DOCTYPE html>\n<html><body><a href=x>x</a></body></html>",
         SitemapKind::Unknown,
         {},
         "not a sitemap"},
        {"too many",
         urlset(numbered(5)),
         SitemapKind::Pages,
         numbered(3),
         "more than 3",
         {.maxUrls = 3}},
        {"just enough", urlset(numbered(3)), SitemapKind::Pages, numbered(3), "", {.maxUrls = 3}},
        {"empty", " \n", SitemapKind::Unknown, {}, "empty"},
    };
    for (const Case& c : cases) {
        check(c);
    }
}

TEST(Sitemap, ReadsTextSitemaps) {
    const Case cases[] = {
        {"lines", "https://a.example/1\r\n\r\n  https://a.example/2  \nhttps://a.example/3",
         SitemapKind::Text, numbered(3), ""},
        {"not addresses",
         "\xEF\xBB\xBFhttps://a.example/1\nftp://a.example/x\nsee below\nhttps://a.example/2\n",
         SitemapKind::Text, numbered(2), "2 lines are not"},
        {"too many",
         "https://a.example/1\nhttps://a.example/2\nhttps://a.example/3\n",
         SitemapKind::Text,
         numbered(2),
         "more than 2",
         {.maxUrls = 2}},
        {"binary",
         std::string("\x89PNG\r\n\x1a\n\0\0", 10),
         SitemapKind::Unknown,
         {},
         "not a sitemap"},
    };
    for (const Case& c : cases) {
        check(c);
    }
}

TEST(Sitemap, InflatesCompressedSitemaps) {
    const std::string xml = urlset(numbered(400));
    // The first 200 entries, and the rest.
    const size_t half = xml.find("  <url><loc>https://a.example/201<");
    const std::string first = testing::gzip(xml.substr(0, half));
    const std::string second = testing::gzip(xml.substr(half));
    const Case cases[] = {
        {"gzip", testing::gzip(xml), SitemapKind::Pages, numbered(400), ""},
        {"two gzip members", first + second, SitemapKind::Pages, numbered(400), ""},
        {"gzip text", testing::gzip("https://a.example/1\n"), SitemapKind::Text, numbered(1), ""},
        {"cut off", first + second.substr(0, 30), SitemapKind::Pages, numbered(200), "cut off"},
        {"damaged", first + "\x1f\x8b\x07garbage", SitemapKind::Pages, numbered(200), "damaged"},
        {"past the limit",
         first + second,
         SitemapKind::Pages,
         numbered(200),
         "more than " + std::to_string(half + 20) + " bytes",
         {.maxInflatedBytes = static_cast<std::int64_t>(half + 20)}},
    };
    for (const Case& c : cases) {
        check(c);
    }
}

}  // namespace
}  // namespace harvest
