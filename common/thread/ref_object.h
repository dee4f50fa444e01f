// RefObject: a shared object with a use count and a deferred destroy, four bytes. The count is
// changed inside the object's SyncProvider, so it lives between Thread::init and Thread::cleanup.
// No operation deletes anything: a result of true tells the caller to do it.

#ifndef MORVEX_COMMON_THREAD_REF_OBJECT_H
#define MORVEX_COMMON_THREAD_REF_OBJECT_H

#include "common/thread/async_object.h"

#include <cstdint>

class RefObject : public virtual ASyncObject {
public:
    RefObject() = default;
    RefObject(const RefObject&) = delete;
    RefObject& operator=(const RefObject&) = delete;

    // The lock types are ignored here: there is no lock.
    bool refUseLock(RWLockType type) const override;
    bool refUseUnlock(RWLockType type) const override;
    bool refUseUnlockDestroy(RWLockType type) const override;
    bool refCondUseUnlock(bool& unlocked, RWLockType type) const override;
    bool refDestroy() const override;

protected:
    ~RefObject() = default;

    static constexpr std::uint32_t useMask = 0x0FFFFFFF;
    static constexpr std::uint32_t destroyRequested = 0x10000000;

    // One use more; false with HE_TEMPORARY_DENIED if the count is full.
    // Requires (this and the next two): the caller holds the object's provider.
    bool countUse() const;
    // One use less. True if it was the last one.
    bool uncountUse() const;
    bool isDestroyRequested() const { return (refState & destroyRequested) != 0; }

    // Bits 0 to 27 are the use count; bit 28 says that the destruction was requested.
    mutable std::uint32_t refState = 0;
};

#endif
