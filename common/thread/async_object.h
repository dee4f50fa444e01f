// ASyncObject: the interface of an object that threads share, with a reader-writer lock and a use
// count. In itself it does nothing and grants everything, for objects of one thread. It is a
// virtual base; RWObject adds the lock, RefObject the count, RefRWObject both.
//
// All operations are const: the lock and the count are no part of an object's value, and a reader
// of a const object locks it too. Timeouts are in milliseconds, a negative one waits for ever,
// and 0 does not wait. Failure is -1 with the last error.
//
// The lock belongs to a thread: the main thread, a Thread or a ForeignThread. Threads outside all
// of these must not lock, because they would be taken for the main thread.

#ifndef MORVEX_COMMON_THREAD_ASYNC_OBJECT_H
#define MORVEX_COMMON_THREAD_ASYNC_OBJECT_H

enum RWLockType : int { RWLOCK_NONE = 0, RWLOCK_READ = 1, RWLOCK_WRITE = 2 };

class ASyncObject {
public:
    // Takes the object for reading: many threads may read at once, none while one writes or waits
    // to write. It nests, also inside a write lock; each lock needs an unlock. 0, or -1 with
    // HE_TIMEOUT.
    virtual int readLock(int timeout) const;
    // Requires: this thread holds a read lock.
    virtual void readUnlock() const;

    // Takes the object for writing, alone. It nests. A reader that asks becomes the writer; it
    // gives its read lock up while it waits, so another writer may get in first, and what it read
    // before must be read again. 0, or -1 with HE_TIMEOUT: a reader is a reader again then.
    virtual int writeLock(int timeout) const;
    // The last unlock of a thread that also has a read lock leaves it a reader.
    // Requires: this thread holds a write lock.
    virtual void writeUnlock() const;

    // Waits until nobody holds the object, without taking it. 0, or -1: HE_INVALOP if this thread
    // holds it itself, else HE_TIMEOUT.
    virtual int waitUnlock(int timeout) const;
    // A condition wait: gives up all that this thread holds of the object, waits for a writer to
    // finish, and holds the same again on return, however long that takes. 0 once woken (a wake
    // may come without cause), or -1: HE_TIMEOUT, or HE_INVALOP if this thread holds nothing.
    virtual int wait(int timeout) const;

    // What this thread holds. A writer counts as a reader too.
    virtual bool isReadLocked() const;
    virtual bool isWriteLocked() const;
    // True if a thread waits to read and `readers` is set, or one waits to write and `writers` is.
    virtual bool checkWaitingThreads(bool readers, bool writers) const;

    // Counts one use more and takes the lock of the given type, without a time limit. False, with
    // HE_TEMPORARY_DENIED and nothing changed, if the count is full.
    virtual bool refUseLock(RWLockType type) const;
    // The three below undo the lock of the given type and count one use less. True tells the
    // caller to delete the object: the last use is over and its destruction was requested.
    virtual bool refUseUnlock(RWLockType type) const;
    // Requests the destruction too.
    virtual bool refUseUnlockDestroy(RWLockType type) const;
    // Does anything only if the destruction was requested; `unlocked` tells whether it did.
    virtual bool refCondUseUnlock(bool& unlocked, RWLockType type) const;
    // Requests the destruction. True if the object has no use: the caller is to delete it.
    virtual bool refDestroy() const;
    // Whether an object may be destroyed when its last use ends.
    virtual bool onUseDestroy() const;

protected:
    // Not virtual: the interface is no handle to delete an object by.
    ~ASyncObject() = default;
};

#endif
