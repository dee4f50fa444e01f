#include "common/thread/ref_object.h"

#include "common/thread/sync_provider.h"
#include "common/thread/thread.h"

bool RefObject::countUse() const {
    if ((refState & useMask) == useMask) {
        Thread::setLastError(HE_TEMPORARY_DENIED);
        return false;
    }
    ++refState;
    return true;
}

// A count of 0 stays: it must not borrow from the destroy bit.
bool RefObject::uncountUse() const {
    if ((refState & useMask) == 0) {
        return false;
    }
    --refState;
    return (refState & useMask) == 0;
}

bool RefObject::refUseLock(RWLockType) const {
    CriticalSection::Locker locker(SyncProvider::of(this));
    return countUse();
}

bool RefObject::refUseUnlock(RWLockType) const {
    CriticalSection::Locker locker(SyncProvider::of(this));
    return uncountUse() && isDestroyRequested();
}

bool RefObject::refUseUnlockDestroy(RWLockType) const {
    CriticalSection::Locker locker(SyncProvider::of(this));
    refState |= destroyRequested;
    return uncountUse();
}

bool RefObject::refCondUseUnlock(bool& unlocked, RWLockType) const {
    CriticalSection::Locker locker(SyncProvider::of(this));
    unlocked = isDestroyRequested();
    return unlocked && uncountUse();
}

bool RefObject::refDestroy() const {
    CriticalSection::Locker locker(SyncProvider::of(this));
    refState |= destroyRequested;
    return (refState & useMask) == 0;
}
