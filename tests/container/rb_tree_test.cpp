#include "common/container/rb_tree.h"
#include "common/error.h"
#include "common/thread/thread.h"
#include "tests/support/random.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <memory>
#include <vector>

namespace {

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

std::vector<int> walkForward(const RBTree& tree) {
    std::vector<int> numbers;
    HKey* key = nullptr;
    void* value = nullptr;
    for (int result = tree.first(key, value); result == 0; result = tree.next(key, value)) {
        numbers.push_back(numberOf(key));
    }
    return numbers;
}

void expectContent(const RBTree& tree, const std::map<int, void*>& reference) {
    ASSERT_EQ(tree.getSize(), reference.size());
    const std::unique_ptr<RBTreeIterator> forward(tree.getIterator());
    auto expected = reference.begin();
    for (int result = forward->first(); result == 0; result = forward->next(), ++expected) {
        HKey* key = nullptr;
        void* value = nullptr;
        forward->get(key, value);
        ASSERT_NE(expected, reference.end());
        ASSERT_EQ(numberOf(key), expected->first);
        ASSERT_EQ(value, expected->second);
    }
    ASSERT_EQ(expected, reference.end());

    const std::unique_ptr<RBTreeIterator> backward(tree.getIterator());
    auto back = reference.rbegin();
    for (int result = backward->last(); result == 0; result = backward->previous(), ++back) {
        HKey* key = nullptr;
        void* value = nullptr;
        backward->get(key, value);
        ASSERT_NE(back, reference.rend());
        ASSERT_EQ(numberOf(key), back->first);
    }
    ASSERT_EQ(back, reference.rend());
}

// A red-black tree of n entries is at most 2 log2(n + 1) deep.
void expectBalanced(const RBTree& tree) {
    const int limit = static_cast<int>(2 * std::log2(tree.getSize() + 1.0)) + 1;
    for (const int number : walkForward(tree)) {
        CountedKey key(number);
        CountedKey::comparisons = 0;
        ASSERT_NE(tree.search(&key), nullptr);
        ASSERT_LE(CountedKey::comparisons, limit);
    }
}

TEST(RBTree, RandomChangesMatchAMap) {
    auto random = support::seededRandom("RBTree");
    {
        Destroyed destroyed;
        RBTree tree(Destroyed::note, &destroyed);
        std::map<int, void*> reference;
        for (int step = 0; step < 12000; ++step) {
            const bool shrink = (step / 2000) % 2 == 1;
            const int number = static_cast<int>(support::below(random, 700));
            const bool present = reference.count(number) != 0;
            void* value = valueFor(static_cast<int>(support::below(random, sizeof cells)));
            auto key = std::make_unique<CountedKey>(number);
            void* old = value;
            destroyed.values.clear();
            switch (support::below(random, shrink ? 8 : 5)) {
            case 0:
                ASSERT_EQ(tree.insert(key.get(), value), present ? -1 : 0);
                if (!present) {
                    key.release();
                    reference[number] = value;
                } else {
                    ASSERT_EQ(Thread::getLastError(), HE_EEXISTS);
                }
                break;
            case 1: // one descent for a search and the insertion
                if (tree.search(key.get()) == nullptr) {
                    ASSERT_FALSE(present);
                    ASSERT_EQ(tree.insert(value), 0);
                    key.release();
                    reference[number] = value;
                }
                break;
            case 2:
                ASSERT_EQ(tree.modify(key.get(), value, true), present ? 1 : 0);
                if (present) {
                    ASSERT_EQ(destroyed.values, std::vector<void*>{reference[number]});
                } else {
                    key.release();
                }
                reference[number] = value;
                break;
            case 3: // one descent for a search and the change or removal
                if (tree.search(key.get(), old) == 0) {
                    ASSERT_EQ(old, reference[number]);
                    ASSERT_EQ(tree.modify(value, false), 1);
                    reference[number] = value;
                    ASSERT_EQ(tree.search(key.get(), old), 0);
                    ASSERT_EQ(tree.remove(Tree::DeleteKey), 0);
                    reference.erase(number);
                } else {
                    ASSERT_EQ(old, nullptr);
                }
                break;
            default:
                ASSERT_EQ(tree.remove(key.get(), old, Tree::DeleteKey), present ? 0 : -1);
                ASSERT_EQ(old, present ? reference[number] : nullptr);
                reference.erase(number);
                ASSERT_TRUE(destroyed.values.empty());
            }
            if (step % 500 == 0) {
                expectContent(tree, reference);
                expectBalanced(tree);
            }
        }
        expectContent(tree, reference);
        const std::size_t left = reference.size();
        destroyed.values.clear();
        ASSERT_EQ(tree.empty(Tree::DeleteKey | Tree::DestroyValue), 0);
        EXPECT_EQ(destroyed.values.size(), left);
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

TEST(RBTree, AscendingKeysStayBalanced) {
    RBTree tree;
    for (int i = 0; i < 2000; ++i) {
        ASSERT_EQ(tree.insert(new CountedKey(i), valueFor(i)), 0);
    }
    expectBalanced(tree);
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

TEST(RBTree, TheEntryOfTheWalkCanBeModifiedOrRemoved) {
    RBTree tree;
    fill(tree, 5);
    HKey* key = nullptr;
    void* value = nullptr;
    ASSERT_EQ(tree.first(key, value), 0);
    EXPECT_EQ(tree.modify(valueFor(50), false), 1);
    ASSERT_EQ(tree.first(key, value), 0);
    EXPECT_EQ(value, valueFor(50));
    EXPECT_EQ(tree.remove(Tree::DeleteKey), 0);
    EXPECT_EQ(walkForward(tree), (std::vector<int>{1, 2, 3, 4}));
}

TEST(RBTree, ShortcutsWithoutAPendingSearchFail) {
    RBTree tree;
    const auto expectNonePending = [&tree] {
        Thread::setLastError(0U);
        EXPECT_EQ(tree.insert(static_cast<void*>(cells)), -1);
        EXPECT_EQ(Thread::getLastError(), HE_INVALOP);
        Thread::setLastError(0U);
        EXPECT_EQ(tree.remove(Tree::DeleteKey), -1);
        EXPECT_EQ(Thread::getLastError(), HE_INVALOP);
        Thread::setLastError(0U);
        EXPECT_EQ(tree.modify(static_cast<void*>(cells), true), -1);
        EXPECT_EQ(Thread::getLastError(), HE_INVALOP);
    };
    expectNonePending();

    // A search in the empty tree, then the insertion, puts the searched key in.
    auto* key = new CountedKey(1);
    EXPECT_EQ(tree.search(key), nullptr);
    EXPECT_EQ(Thread::getLastError(), HE_NOENT);
    EXPECT_EQ(tree.remove(Tree::DeleteKey), -1) << "nothing was found that could be removed";
    EXPECT_EQ(tree.insert(static_cast<void*>(cells)), 0);
    EXPECT_EQ(tree.search(key), cells);
    EXPECT_EQ(tree.remove(Tree::DeleteKey), 0);
    EXPECT_EQ(tree.getSize(), 0U);
    expectNonePending();

    key = new CountedKey(2);
    EXPECT_EQ(tree.search(key), nullptr);
    EXPECT_EQ(tree.modify(static_cast<void*>(cells), false), 0) << "an empty tree takes it in";
    EXPECT_EQ(tree.empty(Tree::DeleteKey), 0);
    expectNonePending();
}

TEST(RBTree, InsertAfterASearchNeverCutsABranchOff) {
    // So far apart that the keys' difference and their operators disagree.
    RBTree tree;
    const int numbers[] = {0x7fffffff, 0x40000000, -0x7fffffff - 1, -0x40000000, 0, 5, -5};
    std::uint32_t count = 0;
    for (const int number : numbers) {
        auto key = std::make_unique<Int32Key>(number);
        if (tree.search(key.get()) == nullptr) {
            ASSERT_EQ(tree.insert(valueFor(static_cast<int>(count))), 0);
            key.release();
            ++count;
        }
    }
    HKey* key = nullptr;
    void* value = nullptr;
    std::uint32_t walked = 0;
    while (tree.next(key, value) == 0) {
        ++walked;
    }
    EXPECT_EQ(walked, count);
    EXPECT_EQ(tree.getSize(), count);
}

TEST(RBTree, RemovalFlagsSayWhatIsDestroyed) {
    struct {
        int flags;
        bool keyDies, valueDies;
    } const rows[] = {
        {0, false, false}, {1, false, false}, {2, true, false}, {4, false, true}, {6, true, true},
    };
    for (const auto& row : rows) {
        Destroyed destroyed;
        RBTree tree(Destroyed::note, &destroyed);
        const int before = CountedKey::alive;
        auto* key = new CountedKey(1);
        ASSERT_EQ(tree.insert(key, valueFor(1)), 0);
        void* value = nullptr;
        EXPECT_EQ(tree.remove(key, value, row.flags), 0);
        EXPECT_EQ(value, row.valueDies ? nullptr : valueFor(1));
        EXPECT_EQ(destroyed.values.size(), row.valueDies ? 1U : 0U);
        EXPECT_EQ(CountedKey::alive, row.keyDies ? before : before + 1);
        if (!row.keyDies) {
            delete key;
        }
    }
    RBTree tree;
    void* value = cells;
    EXPECT_EQ(tree.remove(nullptr, value, Tree::DeleteKey), -1);
    EXPECT_EQ(Thread::getLastError(), HE_INVAL);
    EXPECT_EQ(value, nullptr);
    CountedKey absent(3);
    EXPECT_EQ(tree.remove(&absent, Tree::DeleteKey), -1);
    EXPECT_EQ(Thread::getLastError(), HE_NOENT);
}

TEST(RBTree, ModifyDestroysTheOldValueOnlyWhenAskedAndNotNull) {
    Destroyed destroyed;
    RBTree tree(Destroyed::note, &destroyed);
    auto* key = new CountedKey(1);
    ASSERT_EQ(tree.modify(key, nullptr, true), 0);
    EXPECT_EQ(tree.modify(key, valueFor(1), true), 1);
    EXPECT_TRUE(destroyed.values.empty()) << "the old value was null";
    EXPECT_EQ(tree.modify(key, valueFor(2), false), 1);
    EXPECT_TRUE(destroyed.values.empty());
    EXPECT_EQ(tree.modify(key, valueFor(3), true), 1);
    EXPECT_EQ(destroyed.values, std::vector<void*>{valueFor(2)});
}

TEST(RBTreeIterator, RemovingWhileWalkingVisitsEveryEntryOnce) {
    auto random = support::seededRandom("RBTreeIterator");
    for (int round = 0; round < 40; ++round) {
        const std::size_t oddsOfKeeping = support::below(random, 4); // 0 removes all
        Destroyed destroyed;
        RBTree tree(Destroyed::note, &destroyed);
        fill(tree, 150);
        std::map<int, void*> kept;
        std::vector<int> seen;
        const std::unique_ptr<RBTreeIterator> owner(tree.getIterator());
        RBTreeIterator* iterator = owner.get();
        int result = iterator->first();
        while (result == 0) {
            HKey* key = nullptr;
            void* value = nullptr;
            iterator->get(key, value);
            seen.push_back(numberOf(key));
            if (oddsOfKeeping != 0 && support::below(random, 4) < oddsOfKeeping) {
                kept[numberOf(key)] = value;
                result = iterator->next();
            } else {
                result = tree.remove(iterator, Tree::DeleteKey | Tree::DestroyValue);
            }
        }
        EXPECT_EQ(Thread::getLastError(), HE_NOENT);
        ASSERT_EQ(seen.size(), 150U);
        for (int i = 0; i < 150; ++i) {
            ASSERT_EQ(seen[static_cast<std::size_t>(i)], i);
        }
        EXPECT_EQ(destroyed.values.size(), 150 - kept.size());
        expectContent(tree, kept);
    }
}

TEST(RBTreeIterator, ReportsAMissingTreeOrPosition) {
    const auto expectInvalid = [](int result) {
        EXPECT_EQ(result, -1);
        EXPECT_EQ(Thread::getLastError(), HE_INVALOP);
        Thread::setLastError(0U);
    };
    RBTreeIterator lost(nullptr);
    expectInvalid(lost.first());
    expectInvalid(lost.last());
    expectInvalid(lost.next());
    expectInvalid(lost.previous());

    RBTree tree;
    fill(tree, 2);
    const std::unique_ptr<RBTreeIterator> owner(tree.getIterator());
    expectInvalid(owner->next());
    expectInvalid(owner->previous());
    HKey* key = nullptr;
    void* value = cells;
    owner->get(key, value);
    EXPECT_EQ(key, nullptr);
    EXPECT_EQ(value, nullptr);

    RBTreeIterator* iterator = owner.get();
    EXPECT_EQ(tree.remove(iterator, Tree::DeleteKey), -1);
    EXPECT_EQ(Thread::getLastError(), HE_INVAL);
    iterator = nullptr;
    EXPECT_EQ(tree.remove(iterator, Tree::DeleteKey), -1);
    EXPECT_EQ(Thread::getLastError(), HE_INVAL);
    EXPECT_EQ(tree.getSize(), 2U);
}

} // namespace
