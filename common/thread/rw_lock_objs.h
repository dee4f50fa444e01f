// RWLockObjs: what a thread holds of the shared objects, one record a thread, so that locks can
// nest and a thread is told from the others. Only its own thread touches a record.

#ifndef MORVEX_COMMON_THREAD_RW_LOCK_OBJS_H
#define MORVEX_COMMON_THREAD_RW_LOCK_OBJS_H

#include "common/container/hvector.h"
#include "common/thread/thread_specific_key.h"

class ASyncObject;

struct RWLockObjs {
    RWLockObjs();

    bool reads(const ASyncObject* object) const { return readList.search(object) >= 0; }
    bool writes(const ASyncObject* object) const { return writeList.search(object) >= 0; }
    bool holds(const ASyncObject* object) const { return reads(object) || writes(object); }

    // One entry for each lock that is held, nested ones included. The read list also has one null
    // entry, which keeps its first node alive.
    HVector<const ASyncObject*> readList;
    HVector<const ASyncObject*> writeList;
};

class RWLockObjsManager final : public Thread::SpecificDataManager {
public:
    void* createData() override;
    void destroyData(void* data) override;
};

struct ThreadSpecificKeythRWLocks;
extern const ThreadSpecificKey<RWLockObjs, ThreadSpecificKeythRWLocks> thRWLocks;

#endif
