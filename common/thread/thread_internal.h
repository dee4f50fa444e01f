// What the sources of Thread share among themselves. Not for other code.

#ifndef MORVEX_COMMON_THREAD_THREAD_INTERNAL_H
#define MORVEX_COMMON_THREAD_THREAD_INTERNAL_H

#include "common/container/hvector.h"
#include "common/thread/reentrant_cs.h"
#include "common/thread/thread.h"

#include <cstdint>

namespace threadinternal {

// Holds Thread::globalCS, or nothing while there is none.
class GlobalLocker {
public:
    GlobalLocker() : held(Thread::globalCS) {
        if (held != nullptr) {
            held->enter();
        }
    }
    GlobalLocker(const GlobalLocker&) = delete;
    GlobalLocker& operator=(const GlobalLocker&) = delete;
    ~GlobalLocker() {
        if (held != nullptr) {
            held->leave();
        }
    }

private:
    ReentrantCS* held;
};

// The platform's key for the current thread.
void createCurrentThreadKey();
void deleteCurrentThreadKey();

// The slots of the code outside any Thread.
extern void* globalSpecificData[Thread::maxSpecificKeys];
// Makes the data of every key, in key order, and destroys it, from the last key to the first. The
// slots are null afterwards.
void createSpecificData(void** slots);
void destroySpecificData(void** slots);

// The global pools, and the caches of one thread: empty ones, or null outside init and cleanup.
void createGlobalPools();
void destroyGlobalPools();
HVector<void*, int>** createLocalPools();
// Moves what the caches hold to the global pools, or destroys it where there are none any more.
void destroyLocalPools(HVector<void*, int>** localPools);

// Gives a thread's stack back for use by others. `user` is the platform's number of the thread
// that may still run on it for a moment, or 0.
void putStack(void* block, std::uintptr_t user);

} // namespace threadinternal

#endif
