// What memory_probe tells the scripted allocator, and what it learns from it.

#ifndef MORVEX_TESTS_MEMORY_SCRIPTED_MALLOC_H
#define MORVEX_TESTS_MEMORY_SCRIPTED_MALLOC_H

#include <atomic>
#include <cstddef>

struct ScriptedMalloc {
    // Requests of at least this size fail, unless there is a credit, of which each takes one.
    std::atomic<std::size_t> failFrom{static_cast<std::size_t>(-1)};
    std::atomic<int> credits{0};
    // Freeing a block of the reserve's size gives this many credits.
    std::atomic<int> creditsPerReserveBlock{0};

    std::atomic<int> failures{0};
    std::atomic<int> frees{0};
    std::atomic<int> liveReserveBlocks{0};
    std::atomic<std::size_t> largestRequest{0};
};

#endif
