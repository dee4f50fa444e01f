#include "common/thread/reentrant_cs.h"

#include "common/thread/thread.h"

namespace {

// The lock's own condition: it came free. Those of its users stand behind it.
constexpr int cameFree = 0;
constexpr int ownConditions = 1;

} // namespace

ReentrantCS::ReentrantCS(int conditions)
    : CriticalSection((conditions > 0 ? conditions : 0) + ownConditions), owner(), depth(0) {
}

// Requires: the mutex is held.
void ReentrantCS::waitFree() {
    while (depth != 0) {
        CriticalSection::wait(cameFree, -1);
    }
}

void ReentrantCS::enter() {
    const pthread_t self = pthread_self();
    CriticalSection::Locker locker(*this);
    if (depth != 0 && !pthread_equal(owner, self)) {
        waitFree();
    }
    owner = self;
    ++depth;
}

void ReentrantCS::leave() {
    CriticalSection::Locker locker(*this);
    if (--depth == 0) {
        CriticalSection::signal(cameFree);
    }
}

int ReentrantCS::tryEnter() {
    const pthread_t self = pthread_self();
    CriticalSection::Locker locker(*this);
    if (depth != 0 && !pthread_equal(owner, self)) {
        Thread::setLastError(EBUSY);
        return -1;
    }
    owner = self;
    ++depth;
    return 0;
}

int ReentrantCS::wait(int condition, int timeout) {
    if (condition < 0) {
        Thread::setLastError(HE_INVAL);
        return -1;
    }
    CriticalSection::Locker locker(*this);
    const pthread_t heldBy = owner;
    const std::int32_t heldDepth = depth;
    depth = 0;
    CriticalSection::signal(cameFree);
    const int result = CriticalSection::wait(condition + ownConditions, timeout);
    const unsigned error = Thread::getLastError();
    waitFree();
    owner = heldBy;
    depth = heldDepth;
    Thread::setLastError(error);
    return result;
}

// The mutex is not needed: a waiter let the lock go and began to wait in one step, and the caller
// holds the lock since.
void ReentrantCS::signal(int condition) {
    if (condition >= 0) {
        CriticalSection::signal(condition + ownConditions);
    }
}

void ReentrantCS::signalAll(int condition) {
    if (condition >= 0) {
        CriticalSection::signalAll(condition + ownConditions);
    }
}

int ReentrantCS::addConditions(int count) {
    CriticalSection::Locker locker(*this);
    const int total = CriticalSection::addConditions(count);
    return total < 0 ? -1 : total - ownConditions;
}
