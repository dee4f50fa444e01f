// The stand-ins for a process without the system's own allocator. They are weak: where the
// allocator is linked in, the linker takes its definitions.

#include "common/thread/memory_seam.h"

#include <cstdlib>

__attribute__((weak)) void* allocMemory(unsigned long size, int, const char*, int) {
    return std::malloc(size > 0 ? size : 4);
}

__attribute__((weak)) void freeMemory(void* block, const char*, int) {
    std::free(block);
}

__attribute__((weak)) bool requestMoreMemory(int& tries) {
    ++tries;
    return false;
}

__attribute__((weak)) bool memoryAllocationReservesDepleting() {
    return false;
}
