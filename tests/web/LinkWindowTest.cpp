// The link scan of a page parsed a window at a time against the whole page
// parsed at once, the way the scan worked before windows: the same links in
// the same order on generated pages of every kind of markup, with windows
// small enough that each page is cut many times.
#include <gtest/gtest.h>
#include <gumbo.h>

#include <chrono>
#include <random>

#include "GumboDocument.h"

namespace {

void Walk(const GumboNode* node, const char*& base, std::vector<const char*>& hrefs) {
    if (node->type != GUMBO_NODE_ELEMENT && node->type != GUMBO_NODE_TEMPLATE) {
        return;
    }
    const GumboElement& element = node->v.element;
    if (const GumboAttribute* href = gumbo_get_attribute(&element.attributes, "href")) {
        if (element.tag == GUMBO_TAG_A || element.tag == GUMBO_TAG_AREA) {
            hrefs.push_back(href->value);
        } else if (element.tag == GUMBO_TAG_BASE && !base) {
            base = href->value;
        }
    }
    for (unsigned i = 0; i < element.children.length; ++i) {
        Walk(static_cast<const GumboNode*>(element.children.data[i]), base, hrefs);
    }
}

QUrl Url(const char* text) {
    return QUrl(QString::fromUtf8(text).trimmed());
}

// The whole page parsed at once.
std::vector<std::string> ReferenceLinks(const std::string& html, const QUrl& pageUrl) {
    GumboOutput* output = gumbo_parse_with_options(&kGumboDefaultOptions, html.data(), html.size());
    const char* base = nullptr;
    std::vector<const char*> hrefs;
    Walk(output->root, base, hrefs);
    const QUrl baseUrl = base ? pageUrl.resolved(Url(base)) : pageUrl;
    std::vector<std::string> links;
    for (const char* href : hrefs) {
        links.push_back(baseUrl.resolved(Url(href)).toString(QUrl::FullyEncoded).toStdString());
    }
    gumbo_destroy_output(&kGumboDefaultOptions, output);
    return links;
}

// Pieces of markup that pages are made of, `n` numbering the links in them.
using Piece = std::string (*)(int n);

std::string Link(int n) {
    return "<a href=\"p" + std::to_string(n) + ".htm\">link " + std::to_string(n) + "</a>";
}

const Piece kPlain[] = {
    [](int n) {
        return "<div class=\"item\"><h3>Item</h3><p>text " + Link(n) + " more</p></div>\n";
    },
    [](int n) { return "<ul><li>" + Link(n) + "</li><li>plain</li></ul>\n"; },
    [](int n) {
        return "<p>a &amp; b <a href=\"q?a=" + std::to_string(n) + "&amp;b=2\">q</a></p>\n";
    },
    [](int n) {
        return "<table><tr><td>cell</td><td>" + Link(n) + "</td></tr><tr><td>x</td></tr></table>\n";
    },
    [](int n) {
        return "<map><area href=\"m" + std::to_string(n) + ".htm\"></map><br><img src=x>\n";
    },
    [](int) { return std::string("<p>nothing to follow here, just words and words</p>\n"); },
};

const Piece kTricky[] = {
    // links that are not links
    [](int n) {
        return "<script>var s = '<a href=\"s" + std::to_string(n) + ".htm\">';</script>\n";
    },
    [](int n) { return "<!-- <a href=\"c" + std::to_string(n) + ".htm\"> -->\n"; },
    [](int n) { return "<textarea><a href=\"t" + std::to_string(n) + ".htm\"></textarea>\n"; },
    [](int) { return std::string("<style>a > b { color: red }</style><title>x<a></title>\n"); },
    // an anchor left open, which the parser copies into the paragraphs after it
    [](int n) { return "<p><a href=\"open" + std::to_string(n) + ".htm\">open</p><p>on</p>\n"; },
    // formatting elements closed in the wrong order
    [](int n) { return "<b><i>bold " + Link(n) + "</b> italic</i>\n"; },
    [](int) { return std::string("<font color=red><p>red</font> text</p>\n"); },
    // a table with content where cells should be
    [](int n) { return "<table><tr>" + Link(n) + "<td>c</td></tr></table>\n"; },
    [](int n) {
        return "<svg><a href=\"v" + std::to_string(n) + ".htm\"><text>v</text></a></svg>\n";
    },
    [](int n) { return "<select><option>" + Link(n) + "</option></select>\n"; },
    [](int n) { return "<a href=\"x" + std::to_string(n) + ".htm\">x<div>block</a>after</div>\n"; },
    [](int n) {
        return "<table><tr><td><table><tr><td>" + Link(n) + "</table></td></tr></table>\n";
    },
    [](int n) { return "<object><p>" + Link(n) + "</object><dl><dt>t<dd>d</dl>\n"; },
    [](int n) { return "<template><a href=\"t" + std::to_string(n) + ".htm\">t</a></template>\n"; },
    [](int n) { return "<noscript><a href=\"n" + std::to_string(n) + ".htm\">n</a></noscript>\n"; },
};

// A page of `bytes` made of pieces drawn from `plain` and, one time in
// `trickyEvery`, from the tricky ones.
std::string Page(unsigned seed, size_t bytes, int trickyEvery, const std::string& prefix = "") {
    std::mt19937 random(seed);
    std::string html = "<!DOCTYPE html><html><head><title>t</title></head><body>\n" + prefix;
    for (int n = 0; html.size() < bytes; ++n) {
        if (trickyEvery > 0 && random() % trickyEvery == 0) {
            html += kTricky[random() % std::size(kTricky)](n);
        } else {
            html += kPlain[random() % std::size(kPlain)](n);
        }
    }
    return html + "</body></html>";
}

const QUrl kPage("http://h/dir/page.htm");

// Where two lists of links part, for a readable failure.
std::string FirstDifference(const std::vector<std::string>& got,
                            const std::vector<std::string>& expected) {
    size_t i = 0;
    while (i < got.size() && i < expected.size() && got[i] == expected[i]) {
        ++i;
    }
    if (i == got.size() && i == expected.size()) {
        return "none";
    }
    auto at = [&](const std::vector<std::string>& links) {
        std::string text;
        for (size_t j = i > 2 ? i - 2 : 0; j < links.size() && j < i + 3; ++j) {
            text += " " + links[j].substr(links[j].rfind('/') + 1);
        }
        return text;
    };
    return "at link " + std::to_string(i) + " of " + std::to_string(got.size()) + "/" +
           std::to_string(expected.size()) + ": got" + at(got) + ", expected" + at(expected);
}

// A script longer than a window, full of '<' and of markup in strings.
std::string LongScript(unsigned seed) {
    std::mt19937 random(seed);
    std::string script = "<script>\nvar s = [];\n";
    while (script.size() < 30000) {
        switch (random() % 3) {
            case 0:
                script += "if (a < b && c <d) { s.push('<a href=\"js.htm\">'); }\n";
                break;
            case 1:
                script += "document.write('<div></div></p><!-- x -->');\n";
                break;
            default:
                script += "var t = '" + std::string(random() % 500, 'q') + "';\n";
        }
    }
    return script + "</script>\n";
}

struct WindowCase {
    std::string name;
    std::string html;
};

std::vector<WindowCase> WindowCases() {
    std::vector<WindowCase> cases = {
        {"Plain", Page(1, 300000, 0)},
        {"SomeTrickyMarkup", Page(2, 300000, 12)},
        {"LayoutTable",
         "<table><tr><td><div id=\"all\">" + Page(3, 300000, 10) + "</div></td></tr>"},
        {"BaseFarDown", Page(4, 100000, 0) + "<base href=\"/deep/\">" + Page(5, 100000, 0)},
        {"LongScripts", Page(6, 50000, 0) + LongScript(6) + Page(7, 50000, 8) + LongScript(7)},
    };
    std::string flat = Page(8, 200000, 6);
    std::erase(flat, '\n');
    cases.push_back({"NoLineBreaks", flat});
    for (unsigned seed = 10; seed < 40; ++seed) {  // as tricky as it gets
        cases.push_back({"TrickyMarkup" + std::to_string(seed), Page(seed, 60000, 2)});
    }
    return cases;
}

class Windows : public ::testing::TestWithParam<WindowCase> {};

TEST_P(Windows, FindTheLinksOfTheWholePageInItsOrder) {
    const std::string& html = GetParam().html;
    const auto expected = ReferenceLinks(html, kPage);
    ASSERT_GT(expected.size(), 100u);
    for (size_t window : {1500, 4096, 65536}) {
        LinkScanLimits limits;
        limits.windowBytes = window;
        EXPECT_EQ(FirstDifference(ExtractLinks(html, kPage, limits), expected), "none")
            << window << "-byte windows";
    }
}

INSTANTIATE_TEST_SUITE_P(Pages, Windows, ::testing::ValuesIn(WindowCases()),
                         [](const auto& info) { return info.param.name; });

TEST(LinkScan, AParseTreeThatPassesItsCapKeepsTheLinksFoundBefore) {
    // Formatting elements left open in a paragraph, each one different, are
    // copied again into every paragraph that follows: the tree grows with
    // their product (20 kB of this take 200 MB).
    std::string bomb = "<p>";
    for (int i = 0; i < 200; ++i) {
        bomb += "<b class=\"c" + std::to_string(i) + "\">";
    }
    for (int i = 0; i < 30000; ++i) {
        bomb += "<p>x";
    }
    const std::string page = Page(8, 200000, 0);
    LinkScanLimits limits;
    limits.windowBytes = 65536;
    limits.treeBytes = 8 * 1024 * 1024;
    const auto started = std::chrono::steady_clock::now();
    const auto links = ExtractLinks(page + bomb + Link(99999), kPage, limits);
    EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(5));
    const auto before = ReferenceLinks(page, kPage);
    ASSERT_GE(links.size(), before.size() / 2);
    ASSERT_LT(links.size(), before.size());
    EXPECT_TRUE(std::equal(links.begin(), links.end(), before.begin()));
}

TEST(LinkScan, APageOfNothingButLinksIsParsedInSmallerWindows) {
    std::string html;
    for (int n = 0; html.size() < 300000; ++n) {
        html += Link(n);
    }
    LinkScanLimits limits;
    limits.windowBytes = 65536;
    limits.treeBytes = 1024 * 1024;  // less than such a window's tree
    EXPECT_EQ(FirstDifference(ExtractLinks(html, kPage, limits), ReferenceLinks(html, kPage)),
              "none");
}

TEST(LinkScan, AListOfLinksOverItsBudgetKeepsTheFirstOnes) {
    const std::string html = Page(9, 400000, 0);
    const auto all = ReferenceLinks(html, kPage);
    LinkScanLimits limits;
    limits.windowBytes = 65536;
    limits.linkBytes = 64 * 1024;
    const auto links = ExtractLinks(html, kPage, limits);
    ASSERT_GT(links.size(), 100u);
    ASSERT_LT(links.size(), all.size() / 4);
    EXPECT_TRUE(std::equal(links.begin(), links.end(), all.begin()));
}

}  // namespace
