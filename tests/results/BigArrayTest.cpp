#include <gtest/gtest.h>

#include <cstdint>

#include "BigArray.h"

namespace {

// Growing past the size where blocks move instead of being copied, and again
// with blocks given back and taken anew, keeps every element.
TEST(BigArray, GrowsKeepsAndErasesElementsAcrossBlockSizes) {
    for (const size_t count : {size_t{10}, size_t{300000}, size_t{3000000}}) {
        for (int round = 0; round < 2; ++round) {  // the second round reuses given-back blocks
            BigArray<uint64_t> a;
            for (size_t i = 0; i < count; ++i) {
                a.push_back(i * 7);
            }
            a.erase(a.begin() + 1, a.begin() + 3);
            a.resize(a.size() + 5);
            ASSERT_EQ(a.size(), count + 3) << count;
            EXPECT_EQ(a[0], 0u);
            EXPECT_EQ(a[1], 21u);
            EXPECT_EQ(a[count - 3], (count - 1) * 7) << count;
            EXPECT_EQ(a[count + 2], 0u) << "value-initialised";
            uint64_t sum = 0;
            for (uint64_t v : a) {
                sum += v;
            }
            EXPECT_EQ(sum, 7 * (count * (count - 1) / 2 - 1 - 2)) << count;
        }
    }
}

}  // namespace
