// The process's own malloc, calloc, realloc, free and global operators new and delete. They take
// the place of the C library's for the whole process, its libraries included, and pass on to it;
// what else the C library gives out (aligned_alloc, strdup) can therefore be freed here.
//
// Built without the compiler's knowledge of these names, which would turn a malloc followed by a
// memset into a call of the very calloc it stands in.

#include "common/error.h"
#include "common/memory/memory_state.h"
#include "common/memory/memory_system.h"
#include "common/thread/thread.h"

#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

using namespace memory_state;

#define MORVEX_EXPORT __attribute__((visibility("default")))

namespace {

// A request of operator new below this size that fails ends the process.
constexpr std::size_t largeObject = 262144;

constexpr std::size_t smallestAllocation = 4;

// Products of two numbers below this cannot overflow.
constexpr std::size_t uncheckedFactor = 65536;

constinit char staticEmptyStringAllocation[4] = {};

void* outOfMemory() {
    errno = static_cast<int>(HE_NOMEM);
    return nullptr;
}

// What malloc does after an attempt failed; kept apart so that the attempt itself costs little.
[[gnu::noinline]] void* allocateAfterFailure(std::size_t size) {
    for (int tries = 0;;) {
        void* block = nullptr;
        if (!isMarkedHolder()) {
            if (!requestMoreMemory(tries)) {
                return outOfMemory();
            }
        } else if ((block = mvxAllocArena.allocate(size)) != nullptr) {
            return block; // the holder of the lock cannot wait for it
        } else if (tries >= maxWaits) {
            return outOfMemory();
        } else {
            ++tries;
            Thread::sleep(waitMilliseconds);
        }
        block = real_malloc(size);
        if (block != nullptr) {
            return block;
        }
    }
}

[[gnu::noinline]] void* allocateInArena(std::size_t size) {
    void* block = mvxAllocArena.allocate(size);
    return block != nullptr ? block : outOfMemory();
}

} // namespace

// The C library declares these with parameter names of its own.
// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name)

extern "C" MORVEX_EXPORT void* malloc(std::size_t size) noexcept {
    if (!mvxAllocInitialized.load(std::memory_order_relaxed)) [[unlikely]] {
        return allocateInArena(size);
    }
    refillReserve(true);
    if (size == 0) {
        size = smallestAllocation;
    }
    void* block = real_malloc(size);
    return block != nullptr ? block : allocateAfterFailure(size);
}

extern "C" MORVEX_EXPORT void free(void* block) noexcept {
    if (mvxFreeDisabled.load(std::memory_order_relaxed) || block == nullptr ||
        mvxAllocArena.contains(block)) {
        return;
    }
    real_free(block);
}

extern "C" MORVEX_EXPORT void* realloc(void* block, std::size_t size) noexcept {
    if (block == nullptr) {
        return malloc(size);
    }
    if (size == 0) {
        free(block);
        return nullptr;
    }
    if (mvxAllocArena.contains(block) || !mvxAllocInitialized.load(std::memory_order_relaxed)) {
        return outOfMemory();
    }
    refillReserve(false);
    for (int tries = 0;;) {
        void* moved = real_realloc(block, size);
        if (moved != nullptr) {
            return moved;
        }
        if (isMarkedHolder() || !requestMoreMemory(tries)) {
            return outOfMemory();
        }
    }
}

extern "C" MORVEX_EXPORT void* calloc(std::size_t count, std::size_t size) noexcept {
    if ((count >= uncheckedFactor || size >= uncheckedFactor) && size != 0 &&
        count > std::numeric_limits<std::size_t>::max() / size) {
        return outOfMemory();
    }
    const std::size_t bytes = count * size;
    void* block = malloc(bytes); // NOLINT(clang-analyzer-optin.portability.UnixAPI): 0 is fine here
    if (block != nullptr && !mvxAllocArena.contains(block)) { // the arena is zero already
        std::memset(block, 0, bytes);
    }
    return block;
}

// NOLINTEND(readability-inconsistent-declaration-parameter-name)

void* allocMemory(unsigned long size, int maxTries, const char*, int) {
    if (!mvxAllocInitialized.load(std::memory_order_relaxed)) {
        return outOfMemory();
    }
    refillReserve(false);
    for (int tries = 0;;) {
        void* block = real_malloc(size != 0 ? size : smallestAllocation);
        if (block != nullptr) {
            return block;
        }
        if (tries >= maxTries || isMarkedHolder() || !requestMoreMemory(tries)) {
            return outOfMemory();
        }
    }
}

void freeMemory(void* block, const char*, int) {
    free(block);
}

namespace {

void* allocateObject(std::size_t size) {
    void* block = malloc(size);
    if (block == nullptr) {
        if (size >= largeObject) {
            throw std::bad_alloc();
        }
        // Nobody is prepared for this. Ending at once loses less than going on with half an object.
        Thread::log(3, "Internal server error (not enough memory)");
        ::kill(::getpid(), SIGKILL);
        std::exit(-1);
    }
    return block;
}

void freeArray(void* block) {
    if (block != staticEmptyString) {
        free(block);
    }
}

} // namespace

MORVEX_EXPORT void* operator new(std::size_t size) {
    return allocateObject(size);
}

MORVEX_EXPORT void* operator new[](std::size_t size) {
    return allocateObject(size);
}

MORVEX_EXPORT void operator delete(void* block) noexcept {
    free(block);
}

MORVEX_EXPORT void operator delete(void* block, std::size_t) noexcept {
    free(block);
}

MORVEX_EXPORT void operator delete[](void* block) noexcept {
    freeArray(block);
}

MORVEX_EXPORT void operator delete[](void* block, std::size_t) noexcept {
    freeArray(block);
}

MORVEX_EXPORT constinit char* staticEmptyString = staticEmptyStringAllocation;
MORVEX_EXPORT constinit MallocFunction mvxMalloc = malloc;
MORVEX_EXPORT constinit ReallocFunction mvxRealloc = realloc;
MORVEX_EXPORT constinit CallocFunction mvxCalloc = calloc;
MORVEX_EXPORT constinit FreeFunction mvxFree = free;
