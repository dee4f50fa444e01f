// Who is woken, and when. Readers sleep on readCond, writers and those who wait for the object to
// come free on writeCond. After every step that frees the object or ends a wait for it without
// taking it, wakeWaiters passes the turn on: to one writer if the object is free, and to the
// readers if no writer waits any more. A signal is thus never spent on a thread that leaves.

#include "common/thread/rw_object.h"

#include "common/thread/deadline.h"
#include "common/thread/rw_lock_objs.h"
#include "common/thread/sync_provider.h"

namespace {

constexpr std::int16_t writing = -1;
constexpr std::int16_t maxReaders = INT16_MAX;

// The count has one writer at a time, the holder of the provider; it is atomic for waitUnlock's
// look from outside alone.
std::int16_t load(const std::atomic<std::int16_t>& count) {
    return count.load(std::memory_order_relaxed);
}

void store(std::atomic<std::int16_t>& count, int value) {
    count.store(static_cast<std::int16_t>(value), std::memory_order_release);
}

int timedOut() {
    Thread::setLastError(HE_TIMEOUT);
    return -1;
}

void removeEntry(HVector<const ASyncObject*>& list, const ASyncObject* object) {
    list.removeAt(list.search(object));
}

} // namespace

SyncProvider& RWObject::provider() const {
    return SyncProvider::of(this);
}

void RWObject::wakeWaiters(SyncProvider& provider) const {
    const std::int16_t count = load(lockCount);
    if (writeCond >= 0) {
        if (count == 0) {
            provider.signal(writeCond);
        }
    } else if (readCond >= 0 && count >= 0) {
        provider.signalAll(readCond);
    }
}

// Waits on writeCond until nobody holds the object. A wait without a time limit cannot fail.
int RWObject::waitFree(SyncProvider& provider, int timeout) const {
    const Deadline deadline(timeout);
    while (load(lockCount) != 0) {
        const int left = deadline.left();
        if (left == 0) {
            return timedOut();
        }
        provider.waitOn(writeCond, left);
    }
    return 0;
}

void RWObject::waitNoWriter(SyncProvider& provider) const {
    while (load(lockCount) == writing) {
        provider.waitOn(readCond, -1);
    }
}

int RWObject::acquireRead(SyncProvider& provider, int timeout) const {
    const Deadline deadline(timeout);
    while (load(lockCount) == writing || writeCond >= 0) {
        const int left = deadline.left();
        if (left == 0) {
            return timedOut();
        }
        provider.waitOn(readCond, left);
    }
    if (load(lockCount) == maxReaders) {
        Thread::setLastError(HE_TEMPORARY_DENIED);
        return -1;
    }
    store(lockCount, load(lockCount) + 1);
    return 0;
}

void RWObject::releaseRead(SyncProvider& provider) const {
    store(lockCount, load(lockCount) - 1);
    wakeWaiters(provider);
}

int RWObject::acquireWrite(SyncProvider& provider, bool reader, int timeout) const {
    if (reader) {
        store(lockCount, load(lockCount) - 1);
    }
    if (waitFree(provider, timeout) == 0) {
        store(lockCount, writing);
        return 0;
    }
    if (reader) {
        waitNoWriter(provider);
        store(lockCount, load(lockCount) + 1);
    }
    wakeWaiters(provider); // this may have been the writer that held the readers back
    return timedOut();
}

int RWObject::lockRead(SyncProvider& provider, RWLockObjs& held, int timeout) const {
    if (!held.holds(this) && acquireRead(provider, timeout) != 0) {
        return -1;
    }
    held.readList.append(this);
    return 0;
}

void RWObject::unlockRead(SyncProvider& provider, RWLockObjs& held) const {
    removeEntry(held.readList, this);
    if (!held.holds(this)) {
        releaseRead(provider);
    }
}

int RWObject::lockWrite(SyncProvider& provider, RWLockObjs& held, int timeout) const {
    if (!held.writes(this) && acquireWrite(provider, held.reads(this), timeout) != 0) {
        return -1;
    }
    held.writeList.append(this);
    return 0;
}

void RWObject::unlockWrite(SyncProvider& provider, RWLockObjs& held) const {
    removeEntry(held.writeList, this);
    if (!held.writes(this)) {
        store(lockCount, held.reads(this) ? 1 : 0);
        wakeWaiters(provider);
    }
}

int RWObject::readLock(int timeout) const {
    RWLockObjs& held = *thRWLocks.get();
    if (held.holds(this)) {
        held.readList.append(this);
        return 0;
    }
    SyncProvider& sync = provider();
    CriticalSection::Locker locker(sync);
    return lockRead(sync, held, timeout);
}

void RWObject::readUnlock() const {
    SyncProvider& sync = provider();
    CriticalSection::Locker locker(sync);
    unlockRead(sync, *thRWLocks.get());
}

int RWObject::writeLock(int timeout) const {
    SyncProvider& sync = provider();
    CriticalSection::Locker locker(sync);
    return lockWrite(sync, *thRWLocks.get(), timeout);
}

void RWObject::writeUnlock() const {
    SyncProvider& sync = provider();
    CriticalSection::Locker locker(sync);
    unlockWrite(sync, *thRWLocks.get());
}

int RWObject::waitUnlock(int timeout) const {
    if (thRWLocks.get()->holds(this)) {
        Thread::setLastError(HE_INVALOP);
        return -1;
    }
    if (lockCount.load(std::memory_order_acquire) == 0) {
        return 0;
    }
    SyncProvider& sync = provider();
    CriticalSection::Locker locker(sync);
    const int result = waitFree(sync, timeout);
    wakeWaiters(sync); // the signal that ended this wait was meant for whoever takes the object
    return result;
}

int RWObject::wait(int timeout) const {
    const RWLockObjs& held = *thRWLocks.get();
    const bool writer = held.writes(this);
    if (!writer && !held.reads(this)) {
        Thread::setLastError(HE_INVALOP);
        return -1;
    }
    SyncProvider& sync = provider();
    CriticalSection::Locker locker(sync);
    // Given up whole: a writer that also reads would keep other writers out as a reader.
    store(lockCount, writer ? 0 : load(lockCount) - 1);
    wakeWaiters(sync);
    const int result = sync.waitOn(readCond, timeout);
    const unsigned error = Thread::getLastError();
    if (writer) {
        waitFree(sync, -1);
        store(lockCount, writing);
    } else {
        acquireRead(sync, -1);
    }
    Thread::setLastError(error);
    return result;
}

bool RWObject::isReadLocked() const {
    return thRWLocks.get()->holds(this);
}

bool RWObject::isWriteLocked() const {
    return thRWLocks.get()->writes(this);
}

bool RWObject::checkWaitingThreads(bool readers, bool writers) const {
    CriticalSection::Locker locker(provider());
    return (readers && readCond >= 0) || (writers && writeCond >= 0);
}

void RWObject::csLockRun(RWJob* job) const {
    CriticalSection::Locker locker(provider());
    job->runLocked();
}

void RWObject::readLockRun(RWJob* job) const {
    if (thRWLocks.get()->holds(this)) {
        job->runRead();
        return;
    }
    SyncProvider& sync = provider();
    CriticalSection::Locker locker(sync);
    waitNoWriter(sync);
    job->runRead();
}

void RWObject::writeLockRun(RWJob* job) const {
    const RWLockObjs& held = *thRWLocks.get();
    if (held.writes(this)) {
        job->runWrite();
        return;
    }
    const bool reader = held.reads(this);
    SyncProvider& sync = provider();
    CriticalSection::Locker locker(sync);
    if (reader) {
        store(lockCount, load(lockCount) - 1);
    }
    waitFree(sync, -1);
    job->runWrite();
    store(lockCount, reader ? 1 : 0);
    wakeWaiters(sync);
}
