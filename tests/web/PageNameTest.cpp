// The replacement routine and the address escaping in both directions.
#include <gtest/gtest.h>

#include "PageStore.h"
#include "RunErrors.h"

namespace {

struct EncodeCase {
    const char* source;
    const char* find;
    const char* replacement;
    const char* expected;
};

class Encode : public ::testing::TestWithParam<EncodeCase> {};

TEST_P(Encode, ReplacesLeftToRightWithoutOverlapOrRescan) {
    const auto& c = GetParam();
    EXPECT_EQ(PageStore::encode(c.source, c.find, c.replacement), c.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, Encode,
    ::testing::Values(EncodeCase{"WWW", "WW", "X", "XW"}, EncodeCase{"aWb", "W", "WW", "aWWb"},
                      EncodeCase{"wW", "W", "WW", "wWW"}, EncodeCase{"abab", "ab", "", ""},
                      EncodeCase{"", "W", "WW", ""}, EncodeCase{"xyz", "", "Q", "xyz"},
                      EncodeCase{"ab", "abc", "Q", "ab"}));

TEST(Encode, SourceLongerThan32767CharactersOverflows) {
    EXPECT_NO_THROW(PageStore::encode(std::string(32767, 'a'), "a", "b"));
    EXPECT_THROW(PageStore::encode(std::string(32768, 'a'), "a", "b"), OverflowError);
}

struct EscapeCase {
    const char* address;
    const char* escaped;
    const char* decoded;  // what decoding the escaped form gives back
};

class Escape : public ::testing::TestWithParam<EscapeCase> {};

TEST_P(Escape, EscapesAndDecodesInTheirOwnOrders) {
    const auto& c = GetParam();
    EXPECT_EQ(PageStore::EscapeAddress(c.address), c.escaped);
    EXPECT_EQ(PageStore::RestoreFilenameToAddress(c.escaped), c.decoded);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, Escape,
    ::testing::Values(
        EscapeCase{"site/page.htm?id=W1", "siteWSpageWThtmWQid=WW1", "site/page.htm?id=W1"},
        EscapeCase{"a.W", "aWTWW", "a.W"},
        // Not an inverse when a "W" precedes one of the code letters.
        EscapeCase{"WS", "WWS", "W/"}, EscapeCase{"WT", "WWT", "W."},
        EscapeCase{"www.w.org", "wwwWTwWTorg", "www.w.org"},
        EscapeCase{"http://h:80/%7e$x", "httpWCWSWShWC80WSWP7eWDx", "http://h:80/%7e$x"}));

TEST(Escape, EscapedFormsLongerThan255AreCutTo200Characters) {
    auto repeat = [](const std::string& part, int n) {
        std::string s;
        for (int i = 0; i < n; ++i) {
            s += part;
        }
        return s;
    };
    EXPECT_EQ(PageStore::EscapeAddress(std::string(253, 'a') + "/"), std::string(253, 'a') + "WS");
    EXPECT_EQ(PageStore::EscapeAddress(std::string(254, 'a') + "/"), std::string(200, 'a'));
    EXPECT_EQ(PageStore::EscapeAddress(std::string(255, 'a')), std::string(255, 'a'));
    // 128 dots escape to 256 characters.
    EXPECT_EQ(PageStore::EscapeAddress(std::string(128, '.')), repeat("WT", 100));
}

}  // namespace
