#include "common/container/simple_vector.h"

#include <gtest/gtest.h>

namespace {

TEST(SimpleVector, GrowsOnlyAcrossMultiplesOf16) {
    SimpleVector<int> vector;
    const int* array = nullptr;
    for (int i = 0; i < 100; ++i) {
        vector.append(i * 3);
        EXPECT_EQ(vector.data != array, i % 16 == 0) << "at " << i;
        array = vector.data;
    }
    vector.setDataSize(128);
    ASSERT_EQ(vector.size, 100);
    for (int i = 0; i < 128; ++i) {
        EXPECT_EQ(vector.data[i], i < 100 ? i * 3 : 0);
    }
}

TEST(SimpleVector, KeepsItsElementsPast24BitsOfSize) {
    SimpleVector<char> vector;
    vector.setDataSize(0x1000000);
    vector.size = 0xfffff1; // a capacity cut to 24 bits would be 0 from here on
    vector.data[0] = 'a';
    vector.append('b');
    EXPECT_EQ(vector[0], 'a');
    EXPECT_EQ(vector[0xfffff1], 'b');
}

TEST(SimpleVector, StartsAnewAfterItsArrayWasDropped) {
    SimpleVector<const char*> vector;
    vector.append("one");
    vector.append("two");
    vector.setDataSize(0);
    EXPECT_EQ(vector.data, nullptr);
    EXPECT_EQ(vector.size, 2) << "the caller resets the size";
    vector.append("three"); // must not be written through the null pointer
    EXPECT_STREQ(vector[2], "three");
}

} // namespace
