// An allocator that fails on command, for memory_probe to take real_malloc and its like from. It
// stands on the C library's own functions, below every replacement of malloc.

#include "tests/memory/scripted_malloc.h"

#include <cstdint>

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void __libc_free(void* block);

__attribute__((visibility("default"))) ScriptedMalloc scriptedMalloc;
}

namespace {

constexpr std::size_t reserveBlockSize = 32768;
constexpr std::size_t headerSize = 16;

bool refuses(std::size_t size) {
    if (size > scriptedMalloc.largestRequest) {
        scriptedMalloc.largestRequest = size;
    }
    if (size < scriptedMalloc.failFrom) {
        return false;
    }
    int credits = scriptedMalloc.credits;
    while (credits > 0) {
        if (scriptedMalloc.credits.compare_exchange_weak(credits, credits - 1)) {
            return false;
        }
    }
    ++scriptedMalloc.failures;
    return true;
}

// A header keeps the size, so that a reserve block is known when it comes back.
void* withSize(void* block, std::size_t size) {
    if (block == nullptr) {
        return nullptr;
    }
    *static_cast<std::size_t*>(block) = size;
    return static_cast<unsigned char*>(block) + headerSize;
}

void* headerOf(void* block) {
    return static_cast<unsigned char*>(block) - headerSize;
}

} // namespace

extern "C" __attribute__((visibility("default"))) void* malloc(std::size_t size) {
    if (refuses(size)) {
        return nullptr;
    }
    if (size == reserveBlockSize) {
        ++scriptedMalloc.liveReserveBlocks;
    }
    return withSize(__libc_malloc(size + headerSize), size);
}

extern "C" __attribute__((visibility("default"))) void* realloc(void* block, std::size_t size) {
    return refuses(size) ? nullptr
                         : withSize(__libc_realloc(headerOf(block), size + headerSize), size);
}

extern "C" __attribute__((visibility("default"))) void free(void* block) {
    void* header = headerOf(block);
    ++scriptedMalloc.frees;
    if (*static_cast<std::size_t*>(header) == reserveBlockSize) {
        --scriptedMalloc.liveReserveBlocks;
        scriptedMalloc.credits += scriptedMalloc.creditsPerReserveBlock;
    }
    __libc_free(header);
}
