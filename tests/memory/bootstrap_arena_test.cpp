#include "common/memory/bootstrap_arena.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <set>
#include <thread>
#include <vector>

namespace {

using Arena = BootstrapArena<262144>;

TEST(BootstrapArena, HoldsExactlyItsCapacityAndKnowsItsBlocks) {
    const auto arena = std::make_unique<Arena>();
    for (const std::size_t size : {std::size_t{262145}, std::size_t{0} - 1,
                                   std::size_t{0x100000008}}) { // must not be cut to 32 bits
        EXPECT_EQ(arena->allocate(size), nullptr) << size;
    }
    auto* block = static_cast<unsigned char*>(arena->allocate(262144));
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(arena->allocate(1), nullptr);
    EXPECT_EQ(arena->getUsed(), 262144U);
    EXPECT_EQ(arena->allocate(0), block + 262144);
    EXPECT_TRUE(arena->contains(block));
    EXPECT_TRUE(arena->contains(block + 262144)) << "a block of size 0 can be freed";
    EXPECT_FALSE(arena->contains(block + 262145));
    EXPECT_FALSE(arena->contains(block - 1));
    EXPECT_FALSE(arena->contains(nullptr));
}

TEST(BootstrapArena, RoundsSizesToEightAndAlignsWhatNeedsIt) {
    const auto arena = std::make_unique<Arena>();
    auto* first = static_cast<unsigned char*>(arena->allocate(0));
    EXPECT_EQ(arena->getUsed(), 0U);
    struct {
        std::size_t size;
        std::uint32_t usedAfter;
    } const rows[] = {{1, 8}, {8, 16}, {9, 32}, {16, 48}, {3, 56}, {0, 56}, {24, 88}, {2, 96}};
    for (const auto& row : rows) {
        auto* block = static_cast<unsigned char*>(arena->allocate(row.size));
        EXPECT_EQ(arena->getUsed(), row.usedAfter) << "after " << row.size;
        EXPECT_EQ(block + (row.size + 7) / 8 * 8, first + row.usedAfter);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % (row.size > 8 ? 16 : 8), 0U);
    }
}

TEST(BootstrapArena, ThreadsNeverGetTheSameBlock) {
    const auto arena = std::make_unique<Arena>();
    std::vector<void*> blocks[4];
    std::vector<std::thread> threads;
    for (auto& mine : blocks) {
        threads.emplace_back([&mine, &arena] {
            while (void* block = arena->allocate(24)) {
                mine.push_back(block);
            }
        });
    }
    std::set<void*> all;
    for (std::size_t i = 0; i < threads.size(); ++i) {
        threads[i].join();
        all.insert(blocks[i].begin(), blocks[i].end());
    }
    EXPECT_EQ(all.size(), 262144U / 32); // blocks of 24 bytes start every 32
}

} // namespace
