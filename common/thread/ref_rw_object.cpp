#include "common/thread/ref_rw_object.h"

#include "common/thread/rw_lock_objs.h"
#include "common/thread/sync_provider.h"

bool RefRWObject::refUseLock(RWLockType type) const {
    SyncProvider& sync = provider();
    CriticalSection::Locker locker(sync);
    if (!countUse()) {
        return false;
    }
    int result = 0;
    if (type == RWLOCK_READ) {
        result = lockRead(sync, *thRWLocks.get(), -1);
    } else if (type == RWLOCK_WRITE) {
        result = lockWrite(sync, *thRWLocks.get(), -1);
    }
    if (result != 0) { // more readers than can be counted
        uncountUse();
        return false;
    }
    return true;
}

// Requires: the caller holds `provider`.
void RefRWObject::unlock(SyncProvider& provider, RWLockType type) const {
    if (type == RWLOCK_READ) {
        unlockRead(provider, *thRWLocks.get());
    } else if (type == RWLOCK_WRITE) {
        unlockWrite(provider, *thRWLocks.get());
    }
}

bool RefRWObject::refUseUnlock(RWLockType type) const {
    SyncProvider& sync = provider();
    CriticalSection::Locker locker(sync);
    unlock(sync, type);
    return uncountUse() && isDestroyRequested();
}

bool RefRWObject::refUseUnlockDestroy(RWLockType type) const {
    SyncProvider& sync = provider();
    CriticalSection::Locker locker(sync);
    unlock(sync, type);
    refState |= destroyRequested;
    return uncountUse();
}

bool RefRWObject::refCondUseUnlock(bool& unlocked, RWLockType type) const {
    SyncProvider& sync = provider();
    CriticalSection::Locker locker(sync);
    unlocked = isDestroyRequested();
    if (!unlocked) {
        return false;
    }
    unlock(sync, type);
    return uncountUse();
}
