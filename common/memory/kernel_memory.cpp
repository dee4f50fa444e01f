// Whole pages straight from the kernel, for what must not go through the C library's heap.

#include "common/error.h"
#include "common/memory/memory_state.h"
#include "common/memory/memory_system.h"
#include "common/thread/thread.h"

#include <sys/mman.h>

#include <limits>

using namespace memory_state;

namespace {

constexpr unsigned long kernelPage = 4096;
constexpr int kernelTries = 20;

unsigned long roundToPages(unsigned long size) {
    return (size + kernelPage - 1) & ~(kernelPage - 1);
}

void waitForKernelMemory() {
    MarkedLock lock;
    ++pendingMemoryRequests;
    mvxAllocCS->signal(ManagerWanted);
    lock.wait(MemoryFreed, waitMilliseconds);
    --pendingMemoryRequests;
}

} // namespace

void* kernelAllocMemory(unsigned long size) {
    if (!mvxAllocInitialized.load(std::memory_order_relaxed)) {
        Thread::setLastError(HE_INVALOP);
        return nullptr;
    }
    if (size == 0 || size > std::numeric_limits<unsigned long>::max() - kernelPage) {
        Thread::setLastError(HE_INVAL);
        return nullptr;
    }
    for (int tries = 0; tries < kernelTries; ++tries) {
        void* block = ::mmap(nullptr, roundToPages(size), PROT_READ | PROT_WRITE,
                             MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (block != MAP_FAILED) {
            const MarkedLock lock;
            ++kernelAllocCount;
            kernelAllocSize += static_cast<std::int64_t>(size);
            return block;
        }
        waitForKernelMemory();
    }
    Thread::setLastError(HE_NOMEM);
    return nullptr;
}

void kernelFreeMemory(void* block, unsigned long size) {
    if (!mvxAllocInitialized.load(std::memory_order_relaxed) || block == nullptr) {
        return;
    }
    ::munmap(block, roundToPages(size));
    const MarkedLock lock;
    --kernelAllocCount;
    kernelAllocSize -= static_cast<std::int64_t>(size);
}

void getKernelAllocations(int& count, long long& size) {
    const auto read = [&] {
        count = kernelAllocCount;
        size = kernelAllocSize;
    };
    if (mvxAllocCS != nullptr) {
        const MarkedLock lock;
        read();
    } else {
        read();
    }
}
