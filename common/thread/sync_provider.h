// SyncProvider: the lock and the conditions behind many shared objects at once. There are 64; an
// object's address chooses its provider, so an object itself holds no kernel object and no mutex.
//
// A provider is the innermost lock: it is taken for a moment, around the change of a few fields.
// Its conditions exist only for contended objects; their number grows with the worst contention
// seen and never falls. A wait takes a free condition for an object and the last waiter gives it
// back.

#ifndef MORVEX_COMMON_THREAD_SYNC_PROVIDER_H
#define MORVEX_COMMON_THREAD_SYNC_PROVIDER_H

#include "common/thread/critical_section.h"

#include <cstdint>

class ASyncObject;

class SyncProvider : public CriticalSection {
public:
    SyncProvider();
    ~SyncProvider();

    // The providers exist between these two, which Thread::init and Thread::cleanup call.
    static void init();
    static void cleanup();

    // The provider of an object. Requires: Thread::init has run.
    static SyncProvider& of(const ASyncObject* object);

    // Waits on the condition whose number `field` holds; -1 there takes a free one first. The
    // last waiter to wake gives the condition back and sets `field` to -1. Result and timeout as
    // in CriticalSection::wait.
    // Requires: the caller holds this provider; `field` is guarded by it.
    int waitOn(std::int16_t& field, int timeout);

    // The number of conditions made so far.
    int conditionCount() const { return stateCount; }

    static constexpr int count = 64;
    static SyncProvider* syncProviders; // array of `count`, or null

private:
    struct CondState {
        std::uint16_t waiters;
        std::int16_t nextFree; // the free condition behind this one, or -1
    };

    void extendConds();

    CondState* condStates; // one entry a condition
    std::int32_t firstFree;
    std::int32_t stateCount;
};

#endif
