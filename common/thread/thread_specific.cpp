// Thread-specific data: keys are counted while static objects are made, and every thread then has
// the data of all keys.

#include "common/thread/thread_internal.h"

#include <cstdio>
#include <cstdlib>

namespace {

class DefaultDataManager final : public Thread::SpecificDataManager {};
constinit DefaultDataManager defaultSpecificDataManager;

Thread::SpecificDataManager* specificDataManagers[Thread::maxSpecificKeys];
int keyCount = 0;

} // namespace

void* threadinternal::globalSpecificData[Thread::maxSpecificKeys];

void* Thread::SpecificDataManager::createData() {
    return nullptr;
}

void Thread::SpecificDataManager::destroyData(void*) {
}

int Thread::getSpecificKeyCount(SpecificDataManager* manager) {
    if (globalCS != nullptr) {
        return keyCount;
    }
    if (keyCount == maxSpecificKeys) {
        // A program built with too many keys: slots are used without a test of their range.
        std::fputs("ERROR: too many registered thread keys\n", stderr);
        std::abort();
    }
    specificDataManagers[keyCount] = manager != nullptr ? manager : &defaultSpecificDataManager;
    return keyCount++;
}

void* Thread::getSpecific(const Thread* thread, int key) {
    return (thread != nullptr ? thread->specificData : threadinternal::globalSpecificData)[key];
}

void Thread::setSpecific(Thread* thread, int key, void* value) {
    (thread != nullptr ? thread->specificData : threadinternal::globalSpecificData)[key] = value;
}

void threadinternal::createSpecificData(void** slots) {
    for (int key = 0; key < keyCount; ++key) {
        slots[key] = specificDataManagers[key]->createData();
    }
}

void threadinternal::destroySpecificData(void** slots) {
    for (int key = keyCount - 1; key >= 0; --key) {
        void* data = slots[key];
        slots[key] = nullptr;
        specificDataManagers[key]->destroyData(data);
    }
}
