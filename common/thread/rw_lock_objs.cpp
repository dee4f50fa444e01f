#include "common/thread/rw_lock_objs.h"

namespace {

constinit RWLockObjsManager thRWLocksManager;

} // namespace

const ThreadSpecificKey<RWLockObjs, ThreadSpecificKeythRWLocks> thRWLocks(&thRWLocksManager);

RWLockObjs::RWLockObjs() : readList(8), writeList(4) {
    readList.append(nullptr);
}

void* RWLockObjsManager::createData() {
    return new RWLockObjs;
}

void RWLockObjsManager::destroyData(void* data) {
    delete static_cast<RWLockObjs*>(data);
}
