// ReentrantCS: a lock that its holder may enter again, with condition variables. The mutex below
// is held only for moments, never while the holder works. Failure is as in CriticalSection.

#ifndef MORVEX_COMMON_THREAD_REENTRANT_CS_H
#define MORVEX_COMMON_THREAD_REENTRANT_CS_H

#include "common/thread/critical_section.h"

class ReentrantCS : private CriticalSection {
public:
    // `conditions` is the number for the lock's users, who count them from 0. The lock keeps one
    // more for itself in front of them.
    explicit ReentrantCS(int conditions);

    // Takes the lock, or one more level of it for the holder. Each enter needs a leave.
    void enter();
    // Requires: the caller holds the lock.
    void leave();
    // 0 with the lock taken, as by enter, or -1 at once while another thread holds it.
    int tryEnter();

    // Gives the lock up with all its levels, waits for a signal on the condition, and has all
    // levels back on return. Arguments, result and requirements are those of CriticalSection::wait;
    // a time-out bounds the wait for the signal, not the wait for the lock.
    int wait(int condition, int timeout);
    void signal(int condition);
    void signalAll(int condition);
    // The new number of conditions for the lock's users, or -1 with HE_INVAL for a negative count.
    // Requires: the caller holds the lock, or no other thread knows it yet.
    int addConditions(int count);

    // Holds one level of the lock for the life of the object.
    class Locker {
    public:
        explicit Locker(ReentrantCS& section) : held(section) { held.enter(); }
        Locker(const Locker&) = delete;
        Locker& operator=(const Locker&) = delete;
        ~Locker() { held.leave(); }

    private:
        ReentrantCS& held;
    };

private:
    void waitFree();

    pthread_t owner;    // means something only while depth is not 0
    std::int32_t depth; // levels held; 0 while the lock is free
};

#endif
