#include "common/memory/memory_state.h"

namespace memory_state {
namespace {

void keepBlock(void*) noexcept {
}

} // namespace

constinit std::atomic<bool> mvxAllocInitialized{false};
constinit std::atomic<bool> mvxFreeDisabled{false};
constinit bool mvxAllocCheck = false;
constinit std::int32_t mvxAllocPaddingBefore = 0;
constinit std::int32_t mvxAllocPaddingAfter = 0;

constinit RealMalloc real_malloc = nullptr;
constinit RealRealloc real_realloc = nullptr;
constinit RealFree real_free = keepBlock;

constinit std::uint64_t maxAllocationSize = 0;

constinit CriticalSection* mvxAllocCS = nullptr;
constinit std::atomic<bool> mvxAllocLocked{false};
constinit std::atomic<pthread_t> mvxAllocThreadId{noThread};

alignas(4096) constinit BootstrapArena<arenaSize> mvxAllocArena;

alignas(4096) constinit void* reservedFreeBuffers[maxReservedBuffers] = {};
constinit std::atomic<std::int32_t> reservedBuffersCount{0};
constinit std::atomic<std::int32_t> requestedFreeBuffers{0};

constinit std::atomic<std::int32_t> pendingMemoryRequests{0};
constinit std::int32_t memoryManagerThreadWatchdog = 0;
constinit bool memoryManagerThreadMonitored = false;
constinit std::atomic<bool> memoryManagerThreadStarted{false};
constinit std::atomic<pthread_t> memoryManagerThreadId{noThread};
constinit bool memoryManagerThreadMustStop = false;
constinit std::atomic<bool> restartRequested{false};

constinit std::int32_t kernelAllocCount = 0;
constinit std::int64_t kernelAllocSize = 0;

} // namespace memory_state
