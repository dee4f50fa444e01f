// What a parse has built and no list or group owns yet: vectors of pointers in rising order, so
// that an object is found in logarithmic time when it gets an owner.

#ifndef MORVEX_ADDRESS_PENDING_H
#define MORVEX_ADDRESS_PENDING_H

#include "common/container/hvector.h"

// Node order of the vectors.
constexpr int PendingNodeOrder = 128;

// Enters an object, unless it is in already.
inline void enterPending(HVector<void*, void*>& pending, void* object) {
    int index = 0;
    if (!pending.binSearchRange(object, 0, pending.size(), &index)) {
        pending.insertAt(index, object);
    }
}

// Takes an object out, without destroying it; one that is not in is ignored.
inline void leavePending(HVector<void*, void*>& pending, void* object) {
    int index = 0;
    if (pending.binSearchRange(object, 0, pending.size(), &index)) {
        pending.removeAt(index);
    }
}

#endif
