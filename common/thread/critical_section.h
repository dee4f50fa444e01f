// CriticalSection: a mutex with a number of condition variables that are addressed by index. It
// is the one lock of the runtime; the other locks and the shared objects are built on it.
//
// A failed lock, unlock, signal, make or destroy is a broken program: it is logged through
// Thread::log at level 3 and the process aborts. Only waiting can fail.

#ifndef MORVEX_COMMON_THREAD_CRITICAL_SECTION_H
#define MORVEX_COMMON_THREAD_CRITICAL_SECTION_H

#include <pthread.h>

#include <cstdint>

class CriticalSection {
public:
    // Requires: conditions >= 0 (a negative number counts as 0).
    explicit CriticalSection(int conditions);
    CriticalSection(const CriticalSection&) = delete;
    CriticalSection& operator=(const CriticalSection&) = delete;
    // Requires: nobody holds the lock or waits on a condition.
    ~CriticalSection();

    // Takes the lock, waiting for it. It does not nest: a holder that enters again hangs.
    void enter();
    // Requires: the caller holds the lock.
    void leave();
    // 0 with the lock taken, or -1 at once while another holds it.
    int tryEnter();

    // Gives the lock up, waits for a signal on the condition and takes the lock back before it
    // returns. `timeout` is in milliseconds; a negative one waits for ever. 0, or -1 with the last
    // error (HE_TIMEOUT once the time is over, HE_INVAL for a condition that does not exist). A
    // wait may also end without a signal: the caller tests again what it waits for.
    // Requires: the caller holds the lock.
    int wait(int condition, int timeout);
    // Wakes one waiter, or all. A condition that does not exist is ignored.
    // Requires: the caller holds the lock.
    void signal(int condition);
    void signalAll(int condition);

    // Adds `count` conditions behind the present ones. The new number of conditions, or -1 with
    // HE_INVAL for a negative count.
    // Requires: the caller holds the lock, or no other thread knows it yet.
    int addConditions(int count);

    // Holds the lock for the life of the object.
    class Locker {
    public:
        explicit Locker(CriticalSection& section) : held(section) { held.enter(); }
        Locker(const Locker&) = delete;
        Locker& operator=(const Locker&) = delete;
        ~Locker() { held.leave(); }

    private:
        CriticalSection& held;
    };

protected:
    std::int32_t condCount;
    pthread_mutex_t mutex;
    pthread_cond_t** conds; // null without conditions
};

#endif
