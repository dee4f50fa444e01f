// Aligned blocks for generated scanners on top of the per-thread string pools.

#include "address/flex_memory.h"

#include "common/thread/string_pool.h"

#include <cstdint>
#include <cstring>

namespace {

constexpr std::size_t Alignment = 16;

// The first aligned byte behind `base`, with the distance noted in the byte below it.
void* alignUp(char* base) {
    const std::size_t shift = Alignment - reinterpret_cast<std::uintptr_t>(base) % Alignment;
    char* block = base + shift;
    block[-1] = static_cast<char>(shift);
    return block;
}

std::size_t shiftOf(const void* block) {
    return static_cast<unsigned char>(static_cast<const char*>(block)[-1]);
}

} // namespace

void* flexAllocate(std::size_t size) {
    return alignUp(getString(static_cast<int>(size + Alignment)));
}

void* flexReallocate(void* block, std::size_t size) {
    if (block == nullptr) {
        return flexAllocate(size);
    }
    const std::size_t oldShift = shiftOf(block);
    char* base = static_cast<char*>(block) - oldShift;
    base = reallocString(base, static_cast<int>(size + Alignment));
    const std::size_t newShift = Alignment - reinterpret_cast<std::uintptr_t>(base) % Alignment;
    if (newShift != oldShift) {
        std::memmove(base + newShift, base + oldShift, size);
    }
    return alignUp(base);
}

void flexFree(void* block) {
    if (block != nullptr) {
        releaseString(static_cast<char*>(block) - shiftOf(block));
    }
}
