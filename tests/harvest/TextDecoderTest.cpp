#include <gtest/gtest.h>

#include <random>
#include <string>

#include "Decoders.h"
#include "RecordingContext.h"
#include "TextDecoder.h"

using namespace std::string_literals;

namespace harvest {
namespace {

// ASCII text as UTF-16 code units, in either byte order.
std::string utf16(const std::u16string& text, bool littleEndian) {
    std::string out;
    for (const char16_t unit : text) {
        const char hi = static_cast<char>(unit >> 8), lo = static_cast<char>(unit & 0xff);
        out += littleEndian ? std::string{lo, hi} : std::string{hi, lo};
    }
    return out;
}

// Whether text is valid UTF-8 free of the control characters text must not carry.
bool isCleanUtf8(const std::string& text) {
    for (std::size_t i = 0; i < text.size();) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (c < 0x20 && c != '\t' && c != '\n' && c != '\r' && c != '\f')
            return false;
        if (c == 0x7f)
            return false;
        const int n = c < 0x80 ? 1 : c >= 0xf0 ? 4 : c >= 0xe0 ? 3 : c >= 0xc2 ? 2 : 0;
        if (n == 0 || i + n > text.size())
            return false;
        for (int k = 1; k < n; ++k) {
            if ((static_cast<unsigned char>(text[i + k]) & 0xc0) != 0x80)
                return false;
        }
        i += n;
    }
    return true;
}

struct Case {
    const char* name;
    std::string bytes;
    std::string hint;
    std::string expected;
};

class ToUtf8 : public testing::TestWithParam<Case> {};

TEST_P(ToUtf8, Converts) {
    const Case& c = GetParam();
    const std::string out = toUtf8(c.bytes, c.hint);
    EXPECT_EQ(out, c.expected);
    EXPECT_TRUE(isCleanUtf8(out));
}

INSTANTIATE_TEST_SUITE_P(
    Charsets, ToUtf8,
    testing::Values(
        Case{"Utf8", "Zoë <zoe@x.org>", "", "Zoë <zoe@x.org>"},
        Case{"Utf8Bom", "\xEF\xBB\xBFZoë", "", "Zoë"},
        Case{"Utf16LeBom", "\xFF\xFE" + utf16(u"Zoë ann@x.org", true), "", "Zoë ann@x.org"},
        Case{"Utf16BeBom", "\xFE\xFF" + utf16(u"Zoë ann@x.org", false), "", "Zoë ann@x.org"},
        Case{"Utf16LeSurrogatePair", "\xFF\xFE" + utf16(u"a\U0001F600b", true), "", "a😀b"},
        Case{"Utf16LeNoBom", utf16(u"write to ann@x.org", true), "", "write to ann@x.org"},
        Case{"Utf16BeNoBom", utf16(u"write to ann@x.org", false), "", "write to ann@x.org"},
        Case{"Utf32LeBom", "\xFF\xFE\0\0a\0\0\0@\0\0\0"s, "", "a@"},
        Case{"Windows1252",
             "Ren\xE9"
             "e Dupont <renee@x.org>",
             "", "Renée Dupont <renee@x.org>"},
        Case{"Windows1252Quotes",
             "\x93"
             "ann@x.org\x94 \x80"
             "5",
             "", "“ann@x.org” €5"},
        Case{"BrokenUtf8KeepsGoodCharacters",
             "Zoë Müller\xFF"
             "ann@x.org",
             "", "Zoë Müller ann@x.org"},
        Case{"NulsAroundAddress", "\0ann@x.org\0"s, "", " ann@x.org "},
        Case{"StrayMarkBeforeAddress",
             "\xFF\xFE"
             "ann@x.org",
             "", "  ann@x.org"},
        Case{"Controls",
             "a\x01"
             "b\tc\x7f"
             "d\r\n\fe",
             "", "a b\tc d\r\n\fe"},
        Case{"C1ControlInUtf8",
             "a\xC2\x85"
             "b",
             "", "a b"},
        Case{"HintLatin1", "caf\xE9", "ISO-8859-1", "café"},
        Case{"HintKoi8", "\xF0\xD2\xC9\xD7\xC5\xD4", "koi8-r", "Привет"},
        Case{"HintUnknownFallsBackToDetection", "Zoë", "x-no-such-charset", "Zoë"},
        Case{"BomBeatsHint",
             "\xEF\xBB\xBF"
             "caf\xC3\xA9",
             "iso-8859-1", "café"},
        Case{"HintInvalidByteBecomesSpace", "ab\xE9", "utf-8", "ab "}),
    [](const testing::TestParamInfo<Case>& info) { return std::string(info.param.name); });

TEST(ToUtf8Binary, PrintableRunsSurvive) {
    // A PNG header, binary noise, an ASCII address, and one stored as UTF-16LE.
    const std::string bytes = "\x89PNG\r\n\x1A\n\0\0\0\rIHDR\xFF\xD8\x01 ann@x.org \x02\x03\x04"s +
                              utf16(u"bob@y.org", true) + "\xFF\x00\x07\x08\x00\x00"s;
    const std::string out = toUtf8(bytes);
    EXPECT_NE(out.find(" ann@x.org "), std::string::npos) << out;
    EXPECT_NE(out.find(" bob@y.org "), std::string::npos) << out;
    EXPECT_TRUE(isCleanUtf8(out));
}

TEST(ToUtf8Binary, AnyBytesGiveCleanUtf8) {
    std::mt19937 random(7);
    for (int round = 0; round < 200; ++round) {
        std::string bytes(1 + random() % 300, '\0');
        for (char& c : bytes) {
            c = static_cast<char>(random() % 256);
        }
        ASSERT_TRUE(isCleanUtf8(toUtf8(bytes))) << "round " << round;
        ASSERT_TRUE(isCleanUtf8(toUtf8(bytes, "shift_jis"))) << "round " << round;
    }
}

TEST(DecodeText, OnePieceWithTheSourceOrigin) {
    RecordingContext context;
    Origin origin;
    origin.source = "a.zip!notes.txt";
    decodeText(Blob{"line one\nann@x.org\n", origin, 1}, context);
    ASSERT_EQ(context.pieces.size(), 1u);
    EXPECT_EQ(context.pieces[0].origin.source, "a.zip!notes.txt");
    EXPECT_EQ(context.pieces[0].text, "line one\nann@x.org\n");
    EXPECT_EQ(context.pieces[0].firstLine, 1);
    EXPECT_TRUE(context.problems.empty());

    decodeText(Blob{"", origin, 0}, context);
    EXPECT_EQ(context.pieces.size(), 1u);
}

}  // namespace
}  // namespace harvest
