// The sixteen-bytes-at-a-time scans against the plain loops they replace, on
// generated inputs that put every kind of byte at every place in a block.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>

#include "ByteScan.h"
#include "ReferenceScans.h"

namespace harvest {
namespace {

// Clean is what the byte-at-a-time decoding leaves unchanged.
bool referenceCleanUtf8(std::string_view s, bool& ascii) {
    ascii = std::all_of(s.begin(), s.end(), [](char c) { return (c & 0x80) == 0; });
    return reference::clean(s) == s;
}

// Mostly printable text, with now and then one of the things the scans stop at.
std::string generated(std::mt19937& random, std::size_t size, int rarity) {
    static const std::string kOdd[] = {"\n",
                                       "\t",
                                       "\r",
                                       "\f",
                                       "<",
                                       "&",
                                       "\x1F",
                                       "\x01",
                                       "\x7F",
                                       "\x0B",
                                       "\xC3\xA9",
                                       "\xC2\xA0",
                                       "\xC2\x85",
                                       "\xE2\x82\xAC",
                                       "\xED\x9F\xBF",
                                       "\xED\xA0\x80",
                                       "\xE0\x9F\xBF",
                                       "\xF0\x9F\x98\x80",
                                       "\xF4\x90\x80\x80",
                                       "\xC0\xAF",
                                       "\xFF",
                                       "\x80",
                                       "\xE2\x82",
                                       "\xF0\x9F"};
    std::string s;
    while (s.size() < size) {
        if (static_cast<int>(random() % static_cast<unsigned>(rarity)) == 0) {
            s += kOdd[random() % std::size(kOdd)];
        } else {
            s += static_cast<char>(0x20 + random() % 0x5F);
        }
    }
    return s;
}

TEST(ByteScan, CleanUtf8AsTheByteLoop) {
    std::mt19937 random(3);
    for (int i = 0; i < 20000; ++i) {
        const std::size_t size = random() % 300;
        const std::string s = generated(random, size, 1 + static_cast<int>(random() % 200));
        bool ascii = false, referenceAscii = false;
        const bool clean = isCleanUtf8(s, ascii);
        ASSERT_EQ(clean, referenceCleanUtf8(s, referenceAscii)) << testing::PrintToString(s);
        if (clean) {
            ASSERT_EQ(ascii, referenceAscii) << testing::PrintToString(s);
        }
    }
}

TEST(ByteScan, CleanUtf8FindsOneBadByteAnywhere) {
    // One bad byte (or a cut character) at every place in and around a block.
    std::mt19937 random(5);
    for (const std::string bad : {"\x01", "\x7F", "\xFF", "\xC3", "\xE2\x82", "\xED\xA0\x80"}) {
        for (std::size_t at = 0; at < 200; ++at) {
            std::string s = generated(random, 200, 1000000);
            s.insert(at, bad);
            bool ascii = false;
            EXPECT_FALSE(isCleanUtf8(s, ascii)) << at << testing::PrintToString(s);
            EXPECT_FALSE(isCleanUtf8(s.substr(0, at + bad.size()), ascii)) << at;
        }
    }
}

TEST(ByteScan, FindMarkupAsFindFirstOf) {
    std::mt19937 random(9);
    for (int i = 0; i < 2000; ++i) {
        const std::string s =
            generated(random, random() % 200, 1 + static_cast<int>(random() % 60));
        for (std::size_t from = 0; from <= s.size(); ++from) {
            const std::size_t expected = std::min(s.find_first_of("<&", from), s.size());
            ASSERT_EQ(findMarkup(s, from), expected) << from << testing::PrintToString(s);
        }
    }
}

TEST(ByteScan, CountNewlinesAsCount) {
    std::mt19937 random(13);
    // Sizes around the blocks of sixteen and past the 255 blocks that are
    // added up in bytes before a sum.
    for (const std::size_t size : {0u, 1u, 15u, 16u, 17u, 4079u, 4080u, 4081u, 100000u}) {
        for (const int rarity : {1, 2, 80}) {
            std::string s = generated(random, size, rarity);
            s.resize(size);
            if (rarity == 1) {
                std::fill(s.begin(), s.end(), '\n');  // every byte: no count may wrap
            }
            EXPECT_EQ(countNewlines(s), std::count(s.begin(), s.end(), '\n'))
                << size << " " << rarity;
        }
    }
}

}  // namespace
}  // namespace harvest
