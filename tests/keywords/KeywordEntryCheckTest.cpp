#include <gtest/gtest.h>

#include "KeywordEntryCheck.h"

namespace {

const std::string kFormat = "The format of the positions' number is not correct!";
const std::string kTooBig = "The keyword you 've entered is too big to be accepted";

struct EntryCase {
    std::string keyword;
    std::string positions;
    std::optional<std::string> message;
};

TEST(KeywordEntryCheck, FirstFailingCheckWins) {
    const std::vector<EntryCase> cases = {
        {"", "", "Please entry key word"},
        {"", "x", "Please entry key word"},
        {"Price:", "", "Please entry position numbers."},
        {std::string(101, 'k'), "1,", kTooBig},
        {std::string(100, 'k'), "1", std::nullopt},
        {"Price:", "1, 2, 3,  6, 10", std::nullopt},
        {"Price:", "7", std::nullopt},
        {"Price:", "3, 1", std::nullopt},
        {"Price:", "  2 ,  5  ", std::nullopt},
        {"Price:", "1.5, -2", std::nullopt},
        {"Price:", "1, 2,", kFormat},
        {"Price:", "1, 2, ", kFormat},
        {"Price:", "1, x, 3", kFormat},
        {"Price:", "1,,3", kFormat},
        {"Price:", "   ", kFormat},
        {"Price:", "1 2", kFormat},
        // Taking out every "1," also cuts it out of "11,", which leaves
        // "1 3" with no comma: not a number.
        {"Price:", "1, 11, 3", kFormat},
        {"Price:", "2, 12, 3", kFormat},
        {"Price:", "1, 2, 13", std::nullopt},
    };
    for (const EntryCase& c : cases) {
        EXPECT_EQ(CheckKeywordEntry(c.keyword, c.positions), c.message)
            << "keyword '" << c.keyword << "' positions '" << c.positions << "'";
    }
}

TEST(KeywordEntryCheck, LenientNumberTest) {
    for (const char* yes : {"1", " 12 ", "-3", "+4", "1.5", ".5", "1.", "007"}) {
        EXPECT_TRUE(IsNumeric(yes)) << yes;
    }
    for (const char* no : {"", " ", "x", "1 3", "1.2.3", "-", ".", "1,", "1a", "--1"}) {
        EXPECT_FALSE(IsNumeric(no)) << no;
    }
}

TEST(KeywordEntryCheck, StoredNameHasOneSpaceEachSide) {
    EXPECT_EQ(StoredKeywordName("Price:"), " Price: ");
    EXPECT_EQ(StoredKeywordName(" a "), "  a  ");
}

}  // namespace
