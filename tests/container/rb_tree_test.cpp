#include "common/container/rb_tree.h"
#include "common/error.h"
#include "common/thread/thread.h"
#include "tests/support/random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <map>
#include <memory>
#include <vector>

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
        const std::unique_ptr<HKey> copy(Int32Key(row.b).duplicate());
        expectOrder(Int32Key(row.a), *copy, row.order);
        EXPECT_EQ(Int32Key(row.a).compareTo(*copy), row.difference);
    }
}

TEST(StringRefKey, ComparesUnsignedBytes) {
    struct {
        const char *a, *b;
        int order;
    } const rows[] = {{"", "", 0},       {"", "a", -1},        {"zz", "a", 1},
                      {"ab", "abc", -1}, {"\x7f", "\x80", -1}, {"\xff", "a", 1}};
    for (const auto& row : rows) {
        const StringRefKey a(row.a);
        const std::unique_ptr<StringRefKey> b(StringRefKey(row.b).duplicate());
        EXPECT_EQ(b->getValue(), row.b) << "the text itself is not copied";
        EXPECT_EQ(a.compareTo(*b), row.order) << row.a << " and " << row.b;
        expectOrder(*b, a, -row.order);
    }
}

// A key that knows how many of its kind live and how often any was compared.
class CountedKey final : public HKey {
public:
    explicit CountedKey(int number) : value(number) { ++alive; }
    ~CountedKey() override { --alive; }
    CountedKey(const CountedKey&) = delete;
    CountedKey& operator=(const CountedKey&) = delete;

    CountedKey* duplicate() const override { return new CountedKey(value); }
    int compareTo(const HKey& other) const override {
        ++comparisons;
        return value - static_cast<const CountedKey&>(other).value;
    }

    const int value;
    static int alive;
    static int comparisons;
};
int CountedKey::alive = 0;
int CountedKey::comparisons = 0;

int numberOf(const HKey* key) {
    return static_cast<const CountedKey*>(key)->value;
}

// Values are addresses in this array, so that each names its number.
char cells[100000];
void* valueFor(int number) {
    return cells + number;
}

struct Destroyed {
    std::vector<void*> values;
    static void note(void* value, void* self) {
        static_cast<Destroyed*>(self)->values.push_back(value);
    }
};

// The entries one way by an iterator's moves, with each value checked against its key's.
std::vector<int> walk(const RBTree& tree, int (RBTreeIterator::*start)(),
                      int (RBTreeIterator::*move)(), const std::map<int, void*>& reference) {
    std::vector<int> numbers;
    const std::unique_ptr<RBTreeIterator> iterator(tree.getIterator());
    for (int result = (*iterator.*start)(); result == 0; result = (*iterator.*move)()) {
        HKey* key = nullptr;
        void* value = nullptr;
        iterator->get(key, value);
        numbers.push_back(numberOf(key));
        const auto entry = reference.find(numbers.back());
        EXPECT_TRUE(entry != reference.end() && entry->second == value) << numbers.back();
    }
    return numbers;
}

void expectContent(const RBTree& tree, const std::map<int, void*>& reference) {
    ASSERT_EQ(tree.getSize(), reference.size());
    std::vector<int> expected;
    for (const auto& entry : reference) {
        expected.push_back(entry.first);
    }
    using Iterator = RBTreeIterator;
    EXPECT_EQ(walk(tree, &Iterator::first, &Iterator::next, reference), expected);
    std::reverse(expected.begin(), expected.end());
    EXPECT_EQ(walk(tree, &Iterator::last, &Iterator::previous, reference), expected);
}

// A red-black tree of n entries is at most 2 log2(n + 1) deep.
void expectBalanced(const RBTree& tree, const std::map<int, void*>& reference) {
    const int limit = static_cast<int>(2 * std::log2(tree.getSize() + 1.0)) + 1;
    for (const auto& entry : reference) {
        CountedKey key(entry.first);
        CountedKey::comparisons = 0;
        ASSERT_NE(tree.search(&key), nullptr);
        ASSERT_LE(CountedKey::comparisons, limit);
    }
}

TEST(RBTree, RandomChangesMatchAMap) {
    auto random = support::seededRandom("RBTree");
    Destroyed destroyed;
    {
        RBTree tree(Destroyed::note, &destroyed);
        std::map<int, void*> reference;
        for (int step = 0; step < 12000; ++step) {
            const bool shrink = (step / 2000) % 2 == 1;
            const int number = static_cast<int>(support::below(random, 700));
            const bool present = reference.count(number) != 0;
            void* const before = present ? reference[number] : nullptr;
            void* value = valueFor(static_cast<int>(support::below(random, sizeof cells)));
            auto key = std::make_unique<CountedKey>(number);
            void* old = value;
            destroyed.values.clear();
            Thread::setLastError(0U);
            switch (support::below(random, shrink ? 8 : 5)) {
            case 0:
                ASSERT_EQ(tree.insert(key.get(), value), present ? -1 : 0);
                ASSERT_EQ(Thread::getLastError(), present ? HE_EEXISTS : 0U);
                reference.emplace(number, value);
                break;
            case 1: // one descent for a search and the insertion
                ASSERT_EQ(tree.search(key.get()), before);
                ASSERT_EQ(present ? 0 : tree.insert(value), 0);
                reference.emplace(number, value);
                break;
            case 2: {
                const bool destroyOld = support::below(random, 2) == 0;
                ASSERT_EQ(tree.modify(key.get(), value, destroyOld), present ? 1 : 0);
                ASSERT_EQ(destroyed.values.size(), present && destroyOld ? 1U : 0U);
                reference[number] = value;
                break;
            }
            case 3: // one descent for a search and the change or removal
                ASSERT_EQ(tree.search(key.get(), old), present ? 0 : -1);
                ASSERT_EQ(old, before);
                if (present) {
                    ASSERT_EQ(tree.modify(value, false), 1);
                    ASSERT_EQ(tree.search(key.get()), value);
                    ASSERT_EQ(tree.remove(Tree::DeleteKey), 0);
                    reference.erase(number);
                }
                break;
            default: {
                const int flags = Tree::DeleteKey + (step % 2 == 0 ? Tree::DestroyValue : 1);
                const bool destroys = present && step % 2 == 0;
                ASSERT_EQ(tree.remove(key.get(), old, flags), present ? 0 : -1);
                ASSERT_EQ(Thread::getLastError(), present ? 0U : HE_NOENT);
                ASSERT_EQ(old, destroys ? nullptr : before);
                ASSERT_EQ(destroyed.values,
                          destroys ? std::vector<void*>{before} : std::vector<void*>{});
                reference.erase(number);
            }
            }
            if (!present && reference.count(number) != 0) {
                key.release(); // is the tree's now
            }
            if (step % 500 == 0) {
                expectContent(tree, reference);
                expectBalanced(tree, reference);
            }
        }
        expectContent(tree, reference);
        destroyed.values.clear();
        ASSERT_EQ(tree.empty(Tree::DeleteKey | Tree::DestroyValue), 0);
        EXPECT_EQ(destroyed.values.size(), reference.size());
        EXPECT_EQ(tree.getSize(), 0U);
    }
    EXPECT_EQ(CountedKey::alive, 0) << "each key is deleted exactly once";
}

void fill(RBTree& tree, int count) {
    for (int i = 0; i < count; ++i) {
        const int number = i * 37 % count; // all of 0 to count - 1 unless 37 divides count
        ASSERT_EQ(tree.insert(new CountedKey(number), valueFor(number)), 0);
    }
}

TEST(RBTree, WalkWrapsAtItsEnds) {
    RBTree tree;
    HKey* key = nullptr;
    void* value = cells;
    EXPECT_EQ(tree.first(key, value), -1);
    EXPECT_EQ(value, nullptr);
    EXPECT_EQ(Thread::getLastError(), HE_NOENT);
    fill(tree, 3);

    struct {
        int (RBTree::*move)(HKey*&, void*&) const;
        int expected; // -1 for the end
    } const rows[] = {
        {&RBTree::next, 0},     {&RBTree::next, 1}, {&RBTree::next, 2},  {&RBTree::next, -1},
        {&RBTree::next, 0},     {&RBTree::last, 2}, {&RBTree::next, -1}, {&RBTree::previous, 2},
        {&RBTree::previous, 1}, {&RBTree::next, 2}, {&RBTree::first, 0}, {&RBTree::previous, -1},
        {&RBTree::previous, 2},
    };
    for (const auto& row : rows) {
        Thread::setLastError(0U);
        EXPECT_EQ((tree.*row.move)(key, value), row.expected < 0 ? -1 : 0);
        if (row.expected < 0) {
            EXPECT_EQ(key, nullptr);
            EXPECT_EQ(value, nullptr);
            EXPECT_EQ(Thread::getLastError(), HE_NOENT);
        } else {
            ASSERT_NE(key, nullptr);
            EXPECT_EQ(numberOf(key), row.expected);
            EXPECT_EQ(value, valueFor(row.expected));
        }
    }
}

TEST(RBTree, ShortcutsTakeUpThePendingSearchOnly) {
    RBTree tree;
    void* cell = cells;
    const auto expectNonePending = [&] {
        for (int shortcut = 0; shortcut < 3; ++shortcut) {
            Thread::setLastError(0U);
            EXPECT_EQ(shortcut == 0   ? tree.insert(cell)
                      : shortcut == 1 ? tree.remove(Tree::DeleteKey)
                                      : tree.modify(cell, true),
                      -1);
            EXPECT_EQ(Thread::getLastError(), HE_INVALOP);
        }
    };
    expectNonePending();

    // The random test does what a search allows; this is what it does not.
    auto* key = new CountedKey(1);
    EXPECT_EQ(tree.search(key), nullptr);
    EXPECT_EQ(Thread::getLastError(), HE_NOENT);
    EXPECT_EQ(tree.remove(Tree::DeleteKey), -1) << "nothing was found that could be removed";
    EXPECT_EQ(tree.modify(cell, false), 0) << "an empty tree takes it in";
    EXPECT_EQ(tree.search(key), cells);
    EXPECT_EQ(tree.insert(cell), -1) << "a search that hit";
    EXPECT_EQ(Thread::getLastError(), HE_EEXISTS);
    HKey* found = nullptr;
    ASSERT_EQ(tree.first(found, cell), 0); // the walk leaves a hit, too
    EXPECT_EQ(tree.modify(valueFor(50), false), 1);
    EXPECT_EQ(tree.search(key), valueFor(50));
    EXPECT_EQ(tree.remove(Tree::DeleteKey), 0);
    EXPECT_EQ(tree.getSize(), 0U);
    expectNonePending();
}

TEST(RBTree, InsertAfterASearchNeverCutsABranchOff) {
    // So far apart that the keys' difference and their operators disagree.
    RBTree tree;
    for (const int number : {0x7fffffff, 0x40000000, -0x7fffffff - 1, -0x40000000, 0, 5, -5}) {
        auto key = std::make_unique<Int32Key>(number);
        if (tree.search(key.get()) == nullptr) {
            ASSERT_EQ(tree.insert(static_cast<void*>(cells)), 0);
            key.release();
        }
    }
    HKey* key = nullptr;
    void* value = nullptr;
    std::uint32_t walked = 0;
    while (tree.next(key, value) == 0) {
        ++walked;
    }
    EXPECT_EQ(walked, tree.getSize());
}

TEST(RBTree, WithoutADestroyFunctionOrAFlagNothingIsDestroyed) {
    RBTree tree;
    CountedKey key(1);
    void* value = nullptr;
    ASSERT_EQ(tree.modify(&key, nullptr, true), 0);
    EXPECT_EQ(tree.modify(&key, valueFor(1), true), 1);
    EXPECT_EQ(tree.remove(&key, value, Tree::DestroyValue), 0);
    EXPECT_EQ(value, valueFor(1));
    EXPECT_EQ(tree.remove(nullptr, value, Tree::DeleteKey), -1);
    EXPECT_EQ(Thread::getLastError(), HE_INVAL);
    EXPECT_EQ(value, nullptr);

    Destroyed destroyed;
    RBTree owner(Destroyed::note, &destroyed);
    ASSERT_EQ(owner.insert(&key, nullptr), 0);
    EXPECT_EQ(owner.modify(&key, cells, true), 1);
    EXPECT_TRUE(destroyed.values.empty()) << "the old value was null";
    EXPECT_EQ(owner.empty(0), 0);
    EXPECT_TRUE(destroyed.values.empty());
}

TEST(RBTreeIterator, RemovingWhileWalkingVisitsEveryEntryOnce) {
    auto random = support::seededRandom("RBTreeIterator");
    for (int round = 0; round < 40; ++round) {
        const std::size_t oddsOfKeeping = support::below(random, 4); // 0 removes all
        Destroyed destroyed;
        RBTree tree(Destroyed::note, &destroyed);
        fill(tree, 150);
        std::map<int, void*> kept;
        int seen = 0;
        const std::unique_ptr<RBTreeIterator> owner(tree.getIterator());
        RBTreeIterator* iterator = owner.get();
        for (int result = iterator->first(); result == 0; ++seen) {
            HKey* key = nullptr;
            void* value = nullptr;
            iterator->get(key, value);
            ASSERT_EQ(numberOf(key), seen);
            if (support::below(random, 4) < oddsOfKeeping) {
                kept[seen] = value;
                result = iterator->next();
            } else {
                result = tree.remove(iterator, Tree::DeleteKey | Tree::DestroyValue);
            }
        }
        EXPECT_EQ(Thread::getLastError(), HE_NOENT);
        EXPECT_EQ(seen, 150);
        EXPECT_EQ(destroyed.values.size(), 150 - kept.size());
        expectContent(tree, kept);
    }
}

TEST(RBTreeIterator, ReportsAMissingTreeOrPosition) {
    RBTree tree;
    fill(tree, 2);
    RBTreeIterator lost(nullptr);
    const std::unique_ptr<RBTreeIterator> fresh(tree.getIterator());
    const auto expect = [](int result, unsigned code) {
        EXPECT_EQ(result, -1);
        EXPECT_EQ(Thread::getLastError(), code);
        Thread::setLastError(0U);
    };
    expect(lost.first(), HE_INVALOP);
    expect(lost.last(), HE_INVALOP);
    for (RBTreeIterator* iterator : {&lost, fresh.get()}) {
        expect(iterator->next(), HE_INVALOP);
        expect(iterator->previous(), HE_INVALOP);
    }
    for (RBTreeIterator* iterator : {fresh.get(), static_cast<RBTreeIterator*>(nullptr)}) {
        expect(tree.remove(iterator, Tree::DeleteKey), HE_INVAL);
    }
    EXPECT_EQ(tree.getSize(), 2U);
}

} // namespace
