#include "FieldText.h"

#include <gtest/gtest.h>

namespace harvest::fieldtext {
namespace {

struct Spelling {
    std::string in;
    std::string tsv;
    std::string csv;
    std::string json;
};

// Each value as every delimited format spells it; "?" in csv/json stands
// for U+FFFD.
const Spelling kSpellings[] = {
    {"plain", "plain", "plain", "\"plain\""},
    {"a\\b", "a\\\\b", "a\\b", "\"a\\\\b\""},
    {"t\tn\nr\r", "t\\tn\\nr\\r", "\"t\tn\nr\r\"", "\"t\\u0009n\\u000Ar\\u000D\""},
    {"say \"hi\", ok", "say \"hi\", ok", "\"say \"\"hi\"\", ok\"", "\"say \\\"hi\\\", ok\""},
    {"\x01\x1F", "\x01\x1F", "\x01\x1F", "\"\\u0001\\u001F\""},
    {"€ 😀 ü", "€ 😀 ü", "€ 😀 ü", "\"€ 😀 ü\""},
    {"a\xFF", "a\\xFF", "a?", "\"a?\""},
    {"\xC0\xAF", "\\xC0\\xAF", "??", "\"??\""},                        // overlong "/"
    {"\xED\xA0\x80", "\\xED\\xA0\\x80", "???", "\"???\""},             // a surrogate
    {"\xF4\x90\x80\x80", "\\xF4\\x90\\x80\\x80", "????", "\"????\""},  // past U+10FFFF
    {"x\xE2\x82", "x\\xE2\\x82", "x??", "\"x??\""},                    // cut short
    {"\x80,", "\\x80,", "\"?,\"", "\"?,\""},
};

std::string withReplacement(std::string s) {
    for (std::size_t at; (at = s.find('?')) != std::string::npos;) {
        s.replace(at, 1, "\xEF\xBF\xBD");
    }
    return s;
}

TEST(FieldText, EachFormatSpellsValuesByItsRules) {
    for (const Spelling& s : kSpellings) {
        std::string tsv, csv, json;
        appendTsv(tsv, s.in);
        appendCsv(csv, s.in);
        appendJsonString(json, s.in);
        EXPECT_EQ(tsv, s.tsv) << s.in;
        EXPECT_EQ(csv, withReplacement(s.csv)) << s.in;
        EXPECT_EQ(json, withReplacement(s.json)) << s.in;
        EXPECT_EQ(isValidUtf8(s.in), s.csv.find('?') == std::string::npos) << s.in;
    }
}

TEST(FieldText, FoldingKeepsCharactersWhole) {
    // 74 ASCII octets then a two-octet character: it does not fit on the
    // first line, so the line breaks before it.
    std::string out;
    appendFoldedLine(out, std::string(74, 'a') + "ü" + std::string(80, 'b'));
    EXPECT_EQ(out, std::string(74, 'a') + "\r\n ü" + std::string(72, 'b') + "\r\n " +
                       std::string(8, 'b') + "\r\n");
    EXPECT_EQ(cutToUtf16Units("aü😀b", 3), "aü");
    EXPECT_EQ(cutToUtf16Units("aü😀b", 4), "aü😀");
}

}  // namespace
}  // namespace harvest::fieldtext
