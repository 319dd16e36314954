// The streaming read of a page's links against a full HTML5 parser (gumbo)
// feeding the same rules from its tree: on generated pages both must give the
// same links in the same order and the same robots flags.
#include <gtest/gtest.h>
#include <gumbo.h>

#include <random>
#include <string>
#include <vector>

#include "PageLinkGatherer.h"
#include "PageLinks.h"

namespace harvest {
namespace {

using namespace std::literals;

const QUrl kPage("http://example.com/dir/page.html");

// Every element of gumbo's tree in document order, template contents too.
PageLinks gumboLinks(std::string_view html, const QUrl& pageUrl, std::size_t maxLinks) {
    GumboOutput* output = gumbo_parse_with_options(&kGumboDefaultOptions, html.data(), html.size());
    PageLinkGatherer gatherer;
    std::vector<const GumboNode*> pending{output->root};
    std::vector<HtmlAttribute> attributes;
    while (!pending.empty()) {
        const GumboNode* node = pending.back();
        pending.pop_back();
        if (node->type != GUMBO_NODE_ELEMENT && node->type != GUMBO_NODE_TEMPLATE) {
            continue;
        }
        const GumboElement& element = node->v.element;
        attributes.clear();
        for (unsigned i = 0; i < element.attributes.length; ++i) {
            const auto* a = static_cast<const GumboAttribute*>(element.attributes.data[i]);
            attributes.push_back({a->name, a->value});
        }
        gatherer.startTag(gumbo_normalized_tagname(element.tag), attributes);
        for (unsigned i = element.children.length; i > 0; --i) {
            pending.push_back(static_cast<const GumboNode*>(element.children.data[i - 1]));
        }
    }
    gumbo_destroy_output(&kGumboDefaultOptions, output);
    return gatherer.finish(pageUrl, maxLinks);
}

std::vector<std::string> texts(const std::vector<QUrl>& urls) {
    std::vector<std::string> out;
    for (const QUrl& url : urls) {
        out.push_back(url.toEncoded().toStdString());
    }
    return out;
}

void expectSameAsGumbo(std::string_view html, std::size_t maxLinks = 10000) {
    const PageLinks expected = gumboLinks(html, kPage, maxLinks);
    const PageLinks got = pageLinks(html, kPage, maxLinks);
    EXPECT_EQ(texts(got.links), texts(expected.links)) << html;
    EXPECT_EQ(got.nofollow, expected.nofollow) << html;
    EXPECT_EQ(got.noindex, expected.noindex) << html;
    EXPECT_EQ(got.base, expected.base) << html;
}

// Pieces of pages where a reader that is not a full parser could go wrong.
constexpr std::string_view kTricky[] = {
    "<A HREF=/Upper>x</A><a\nhref\n=\n'/spaced'\n>y</a><a href=/first href=/second>x</a>",
    "<a href=\"/q?a=1&amp;b=2&copy=3&lt;&#47;x&#x2F;&notit;&para\">x</a>",
    "<!-- <a href=/c1> --><!--> <a href=/after-empty-comment><!---><a href=/c2>",
    "<!--x--!><a href=/bang-close>",
    "<script>document.write('<a href=/s>')</script><a href=/after-script>",
    "<script>if (a</scriptx> b) {}</script><a href=/t>",
    "<style>a{}</style><title><a href=/in-title></title><a href=/x>",
    "<textarea><a href=/in-textarea></textarea><xmp><a href=/in-xmp></xmp>",
    "<iframe src=/frame><a href=/inside-iframe></iframe><noembed><a href=/ne></noembed>",
    "<noscript><a href=/in-noscript></a></noscript>",
    "<template><a href=/in-template></a></template><a href=/out>",
    "<svg><a href=/svg-link></a><title><a href=/svg-title></a></title></svg>",
    "<a href=/one><p>unclosed<a href=/two><div><a href=/three>",
    "<a href=/x><b>bold</a>still bold<a href=/y></b>", "<? pi <a href=/in-pi> ?><a href=/after-pi>",
    "<body><base href=//cdn.example.net/late/><a href=x></body></html><a href=after-html>",
    "<link rel=alternate href=/alt><link rel='alternate stylesheet' href=/s.css>",
    "<meta http-equiv=Refresh content=\"0; URL='/moved'\"><meta name=GLEANMARK content=NONE>",
    "<meta name=robots content='noindex'><meta name='ROBOTS' content='NOFOLLOW, noarchive'>",
    "<meta http-equiv=refresh content=3><base target=_blank><base href=/base/>",
    "<p>a < b <a href=/lt></p></ p><a href=/after-odd-end>",
    "<a href=\"/caf\xC3\xA9\">x</a><a href=\"/\xE2\x82\xAC\">y</a>",
    // Latin-1, a lone continuation byte, a sequence cut short, an overlong '/'.
    "<a href=\"/caf\xE9\">x</a><a href=/\x80x>y</a><a href=/\xE2\x82>z</a><a href=/\xC0\xAF>",
    "<p>\xFF\xFE\xFD</p><a href=/after-bad-bytes>",
    "<a href=\"/nul\0byte\">x</a><a href=/after-nul>"sv,
    "<a href=\"/unterminated-quote>x</a><a href=/y>", "<a href=/unterminated"};

TEST(PageLinksReference, PiecesAsGumboReadsThem) {
    for (const std::string_view page : kTricky) {
        expectSameAsGumbo(page);
    }
}

// A page of random links, tricky pieces and plain text, with blanks between.
std::string generatedPage(std::mt19937& random) {
    static const std::string_view kHrefs[] = {"/a",
                                              "b.html",
                                              "../up",
                                              "?q=1&amp;r=2",
                                              "#frag",
                                              "/a#other",
                                              "//cdn.example.net/x",
                                              "https://Example.COM:443/s",
                                              "javascript:void(0)",
                                              "mailto:a@example.com",
                                              " /blank ",
                                              "/new\nline",
                                              "",
                                              "/caf\xC3\xA9",
                                              "/p?x=&lt;y&gt;",
                                              "/&#x41;&#66;",
                                              "/a/./b/../c"};
    static const std::string_view kRels[] = {"", " rel=nofollow", " rel='NoFollow ugc'",
                                             " rel=noopener", " rel=alternate"};
    static const std::string_view kTags[] = {"<a", "<A", "<link", "<area"};
    const auto pick = [&](const auto& list) -> std::string_view {
        return list[std::uniform_int_distribution<std::size_t>(0, std::size(list) - 1)(random)];
    };
    std::string page = random() % 2 ? "<!doctype html><html><head>" : "";
    for (int pieces = 20 + static_cast<int>(random() % 60); pieces > 0; --pieces) {
        const std::string_view href = pick(kHrefs);
        const bool bare = !href.empty() && href.find_first_of(" \n") == std::string_view::npos;
        const std::string quote = random() % 2 ? "'" : (bare ? "" : "\"");
        switch (random() % 4) {
            case 0:
                page += std::string(pick(kTags)) + std::string(pick(kRels)) + " href=" + quote +
                        std::string(href) + quote + ">link ";
                break;
            case 1:
                page += "<iframe src=" + quote + std::string(href) + quote + "></iframe>";
                break;
            case 2:
                page += pick(kTricky);
                break;
            default:
                page += random() % 2 ? "<p>text</p><div>" : "</b></div><ul><li>item";
                break;
        }
        page += random() % 4 ? "" : "\n";
    }
    return page;
}

TEST(PageLinksReference, GeneratedPagesAsGumboReadsThem) {
    std::mt19937 random(20240611);
    for (int i = 0; i < 300; ++i) {
        const std::string page = generatedPage(random);
        expectSameAsGumbo(page);
        expectSameAsGumbo(page, 3);
    }
}

}  // namespace
}  // namespace harvest
