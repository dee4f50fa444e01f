// What happens when memory runs out: the reserve, the waits, the memory manager thread.
//
// A reserve block is spent by giving it back to the C library, where the next attempt finds it. The
// first third of the reserve goes without a wait; then threads wait for the manager, and when it
// does not answer, or the waits don't help, the rest of the reserve goes and a restart is asked
// for, once.

#include "common/error.h"
#include "common/memory/memory_state.h"
#include "common/memory/memory_system.h"
#include "common/thread/thread.h"

#include <cstring>

namespace memory_state {
namespace {

constexpr int blocksPerMegabyte = 32;
constexpr int minReserveMegabytes = 12;
constexpr std::int64_t megabytesToSpare = 500;
constexpr int managerMaxTries = 1800;
constexpr unsigned managerPauseMilliseconds = 100;
constexpr int watchdogLimit = 2;

bool callerIsManager() {
    return memoryManagerThreadId.load(std::memory_order_relaxed) == pthread_self();
}

// ---- The reserve; all of it under the lock ---------------------------------------------------

std::int32_t requested() {
    return requestedFreeBuffers.load(std::memory_order_relaxed);
}

std::int32_t reserved() {
    return reservedBuffersCount.load(std::memory_order_relaxed);
}

bool reserveHoldsBlock() {
    return requested() < reserved();
}

// Requires: the reserve holds a block.
void spendBlock() {
    const std::int32_t index = requested();
    real_free(reservedFreeBuffers[index]);
    reservedFreeBuffers[index] = nullptr;
    requestedFreeBuffers.store(index + 1, std::memory_order_relaxed);
}

void spendAll() {
    while (reserveHoldsBlock()) {
        spendBlock();
    }
}

// Requires: the reserve lacks a block. False where there is no memory for one.
bool refillBlock() {
    void* block = real_malloc(reserveBlockSize);
    if (block == nullptr) {
        return false;
    }
    const std::int32_t index = requested() - 1;
    reservedFreeBuffers[index] = block;
    requestedFreeBuffers.store(index, std::memory_order_relaxed);
    return true;
}

} // namespace

// A call adds one block at least and stops once the reserve is just over two thirds full: one
// allocation must not pay for all of it.
void refillReserveSlowly(bool fromMalloc) {
    if (restartRequested.load(std::memory_order_relaxed) || isMarkedHolder() || callerIsManager() ||
        (fromMalloc && memoryManagerThreadStarted.load(std::memory_order_relaxed))) {
        return;
    }
    const MarkedLock lock;
    while (requested() > 0 && refillBlock() && requested() >= reserved() / 3) {
    }
}

} // namespace memory_state

using namespace memory_state;

// ---- Asking for memory -----------------------------------------------------------------------

namespace {

// The manager itself has nobody to wait for.
bool requestAsManager(MarkedLock& lock, int tries) {
    if (reserveHoldsBlock()) {
        spendBlock();
        return true;
    }
    lock.leave();
    if (tries > managerMaxTries) {
        return false;
    }
    Thread::sleep(managerPauseMilliseconds);
    return true;
}

bool isEmergency(int tries) {
    if (memoryManagerThreadWatchdog >= watchdogLimit) {
        return true;
    }
    if (restartRequested.load(std::memory_order_relaxed)) {
        return tries >= 2;
    }
    return tries > (requested() != 0 ? 1 : 10);
}

// Spends a block out of turn; asks for a restart once more than half of the reserve is gone.
void spendInEmergency(MarkedLock& lock, int& tries) {
    bool doRestart = !restartRequested.load(std::memory_order_relaxed);
    spendBlock();
    if (requested() <= reserved() / 2) {
        doRestart = false;
    } else {
        restartRequested.store(true, std::memory_order_relaxed);
    }
    tries = 1;
    lock.leave();
    if (doRestart) {
        Thread::requestRestart(0);
    }
}

// Wakes the manager and waits until it has freed something, or for half a second. One waiter at a
// time counts the waits that the manager lets pass.
void waitForManager(MarkedLock& lock) {
    ++pendingMemoryRequests;
    mvxAllocCS->signal(ManagerWanted);
    const bool monitor = !memoryManagerThreadMonitored;
    if (monitor) {
        memoryManagerThreadMonitored = true;
        ++memoryManagerThreadWatchdog;
    }
    lock.wait(MemoryFreed, waitMilliseconds);
    if (monitor) {
        memoryManagerThreadMonitored = false;
    }
    --pendingMemoryRequests;
}

} // namespace

bool requestMoreMemory(int& tries) {
    ++tries;
    if (!mvxAllocInitialized.load(std::memory_order_relaxed)) {
        return false; // there is no lock to wait under, and nobody to wait for
    }
    MarkedLock lock;
    if (memoryManagerThreadStarted.load(std::memory_order_relaxed) && callerIsManager()) {
        return requestAsManager(lock, tries);
    }
    if (isEmergency(tries)) {
        if (reserveHoldsBlock()) {
            spendInEmergency(lock, tries);
            return true;
        }
        if (tries > maxWaits) {
            return false;
        }
        if (!restartRequested.exchange(true, std::memory_order_relaxed)) {
            Thread::requestRestart(0);
        }
    }
    if (requested() < reserved() / 3) {
        spendBlock();
        mvxAllocCS->signal(ManagerWanted);
        return true;
    }
    waitForManager(lock);
    return true;
}

bool memoryAllocationReservesDepleting() {
    return pendingMemoryRequests.load(std::memory_order_relaxed) > 0 ||
           requestedFreeBuffers.load(std::memory_order_relaxed) > 0 ||
           memoryManagerThreadStarted.load(std::memory_order_relaxed);
}

bool memoryAllocationSystemRequestedRestart() {
    return restartRequested.load(std::memory_order_relaxed);
}

void disableMemoryDeallocation() {
    if (requestedFreeBuffers.load(std::memory_order_relaxed) == 0 &&
        pendingMemoryRequests.load(std::memory_order_relaxed) == 0) {
        mvxFreeDisabled.store(true, std::memory_order_relaxed);
    }
}

// ---- The manager -----------------------------------------------------------------------------

int waitMemoryAllocationRequest(bool wakeWaiters, int timeout) {
    if (!mvxAllocInitialized.load(std::memory_order_relaxed)) {
        Thread::setLastError(HE_INVALOP);
        return 0;
    }
    MarkedLock lock;
    memoryManagerThreadStarted.store(false, std::memory_order_relaxed);
    memoryManagerThreadId.store(noThread, std::memory_order_relaxed);
    if (memoryManagerThreadMustStop) {
        spendAll();
        memoryManagerThreadWatchdog = 0;
        return 0;
    }
    if (wakeWaiters && pendingMemoryRequests.load(std::memory_order_relaxed) != 0) {
        mvxAllocCS->signalAll(MemoryFreed);
    }
    for (;;) {
        const bool timedOut = lock.wait(ManagerWanted, timeout) != 0;
        memoryManagerThreadWatchdog = 0;
        if (memoryManagerThreadMustStop) {
            spendAll();
            return 0;
        }
        const std::int32_t pending = pendingMemoryRequests.load(std::memory_order_relaxed);
        if (pending == 0) {
            while (requested() > 0 && refillBlock()) {
            }
        }
        if (requested() > 0 || pending > 0) {
            memoryManagerThreadId.store(pthread_self(), std::memory_order_relaxed);
            memoryManagerThreadStarted.store(true, std::memory_order_relaxed);
            const bool depleting = requested() >= reserved() / 3;
            return pending + 1 + (depleting ? MEMORY_RESERVES_DEPLETING : 0);
        }
        if (timedOut) {
            return -1;
        }
    }
}

void resetMemoryManagerThreadWatchdog() {
    if (mvxAllocInitialized.load(std::memory_order_relaxed)) {
        const MarkedLock lock;
        memoryManagerThreadWatchdog = 0;
    }
}

void stopMemoryManagerThread() {
    if (mvxAllocInitialized.load(std::memory_order_relaxed)) {
        const MarkedLock lock;
        memoryManagerThreadMustStop = true;
        mvxAllocCS->signal(ManagerWanted);
    }
}

int setReservedMemorySize(int megabytes) {
    if (megabytes < minReserveMegabytes || megabytes > maxReservedBuffers / blocksPerMegabyte) {
        Thread::setLastError(HE_INVAL);
        return -1;
    }
    if (maxAllocationSize != 0 &&
        static_cast<std::int64_t>(maxAllocationSize >> 20) - megabytes < megabytesToSpare) {
        Thread::setLastError(HE_NOMEM);
        return -1;
    }
    if (!mvxAllocInitialized.load(std::memory_order_relaxed)) {
        Thread::setLastError(HE_INVALOP);
        return -1;
    }
    const MarkedLock lock;
    const std::int32_t count = megabytes * blocksPerMegabyte;
    const std::int32_t grown = count - reserved();
    if (grown >= 0) {
        // The new slots stand in front, where the blocks that the reserve lacks are.
        std::memmove(reservedFreeBuffers + grown, reservedFreeBuffers,
                     static_cast<std::size_t>(reserved()) * sizeof(void*));
        std::memset(reservedFreeBuffers, 0, static_cast<std::size_t>(grown) * sizeof(void*));
    } else {
        while (requested() < -grown) {
            spendBlock();
        }
        std::memmove(reservedFreeBuffers, reservedFreeBuffers - grown,
                     static_cast<std::size_t>(count) * sizeof(void*));
    }
    requestedFreeBuffers.store(requested() + grown, std::memory_order_relaxed);
    reservedBuffersCount.store(count, std::memory_order_relaxed);
    return 0;
}
