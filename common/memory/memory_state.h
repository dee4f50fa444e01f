// The static state of the memory system, shared by its sources and by nothing else.
//
// All of it is constant-initialized: malloc is called before any constructor has run. mvxAllocCS
// guards the reserve, the counters and the manager's flags. What the fast paths read without the
// lock is atomic; a stale value only skips or repeats a refill.

#ifndef MORVEX_COMMON_MEMORY_MEMORY_STATE_H
#define MORVEX_COMMON_MEMORY_MEMORY_STATE_H

#include "common/memory/bootstrap_arena.h"
#include "common/memory/memory_system.h"
#include "common/thread/critical_section.h"

#include <pthread.h>

#include <atomic>
#include <cstddef>
#include <cstdint>

// Hidden: the fast paths reach it without a detour through the global offset table.
#pragma GCC visibility push(hidden)

namespace memory_state {

inline constexpr std::uint32_t arenaSize = 262144;
inline constexpr std::size_t reserveBlockSize = 32768;
inline constexpr int maxReservedBuffers = 32768;
inline constexpr int waitMilliseconds = 500;
inline constexpr int maxWaits = 360;
inline constexpr pthread_t noThread = static_cast<pthread_t>(-1);

// The lock's conditions.
enum Condition { ManagerWanted = 0, MemoryFreed = 1 };

extern std::atomic<bool> mvxAllocInitialized;
extern std::atomic<bool> mvxFreeDisabled;
extern bool mvxAllocCheck;
extern std::int32_t mvxAllocPaddingBefore;
extern std::int32_t mvxAllocPaddingAfter;

// The allocator underneath. Until it is known real_free ignores its argument: the C library may
// have given a block out by a function other than malloc before.
using RealMalloc = void* (*)(std::size_t size) noexcept;
using RealRealloc = void* (*)(void* block, std::size_t size) noexcept;
using RealFree = void (*)(void* block) noexcept;
extern RealMalloc real_malloc;
extern RealRealloc real_realloc;
extern RealFree real_free;

extern std::uint64_t maxAllocationSize; // the address space limit; 0 if it could not be read

extern CriticalSection* mvxAllocCS;
extern std::atomic<bool> mvxAllocLocked; // mvxAllocThreadId holds mvxAllocCS and may call real_*
extern std::atomic<pthread_t> mvxAllocThreadId;

extern BootstrapArena<arenaSize> mvxAllocArena;

// The reserve. Slots from requestedFreeBuffers up to reservedBuffersCount hold blocks of
// reserveBlockSize from real_malloc; those below are empty.
extern void* reservedFreeBuffers[maxReservedBuffers];
extern std::atomic<std::int32_t> reservedBuffersCount;
extern std::atomic<std::int32_t> requestedFreeBuffers;

extern std::atomic<std::int32_t> pendingMemoryRequests; // threads waiting for the manager
extern std::int32_t memoryManagerThreadWatchdog;        // waits begun since it last woke
extern bool memoryManagerThreadMonitored;               // a waiter counts the watchdog
extern std::atomic<bool> memoryManagerThreadStarted;    // it is at work on a request
extern std::atomic<pthread_t> memoryManagerThreadId;    // noThread while it is not
extern bool memoryManagerThreadMustStop;
extern std::atomic<bool> restartRequested;

extern std::int32_t kernelAllocCount;
extern std::int64_t kernelAllocSize;

// True if the caller holds mvxAllocCS under the mark: it must not wait for the lock again. The id
// is read after the mark and was written before it, so a former holder never takes itself for the
// present one.
inline bool isMarkedHolder() {
    return mvxAllocLocked.load(std::memory_order_acquire) &&
           mvxAllocThreadId.load(std::memory_order_relaxed) == pthread_self();
}

// Holds mvxAllocCS with the mark set, so that what allocates under it is served without the lock.
// Requires: the memory system is initialized, and the caller is not the marked holder.
class MarkedLock {
public:
    MarkedLock() {
        mvxAllocCS->enter();
        mark();
    }
    MarkedLock(const MarkedLock&) = delete;
    MarkedLock& operator=(const MarkedLock&) = delete;
    ~MarkedLock() { leave(); }

    // Ends the hold before the end of the scope.
    void leave() {
        if (held) {
            held = false;
            unmark();
            mvxAllocCS->leave();
        }
    }

    // As CriticalSection::wait. Other threads take and mark the lock meanwhile.
    int wait(Condition condition, int timeout) {
        unmark();
        const int result = mvxAllocCS->wait(condition, timeout);
        mark();
        return result;
    }

private:
    static void mark() {
        mvxAllocThreadId.store(pthread_self(), std::memory_order_relaxed);
        mvxAllocLocked.store(true, std::memory_order_release);
    }
    static void unmark() { mvxAllocLocked.store(false, std::memory_order_relaxed); }

    bool held = true;
};

// Brings the reserve towards its size. `fromMalloc`: leave that alone while the manager is at work.
void refillReserveSlowly(bool fromMalloc);

// The first step of an allocation.
// Requires: the memory system is initialized.
inline void refillReserve(bool fromMalloc) {
    if (requestedFreeBuffers.load(std::memory_order_relaxed) > 0) [[unlikely]] {
        refillReserveSlowly(fromMalloc);
    }
}

} // namespace memory_state

#pragma GCC visibility pop

#endif
