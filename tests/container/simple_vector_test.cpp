#include "common/container/simple_vector.h"

#include <gtest/gtest.h>

namespace {

TEST(SimpleVector, GrowsOnlyAcrossMultiplesOf16) {
    SimpleVector<int> vector;
    EXPECT_EQ(vector.data, nullptr);
    const int* array = nullptr;
    for (int i = 0; i < 100; ++i) {
        vector.append(i * 3);
        if (i % 16 == 0) {
            EXPECT_NE(vector.data, array) << "at " << i;
            array = vector.data;
        } else {
            ASSERT_EQ(vector.data, array) << "at " << i;
        }
    }
    ASSERT_EQ(vector.size, 100);
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(vector[i], i * 3);
    }
}

TEST(SimpleVector, SetDataSizeKeepsWhatFitsAndZeroesTheRest) {
    SimpleVector<int> vector;
    for (int i = 0; i < 16; ++i) {
        vector.append(i + 1);
    }
    vector.setDataSize(64);
    for (int i = 0; i < 64; ++i) {
        ASSERT_EQ(vector.data[i], i < 16 ? i + 1 : 0);
    }
    EXPECT_EQ(vector.size, 16);
}

TEST(SimpleVector, StartsAnewAfterItsArrayWasDropped) {
    SimpleVector<const char*> vector;
    vector.append("one");
    vector.append("two");
    vector.setDataSize(0);
    EXPECT_EQ(vector.data, nullptr);
    EXPECT_EQ(vector.size, 2) << "the caller resets the size";
    vector.size = 0;
    vector.append("three");
    EXPECT_EQ(vector.size, 1);
    EXPECT_STREQ(vector[0], "three");
}

} // namespace
