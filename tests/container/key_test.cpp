#include "common/container/key.h"

#include <gtest/gtest.h>

#include <climits>
#include <memory>

namespace {

// All six operators of a pair, against the order that is expected.
void expectOrder(const HKey& a, const HKey& b, int order) {
    EXPECT_EQ(a < b, order < 0);
    EXPECT_EQ(a <= b, order <= 0);
    EXPECT_EQ(a == b, order == 0);
    EXPECT_EQ(a != b, order != 0);
    EXPECT_EQ(a >= b, order >= 0);
    EXPECT_EQ(a > b, order > 0);
}

TEST(Int32Key, ComparesByDifferenceAndByValue) {
    struct {
        int a, b, order, difference;
    } const rows[] = {
        {-3, 4, -1, -7},
        {4, 4, 0, 0},
        {10, 3, 1, 7},
        {INT_MIN, 1, -1, INT_MAX}, // the operators stay right where the difference wraps
    };
    for (const auto& row : rows) {
        expectOrder(Int32Key(row.a), Int32Key(row.b), row.order);
        EXPECT_EQ(Int32Key(row.a).compareTo(Int32Key(row.b)), row.difference);
    }
    const std::unique_ptr<HKey> copy(Int32Key(17).duplicate());
    EXPECT_EQ(Int32Key(17).compareTo(*copy), 0);
}

TEST(StringRefKey, ComparesUnsignedBytes) {
    struct {
        const char* a;
        const char* b;
        int order;
    } const rows[] = {
        {"", "", 0},       {"", "a", -1},        {"a", "b", -1},   {"zz", "a", 1},
        {"ab", "abc", -1}, {"\x7f", "\x80", -1}, {"\xff", "a", 1}, {"same", "same", 0},
    };
    for (const auto& row : rows) {
        const StringRefKey a(row.a);
        const StringRefKey b(row.b);
        EXPECT_EQ(a.compareTo(b), row.order) << row.a << " and " << row.b;
        expectOrder(b, a, -row.order);
    }
    const char* text = "shared";
    const std::unique_ptr<StringRefKey> copy(StringRefKey(text).duplicate());
    EXPECT_EQ(copy->getValue(), text) << "the text itself is not copied";
}

} // namespace
