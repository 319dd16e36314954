#include <gtest/gtest.h>

#include <string>

#include "HtmlEntities.h"
#include "HtmlTokenizer.h"

namespace harvest {
namespace {

// The tokens as one line of text: T(text) <name a=v> </name> C(comment),
// adjacent text calls joined.
class Recorder : public HtmlHandler {
public:
    std::string out;

    void text(std::string_view s) override {
        if (!out.ends_with(")") || !inText_) {
            out += "T(";
        } else {
            out.pop_back();
        }
        out.append(s);
        out += ')';
        inText_ = true;
    }
    void startTag(std::string_view name, std::span<const HtmlAttribute> attributes) override {
        out += '<';
        out.append(name);
        for (const HtmlAttribute& a : attributes) {
            out += ' ';
            out.append(a.name);
            out += '=';
            out.append(a.value);
        }
        out += '>';
        inText_ = false;
    }
    void endTag(std::string_view name) override {
        out += "</";
        out.append(name);
        out += '>';
        inText_ = false;
    }
    void comment(std::string_view s) override {
        out += "C(";
        out.append(s);
        out += ')';
        inText_ = false;
    }

private:
    bool inText_ = false;
};

std::string tokens(std::string_view html) {
    Recorder recorder;
    HtmlTokenizer(html).run(recorder);
    return recorder.out;
}

struct TokenCase {
    const char* name;
    std::string html;
    std::string tokens;
};

class Tokens : public testing::TestWithParam<TokenCase> {};

TEST_P(Tokens, AreThoseOfHtml) {
    EXPECT_EQ(tokens(GetParam().html), GetParam().tokens);
}

INSTANTIATE_TEST_SUITE_P(
    Pages, Tokens,
    testing::Values(
        TokenCase{"Plain", "<P Class=x>Hi</P>", "<p class=x>T(Hi)</p>"},
        TokenCase{"Quoting", "<a href=\"a>b\" title='c \"d\"' data-x=e&amp;f checked>",
                  "<a href=a>b title=c \"d\" data-x=e&f checked=>"},
        TokenCase{"SpacesAroundEquals", "<img alt = \"x\"/>", "<img alt=x>"},
        TokenCase{"FirstOfADuplicateWins", "<p id=1 ID=2>", "<p id=1>"},
        TokenCase{"SlashesBetweenAttributes", "<br/ a=1 / b>", "<br a=1 b=>"},
        TokenCase{"EndTagAttributesDropped", "</div id=\"x>y\">z", "</div>T(z)"},
        TokenCase{"LessThanNotATag", "a < b <3 <=c", "T(a < b <3 <=c)"},
        TokenCase{"EmptyEndTag", "a</>b", "T(ab)"},
        TokenCase{"BogusEndTag", "a</3 x>b", "T(a)C(3 x)T(b)"},
        TokenCase{"LoneEndAtTheEnd", "a</", "T(a</)"},
        TokenCase{"Comment", "a<!-- x@y.org -->b", "T(a)C( x@y.org )T(b)"},
        TokenCase{"CommentWithDashes", "<!-- a -- b --!>c", "C( a -- b )T(c)"},
        TokenCase{"EmptyComments", "<!-->a<!--->b", "C()T(a)C()T(b)"},
        TokenCase{"CommentToTheEnd", "<!-- open", "C( open)"},
        TokenCase{"Doctype", "<!DOCTYPE html>x", "T(x)"},
        TokenCase{"ProcessingInstruction", "<?xml version=\"1.0\"?>x",
                  "C(?xml version=\"1.0\"?)T(x)"},
        TokenCase{"CdataOutsideForeignContent", "<![CDATA[a<b]]>", "C([CDATA[a<b]])"},
        TokenCase{"CdataInSvg", "<svg><![CDATA[a<b&amp;]]></svg><![CDATA[c]]>",
                  "<svg>T(a<b&amp;)</svg>C([CDATA[c]])"},
        TokenCase{"ScriptIsRaw", "<script>if (a<b) x = '</p>&amp;';</SCRIPT >y",
                  "<script>T(if (a<b) x = '</p>&amp;';)</script>T(y)"},
        TokenCase{"StyleIsRaw", "<style>a<b>{}</style>", "<style>T(a<b>{})</style>"},
        TokenCase{"TitleDecodesReferences", "<title>a<b>&amp;</title>", "<title>T(a<b>&)</title>"},
        TokenCase{"TextareaDropsFirstNewline", "<textarea>\nx\n</textarea>",
                  "<textarea>T(x\n)</textarea>"},
        TokenCase{"UnclosedScriptRunsToTheEnd", "<script>a<b", "<script>T(a<b)"},
        TokenCase{"Plaintext", "<plaintext>a</plaintext><b>", "<plaintext>T(a</plaintext><b>)"},
        TokenCase{"TagOpenAtTheEnd", "a<div class=\"x", "T(a)"},
        TokenCase{"TagNameAtTheEnd", "a<div", "T(a)"}, TokenCase{"SlashAtTheEnd", "a<br/", "T(a)"}),
    [](const testing::TestParamInfo<TokenCase>& info) { return std::string(info.param.name); });

struct ReferenceCase {
    const char* name;
    std::string in;
    bool attribute;
    std::string out;
};

class References : public testing::TestWithParam<ReferenceCase> {};

TEST_P(References, DecodeAsBrowsersDo) {
    const ReferenceCase& c = GetParam();
    Recorder recorder;
    HtmlTokenizer(c.attribute ? "<a x=\"" + c.in + "\">" : c.in).run(recorder);
    EXPECT_EQ(recorder.out, c.attribute ? "<a x=" + c.out + ">" : "T(" + c.out + ")");
}

INSTANTIATE_TEST_SUITE_P(
    Texts, References,
    testing::Values(
        ReferenceCase{"Decimal", "a&#64;b&#0064c", false, "a@b@c"},
        ReferenceCase{"Hex", "&#x40;&#X4a;&#x1F600;", false, "@J\xF0\x9F\x98\x80"},
        ReferenceCase{"NotNumbers", "&#; &#x; &#xg", false, "&#; &#x; &#xg"},
        ReferenceCase{"Replaced", "&#0;&#xD800;&#x110000;&#99999999999;", false,
                      "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"},
        ReferenceCase{"Windows1252Range", "&#128;&#x99;", false, "\xE2\x82\xAC\xE2\x84\xA2"},
        ReferenceCase{"ControlsBecomeSpaces", "a&#1;b&#x7f;c&#9;d", false, "a b c\td"},
        ReferenceCase{"Named", "&commat;&NotEqualTilde;&fjlig;&amp;", false,
                      "@\xE2\x89\x82\xCC\xB8"
                      "fj&"},
        ReferenceCase{"CaseMatters", "&AMP;&Amp;", false, "&&Amp;"},
        ReferenceCase{"UnknownKept", "&nosuch; & &;", false, "&nosuch; & &;"},
        ReferenceCase{"LegacyWithoutSemicolonInText", "&copy2024 &notit; &ampx", false,
                      "\xC2\xA9"
                      "2024 \xC2\xAC"
                      "it; &x"},
        ReferenceCase{"NewNameNeedsSemicolon", "&commat &hellip", false, "&commat &hellip"},
        ReferenceCase{"LegacyInAttributeBeforeLetter", "?a=1&copy=2&ampx&amp", true,
                      "?a=1&copy=2&ampx&"},
        ReferenceCase{"LegacyInAttributeBeforeOther", "&lt.&amp;&gt", true, "<.&>"}),
    [](const testing::TestParamInfo<ReferenceCase>& info) { return std::string(info.param.name); });

TEST(HtmlEntities, TableIsSortedAndComplete) {
    // Spot checks across the table: first, last, two-code-point and legacy names.
    ASSERT_NE(findHtmlEntity("AElig"), nullptr);
    EXPECT_TRUE(findHtmlEntity("AElig")->bare);
    ASSERT_NE(findHtmlEntity("zwnj"), nullptr);
    EXPECT_EQ(findHtmlEntity("zwnj")->utf8, "\xE2\x80\x8C");
    EXPECT_FALSE(findHtmlEntity("zwnj")->bare);
    ASSERT_NE(findHtmlEntity("nGt"), nullptr);
    EXPECT_EQ(findHtmlEntity("nGt")->utf8, "\xE2\x89\xAB\xE2\x83\x92");
    ASSERT_NE(findHtmlEntity("CounterClockwiseContourIntegral"), nullptr);
    EXPECT_EQ(findHtmlEntity("amp;"), nullptr);
    EXPECT_EQ(findHtmlEntity(""), nullptr);
}

class StopsEarly : public Recorder {
public:
    bool wantsMore() const override { return out.size() < 10; }
};

TEST(HtmlTokenizer, StopsWhenTheHandlerHasHadEnough) {
    StopsEarly handler;
    HtmlTokenizer("<p>one</p><p>two</p><p>three</p>").run(handler);
    EXPECT_EQ(handler.out, "<p>T(one)</p>");
}

}  // namespace
}  // namespace harvest
