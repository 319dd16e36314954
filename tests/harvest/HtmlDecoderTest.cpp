#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Decoders.h"
#include "HtmlDecoder.h"
#include "RecordingContext.h"

namespace harvest {
namespace {

RecordingContext decoded(const std::string& html) {
    RecordingContext context;
    Origin origin;
    origin.source = "page.html";
    decodeHtml(Blob{html, origin, 0}, context);
    return context;
}

struct Case {
    const char* name;
    std::string html;
    std::vector<std::string> present;  // in some piece
    std::vector<std::string> absent;   // in no piece
};

class HtmlText : public testing::TestWithParam<Case> {};

TEST_P(HtmlText, Decodes) {
    const Case& c = GetParam();
    const RecordingContext context = decoded(c.html);
    const std::string all = context.allText();
    for (const std::string& text : c.present) {
        EXPECT_NE(all.find(text), std::string::npos) << "missing \"" << text << "\" in\n" << all;
    }
    for (const std::string& text : c.absent) {
        EXPECT_EQ(all.find(text), std::string::npos) << "unexpected \"" << text << "\" in\n" << all;
    }
    EXPECT_TRUE(context.problems.empty());
}

INSTANTIATE_TEST_SUITE_P(
    Documents, HtmlText,
    testing::Values(Case{"NumericEntity", "<p>ann&#64;x.org</p>", {"ann@x.org"}, {}},
                    Case{"NamedEntity",
                         "<p>ann&commat;x.org &amp; bo&#x40;y.org</p>",
                         {"ann@x.org & bo@y.org"},
                         {}},
                    Case{"InlineJoined", "<p><b>ann</b>@<span>x</span>.org</p>", {"ann@x.org"}, {}},
                    Case{"BlocksSeparated",
                         "<div>one</div><div>two</div><ul><li>a</li><li>b</li></ul>"
                         "<table><tr><td>c</td><td>d</td></tr></table>x<br>y<h1>z</h1>",
                         {"one\ntwo\n", "a\nb\n", "c\nd\n", "x\ny\nz"},
                         {"onetwo", "ab", "cd", "xy"}},
                    Case{"StyleSkipped",
                         "<style>@media print { p { color: red } }</style><p>text</p>",
                         {"text"},
                         {"@media", "color"}},
                    Case{"ScriptAndCommentKept",
                         "<script>var m = 'carol' + '@x.org';</script><!-- dave@x.org --><p>x</p>",
                         {"'carol' + '@x.org'", "dave@x.org"},
                         {}},
                    Case{"MetaCharset",
                         "<meta charset=\"iso-8859-1\"><p>Ren\xE9"
                         "e</p>",
                         {"Renée"},
                         {}},
                    Case{"MetaHttpEquiv",
                         "<meta http-equiv=\"Content-Type\" content=\"text/html; charset=koi8-r\">"
                         "<p>\xF0\xD2\xC9\xD7\xC5\xD4</p>",
                         {"Привет"},
                         {}},
                    Case{"BomBeatsMeta",
                         "\xEF\xBB\xBF<meta charset=\"iso-8859-1\"><p>caf\xC3\xA9</p>",
                         {"café"},
                         {"cafÃ"}}),
    [](const testing::TestParamInfo<Case>& info) { return std::string(info.param.name); });

TEST(HtmlAttributes, EveryValueOnALineAfterTheText) {
    const RecordingContext context = decoded(
        "<p title=\"T\">ab</p><img alt=\"dave@x.org\" src=\"a.png\">"
        "<input value=\"eve@x.org\" data-mail=\"f&#64;x.org\" hidden>");
    ASSERT_EQ(context.pieces.size(), 2u);
    const TextPiece& text = context.pieces[0];
    const TextPiece& attributes = context.pieces[1];
    EXPECT_EQ(attributes.text, "T\ndave@x.org\na.png\neve@x.org\nf@x.org\n");
    EXPECT_EQ(attributes.origin.source, "page.html");
    EXPECT_EQ(attributes.origin.field, "");
    // The two pieces read as one text: the attributes start on the line after the last.
    const std::int64_t textLines = std::count(text.text.begin(), text.text.end(), '\n');
    const bool endsInNewline = !text.text.empty() && text.text.back() == '\n';
    EXPECT_EQ(attributes.firstLine, 1 + textLines + (endsInNewline ? 0 : 1));
    EXPECT_EQ(attributes.firstOffset,
              static_cast<std::int64_t>(text.text.size()) + (endsInNewline ? 0 : 1));
}

struct MailtoCase {
    const char* name;
    std::string html;
    std::string href;  // as it must appear in the text
    std::vector<std::pair<std::string, std::string>> hints;
};

class Mailto : public testing::TestWithParam<MailtoCase> {};

TEST_P(Mailto, NamesTheRecipientsByTheLinkText) {
    const MailtoCase& c = GetParam();
    const RecordingContext context = decoded(c.html);
    EXPECT_NE(context.allText().find(c.href), std::string::npos) << context.allText();
    // The hints go on the piece with the link text and on the one with the href.
    std::size_t withHints = 0;
    for (const TextPiece& piece : context.pieces) {
        std::vector<std::pair<std::string, std::string>> hints;
        for (const NameHint& hint : piece.names) {
            hints.emplace_back(hint.address, hint.name);
        }
        if (!hints.empty()) {
            ++withHints;
            EXPECT_EQ(hints, c.hints);
        }
    }
    EXPECT_EQ(withHints, c.hints.empty() ? 0u : 2u);
}

INSTANTIATE_TEST_SUITE_P(
    Links, Mailto,
    testing::Values(
        MailtoCase{"SeveralRecipients",
                   "<a href=\"mailto:ann%40x.org,bo@y.org?cc=c@z.org&amp;subject=Hi&bcc=d@z.org\">"
                   "Ann  \n <b>Lee</b></a>",
                   "mailto:ann%40x.org,bo@y.org?cc=c@z.org&subject=Hi&bcc=d@z.org",
                   {{"ann@x.org", "Ann Lee"},
                    {"bo@y.org", "Ann Lee"},
                    {"c@z.org", "Ann Lee"},
                    {"d@z.org", "Ann Lee"}}},
        MailtoCase{"TextIsTheAddress",
                   "<a href=\"MAILTO:ann@x.org\">ann@x.org</a>",
                   "MAILTO:ann@x.org",
                   {}},
        MailtoCase{"NoText",
                   "<a href=\"mailto:ann@x.org\"><img src=\"i.png\"></a>",
                   "mailto:ann@x.org",
                   {}},
        MailtoCase{"NotMailto",
                   "<a href=\"https://x.org/ann@x.org\">Ann</a>",
                   "https://x.org/ann@x.org",
                   {}}),
    [](const testing::TestParamInfo<MailtoCase>& info) { return std::string(info.param.name); });

TEST(MailtoRecipients, AngleFormAndJunk) {
    EXPECT_EQ(mailtoRecipients(" mailto:Ann%20Lee%20%3Cann@x.org%3E , ,nobody?to=b@y.org"),
              (std::vector<std::string>{"ann@x.org", "b@y.org"}));
    EXPECT_TRUE(mailtoRecipients("mailto:").empty());
    EXPECT_TRUE(mailtoRecipients("mail:ann@x.org").empty());
}

TEST(HtmlDecoder, DeepNestingIsReadAsPlainText) {
    std::string html;
    for (int i = 0; i < 200000; ++i)
        html += "<div>";
    html += "ann@x.org";
    const RecordingContext context = decoded(html);
    EXPECT_NE(context.allText().find("ann@x.org"), std::string::npos);
    ASSERT_EQ(context.problems.size(), 1u);
    EXPECT_EQ(context.problems[0].source, "page.html");
}

TEST(HtmlDecoder, ManyUnclosedParagraphsAreNotDeep) {
    std::string html;
    for (int i = 0; i < 10000; ++i)
        html += "<p>x<li>y<br><img src=a>";
    html += "<p>ann&#64;x.org";
    const RecordingContext context = decoded(html);
    EXPECT_NE(context.allText().find("ann@x.org"), std::string::npos);
    EXPECT_TRUE(context.problems.empty());
}

}  // namespace
}  // namespace harvest
