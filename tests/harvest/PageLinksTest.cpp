#include "PageLinks.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

namespace harvest {
namespace {

using namespace std::literals;

const QUrl kPage("http://example.com/dir/page.html");

struct Case {
    std::string_view html;
    std::vector<std::string_view> links;
    bool nofollow = false;
    bool noindex = false;
};

std::vector<std::string> texts(const std::vector<QUrl>& urls) {
    std::vector<std::string> out;
    for (const QUrl& url : urls) {
        out.push_back(url.toEncoded().toStdString());
    }
    return out;
}

void expectCases(const std::vector<Case>& cases) {
    for (const Case& c : cases) {
        const PageLinks got = pageLinks(c.html, kPage);
        EXPECT_EQ(texts(got.links), std::vector<std::string>(c.links.begin(), c.links.end()))
            << c.html;
        EXPECT_EQ(got.nofollow, c.nofollow) << c.html;
        EXPECT_EQ(got.noindex, c.noindex) << c.html;
    }
}

TEST(PageLinks, EachKindOfLinkAndWhatIsNotOne) {
    expectCases({
        {"<a href=x.html>x</a>", {"http://example.com/dir/x.html"}},
        {"<map><area shape=rect href=/map></map>", {"http://example.com/map"}},
        {"<link rel=alternate hreflang=de href=/de/>", {"http://example.com/de/"}},
        {"<link rel='ALTERNATE' type=application/rss+xml href=/feed>", {"http://example.com/feed"}},
        {"<link rel=stylesheet href=/s.css><link rel=canonical href=/c>", {}},
        {"<link rel='alternate stylesheet' href=/alt.css>", {}},
        {"<link rel=alternates href=/x><link href=/no-rel>", {}},
        {"<frameset><frame src=f1.html><frame src=/f2></frameset>",
         {"http://example.com/dir/f1.html", "http://example.com/f2"}},
        {"<iframe src=//other.example.org/embed><a href=/inside>x</a></iframe>",
         {"http://other.example.org/embed"}},
        {"<a name=top>no href</a><img src=/img.png><script src=/s.js></script>", {}},
        {"<meta http-equiv=refresh content='5; url=/next'>", {"http://example.com/next"}},
        {"<a href='javascript:alert(1)'>x</a><a href=' JavaScript:go()'>y</a>", {}},
        {"<a href=mailto:someone@example.com>x</a><a href=tel:+123>y</a>", {}},
        {"<a href='data:text/html,<p>x'>x</a><a href=ftp://example.com/f>y</a>", {}},
        {"<a href=javascript:x>1</a><a href=/real>2</a>", {"http://example.com/real"}},
    });
}

TEST(PageLinks, MetaRefreshForms) {
    const std::pair<std::string_view, std::string_view> cases[] = {
        {"0;url=x", "http://example.com/dir/x"},
        {"0; URL='x y'", "http://example.com/dir/x%20y"},
        {"0; url = &quot;/quoted&quot; rest", "http://example.com/quoted"},
        {"  1.5 , /comma", "http://example.com/comma"},
        {".5;url=/dot", "http://example.com/dot"},
        {"0 /after-blank", "http://example.com/after-blank"},
        {"0; urx", "http://example.com/dir/urx"},
        {"0; url /no-equals", "http://example.com/dir/url%20/no-equals"},
        {"0;URL=https://other.example.org/", "https://other.example.org/"},
        {"0", ""},
        {"3;", ""},
        {"0; url=", ""},
        {"0; url=''", ""},
        {"soon; url=/no-time", ""},
        {"5x; url=/bad-separator", ""},
        {"0; url=javascript:go()", ""},
        {"", ""},
    };
    for (const auto& [content, link] : cases) {
        const std::string html = "<meta http-equiv=' Refresh ' content=\"" + std::string(content) +
                                 "\"><meta http-equiv=other content='0;url=/not-refresh'>";
        const std::vector<std::string> expected =
            link.empty() ? std::vector<std::string>{} : std::vector<std::string>{std::string(link)};
        EXPECT_EQ(texts(pageLinks(html, kPage).links), expected) << content;
    }
}

// The base and the link resolved against it; a path is on http://example.com.
TEST(PageLinks, BaseHref) {
    const std::array<std::string_view, 3> cases[] = {
        {"<base href=/b/><a href=x>", "/b/", "/b/x"},
        {"<base href=sub/><a href=x>", "/dir/sub/", "/dir/sub/x"},
        {"<base href='https://cdn.example.net/r/'><a href=../x>", "https://cdn.example.net/r/",
         "https://cdn.example.net/x"},
        {"<base href=/1st/><base href=/2nd/><a href=x>", "/1st/", "/1st/x"},
        {"<base target=_top><base href=/2nd/><a href=x>", "/2nd/", "/2nd/x"},
        {"<a href=x></a><base href=/late/>", "/late/", "/late/x"},
        {"<base href=/b/><a href=#top>", "/b/", "/b/"},
        {"<base href=javascript:void(0)><a href=x>", "/dir/page.html", "/dir/x"},
        {"<base href=ftp://files.example.com/><a href=x>", "/dir/page.html", "/dir/x"},
    };
    const auto absolute = [](std::string_view url) {
        return (url.starts_with("/") ? "http://example.com" : "") + std::string(url);
    };
    for (const auto& [html, base, link] : cases) {
        const PageLinks got = pageLinks(html, kPage);
        EXPECT_EQ(got.base.toEncoded().toStdString(), absolute(base)) << html;
        EXPECT_EQ(texts(got.links), std::vector<std::string>{absolute(link)}) << html;
    }
}

TEST(PageLinks, NofollowAndNoindex) {
    expectCases({
        {"<a rel=nofollow href=/a>a</a><a href=/b>b</a>", {"http://example.com/b"}},
        {"<a rel='NoFollow noopener' href=/a>a</a>", {}},
        {"<area rel=' ugc\tnofollow ' href=/a><link rel='alternate nofollow' href=/b>", {}},
        {"<a rel=nofollowers href=/a>a</a>", {"http://example.com/a"}},
        {"<meta name=robots content='noindex, nofollow'><a href=/a>",
         {"http://example.com/a"},
         true,
         true},
        {"<meta name=ROBOTS content=NOFOLLOW>", {}, true, false},
        {"<meta name=robots content='noindex'>", {}, false, true},
        {"<meta name=robots content=none>", {}, true, true},
        {"<meta name=' GleanMark ' content='noindex nofollow'>", {}, true, true},
        {"<meta name=robots content=noarchive><meta name=robots content=nofollow>", {}, true},
        {"<meta name=robots content='index, follow, max-snippet:-1'>", {}},
        {"<meta name=googlebot content=nofollow><meta name=description content=noindex>", {}},
        {"<meta content=nofollow>", {}},
        {"<meta name=robots content='nofollowing, noindexed'>", {}},
    });
}

TEST(PageLinks, OneOfEachInDocumentOrder) {
    expectCases({
        {"<a href=/a#x>1</a><a href=/b>2</a><a href=/a#y>3</a><a href=/a>4</a>",
         {"http://example.com/a", "http://example.com/b"}},
        {"<a href=/p>1</a><a href='HTTP://EXAMPLE.com:80/p'>2</a><a href=/./q/../p>3</a>",
         {"http://example.com/p"}},
        {"<a href=/z>1</a><iframe src=/y></iframe><a href=/z>2</a><meta http-equiv=refresh "
         "content='0;url=/x'>",
         {"http://example.com/z", "http://example.com/y", "http://example.com/x"}},
    });
}

TEST(PageLinks, AttributesAsHtmlReadsThemInAnyCharset) {
    expectCases({
        {"<a href=\"/q?a=1&amp;b=2\">x</a>", {"http://example.com/q?a=1&b=2"}},
        {"<a href='/q?a=1&copy=2&lang=en&amp;x'>x</a>",
         {"http://example.com/q?a=1&copy=2&lang=en&x"}},
        {"<a href=/&#x61;&#98;c&sol;>x</a>", {"http://example.com/abc/"}},
        {"<A HREF=/Upper>x</A>", {"http://example.com/Upper"}},
        {"<a href=/unquoted?x=1>x</a>", {"http://example.com/unquoted?x=1"}},
        {"<a\nhref\n=\n'/spaced'\n>x</a>", {"http://example.com/spaced"}},
        {"<a href='  /trim  '>x</a>", {"http://example.com/trim"}},
        {"<a href=\"/new\nline\">x</a>", {"http://example.com/newline"}},
        {"<a href=/first href=/second>x</a>", {"http://example.com/first"}},
        {"<a data-href=/data href=/real>x</a>", {"http://example.com/real"}},
        {"<a href>itself</a>", {"http://example.com/dir/page.html"}},
        // UTF-8 as it stands, Latin-1 and cut sequences as U+FFFD, all escaped.
        {"<a href=\"/caf\xC3\xA9\">x</a>", {"http://example.com/caf%C3%A9"}},
        {"<a href=\"/caf\xE9\">x</a>", {"http://example.com/caf%EF%BF%BD"}},
        {"<a href=\"/\xE2\x82|\xC0\xAF\">x</a>",
         {"http://example.com/%EF%BF%BD%7C%EF%BF%BD%EF%BF%BD"}},
        {"<a href=\"/\xE2\x82\xAC?q=\xE2\x82\xAC\">x</a>",
         {"http://example.com/%E2%82%AC?q=%E2%82%AC"}},
        {"<a href=\"http://B\xC3\xBC"
         "cher.example/\">x</a>",
         {"http://xn--bcher-kva.example/"}},
    });
}

TEST(PageLinks, BrokenHtml) {
    expectCases({
        {"<a href=/one><p>unclosed<a href=/two><div><a href=/three>",
         {"http://example.com/one", "http://example.com/two", "http://example.com/three"}},
        {"<a href=/ok>x</a><a href=\"/cut", {"http://example.com/ok"}},
        {"<a href=/ok>x</a><a href=/cut", {"http://example.com/ok"}},
        {"<a checked href=/after-bare disabled>x", {"http://example.com/after-bare"}},
        {"<!-- <a href=/commented> --><a href=/real>", {"http://example.com/real"}},
        {"<!-- never closed <a href=/commented>", {}},
        {"<script>x = '<a href=/in-script>'</script><a href=/real>", {"http://example.com/real"}},
        {"<textarea><a href=/t></textarea><title><a href=/u></title>", {}},
        {"a < b, c <= d <a href=/real>", {"http://example.com/real"}},
        {"</a href=/end-tag><a href=/real>", {"http://example.com/real"}},
        {"<a href=/x>\xFF\xFE</a><a href=/after-bad-bytes>",
         {"http://example.com/x", "http://example.com/after-bad-bytes"}},
        {"<a href=/nul\0>x</a><a href=/after>"sv,
         {"http://example.com/nul%EF%BF%BD", "http://example.com/after"}},
        {"", {}},
    });
}

TEST(PageLinks, AtMostMaxLinks) {
    std::string html = "<a href=javascript:x>j</a><a href=/0#dup>d</a>";
    for (int i = 0; i < 10; ++i) {
        html += "<a href=/" + std::to_string(i) + ">" + std::to_string(i) + "</a>";
    }
    const std::pair<std::size_t, std::vector<std::string>> cases[] = {
        {0, {}},
        {1, {"http://example.com/0"}},
        {3, {"http://example.com/0", "http://example.com/1", "http://example.com/2"}},
    };
    for (const auto& [maxLinks, expected] : cases) {
        EXPECT_EQ(texts(pageLinks(html, kPage, maxLinks).links), expected) << maxLinks;
    }
    EXPECT_EQ(pageLinks(html, kPage).links.size(), 10u);
}

}  // namespace
}  // namespace harvest
