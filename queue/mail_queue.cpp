#include "queue/mail_queue.h"

#include "common/container/key.h"
#include "common/container/rb_tree.h"
#include "common/error.h"
#include "common/log/log.h"
#include "common/stream/file.h"
#include "common/thread/thread.h"
#include "queue/file_names.h"
#include "queue/incoming_stream.h"
#include "queue/mail_item.h"
#include "queue/mail_shepherd.h"
#include "queue/random_range.h"

#include <fcntl.h>
#include <unistd.h>

#include <memory>

using Locker = CriticalSection::Locker;

namespace {

constexpr int unboundIdsOrder = 64;
constexpr int freeLocksOrder = 16;

void destroyItem(void* item, void*) {
    delete static_cast<MailItem*>(item);
}

void destroyLock(CriticalSection* lock, void*) {
    delete lock;
}

} // namespace

MailQueue::MailQueue(MailShepherd* partner)
    : items(new RBTree(destroyItem)), unboundIds(unboundIdsOrder), lock(0), shepherd(partner),
      freeLocks(freeLocksOrder, destroyLock), queueSize(0), pathBuffer(new char[FileNames::room]()),
      prefixLength(0), lastEntry(-1), authToken(nullptr), markerError(0), handOver(NotHandedOver) {
}

MailQueue::~MailQueue() {
    delete[] pathBuffer;
    delete[] authToken;
    Locker locked(lock);
    delete items;
    freeLocks.clear();
}

MailItem* MailQueue::newMail() {
    if (shepherd != nullptr && !shepherd->isProcessing()) {
        Thread::setLastError(HE_NOPROCESSING);
        return nullptr;
    }
    Locker locked(lock);
    if (authToken == nullptr || lastEntry < 0) { // not attached, or without a count
        Thread::setLastError(HE_INVALOP);
        return nullptr;
    }
    MailItem* item = MailItem::newMail(this);
    if (item == nullptr) {
        return nullptr;
    }
    std::unique_ptr<Int32Key> key(new Int32Key(item->getId()));
    if (items->insert(key.get(), item) == -1) {
        // Somebody removed the state file of a mail that is still in memory here, and its id came
        // up again. The new file goes, so that the id is not claimed twice; what else is there
        // belongs to the other mail.
        const unsigned error = Thread::getLastError();
        ::unlink(getStateFileName(item->getId()));
        delete item;
        Thread::setLastError(error);
        return nullptr;
    }
    static_cast<void>(key.release()); // the tree's now
    return item;
}

MailItem* MailQueue::bindMail(int id, int timeout, bool notify, bool& badFile) {
    MailItem* item = rawBindMail(id, timeout, false, badFile);
    if (!notify || shepherd == nullptr) {
        return item;
    }
    if (item != nullptr) {
        if (item->getState() != MailItem::RAW_RECEIVED) {
            shepherd->bindNotification(item);
        }
    } else if (!badFile) {
        const unsigned error = Thread::getLastError();
        shepherd->bindErrorNotification(static_cast<unsigned>(id));
        Thread::setLastError(error);
    }
    return item;
}

MailItem* MailQueue::rawBindMail(int id, int timeout, bool onlyIfLoaded, bool& badFile) {
    badFile = false;
    lock.enter();
    if (MailItem* item = search(id)) {
        return bindLoaded(item, id, timeout);
    }
    MailItem* item = onlyIfLoaded ? nullptr : MailItem::bindMail(this, id, badFile);
    if (item != nullptr) {
        int place = 0;
        if (unboundIds.binSearchRange(id, 0, unboundIds.size(), &place)) {
            unboundIds.removeAt(place);
        }
        items->insert(new Int32Key(id), item);
    }
    lock.leave();
    return item;
}

// Takes hold of a mail in memory. Entered with the lock held; leaves it.
MailItem* MailQueue::bindLoaded(MailItem* item, int id, int timeout) {
    const int needed = item->needAcquire(this);
    lock.leave();
    const bool owned = needed == 0 || (needed == 1 && item->acquire(this, timeout) != -1);
    if (owned && item->getState() != MailItem::REMOVED) {
        return item;
    }
    const unsigned error = owned ? HE_NOENT : Thread::getLastError();
    Locker locked(lock);
    if (owned) {
        item->release(this);
        removeReleased(item);
    } else if (search(id) == item) {
        // Without a hold the object may be gone by now: only the map tells.
        removeReleased(item);
    }
    Thread::setLastError(error);
    return nullptr;
}

// Removes a mail in state REMOVED once nobody holds it. Requires the lock.
void MailQueue::removeReleased(MailItem* item) {
    if (item->waitLock == nullptr && item->getState() == MailItem::REMOVED) {
        item->removeMail(this);
        dequeue(item, true);
    }
}

int MailQueue::unbindMail(MailItem*& item, bool notify) {
    if (item == nullptr) {
        return 0;
    }
    if (notify && shepherd != nullptr && item->getState() != MailItem::RAW_RECEIVED) {
        shepherd->unbindNotification(item, false);
    }
    Locker locked(lock);
    MailItem* const held = item;
    item = nullptr;
    held->release(this);
    return 0;
}

int MailQueue::rawUnbindMail(MailItem* item, bool dequeueAfter) {
    if (item == nullptr) {
        return -1;
    }
    Locker locked(lock);
    item->release(this);
    return dequeueAfter && item->getState() != MailItem::PROCESSING ? dequeue(item, false) : 0;
}

int MailQueue::endData(MailItem*& item, SourceTypes source, IncomingStream* stream) {
    if (item == nullptr) {
        return 0;
    }
    handOver = NotHandedOver;
    File marker;
    const int sizeChange = item->endData(this, source, stream);
    if (sizeChange == -1) {
        return -1;
    }
    const bool drop =
        shepherd != nullptr && source != SourceRaw && shepherd->unbindNotification(item, true);
    lock.enter();
    MailItem* const held = item;
    item = nullptr;
    queueSize += sizeChange;
    if (shepherd == nullptr && source != SourceRaw) {
        FileNames::putMarker(pathBuffer + prefixLength, static_cast<unsigned>(held->getId()));
        marker.rename(pathBuffer);
    }
    held->release(this);
    if (drop) {
        dequeue(held, false);
    }
    lock.leave();
    if (marker.getName() != nullptr) {
        makeMarker(marker);
    }
    return 0;
}

// The hand-over: both files of the mail are complete and closed by now. If the process dies in or
// behind the system call, a handler must neither take the mail from the server nor call a mail
// handed over that is not.
void MailQueue::makeMarker(File& marker) {
    handOver = Underway;
    const unsigned error = marker.open(O_RDWR | O_CREAT) == 0 ? 0 : Thread::getLastError();
    handOver = error == 0 ? HandedOver : NotHandedOver;
    {
        Locker locked(lock);
        markerError = error;
    }
    if (error != 0) {
        Thread::setLastError(error);
    }
}

bool MailQueue::isHandedOver() const noexcept {
    const HandOver state = handOver.load();
    return state == HandedOver || (state == Underway && ::access(pathBuffer, F_OK) == 0);
}

unsigned MailQueue::getMarkerError() {
    Locker locked(lock);
    return markerError;
}

int MailQueue::removeMail(MailItem*& item) {
    if (item == nullptr) {
        return 0;
    }
    const std::uint32_t oldState = item->getState();
    if (oldState == MailItem::PROCESSING) {
        unbindMail(item, false);
        Thread::setLastError(HE_INVALOP);
        return -1;
    }
    const SourceTypes source = item->getSourceType();
    item->setState(MailItem::REMOVED);
    item->storeState();
    if (oldState < MailItem::NEW_MAIL && shepherd != nullptr && source != SourceRaw) {
        shepherd->unbindNotification(item, false);
    }
    Locker locked(lock);
    MailItem* const held = item;
    item = nullptr;
    if (held->release(this) == 0) {
        removeReleased(held);
    }
    return 0;
}

int MailQueue::dequeue(MailItem* item, bool removed) {
    if (item->waitLock != nullptr) {
        return 0; // held
    }
    const int id = item->getId();
    const int size = item->getMemorySize();
    queueSize -= size;
    Int32Key key(id);
    items->remove(&key, Tree::DeleteKey | Tree::DestroyValue);
    int place = 0;
    if (!removed && !unboundIds.binSearchRange(id, 0, unboundIds.size(), &place)) {
        unboundIds.insertAt(place, id);
    }
    return size;
}

MailItem* MailQueue::getFirst() {
    Locker locked(lock);
    HKey* key = nullptr;
    void* item = nullptr;
    items->first(key, item);
    return static_cast<MailItem*>(item);
}

MailItem* MailQueue::getNext() {
    Locker locked(lock);
    HKey* key = nullptr;
    void* item = nullptr;
    items->next(key, item);
    return static_cast<MailItem*>(item);
}

void MailQueue::rstadjust(MailItem* item, long long time) {
    item->rstadjust(time);
}

int MailQueue::getQueueSize() {
    Locker locked(lock);
    return queueSize;
}

MailItem* MailQueue::search(int id) {
    Int32Key key(id);
    return static_cast<MailItem*>(items->search(&key));
}

int MailQueue::drawId() const {
    const int entry = randomInRange(lastEntry);
    const int low = randomInRange(0xFFFF);
    return low | entry << 16;
}

CriticalSection* MailQueue::takeWaitLock() {
    const int count = freeLocks.size();
    if (count == 0) {
        return new CriticalSection(1);
    }
    CriticalSection* const waitLock = freeLocks.get(count - 1);
    freeLocks.removeAt(count - 1);
    return waitLock;
}

void MailQueue::giveWaitLock(CriticalSection* waitLock) {
    freeLocks.append(waitLock);
}
