#include "common/thread/object_pool.h"
#include "common/thread/string_pool.h"
#include "tests/runtime/runtime.h"
#include "tests/support/random.h"

#include <cstdint>
#include <cstring>
#include <set>
#include <string>
#include <vector>

namespace {

// A kind of object with small limits that remembers what was destroyed. It registers while static
// objects are made, as pools must.
class SmallPool final : public BaseObjectPool {
public:
    int minLocalPoolSize() const override { return 2; }
    int maxLocalPoolSize() const override { return 4; }
    int minGlobalPoolSize() const override { return 3; }
    int maxGlobalPoolSize() const override { return 6; }
    void destroyObject(void* object) override { destroyed.push_back(object); }

    std::vector<void*> destroyed;
};

SmallPool smallPool;
char objects[64];

class PoolTest : public RuntimeTest {
protected:
    PoolTest() { smallPool.destroyed.clear(); }
    ~PoolTest() override { reservesDepleting = false; }

    static void put(int from, int to) {
        for (int i = from; i < to; ++i) {
            Thread::putObjectToPool(&objects[i], smallPool.getId());
        }
    }
    static void* take() { return Thread::getObjectFromPool(smallPool.getId()); }
    static int drain() {
        int count = 0;
        while (take() != nullptr) {
            ++count;
        }
        return count;
    }
};

TEST_F(PoolTest, OverflowMovesToTheGlobalPoolDownToTheMinimum) {
    onThread([] {
        put(0, 4); // fills the thread's own cache
        Thread::putObjectToPool(nullptr, smallPool.getId());
        put(4, 5); // moves two of it and itself to the global pool
        EXPECT_EQ(onThread(drain), 3);
        EXPECT_EQ(drain(), 2);
        put(5, 7);
        EXPECT_EQ(take(), &objects[6]) << "the last one in";
        EXPECT_EQ(take(), &objects[5]);
        return 0;
    });
    EXPECT_TRUE(smallPool.destroyed.empty());
}

TEST_F(PoolTest, FullGlobalPoolIsDestroyedDownToTheMinimum) {
    onThread([] {
        put(0, 11); // five, then three more and three more: the global pool gets 3, 6, 9 objects
        EXPECT_EQ(smallPool.destroyed.size(), 6u);
        EXPECT_EQ(drain(), 5);
        return 0;
    });
}

TEST_F(PoolTest, EndingThreadLeavesItsObjectsToOthers) {
    const auto putOnThread = [](int from, int to) {
        onThread([from, to] {
            put(from, to);
            return 0;
        });
    };
    putOnThread(0, 3);
    EXPECT_EQ(onThread(drain), 3);
    for (int i = 0; i < 6; ++i) {
        putOnThread(4 * i, 4 * i + 4);
    }
    EXPECT_GE(smallPool.destroyed.size(), 24u - 6u); // ending threads keep to the limit as well
    Thread::cleanup();
    EXPECT_EQ(smallPool.destroyed.size(), 24u) << "what is cached goes with the runtime";
    Thread::init();
}

TEST_F(PoolTest, CodeOutsideAnyThreadDestroysAtOnce) {
    put(0, 1);
    EXPECT_EQ(smallPool.destroyed, std::vector<void*>{&objects[0]});
    EXPECT_EQ(take(), nullptr);
}

TEST_F(PoolTest, ThreadWithoutCachesUsesTheGlobalPool) {
    Worker worker(
        [] {
            put(0, 2);
            return 0;
        },
        false);
    ASSERT_EQ(worker.start(0), 0);
    worker.join();
    EXPECT_TRUE(smallPool.destroyed.empty());
    EXPECT_EQ(take(), &objects[1]); // also outside any Thread
    EXPECT_EQ(take(), &objects[0]);
}

TEST_F(PoolTest, DepletingReservesDropAllCaches) {
    onThread([] {
        put(0, 5); // two of its own, three global
        reservesDepleting = true;
        EXPECT_EQ(take(), &objects[1]) << "what was found is still given";
        EXPECT_EQ(smallPool.destroyed.size(), 4u);
        EXPECT_EQ(take(), nullptr);
        put(10, 11);
        EXPECT_EQ(smallPool.destroyed.back(), &objects[10]);
        reservesDepleting = false;
        put(11, 12);
        EXPECT_EQ(drain(), 1) << "the caches are at work again";
        return 0;
    });
}

// The header in front of a buffer: a pool's id, or the size as a negative number.
std::int32_t headerOf(const char* text) {
    std::int32_t header;
    std::memcpy(&header, text - sizeof(header), sizeof(header));
    return header;
}

TEST_F(PoolTest, StringSizesChooseTheirPool) {
    const struct {
        int size;
        int room; // of the pool, or 0 for a buffer of its own
    } rows[] = {{-5, 32},       {0, 32},        {32, 32},       {33, 64},     {64, 64},
                {65, 128},      {4096, 4096},   {4097, 8192},   {8192, 8192}, {8193, 16386},
                {16386, 16386}, {16387, 32770}, {32770, 32770}, {32771, 0}};
    for (const auto& row : rows) {
        char* text = getString(row.size);
        const std::int32_t header = headerOf(text);
        if (row.room != 0) {
            ASSERT_GE(header, 0) << row.size;
            EXPECT_EQ(BaseObjectPool::pools[header]->getSize(), row.room) << row.size;
            std::memset(text, 'x', static_cast<std::size_t>(row.room));
        } else {
            EXPECT_EQ(header, -row.size);
        }
        releaseString(text);
    }
    releaseString(nullptr);
}

TEST_F(PoolTest, ReallocatedStringStaysWhileItFits) {
    onThread([] {
        char* text = reallocString(nullptr, 33);
        EXPECT_EQ(reallocString(text, 64), text);
        EXPECT_EQ(reallocString(text, 1), text);
        EXPECT_EQ(reallocString(text, 0), nullptr);
        EXPECT_EQ(getString(40), text) << "the released buffer serves again";
        releaseString(text);

        char* own = getString(40000);
        EXPECT_EQ(reallocString(own, 39999), own);
        std::memset(own, 'z', 40000);
        own = reallocString(own, 40001);
        EXPECT_EQ(headerOf(own), -40001);
        EXPECT_EQ(std::string(own, 40000), std::string(40000, 'z'));
        releaseString(own);
        return 0;
    });
}

TEST_F(PoolTest, StringsKeepTheirContentThroughRandomUse) {
    auto random = support::seededRandom("StringsKeepTheirContent");
    onThread([&random] {
        struct Held {
            char* text;
            int size;
            char fill;
        };
        std::vector<Held> held;
        for (int i = 0; i < 20000; ++i) {
            const int size = static_cast<int>(support::below(random, 35000));
            if (held.size() < 40 && support::below(random, 2) == 0) {
                held.push_back({getString(size + 1), size + 1, static_cast<char>('a' + i % 26)});
                held.back().text[0] = held.back().text[size] = held.back().fill;
            } else if (!held.empty()) {
                Held& entry = held[support::below(random, held.size())];
                if (entry.text[0] != entry.fill || entry.text[entry.size - 1] != entry.fill) {
                    ADD_FAILURE() << "content lost at step " << i;
                    return 1;
                }
                entry.text = reallocString(entry.text, size);
                if (size == 0) {
                    entry = held.back();
                    held.pop_back();
                    continue;
                }
                EXPECT_EQ(entry.text[0], entry.fill) << "not copied at step " << i;
                entry.size = size;
                entry.text[size - 1] = entry.fill;
            }
        }
        for (const Held& entry : held) {
            releaseString(entry.text);
        }
        return 0;
    });
}

TEST_F(PoolTest, StringsCrossThreads) {
    char* text = getString(100);
    const auto releaseHere = [&text] {
        releaseString(text);
        return 0;
    };
    onThread([&] {
        releaseHere();
        EXPECT_EQ(getString(100), text);
        return 0;
    });
    onThread(releaseHere);
    EXPECT_EQ(getString(100), text) << "from the global pool, which the thread's end filled";
    releaseHere();
}

} // namespace
