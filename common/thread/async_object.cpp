#include "common/thread/async_object.h"

int ASyncObject::readLock(int) const {
    return 0;
}

void ASyncObject::readUnlock() const {
}

int ASyncObject::writeLock(int) const {
    return 0;
}

void ASyncObject::writeUnlock() const {
}

int ASyncObject::waitUnlock(int) const {
    return 0;
}

int ASyncObject::wait(int) const {
    return 0;
}

bool ASyncObject::isReadLocked() const {
    return false;
}

bool ASyncObject::isWriteLocked() const {
    return false;
}

bool ASyncObject::checkWaitingThreads(bool, bool) const {
    return false;
}

bool ASyncObject::refUseLock(RWLockType) const {
    return true;
}

bool ASyncObject::refUseUnlock(RWLockType) const {
    return false;
}

bool ASyncObject::refUseUnlockDestroy(RWLockType) const {
    return true;
}

bool ASyncObject::refCondUseUnlock(bool& unlocked, RWLockType) const {
    unlocked = false;
    return false;
}

bool ASyncObject::refDestroy() const {
    return true;
}

bool ASyncObject::onUseDestroy() const {
    return true;
}
