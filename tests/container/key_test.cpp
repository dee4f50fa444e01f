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
    expectOrder(Int32Key(-3), Int32Key(4), -1);
    expectOrder(Int32Key(4), Int32Key(4), 0);
    expectOrder(Int32Key(4), Int32Key(-3), 1);
    EXPECT_EQ(Int32Key(10).compareTo(Int32Key(3)), 7);
    EXPECT_EQ(Int32Key(3).compareTo(Int32Key(10)), -7);

    // The operators stay right where the difference wraps.
    expectOrder(Int32Key(INT_MIN), Int32Key(1), -1);
    EXPECT_EQ(Int32Key(INT_MIN).compareTo(Int32Key(1)), INT_MAX);
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
        expectOrder(a, b, row.order);
        expectOrder(b, a, -row.order);
    }
}

TEST(Key, DuplicateIsAnEqualKeyOfTheSameClass) {
    const Int32Key number(17);
    const std::unique_ptr<Int32Key> numberCopy(number.duplicate());
    EXPECT_NE(numberCopy.get(), &number);
    EXPECT_EQ(numberCopy->getValue(), 17);

    const char* text = "shared";
    const StringRefKey name(text);
    const std::unique_ptr<StringRefKey> nameCopy(name.duplicate());
    EXPECT_EQ(nameCopy->getValue(), text) << "the text itself is not copied";
}

} // namespace
