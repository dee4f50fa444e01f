// ForeignThread: gives a thread that this runtime did not start a Thread object, for as long as
// the ForeignThread lives, so that it has an error text, thread-specific data and locks of its own.
//
// It is made and destroyed on the thread concerned, usually as a local object. On the main thread,
// on a thread that has a Thread already, and outside init and cleanup, it does nothing.

#ifndef MORVEX_COMMON_THREAD_FOREIGN_THREAD_H
#define MORVEX_COMMON_THREAD_FOREIGN_THREAD_H

#include "common/thread/thread.h"

class ForeignThread : public Thread {
public:
    // `stackPointer` is an address near the top of the thread's stack. Null takes the constructor's
    // own frame, and then what lies in the frames of its callers does not count as on the stack
    // (Thread::isOnStack). `text` names the thread; null gives "ForeignThread[id]".
    explicit ForeignThread(void* stackPointer = nullptr, const char* text = nullptr);
    ~ForeignThread() override;

    static CastableId* getCastableClassId();
    void* doCastInternal(CastableId* id) const override;
    CastableId* getOwnCastableId() const override;

    // True if this object is the current thread's.
    bool isAttached() const { return attached; }

private:
    bool attached;
    pthread_t id;
};

#endif
