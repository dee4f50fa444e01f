// Who holds a mail: owner and waiters, counted in lockWord. Everything that changes lockWord does
// so under waitLock, and waitLock itself comes and goes under the queue's lock: it is there exactly
// while lockWord is not 0. A waiter is counted before it sleeps, so that the wait object cannot be
// given back under it.

#include "common/error.h"
#include "common/stream/file.h"
#include "common/thread/critical_section.h"
#include "common/thread/thread.h"
#include "queue/mail_item.h"
#include "queue/mail_queue.h"

#include <ctime>

namespace {

constexpr std::uint16_t ownerBit = 0x8000;
constexpr std::uint16_t maxHolders = 0x7FFF;

long long nowMilliseconds() {
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1000LL + now.tv_nsec / 1'000'000;
}

} // namespace

// The calling thread becomes the one holder. Requires the queue's lock.
void MailItem::becomeOwned(MailQueue* queue) {
    lockWord = ownerBit | 1;
    waitLock = queue->takeWaitLock();
}

// What is left to do when the last holder has gone. Requires the queue's lock.
void MailItem::dropHold(MailQueue* queue) {
    queue->giveWaitLock(waitLock);
    waitLock = nullptr;
    Stream::release(stateFile);
    stateFile = nullptr;
}

int MailItem::needAcquire(MailQueue* queue) {
    if (getState() == REMOVED) {
        Thread::setLastError(HE_NOENT);
        return -1;
    }
    if (waitLock == nullptr) {
        if (openStateFile(queue->getStateFileName(id)) == -1) {
            return -1;
        }
        becomeOwned(queue);
        return 0;
    }
    waitLock->enter();
    if ((lockWord & maxHolders) == maxHolders) {
        waitLock->leave();
        Thread::setLastError(HE_TEMPORARY_DENIED);
        return -1;
    }
    ++lockWord;
    return 1;
}

int MailItem::acquire(MailQueue* queue, int timeout) {
    CriticalSection* const lock = waitLock;
    const long long end = timeout >= 0 ? nowMilliseconds() + timeout : 0;
    int left = timeout;
    while ((lockWord & ownerBit) != 0) {
        if (lock->wait(0, left) == 0) {
            // Another thread may have come first; then the rest of the time is left.
            const long long rest = timeout >= 0 ? end - nowMilliseconds() : -1;
            left = timeout < 0 ? timeout : rest > 0 ? static_cast<int>(rest) : 0;
            continue;
        }
        const unsigned error = Thread::getLastError();
        lock->leave();
        CriticalSection::Locker locked(queue->getLock());
        lock->enter();
        --lockWord;
        const bool last = lockWord == 0;
        if (!last && (lockWord & ownerBit) == 0) {
            lock->signal(0); // the owner's signal may have found this thread on its way out
        }
        lock->leave();
        if (last) {
            dropHold(queue);
        }
        Thread::setLastError(error);
        return -1;
    }
    lockWord = static_cast<std::uint16_t>(lockWord | ownerBit);
    const int word = lockWord;
    lock->leave();
    return word;
}

int MailItem::release(MailQueue* queue) {
    waitLock->enter();
    // Clears the owner bit and takes one holder off in one step.
    lockWord = static_cast<std::uint16_t>(lockWord + 0x7FFF);
    const int left = lockWord;
    if (left != 0) {
        waitLock->signal(0);
    }
    waitLock->leave();
    if (left == 0) {
        dropHold(queue);
    }
    return left;
}
