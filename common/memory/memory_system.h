// The process's memory: its own malloc family in front of the C library's allocator, and what
// happens when memory runs out.
//
// The system's malloc, calloc, realloc, free and global operators new and delete add no heap of
// their own. They add a reserve of blocks that is given back to the C library piece by piece, a
// memory manager thread that an embedding server may run, a bounded wait and retry, a request to be
// restarted, a static arena for the time before initialization, and a hard stop for small requests
// of operator new that fail. They are linked into a program, never into a library; a program
// without them still has the operations marked [always], which then do nothing.
//
// Threads: all operations may be called from any thread once the system is initialized, which
// happens before a second thread starts. Failure: -1 or null with HE_NOMEM or HE_INVAL as the last
// error; nothing is logged but the end of the process in operator new.

#ifndef MORVEX_COMMON_MEMORY_MEMORY_SYSTEM_H
#define MORVEX_COMMON_MEMORY_MEMORY_SYSTEM_H

#include "common/thread/memory_seam.h" // allocMemory, freeMemory, requestMoreMemory, ...

#include <cstddef>
#include <cstdint>

// --- Start and end ---

// [always] Reaches the C library's allocator and sets or reads the limit of the address space.
// `maxSize`, if not 0, becomes that limit, in bytes. `check` and the paddings, in bytes, are for a
// tracing allocator. Until then the arena of 256 KiB serves malloc, realloc gives null, and free
// does nothing. 0; 1 if it was done before; -1 on failure.
// Requires: no other thread is running.
int initializeMemoryAllocationSystem(long long maxSize, bool check, int paddingBefore,
                                     int paddingAfter);

// [always] From here on nothing is freed and the arena serves again, so that static destructors
// can touch neither freed memory nor the lock. Does nothing without initialization.
// Requires: no other thread is running.
void cleanupMemoryAllocationSystem();

// Makes free do nothing from now on, for a quick end of the process; only while the reserve is
// complete and no thread waits for memory.
void disableMemoryDeallocation();

// A library to take malloc, realloc and free from instead of the C library, by file name; null for
// the C library. Set before initialization; it stays loaded.
extern const char* alloc_functions_lib;

using MallocFunction = void* (*)(std::size_t size);
using ReallocFunction = void* (*)(void* block, std::size_t size);
using CallocFunction = void* (*)(std::size_t count, std::size_t size);
using FreeFunction = void (*)(void* block);

// The system's functions, for those who take them by pointer.
extern MallocFunction mvxMalloc;
extern ReallocFunction mvxRealloc;
extern CallocFunction mvxCalloc;
extern FreeFunction mvxFree;

// The shared empty string: operator delete[] ignores this pointer.
extern char* staticEmptyString;

// --- The reserve and the memory manager thread ---

// In a result of waitMemoryAllocationRequest: a third of the reserve, or more, is gone.
inline constexpr int MEMORY_RESERVES_DEPLETING = 0x1000000;

// Sets the size of the reserve, from 12 to 1024 megabytes, in steps of 32 blocks of 32 KiB each. A
// larger reserve is filled later, by the allocations that follow and by the manager. -1 with
// HE_INVAL for another size, with HE_NOMEM where less than 500 megabytes of the address space
// limit would be left, with HE_INVALOP before initialization.
int setReservedMemorySize(int megabytes);

// The body of a memory manager thread's loop: waits until memory is short, at most `timeout`
// milliseconds (negative: for ever). 0: the thread is to stop, and the reserve has been given back;
// -1: the time is over and all is well; otherwise 1 plus the number of threads that wait for
// memory, plus MEMORY_RESERVES_DEPLETING. The caller then frees what it can and calls again, with
// `wakeWaiters` if that helped. Until that call the caller counts as the manager at work.
int waitMemoryAllocationRequest(bool wakeWaiters, int timeout);

// Tells the waiting threads that the manager is alive; without it two of their waits without any
// sign of the manager count as an emergency.
void resetMemoryManagerThreadWatchdog();

// Makes the manager's present or next wait return 0.
void stopMemoryManagerThread();

// True once memory was so short that a restart was asked for (Thread::requestRestart).
bool memoryAllocationSystemRequestedRestart();

// --- Memory from the kernel ---

// Zeroed pages, at least `size` bytes in whole pages of 4 KiB; tried 20 times with a wait of half a
// second after each failure. Null before initialization and for a size of 0.
void* kernelAllocMemory(unsigned long size);
// `size` is the one that was asked for. Null is ignored.
void kernelFreeMemory(void* block, unsigned long size);
// How many such blocks live, and their bytes as asked for.
void getKernelAllocations(int& count, long long& size);

// --- The machine ---

// [always] The machine's memory in bytes, at most 0xFFFFFFFF; 0 if unknown. Read once.
unsigned long long getSystemMemSize();
// [always] The limit of the process's address space in bytes; without one, getSystemMemSize().
unsigned long long getVirtualMemoryLimit();

// --- Tracing ---
//
// The interface of a tracing allocator. Nothing in this system enters a block into its list.

// What stands in front of a traced block's data.
struct AllocTraceData {
    AllocTraceData* next;
    AllocTraceData* previous;
    std::uint64_t size;
    const char* file;
    std::int32_t line;
    std::uint32_t age; // allocTraceAge when the block was made
    std::uint64_t signature;
};
inline constexpr std::size_t allocTraceDataSize = 48;
static_assert(sizeof(AllocTraceData) == allocTraceDataSize);
inline constexpr std::uint64_t allocTraceSignature = 0x6d76784d656d5472; // "mvxMemTr"

extern bool allocTraceActivated;
extern unsigned long allocThreshold; // blocks from this size on are traced
extern std::uint32_t allocTraceAge;  // grows with each end of tracing
extern AllocTraceData* allocTraceRoot;

class AllocIterator {
public:
    virtual ~AllocIterator();
    virtual void visit(void* data, std::uint64_t size, const char* file, int line) = 0;
};

void enableAllocTrace(unsigned long threshold);
// Forgets the traced blocks, which stay allocated.
void disableAllocTrace();
// Visits the traced blocks, latest first.
// Requires: nobody changes the list meanwhile.
void iterateAllocations(AllocIterator& iterator);
// Looks for damage in freed areas, all of them with `all`, and counts those found damaged. -1
// unless initialization was given `check`, and otherwise 0: no freed area is kept for checking.
int memoryAllocCheck(bool all, unsigned& damaged);

#endif
