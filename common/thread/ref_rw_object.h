// RefRWObject: a shared object with both the use count of RefObject and the reader-writer lock of
// RWObject. The refUse operations change count and lock in one step, so that no thread can find
// the object used but unlocked, or locked and about to be deleted.

#ifndef MORVEX_COMMON_THREAD_REF_RW_OBJECT_H
#define MORVEX_COMMON_THREAD_REF_RW_OBJECT_H

#include "common/thread/ref_object.h"
#include "common/thread/rw_object.h"

class RefRWObject : public RefObject, public RWObject {
public:
    bool refUseLock(RWLockType type) const override;
    bool refUseUnlock(RWLockType type) const override;
    bool refUseUnlockDestroy(RWLockType type) const override;
    bool refCondUseUnlock(bool& unlocked, RWLockType type) const override;

protected:
    ~RefRWObject() = default;

private:
    void unlock(SyncProvider& provider, RWLockType type) const;
};

#endif
