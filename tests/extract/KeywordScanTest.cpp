#include <gtest/gtest.h>

#include <chrono>

#include "EngineRig.h"
#include "RunErrors.h"

namespace {

struct KeywordCase {
    const char* name;
    std::string text;
    KeywordRecord keyword;
    std::string expected;
    std::string textAfter;
};

class KeywordScanner : public ::testing::TestWithParam<KeywordCase> {};

TEST_P(KeywordScanner, TakesWordsAtPositionsAndConsumesTheKeyword) {
    EngineRig rig(GetParam().text);
    EXPECT_EQ(rig.engine.GetKeywordText(GetParam().keyword), GetParam().expected);
    EXPECT_EQ(rig.engine.strScanText, GetParam().textAfter);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, KeywordScanner,
    ::testing::Values(
        KeywordCase{"WorkedExample",
                    "Total Price: 10 USD per unit ",
                    {" Price: ", "1, 2"},
                    "10 USD",
                    "Total10 USD per unit "},
        KeywordCase{"Absent", "nothing here ", {" Price: ", "1"}, "", "nothing here "},
        KeywordCase{"IgnoresCase", "a PRICE: 5 ", {" price: ", "1"}, "5", "a5 "},
        KeywordCase{"SkipsUnwantedPositions", "k a b c d e ", {"k", "2, 4"}, "b d", " a b c d e "},
        KeywordCase{"LastWordReadsEmpty", "k one two", {"k", "1, 2"}, "one", " one two"},
        // Each word taken goes from the rest everywhere, inside other words
        // too, so a repeated word counts once.
        KeywordCase{"RepeatedWordCountsOnce", "k a b a c ", {"k", "1, 2, 3"}, "a b c", " a b a c "},
        KeywordCase{
            "WordRemovedInsideOtherWords", "k a banana b ", {"k", "1, 2"}, "a bnn", " a banana b "},
        KeywordCase{"NonNumberPieceCountsAsZero", "k a b c ", {"k", "x, 2"}, "", " a b c "},
        KeywordCase{"NoNumbersGiveEmpty", "k a b ", {"k", "abc"}, "", " a b "},
        KeywordCase{"HugePositionOverShortText", "k a b ", {"k", "1, 2, 32767"}, "a b", " a b "},
        KeywordCase{"LowestPositionNumber", "k a ", {"k", "-32768"}, "", " a "},
        KeywordCase{"EmptyNameNeverOccurs", "k a ", {"", "1"}, "", "k a "}),
    [](const auto& info) { return info.param.name; });

// The positions are 16-bit numbers: one beyond that range overflows, also
// when the keyword does not occur, and the text is left alone.
TEST(KeywordScanner, PositionBeyond16BitsOverflows) {
    for (const std::string positions : {"40000", "1, 40000", "-40000", "32767.5", "99999, 2"}) {
        for (const std::string text : {"k a b ", "no keyword "}) {
            EngineRig rig(text);
            EXPECT_THROW(rig.engine.GetKeywordText({"k", positions}), OverflowError) << positions;
            EXPECT_THROW(rig.engine.GetKeywordTextToNext({"k", positions}), OverflowError);
            EXPECT_EQ(rig.engine.strScanText, text);
        }
    }
}

TEST(KeywordScanner, RepeatedCallsWalkTheOccurrences) {
    EngineRig rig("k: 1 x K: 2 y ");
    const KeywordRecord keyword{"k:", "1"};
    for (const char* expected : {"1", "2", ""}) {
        EXPECT_EQ(rig.engine.GetKeywordText(keyword), expected);
    }
}

struct ToNextCase {
    std::string text;
    std::vector<std::string> arrKeyNames;
    std::string positions;
    std::string first;
    std::string second;
};

TEST(KeywordScannerToNext, StopsWhereTheNextKeywordBegins) {
    const std::vector<std::string> names = {" Name: ", " Phone: "};
    const std::vector<ToNextCase> cases = {
        {"x Name: Ann Phone: 555 ", names, "1, 2", "Ann Phone:", "Ann"},
        {"x Name: Ann PHONE: 555 ", names, "1, 2, 3", "Ann PHONE: 555", "Ann"},
        {"x Name: AnnPhone: 555 ", names, "1, 2", "AnnPhone: 555", "Ann"},
        {"x Name: Ann Bo Phone: 555 ", names, "2", "Bo", "Bo"},
        {"x Name: Ann Phone: 555 ", {"", "   "}, "1, 2", "Ann Phone:", "Ann Phone:"},
        // A name met again cuts nothing more, but the order of the distinct
        // names counts: each cut shortens the word the next one is sought in.
        {"x Name: abcd e ", {"cd", "bc"}, "1", "abcd", "ab"},
        {"x Name: abcd e ", {"bc", "cd"}, "1", "abcd", "a"},
        {"x Name: abcd e ", {" cd", "bc ", "CD", "cd", " bc", "Cd"}, "1", "abcd", "ab"},
    };
    for (const ToNextCase& c : cases) {
        const KeywordRecord keyword{" Name: ", c.positions};
        EngineRig first(c.text);
        EXPECT_EQ(first.engine.GetKeywordText(keyword), c.first) << c.text;
        EngineRig second(c.text);
        second.engine.arrKeyNames = c.arrKeyNames;
        EXPECT_EQ(second.engine.GetKeywordTextToNext(keyword), c.second) << c.text;
    }
}

TEST(KeywordScannerToNext, FollowsChangesOfTheNameList) {
    const KeywordRecord keyword{" Name: ", "1, 2"};
    EngineRig rig;
    for (const auto& [names, expected] :
         std::vector<std::pair<std::vector<std::string>, std::string>>{
             {{" Ann "}, ""},
             {{" Ann ", " Phone: "}, ""},
             {{" Phone: ", " Bo "}, "Ann"},
             {{}, "Ann Phone:"},
             {{" Name: ", " Phone: ", " Name: "}, "Ann"}}) {
        rig.engine.strScanText = "x Name: Ann Phone: 555 ";
        rig.engine.arrKeyNames = names;
        EXPECT_EQ(rig.engine.GetKeywordTextToNext(keyword), expected);
    }
}

// A long walk lets Cancel in every kWalkYieldEvery words and stops there,
// keeping the words taken so far and consuming the keyword.
TEST(KeywordScannerCancel, LongWalkStopsAtItsYield) {
    std::string text = "k";
    for (int i = 1; i <= 1000; ++i) {
        text += " w" + std::to_string(i) + "x";
    }
    text += " ";
    for (bool toNext : {false, true}) {
        EngineRig rig(text);
        rig.cancelAt(2);
        const KeywordRecord keyword{"k", "1, 64, 128, 129, 200, 32767"};
        const std::string found =
            toNext ? rig.engine.GetKeywordTextToNext(keyword) : rig.engine.GetKeywordText(keyword);
        EXPECT_EQ(found, "w1x w64x w128x");
        EXPECT_EQ(rig.pump.count, 2);
        EXPECT_EQ(rig.engine.strScanText, text.substr(1));
    }
}

// Reading a long piece after many words means looking for every one of them
// in it: that work also lets Cancel in, every 64 MB of it.
TEST(KeywordScannerCancel, LongPieceAfterManyWordsStopsAtItsYield) {
    std::string text = "k";
    for (int i = 1; i <= 2000; ++i) {
        text += " w" + std::to_string(i) + "x";
    }
    text += " " + std::string(100000, 'z') + " tail ";
    EngineRig rig(text);
    rig.cancelAt(2000 / ScanEngine::kWalkYieldEvery + 1);
    EXPECT_EQ(rig.engine.GetKeywordText({"k", "1, 2001, 2002"}), "w1x");
    EXPECT_EQ(rig.pump.count, 2000 / ScanEngine::kWalkYieldEvery + 1);
    EXPECT_EQ(rig.engine.intCancel, 1);
}

TEST(KeywordScannerRobustness, LongTextWithoutSpacesAndHugePositionsFinishQuickly) {
    const auto start = std::chrono::steady_clock::now();
    EngineRig rig("k " + std::string(1 << 20, 'x'));
    EXPECT_EQ(rig.engine.GetKeywordText({"k", "1, 2, 32767"}), "");
    EngineRig words("k " + std::string(1 << 20, 'x') + " y ");
    EXPECT_EQ(words.engine.GetKeywordText({"k", "2, 32767"}), "y");
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

}  // namespace
