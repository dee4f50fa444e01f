// Start and end of the memory system.

#include "common/memory/memory_system.h"

#include "common/memory/memory_state.h"
#include "common/stream/descriptor.h"

#include <dlfcn.h>
#include <sys/resource.h>

#include <cstring>

using namespace memory_state;

#define MORVEX_EXPORT __attribute__((visibility("default")))

MORVEX_EXPORT constinit const char* alloc_functions_lib = nullptr;

namespace {

constexpr int maxPadding = 4096;

// The C library, under the name that this process has it loaded by and under its bare name, which
// on GNU systems is a text for the linker: asking for that first would search the disk in vain.
constexpr const char* cLibraryNames[] = {"libc.so.6", "libc.so"};

alignas(4096) unsigned char padBefore[maxPadding];
alignas(4096) unsigned char padAfter[maxPadding];
alignas(4096) unsigned char padFreed[maxPadding];

// Only a tracing allocator reads the pads, and only where it was asked to pad or to check: the
// pages are not touched otherwise.
void fillPads() {
    std::memset(padBefore, 0xBF, sizeof padBefore);
    std::memset(padAfter, 0xAF, sizeof padAfter);
    std::memset(padFreed, 0xFE, sizeof padFreed);
}

void* openAllocatorLibrary() {
    // A library of the embedding program's own must not vanish with the handle.
    constexpr int flags = RTLD_NOW | RTLD_NODELETE;
    if (alloc_functions_lib != nullptr) {
        return ::dlopen(alloc_functions_lib, flags);
    }
    void* library = nullptr;
    for (const char* name : cLibraryNames) {
        if (library == nullptr) {
            library = ::dlopen(name, flags);
        }
    }
    return library;
}

template <class Function> bool lookUp(void* library, const char* name, Function& function) {
    void* address = ::dlsym(library, name);
    if (address != nullptr) {
        function = reinterpret_cast<Function>(address);
    }
    return address != nullptr;
}

bool findRealFunctions() {
    void* library = openAllocatorLibrary();
    if (library == nullptr) {
        return false;
    }
    const bool found = lookUp(library, "malloc", real_malloc) &&
                       lookUp(library, "realloc", real_realloc) &&
                       lookUp(library, "free", real_free);
    ::dlclose(library);
    return found;
}

bool settleAddressSpaceLimit(long long maxSize) {
    rlimit limit{};
    if (maxSize != 0) {
        limit.rlim_cur = limit.rlim_max = static_cast<rlim_t>(maxSize);
        if (::setrlimit(RLIMIT_AS, &limit) != 0) {
            return false;
        }
        maxAllocationSize = static_cast<std::uint64_t>(maxSize);
    } else {
        maxAllocationSize = ::getrlimit(RLIMIT_AS, &limit) == 0 ? limit.rlim_cur : 0;
    }
    return true;
}

} // namespace

int initializeMemoryAllocationSystem(long long maxSize, bool check, int paddingBefore,
                                     int paddingAfter) {
    if (hookLibcClose() != 0) {
        return -1;
    }
    if (mvxAllocInitialized.load(std::memory_order_relaxed)) {
        return 1;
    }
    if (paddingBefore < 0 || paddingBefore > maxPadding || paddingAfter < 0 ||
        paddingAfter > maxPadding) {
        return -1;
    }
    mvxAllocCheck = check;
    mvxAllocPaddingBefore = paddingBefore;
    mvxAllocPaddingAfter = paddingAfter;
    if (check || paddingBefore != 0 || paddingAfter != 0) {
        fillPads();
    }
    if (!findRealFunctions() || !settleAddressSpaceLimit(maxSize)) {
        return -1;
    }
    mvxAllocCS = new CriticalSection(2); // from the arena: the lock must not depend on the heap
    mvxFreeDisabled.store(false, std::memory_order_relaxed);
    mvxAllocInitialized.store(true, std::memory_order_relaxed);
    return 0;
}

void cleanupMemoryAllocationSystem() {
    if (mvxAllocInitialized.load(std::memory_order_relaxed)) {
        mvxFreeDisabled.store(true, std::memory_order_relaxed);
        mvxAllocInitialized.store(false, std::memory_order_relaxed);
        delete mvxAllocCS;
        mvxAllocCS = nullptr;
    }
}
