// BootstrapArena: memory for the time when the allocator underneath is not to be had: before the
// memory system starts, after it ends, and for the holder of its lock when memory is out.
//
// A bump allocator over a static buffer; blocks are never reused, so they are zero when given out.
// Constant-initialized: it works before any constructor has run. Any thread may allocate.

#ifndef MORVEX_COMMON_MEMORY_BOOTSTRAP_ARENA_H
#define MORVEX_COMMON_MEMORY_BOOTSTRAP_ARENA_H

#include <atomic>
#include <cstddef>
#include <cstdint>

template <std::uint32_t Capacity> class BootstrapArena {
public:
    // A block whose size is rounded up to a multiple of 8, or null, with nothing changed, where it
    // does not fit. A size of 0 takes no room and gives the present position. A block of more than
    // 8 bytes starts at a multiple of 16, the alignment that compilers expect of malloc.
    void* allocate(std::size_t size) noexcept {
        if (size > Capacity) {
            return nullptr;
        }
        const std::uint32_t rounded = ((static_cast<std::uint32_t>(size) - 1) | 7) + 1;
        std::uint32_t position = mvxAllocSize.load(std::memory_order_relaxed);
        std::uint32_t start;
        do {
            start = rounded > 8 ? (position + 15) & ~15U : position;
            if (start > Capacity || rounded > Capacity - start) {
                return nullptr;
            }
        } while (!mvxAllocSize.compare_exchange_weak(position, start + rounded,
                                                     std::memory_order_relaxed));
        return mvxAllocBuffer + start;
    }

    // True for every block given out, so also for the end of a full arena: a size of 0 gets that.
    bool contains(const void* block) const noexcept {
        const auto address = reinterpret_cast<std::uintptr_t>(block);
        const auto begin = reinterpret_cast<std::uintptr_t>(mvxAllocBuffer);
        return address - begin <= Capacity; // wraps for an address below the arena
    }

    std::uint32_t getUsed() const noexcept { return mvxAllocSize.load(std::memory_order_relaxed); }

private:
    std::atomic<std::uint32_t> mvxAllocSize{0}; // in front: in the page of the first blocks
    alignas(16) unsigned char mvxAllocBuffer[Capacity]{};
};

#endif
