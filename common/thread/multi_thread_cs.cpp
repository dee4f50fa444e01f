#include "common/thread/multi_thread_cs.h"

#include "common/error.h"
#include "common/hexcept.h"

#include <cstddef>
#include <new>
#include <utility>

namespace {

constexpr int slotFree = 0;

int checkedCount(int slotCount) {
    if (slotCount < 1) {
        throw hexcept(HE_INVAL);
    }
    return slotCount;
}

} // namespace

MultiThreadCS::MultiThreadCS(int slotCount)
    : CriticalSection(1), holders(nullptr), slots(nullptr), used(0),
      capacity(checkedCount(slotCount)) {
    const std::size_t places = static_cast<std::size_t>(capacity);
    void* block = ::operator new(places*(sizeof(pthread_t) + sizeof(std::int32_t)));
    holders = new (block) pthread_t[places]{};
    slots = new (holders + places) std::int32_t[places];
    for (std::int32_t slot = 0; slot < capacity; ++slot) {
        slots[slot] = slot;
    }
}

MultiThreadCS::~MultiThreadCS() {
    ::operator delete(static_cast<void*>(holders));
}

// The place in `slots` of a thread's first slot, or -1. Requires: the lock is held.
int MultiThreadCS::position(pthread_t thread) const {
    for (int i = 0; i < used; ++i) {
        if (pthread_equal(holders[slots[i]], thread)) {
            return i;
        }
    }
    return -1;
}

int MultiThreadCS::enter() {
    Locker locker(*this);
    while (used == capacity) {
        wait(slotFree, -1);
    }
    const int slot = slots[used];
    ++used;
    holders[slot] = pthread_self();
    return slot;
}

void MultiThreadCS::leave() {
    Locker locker(*this);
    const int place = position(pthread_self());
    if (place < 0) {
        return;
    }
    --used;
    std::swap(slots[place], slots[used]);
    // For every slot, not only for the first of a full house: a second one may come free before
    // the waiter that the first one woke has taken it, and then another waiter has room too.
    signal(slotFree);
}

int MultiThreadCS::getId(pthread_t thread) {
    Locker locker(*this);
    const int place = position(thread);
    return place < 0 ? -1 : slots[place];
}
