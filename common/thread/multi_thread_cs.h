// MultiThreadCS: lets up to a fixed number of threads in at once and gives each a slot number of
// its own, for work that has so many places. Failure is as in CriticalSection.

#ifndef MORVEX_COMMON_THREAD_MULTI_THREAD_CS_H
#define MORVEX_COMMON_THREAD_MULTI_THREAD_CS_H

#include "common/thread/critical_section.h"

class MultiThreadCS : private CriticalSection {
public:
    // Throws hexcept(HE_INVAL) for a number of slots below 1.
    explicit MultiThreadCS(int slotCount);
    // Requires: no slot is taken.
    ~MultiThreadCS();

    // Takes a slot, waiting while all are taken, and returns its number, from 0 to slotCount - 1.
    // A thread that enters again takes one more slot.
    int enter();
    // Gives back a slot of the calling thread; nothing happens for a thread without one.
    void leave();
    // The slot of that thread, or -1.
    int getId(pthread_t thread);

private:
    int position(pthread_t thread) const;

    // Both arrays stand in one allocation, which `holders` names. holders is indexed by slot
    // number; slots is the list of slot numbers, whose first `used` entries are taken.
    pthread_t* holders;
    std::int32_t* slots;
    std::int32_t used;
    std::int32_t capacity;
};

#endif
