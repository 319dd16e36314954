#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "Decoders.h"
#include "HtmlDecoder.h"
#include "RecordingContext.h"
#include "TextDecoder.h"

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
                    Case{"SelfClosingStyleInSvgHidesNothing",
                         "<svg><style/></svg><p>ann@x.org</p><style/>@import x</style>b",
                         {"ann@x.org", "b"},
                         {"@import"}},
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
                    Case{"ControlCharactersBecomeSpaces",
                         "<p>ann\x01x\x7F<b title=\"a\x02"
                         "b\">y</b></p>",
                         {"ann x y", "a b"},
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

// Deep nesting, and many unclosed paragraphs that are not deep at all.
TEST(HtmlDecoder, DeepOrUnclosedMarkupIsReadLikeAnyPage) {
    std::string deep, unclosed;
    for (int i = 0; i < 200000; ++i) {
        deep += "<div>";
    }
    for (int i = 0; i < 10000; ++i) {
        unclosed += "<p>x<li>y<br><img src=a>";
    }
    for (const std::string& html : {deep + "ann@x.org", unclosed + "<p>ann&#64;x.org"}) {
        const RecordingContext context = decoded(html);
        EXPECT_NE(context.allText().find("ann@x.org"), std::string::npos);
        EXPECT_TRUE(context.problems.empty());
    }
}

// The pieces of one source read as one text: each starts where the one
// before ended, in lines and in bytes.
void expectContinuous(const std::vector<TextPiece>& pieces, std::size_t from, std::size_t to) {
    for (std::size_t i = from + 1; i < to; ++i) {
        const TextPiece& before = pieces[i - 1];
        EXPECT_EQ(pieces[i].firstOffset,
                  before.firstOffset + static_cast<std::int64_t>(before.text.size()));
        EXPECT_EQ(pieces[i].firstLine,
                  before.firstLine + std::count(before.text.begin(), before.text.end(), '\n'));
    }
}

std::string address(int i) {
    return "user" + std::to_string(i) + "@d" + std::to_string(i % 7) + ".org";
}

TEST(HtmlStreaming, LargePageInBoundedPiecesCutAtLineEnds) {
    std::string html = "<html><body>";
    const int count = 30000;  // attribute values well under what is kept
    for (int i = 0; i < count; ++i) {
        html += "<p>Write to <a href=\"mailto:" + address(i) + "\">Name " + std::to_string(i) +
                "</a> or <b>" + address(i) + "</b> about the thing we talked about.</p>\n";
    }
    const RecordingContext context = decoded(html);
    ASSERT_GT(context.pieces.size(), 3u);
    const std::size_t texts = context.pieces.size() - 1;  // the last holds the attributes
    std::string text;
    std::size_t hints = 0;
    for (std::size_t i = 0; i < texts; ++i) {
        const TextPiece& piece = context.pieces[i];
        EXPECT_LE(piece.text.size(), (1u << 20) + 4096);
        EXPECT_EQ(piece.text.back(), '\n');
        text += piece.text;
        hints += piece.names.size();
    }
    expectContinuous(context.pieces, 0, texts);
    EXPECT_EQ(context.pieces[0].firstLine, 1);
    EXPECT_EQ(context.pieces[0].firstOffset, 0);
    // Every address whole in the text, every link's name among the hints
    // (those of a piece go with the next one too).
    for (int i = 0; i < count; i += 997) {
        EXPECT_NE(text.find(" " + address(i) + " about"), std::string::npos) << i;
    }
    EXPECT_GE(hints, static_cast<std::size_t>(count));
    EXPECT_LE(hints, static_cast<std::size_t>(count) * 2);
    const TextPiece& attributes = context.pieces.back();
    EXPECT_EQ(attributes.firstOffset, static_cast<std::int64_t>(text.size()));
    EXPECT_EQ(attributes.firstLine, 1 + std::count(text.begin(), text.end(), '\n'));
    EXPECT_EQ(attributes.names.size(), static_cast<std::size_t>(count));
}

TEST(HtmlStreaming, LineWithoutBreaksIsCutAtASpace) {
    std::string html = "<p>";
    while (html.size() < (3u << 20)) {
        html += "word ann@x.org ";
    }
    const RecordingContext context = decoded(html);
    ASSERT_GE(context.pieces.size(), 3u);
    for (std::size_t i = 0; i + 1 < context.pieces.size(); ++i) {
        EXPECT_EQ(context.pieces[i].text.back(), ' ');
        EXPECT_TRUE(context.pieces[i + 1].text.starts_with("word ann@x.org"));
    }
    expectContinuous(context.pieces, 0, context.pieces.size());
}

TEST(HtmlStreaming, ManyAttributeValuesFollowTheTextInPieces) {
    // More values than the decoder keeps in memory: they come in pieces of
    // their own after the text, in order, with the names of the mailto: links.
    std::string html;
    std::string values;
    const int count = 15000;
    for (int i = 0; i < count; ++i) {
        const std::string title = "t" + std::to_string(i) + std::string(100, 'x');
        html += "<a title=\"" + title + "\" href=\"mailto:" + address(i) + "\">N<b>" +
                std::to_string(i) + "</b></a><br>\n";
        values += title + "\nmailto:" + address(i) + "\n";
    }
    const RecordingContext context = decoded(html);
    std::size_t first = 0;  // the first attribute piece
    while (first < context.pieces.size() && !context.pieces[first].text.starts_with("t0x")) {
        ++first;
    }
    ASSERT_LT(first + 1, context.pieces.size());
    std::string text, attributes;
    std::size_t hints = 0;
    for (std::size_t i = 0; i < context.pieces.size(); ++i) {
        (i < first ? text : attributes) += context.pieces[i].text;
        for (const NameHint& hint : context.pieces[i].names) {
            hints +=
                i >= first && hint.name == "N" + hint.address.substr(4, hint.address.find('@') - 4);
        }
    }
    EXPECT_EQ(attributes, values);
    EXPECT_GE(hints, static_cast<std::size_t>(count));
    expectContinuous(context.pieces, 0, first);
    expectContinuous(context.pieces, first, context.pieces.size());
    const bool separated = text.back() != '\n';
    EXPECT_EQ(context.pieces[first].firstOffset,
              static_cast<std::int64_t>(text.size()) + (separated ? 1 : 0));
    EXPECT_EQ(context.pieces[first].firstLine,
              1 + std::count(text.begin(), text.end(), '\n') + (separated ? 1 : 0));
}

TEST(HtmlStreaming, RunsWithoutSpacesAreCutBetweenCharacters) {
    // Three bytes a character, so that a cut by size alone would split one.
    std::string word;
    while (word.size() < (3u << 20)) {
        word += "\xE2\x82\xAC";
    }
    for (const std::string& html : {"<p>" + word + "</p>", "<p title=\"" + word + "\">x</p>"}) {
        const RecordingContext context = decoded(html);
        std::string all;
        for (const TextPiece& piece : context.pieces) {
            EXPECT_EQ(cleanUtf8(piece.text), piece.text);
            all += piece.text;
        }
        EXPECT_NE(all.find(word), std::string::npos);
        EXPECT_GE(context.pieces.size(), 3u);
    }
}

TEST(HtmlStreaming, CancelledRunStopsAfterThePieceAtHand) {
    std::string html;
    while (html.size() < (4u << 20)) {
        html += "<p>ann@x.org and more words to fill a line with</p>\n";
    }
    RecordingContext context;
    context.cancel = true;
    decodeHtml(Blob{html, Origin{"page.html", {}, {}, {}, {}, {}, {}}, 0}, context);
    EXPECT_EQ(context.pieces.size(), 1u);
}

}  // namespace
}  // namespace harvest
