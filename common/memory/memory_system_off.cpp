// A program built without the system's allocator starts and ends its memory system all the same:
// the C library, or a sanitizer, serves it throughout.

#include "common/memory/memory_system.h"

int initializeMemoryAllocationSystem(long long, bool, int, int) {
    return 0;
}

void cleanupMemoryAllocationSystem() {
}
