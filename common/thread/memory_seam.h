// What the runtime asks of the process's allocator. A process with the system's own allocator
// (common/memory) gets that one's answers; in any other, such as a test or a program that links
// the libraries alone, weak stand-ins serve from malloc and never know of a reserve.

#ifndef MORVEX_COMMON_THREAD_MEMORY_SEAM_H
#define MORVEX_COMMON_THREAD_MEMORY_SEAM_H

// A block of `size` bytes, or null after at most maxTries + 1 attempts. `file` and `line` name the
// caller and are not used.
void* allocMemory(unsigned long size, int maxTries, const char* file, int line);
void freeMemory(void* block, const char* file, int line);

// Asks for memory to be set free after an allocation failed; counts `tries` up. True to try again,
// false to give up.
bool requestMoreMemory(int& tries);

// True while the reserve of memory is in use or threads wait for memory: caches are to be dropped.
bool memoryAllocationReservesDepleting();

#endif
