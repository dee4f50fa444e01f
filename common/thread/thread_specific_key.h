// ThreadSpecificKey<T, Tag>: the static handle of one per-thread slot. Each thread has its own T
// there, made by the key's manager when the thread object is made, and destroyed with it. `Tag` is
// a type of the key's own, so that two keys of one T are two types.
//
// Keys are static objects: they register before Thread::init. A key made later gets a slot that no
// manager fills.

#ifndef MORVEX_COMMON_THREAD_THREAD_SPECIFIC_KEY_H
#define MORVEX_COMMON_THREAD_THREAD_SPECIFIC_KEY_H

#include "common/thread/thread.h"

template <class T, class Tag> class ThreadSpecificKey {
public:
    // `manager` is not owned; null gives the default manager, which makes nothing.
    explicit ThreadSpecificKey(Thread::SpecificDataManager* manager)
        : key(Thread::getSpecificKeyCount(manager)) {}

    // The current thread's object, or that of the code outside any Thread; null if there is none.
    T* get() const { return static_cast<T*>(Thread::getSpecific(Thread::getCurrentThread(), key)); }
    // Stores a pointer in the current thread's slot; the old one is not destroyed.
    void set(T* value) const { Thread::setSpecific(Thread::getCurrentThread(), key, value); }

    int getKey() const { return key; }

private:
    int key;
};

#endif
