#include "CrawlUrl.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace harvest {
namespace {

QUrl url(std::string_view text) {
    return QUrl(QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())));
}

struct Spelling {
    std::string_view in;
    std::string_view key;
};

TEST(CrawlUrl, NormalisedSpelling) {
    const Spelling cases[] = {
        {"HTTP://Example.COM:80/a/./b/../c?q=1#frag", "http://example.com/a/c?q=1"},
        {"https://example.com:443", "https://example.com/"},
        {"https://example.com:8443/x", "https://example.com:8443/x"},
        {"http://example.com:443/", "http://example.com:443/"},
        {"http://example.com/%7euser/%2f%c3%a9%41", "http://example.com/~user/%2F%C3%A9A"},
        {"http://example.com/a/../../../b", "http://example.com/b"},
        {"http://example.com/a/%2E%2E/b", "http://example.com/b"},
        {"http://example.com/a/b/..", "http://example.com/a/"},
        {"http://example.com/a/b/.", "http://example.com/a/b/"},
        {"http://example.com//x//", "http://example.com//x//"},
        {"http://example.com/?b=2&a=1", "http://example.com/?b=2&a=1"},
        {"http://example.com/p?", "http://example.com/p?"},
        {"http://example.com/p#", "http://example.com/p"},
        {"http://example.com/a b", "http://example.com/a%20b"},
        {"http://B\xC3\xBC"
         "cher.DE/",
         "http://xn--bcher-kva.de/"},
        {"http://user@example.com/", "http://user@example.com/"},
        {"http://[::1]:80/", "http://[::1]/"},
        {"not a url at all:", ""},
        {"", ""},
    };
    for (const Spelling& c : cases) {
        EXPECT_EQ(urlKey(url(c.in)), c.key) << c.in;
        // Normalising is idempotent.
        EXPECT_EQ(urlKey(normaliseUrl(url(c.in))), c.key) << c.in;
    }
}

TEST(CrawlUrl, OnlyHttpWithAHostIsCrawlable) {
    const std::pair<std::string_view, bool> cases[] = {
        {"http://example.com/", true}, {"HTTPS://example.com", true},
        {"ftp://example.com/", false}, {"mailto:a@example.com", false},
        {"file:///etc/passwd", false}, {"/relative/path", false},
        {"http:///no-host", false},    {"", false},
    };
    for (const auto& [in, expected] : cases) {
        EXPECT_EQ(crawlable(url(in)), expected) << in;
    }
}

TEST(CrawlUrl, ResolvesLinksAsBrowsersDo) {
    const QUrl base = url("http://example.com/dir/page.html?x=1#top");
    const Spelling cases[] = {
        {"other.html", "http://example.com/dir/other.html"},
        {"../up.html", "http://example.com/up.html"},
        {"../../../up.html", "http://example.com/up.html"},
        {"/abs", "http://example.com/abs"},
        {"//cdn.example.org/x", "http://cdn.example.org/x"},
        {"?y=2", "http://example.com/dir/page.html?y=2"},
        {"#section", "http://example.com/dir/page.html?x=1"},
        {"", "http://example.com/dir/page.html?x=1"},
        {"  \n other.html \t", "http://example.com/dir/other.html"},
        {"oth\ner\t.ht\r\nml", "http://example.com/dir/other.html"},
        {"HTTPS://Example.COM:443/x#y", "https://example.com/x"},
        {"\\\\other.org\\a\\b", "http://other.org/a/b"},
        {"a\\b?q=\\", "http://example.com/dir/a/b?q=%5C"},
        {"http:rel.html", "http://example.com/dir/rel.html"},
        {"https:other.org/x", "https://other.org/x"},
        {"https:///other.org/x", "https://other.org/x"},
        {"a b.html", "http://example.com/dir/a%20b.html"},
        {"\xC3\xBC.html", "http://example.com/dir/%C3%BC.html"},
        {"%7e/./x", "http://example.com/dir/~/x"},
        {"javascript:alert(1)", ""},
        {" JavaScript:void(0)", ""},
        {"java\tscript:alert(1)", ""},
        {"mailto:someone@example.com", ""},
        {"tel:+15551234", ""},
        {"data:text/html,<p>x</p>", ""},
        {"ftp://example.com/file", ""},
        {"irc://example.com/chan", ""},
        {"http://", ""},
    };
    for (const Spelling& c : cases) {
        const QUrl resolved = resolveLink(base, c.in);
        EXPECT_EQ(resolved.toEncoded().toStdString(), c.key) << c.in;
        EXPECT_EQ(resolved.isValid(), !c.key.empty()) << c.in;
    }
    EXPECT_FALSE(resolveLink(QUrl(), "relative.html").isValid());
    EXPECT_EQ(resolveLink(QUrl(), "https://example.com").toString(),
              QStringLiteral("https://example.com/"));
}

TEST(CrawlUrl, ScopeNames) {
    const std::pair<std::string_view, std::optional<CrawlScope>> cases[] = {
        {"host", CrawlScope::Host}, {"Domain", CrawlScope::Domain}, {"PREFIX", CrawlScope::Prefix},
        {"any", CrawlScope::Any},   {"hosts", std::nullopt},        {"", std::nullopt},
    };
    for (const auto& [name, scope] : cases) {
        EXPECT_EQ(parseScope(name), scope) << name;
    }
}

struct ScopeCase {
    CrawlScope scope;
    std::vector<std::string_view> starts;
    std::string_view candidate;
    bool inScope;
};

const std::vector<std::string_view> kDocs = {"https://www.example.com/docs/index.html"};
const std::vector<std::string_view> kTwoSites = {"http://a.example.org/", "http://b.example.net/"};

const ScopeCase kScopeCases[] = {
    {CrawlScope::Host, kDocs, "https://WWW.Example.com/other", true},
    {CrawlScope::Host, kDocs, "http://www.example.com/", true},
    {CrawlScope::Host, kDocs, "https://www.example.com:443/", true},
    {CrawlScope::Host, kDocs, "https://www.example.com:8443/", false},
    {CrawlScope::Host, kDocs, "https://example.com/", false},
    {CrawlScope::Host, kDocs, "https://blog.www.example.com/", false},
    {CrawlScope::Host, kDocs, "ftp://www.example.com/", false},
    {CrawlScope::Host, kTwoSites, "http://b.example.net/x", true},
    {CrawlScope::Host, kTwoSites, "http://c.example.net/x", false},
    {CrawlScope::Domain, kDocs, "https://blog.example.com/", true},
    {CrawlScope::Domain, kDocs, "http://example.com:8080/", true},
    {CrawlScope::Domain, kDocs, "https://example.org/", false},
    {CrawlScope::Domain, kDocs, "https://example.com.evil.org/", false},
    {CrawlScope::Domain, kDocs, "https://notexample.com/", false},
    {CrawlScope::Domain, {"http://shop.example.co.uk/"}, "http://www.example.co.uk/", true},
    {CrawlScope::Domain, {"http://shop.example.co.uk/"}, "http://other.co.uk/", false},
    {CrawlScope::Domain, {"https://a.github.io/"}, "https://x.a.github.io/", true},
    {CrawlScope::Domain, {"https://a.github.io/"}, "https://b.github.io/", false},
    {CrawlScope::Domain, {"http://192.168.1.10:8080/"}, "http://192.168.1.10/x", true},
    {CrawlScope::Domain, {"http://192.168.1.10:8080/"}, "http://10.168.1.10/", false},
    {CrawlScope::Domain, {"http://[2001:db8::1]/"}, "http://[2001:db8::2]/", false},
    {CrawlScope::Domain, {"http://localhost:8000/"}, "http://localhost/x", true},
    {CrawlScope::Domain, {"http://localhost:8000/"}, "http://127.0.0.1:8000/", false},
    {CrawlScope::Domain, {"http://intranet/"}, "http://wiki/", false},
    {CrawlScope::Prefix, kDocs, "https://www.example.com/docs/a/b", true},
    {CrawlScope::Prefix, kDocs, "https://www.example.com/docs/", true},
    {CrawlScope::Prefix, kDocs, "https://www.example.com/docs", false},
    {CrawlScope::Prefix, kDocs, "https://www.example.com/docsx", false},
    {CrawlScope::Prefix, kDocs, "https://www.example.com/docs/../secret", false},
    {CrawlScope::Prefix, kDocs, "https://www.example.com/%64ocs/x", true},
    {CrawlScope::Prefix, kDocs, "http://www.example.com/docs/a", false},
    {CrawlScope::Prefix, kDocs, "https://www.example.com:444/docs/a", false},
    {CrawlScope::Prefix, {"http://h.example/docs"}, "http://h.example/anything", true},
    {CrawlScope::Prefix, {"http://h.example"}, "http://h.example/x/y", true},
    {CrawlScope::Any, kDocs, "http://anything.example.net/", true},
    {CrawlScope::Any, {}, "http://anything.example.net/", true},
    {CrawlScope::Any, kDocs, "mailto:a@example.com", false},
    {CrawlScope::Host, {"mailto:a@example.com", "not a url"}, "http://example.com/", false},
};

TEST(CrawlUrl, ScopeKeepsTheCrawlOnItsSites) {
    for (const ScopeCase& c : kScopeCases) {
        std::vector<QUrl> starts;
        for (std::string_view start : c.starts) {
            starts.push_back(url(start));
        }
        const ScopeCheck check(c.scope, starts);
        EXPECT_EQ(check.inScope(url(c.candidate)), c.inScope)
            << static_cast<int>(c.scope) << " " << c.candidate;
    }
}

TEST(CrawlUrl, RegistrableDomains) {
    const ScopeCheck check(CrawlScope::Any, {});
    const Spelling cases[] = {
        {"http://www.example.co.uk/", "example.co.uk"},
        {"http://a.b.example.com./", "example.com"},
        {"http://x.a.github.io/", "a.github.io"},
        {"http://github.io/", "github.io"},
        {"http://127.0.0.1/", "127.0.0.1"},
        {"http://[::1]/", "::1"},
        {"http://localhost/", "localhost"},
        {"http://www.B\xC3\xBC"
         "cher.de/",
         "xn--bcher-kva.de"},
    };
    for (const Spelling& c : cases) {
        EXPECT_EQ(check.registrableDomain(url(c.in)), c.key) << c.in;
    }
}

}  // namespace
}  // namespace harvest
