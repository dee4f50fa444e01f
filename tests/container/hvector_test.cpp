#include "common/container/hvector.h"
#include "common/error.h"
#include "common/hexcept.h"
#include "common/thread/thread.h"
#include "tests/support/random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace {

// Elements of an odd size, so that child pointers stand at a stride that does not keep them
// aligned, and of a size for which sorting needs a heap buffer.
struct Twelve {
    int value;
    char rest[8];
};
struct Large {
    int value;
    char rest[300];
};

template <class T> T make(int value) {
    T element{};
    element.value = value;
    std::memset(element.rest, value & 0x7f, sizeof element.rest);
    return element;
}
template <> int make<int>(int value) {
    return value;
}

// The element's number, after a look at the bytes that must have moved with it.
template <class T> int valueOf(const T& element) {
    for (const char c : element.rest) {
        EXPECT_EQ(c, element.value & 0x7f);
    }
    return element.value;
}
template <> int valueOf(const int& element) {
    return element;
}

// A vector that can check what must hold for every tree.
template <class T> class Checked : public HVector<T> {
public:
    using HVector<T>::HVector;

    bool hasRoot() const { return this->root != nullptr; }

    // The sizes of the leaves in order; empty, with a test failure, for a broken tree.
    std::vector<int> leafSizes() const {
        std::vector<int> sizes;
        int leafDepth = -1;
        if (this->root != nullptr) {
            EXPECT_EQ(this->root->parent, nullptr);
            walk(this->root, 0, leafDepth, sizes);
        }
        return sizes;
    }

private:
    using Node = HVectorBase::Node;

    int walk(Node* node, int depth, int& leafDepth, std::vector<int>& sizes) const {
        EXPECT_GT(node->count, 0);
        if (node->leaf) {
            EXPECT_TRUE(leafDepth == -1 || leafDepth == depth) << "leaves at different depths";
            leafDepth = depth;
            EXPECT_LE(node->count, this->maxEntries);
            sizes.push_back(node->count);
            return node->count;
        }
        int count = 0;
        bool ended = false;
        for (int slot = 0; slot < this->maxEntries; ++slot) {
            Node* child = nullptr;
            std::memcpy(&child, this->slotAddress(node, slot), sizeof child);
            if (child == nullptr) {
                ended = true;
                continue;
            }
            EXPECT_FALSE(ended) << "a gap between children";
            EXPECT_EQ(child->parent, node);
            count += walk(child, depth + 1, leafDepth, sizes);
        }
        EXPECT_EQ(node->count, count);
        return count;
    }
};

template <class T> void expectEqual(const Checked<T>& vector, const std::vector<int>& reference) {
    ASSERT_EQ(vector.size(), static_cast<int>(reference.size()));
    vector.leafSizes();
    for (int i = 0; i < vector.size(); ++i) {
        ASSERT_EQ(valueOf(vector.get(i)), reference[static_cast<std::size_t>(i)]) << "at " << i;
    }
}

template <class T> void randomChanges(int order) {
    SCOPED_TRACE(order);
    auto random = support::seededRandom("HVector");
    Checked<T> vector(order);
    std::vector<int> reference;
    for (int step = 0; step < 3000; ++step) {
        // Long phases of growth and of shrinking; places at both ends and anywhere.
        const bool grow = support::below(random, 10) < ((step / 500) % 2 == 0 ? 8 : 3);
        const int ends = static_cast<int>(reference.size()) - (grow ? 0 : 1);
        if (ends < 0) {
            continue;
        }
        const int places[] = {
            0, ends, static_cast<int>(support::below(random, static_cast<std::size_t>(ends) + 1))};
        const std::size_t kind = support::below(random, 4);
        const int place = places[std::min<std::size_t>(kind, 2)];
        if (!grow) {
            vector.removeAt(place);
            reference.erase(reference.begin() + place);
        } else if (kind == 1) {
            vector.append(make<T>(step));
            reference.push_back(step);
        } else {
            ASSERT_TRUE(vector.insertAt(place, make<T>(step)));
            reference.insert(reference.begin() + place, step);
        }
        if (step % 100 == 0) {
            expectEqual(vector, reference);
        }
    }
    expectEqual(vector, reference);
    while (vector.size() > 0) {
        vector.removeAt(static_cast<int>(support::below(random, reference.size())));
        reference.pop_back();
    }
    EXPECT_FALSE(vector.hasRoot());
    vector.append(make<T>(5));
    EXPECT_EQ(valueOf(vector.get(0)), 5);
}

TEST(HVector, RandomChangesMatchAPlainVector) {
    for (const int order : {2, 3, 4, 16, 128}) {
        randomChanges<int>(order);
        randomChanges<Twelve>(order);
    }
}

TEST(HVector, FullLeafSplitsAtTheInsertionPointWithTheNewLeafOnTheLeft) {
    struct {
        int place;
        std::vector<int> leaves;
    } const rows[] = {{0, {1, 4}}, {1, {2, 3}}, {3, {4, 1}}, {4, {4, 1}}};
    for (const auto& row : rows) {
        Checked<int> vector(4);
        for (int i = 0; i < 4; ++i) {
            vector.append(i);
        }
        vector.insertAt(row.place, 99);
        EXPECT_EQ(vector.leafSizes(), row.leaves) << "at " << row.place;
    }
}

TEST(HVector, IndexesOutOfRangeChangeNothing) {
    Checked<int> vector(4);
    EXPECT_EQ(vector.insertData(1), nullptr);
    EXPECT_EQ(vector.insertData(-1), nullptr);
    EXPECT_FALSE(vector.hasRoot());
    ASSERT_TRUE(vector.insertAt(0, 7));
    for (const int place : {-1, 1}) {
        EXPECT_FALSE(vector.insertAt(place == 1 ? 2 : place, 8));
        EXPECT_FALSE(vector.set(place, 8));
        vector.removeAt(place);
        int index = place;
        EXPECT_EQ(vector.gotoIndex(index), nullptr);
        EXPECT_EQ(index, place);
        EXPECT_EQ(vector.get(place), 0);
        EXPECT_EQ(vector.getPointer(place), nullptr);
        Thread::setLastError(0U);
        EXPECT_THROW(vector.at(place), hexcept);
        EXPECT_EQ(Thread::getLastError(), HE_INVAL);
    }
    EXPECT_EQ(vector.size(), 1);
    EXPECT_EQ(vector.at(0), 7);

    Thread::setLastError(0U);
    EXPECT_THROW(HVector<int>(1), hexcept);
    EXPECT_EQ(Thread::getLastError(), HE_INVAL);
}

TEST(HVector, DestroyFunctionRunsInOrderForAllThatIsLeftAndOnlyThen) {
    using Log = std::vector<int>;
    Log log;
    {
        HVector<int, Log*> vector(
            2, [](int element, Log* seen) { seen->push_back(element); }, &log);
        for (int i = 0; i < 7; ++i) {
            vector.append(i);
        }
        vector.removeAt(3);
        EXPECT_TRUE(log.empty());
        vector.clear();
        EXPECT_EQ(log, (Log{0, 1, 2, 4, 5, 6}));
        EXPECT_EQ(vector.size(), 0);
        vector.append(42);
        log.clear();
    }
    EXPECT_EQ(log, Log{42});
}

TEST(HVector, SearchGivesTheHighestIndexOfEqualElements) {
    HVector<int> vector(2);
    EXPECT_EQ(vector.search(1), -1);
    for (const int value : {1, 2, 1, 3, 1, 4, 5}) {
        vector.append(value);
    }
    const int indexes[] = {-1, 4, 1, 3, 5, 6, -1};
    for (int value = 0; value < 7; ++value) {
        EXPECT_EQ(vector.search(value), indexes[value]);
    }
}

int compareInts(int key, int element) {
    return (key > element) - (key < element);
}

TEST(HVector, BinarySearchesFindTheElementOrItsPlace) {
    HVector<int> vector(3);
    const auto expect = [&vector](int key, int from, int to, bool present, int place) {
        int index = 77;
        EXPECT_EQ(vector.binSearchRange(key, from, to, &index), present) << key;
        EXPECT_EQ(index, place) << key << " from " << from << " to " << to;
        if (from >= 0 && to <= vector.size()) {
            EXPECT_EQ(vector.binSearch<int>(key, compareInts, from, to, &index), present) << key;
            EXPECT_EQ(index, place) << key << " from " << from << " to " << to;
        }
    };
    expect(5, 0, 0, false, 0);
    for (int i = 0; i < 50; ++i) {
        vector.append(i * 2 - 40);
    }
    for (int key = -43; key < 65; ++key) {
        const bool present = key >= -40 && key <= 58 && key % 2 == 0;
        expect(key, 0, 50, present, std::clamp((key + 41) / 2, 0, 50));
    }
    EXPECT_TRUE(vector.binSearchRange(-40, 0, 50, nullptr));
    EXPECT_TRUE(vector.binSearch<int>(-40, compareInts, 0, 50, nullptr));
    expect(58, 7, 7, false, 7);
    expect(58, 9, 8, false, 8);
    expect(58, 10, 20, false, 20);
    expect(58, 0, 51, false, 0); // a range behind the end
    expect(58, -1, 50, false, 0);

    HVector<unsigned> large(4);
    for (const unsigned value : {1U, 0x7fffffffU, 0x80000000U, 0xffffffffU}) {
        large.append(value);
    }
    int index = 0;
    EXPECT_TRUE(large.binSearchRange(0x80000000U, 0, 4, &index));
    EXPECT_EQ(index, 2) << "unsigned elements compare unsigned";
}

template <class T> int compareElements(void* a, void* b, void* calls) {
    ++*static_cast<int*>(calls);
    const int left = valueOf(*static_cast<T*>(a));
    const int right = valueOf(*static_cast<T*>(b));
    return (left > right) - (left < right);
}

template <class T> void sortAgainstReference(const std::vector<int>& values, int lo, int hi) {
    Checked<T> vector(5);
    for (const int value : values) {
        vector.append(make<T>(value));
    }
    std::vector<int> reference = values;
    if (lo < hi) {
        std::sort(reference.begin() + lo, reference.begin() + hi + 1);
    }
    int calls = 0;
    vector.quickSortData(lo, hi, compareElements<T>, &calls);
    expectEqual(vector, reference);
}

TEST(HVector, SortsAnyRange) {
    auto random = support::seededRandom("HVectorSort");
    for (int round = 0; round < 60; ++round) {
        std::vector<int> values(1 + support::below(random, 200));
        const std::size_t range = 1 + support::below(random, 300);
        for (int& value : values) {
            value = static_cast<int>(support::below(random, range)) - 50;
        }
        const int last = static_cast<int>(values.size()) - 1;
        sortAgainstReference<int>(values, 0, last);
        sortAgainstReference<Twelve>(values, last / 3, last / 2);
        sortAgainstReference<Large>(values, 0, last);
    }
    sortAgainstReference<int>({3, 2, 1}, 2, 1);
}

TEST(HVector, SortingSortedReversedAndEqualElementsStaysQuick) {
    for (const int slope : {1, -1, 0}) {
        HVector<int> vector(64);
        for (int i = 0; i < 20000; ++i) {
            vector.append(i * slope);
        }
        int calls = 0;
        vector.quickSortData(0, 19999, compareElements<int>, &calls);
        EXPECT_LT(calls, 600000) << slope;
    }
}

} // namespace
