// RWObject: a shared object with a reader-writer lock of six bytes. The lock works through the
// object's SyncProvider and through two lists per thread of what the thread holds, so that locks
// nest. It may be locked only between Thread::init and Thread::cleanup, needs no work in a
// destructor, and must be free when it is destroyed.
//
// A waiting writer holds back new readers, so writers do not starve.

#ifndef MORVEX_COMMON_THREAD_RW_OBJECT_H
#define MORVEX_COMMON_THREAD_RW_OBJECT_H

#include "common/thread/async_object.h"

#include <atomic>
#include <cstdint>

class SyncProvider;
struct RWLockObjs;

// Work that is run under a lock of an object, for the three run operations below. It must be
// short, must not throw and must not lock: one object in 64 waits for it.
class RWJob {
public:
    virtual void runRead() = 0;   // under read protection
    virtual void runWrite() = 0;  // under write protection
    virtual void runLocked() = 0; // under the bare lock of the provider

protected:
    ~RWJob() = default;
};

class RWObject : public virtual ASyncObject {
public:
    RWObject() = default;
    RWObject(const RWObject&) = delete;
    RWObject& operator=(const RWObject&) = delete;

    int readLock(int timeout) const override;
    void readUnlock() const override;
    int writeLock(int timeout) const override;
    void writeUnlock() const override;
    int waitUnlock(int timeout) const override;
    int wait(int timeout) const override;
    bool isReadLocked() const override;
    bool isWriteLocked() const override;
    bool checkWaitingThreads(bool readers, bool writers) const override;

    // Runs job->runLocked() inside the provider, whatever the state of the lock.
    void csLockRun(RWJob* job) const;
    // Runs job->runRead() with no writer in, or right away if this thread holds the object.
    void readLockRun(RWJob* job) const;
    // Runs job->runWrite() with no other thread in, or right away if this thread holds the write
    // lock. A reader gives its lock up for the wait and has it back afterwards.
    void writeLockRun(RWJob* job) const;

protected:
    ~RWObject() = default;

    // The halves of the operations above that run inside the provider. Each is given the lists of
    // the calling thread.
    // Requires: the caller holds `provider`, which is this object's.
    int lockRead(SyncProvider& provider, RWLockObjs& held, int timeout) const;
    void unlockRead(SyncProvider& provider, RWLockObjs& held) const;
    int lockWrite(SyncProvider& provider, RWLockObjs& held, int timeout) const;
    void unlockWrite(SyncProvider& provider, RWLockObjs& held) const;

    SyncProvider& provider() const;

private:
    // The steps below change the fields; their caller holds `provider`. acquire and release know
    // nothing of the thread's lists.
    int acquireRead(SyncProvider& provider, int timeout) const;
    void releaseRead(SyncProvider& provider) const;
    // `reader` says that this thread is one of the readers counted.
    int acquireWrite(SyncProvider& provider, bool reader, int timeout) const;
    int waitFree(SyncProvider& provider, int timeout) const;
    void waitNoWriter(SyncProvider& provider) const;
    void wakeWaiters(SyncProvider& provider) const;

    // 0 free, above 0 the number of reading threads, -1 a writer. Changed inside the provider
    // only; atomic because waitUnlock looks at it from outside first.
    mutable std::atomic<std::int16_t> lockCount{0};
    // The provider's condition on which readers or writers wait; -1 while none does.
    mutable std::int16_t readCond = -1;
    mutable std::int16_t writeCond = -1;
};

#endif
