// Two levels of caches. A thread's own caches need no lock, since only it touches them; overflow
// and shortage go to the global pool of the same kind under that pool's lock, many objects at a
// time.

#include "common/thread/object_pool.h"

#include "common/thread/memory_seam.h"
#include "common/thread/thread_internal.h"

#include <cstdio>
#include <new>

namespace {

using Pool = HVector<void*, int>;

constexpr int localOrder = 32;
constexpr int globalOrder = 64;

struct GlobalPool;

// One per registered pool, all in one allocation; null outside Thread::init and Thread::cleanup.
GlobalPool* globalPools = nullptr;
// How many. It outlives Thread::cleanup, for threads' caches that do so too.
int globalPoolCount = 0;

void destroyPooled(void* object, int poolId) {
    BaseObjectPool::pools[poolId]->destroyObject(object);
}

struct GlobalPool {
    explicit GlobalPool(int poolId) : objects(globalOrder, destroyPooled, poolId) {}

    CriticalSection lock{0};
    Pool objects; // guarded by `lock`; destroys what it holds
};

void* takeLast(Pool& pool) {
    const int last = pool.size() - 1;
    void* object = pool.get(last);
    pool.removeAt(last);
    return object;
}

// The destroy function of a thread's caches. Requires: the lock of the global pool is held.
void moveToGlobal(void* object, int poolId) {
    if (globalPools != nullptr) {
        globalPools[poolId].objects.append(object);
    } else {
        destroyPooled(object, poolId);
    }
}

// Requires: the lock of the global pool is held.
void trimGlobal(int poolId) {
    BaseObjectPool& kind = *BaseObjectPool::pools[poolId];
    Pool& pool = globalPools[poolId].objects;
    if (pool.size() > kind.maxGlobalPoolSize()) {
        for (int left = pool.size() - kind.minGlobalPoolSize(); left > 0; --left) {
            kind.destroyObject(takeLast(pool));
        }
    }
}

// Keeps what happens meanwhile from coming back to the caches, until the end of the scope.
class PoolsOff {
public:
    explicit PoolsOff(bool& poolsEnabled) : enabled(poolsEnabled) { enabled = false; }
    PoolsOff(const PoolsOff&) = delete;
    PoolsOff& operator=(const PoolsOff&) = delete;
    ~PoolsOff() { enabled = true; }

private:
    bool& enabled;
};

} // namespace

int BaseObjectPool::count = 0;
BaseObjectPool* BaseObjectPool::pools[maxPools];

BaseObjectPool::BaseObjectPool() : id(-1) {
    if (count == maxPools) {
        std::fputs("ERROR: too many registered object pools\n", stderr);
        return;
    }
    id = count;
    pools[count] = this;
    ++count;
}

int BaseObjectPool::minLocalPoolSize() const {
    return 2;
}

int BaseObjectPool::maxLocalPoolSize() const {
    return 4;
}

int BaseObjectPool::minGlobalPoolSize() const {
    return 256;
}

int BaseObjectPool::maxGlobalPoolSize() const {
    return 1024;
}

void BaseObjectPool::destroyObject(void*) {
}

int BaseObjectPool::getSize() const {
    return 0;
}

void threadinternal::createGlobalPools() {
    globalPoolCount = BaseObjectPool::count;
    globalPools = static_cast<GlobalPool*>(
        ::operator new(static_cast<unsigned>(globalPoolCount) * sizeof(GlobalPool)));
    for (int id = 0; id < globalPoolCount; ++id) {
        new (&globalPools[id]) GlobalPool(id);
    }
}

void threadinternal::destroyGlobalPools() {
    for (int id = 0; id < globalPoolCount; ++id) {
        globalPools[id].~GlobalPool();
    }
    ::operator delete(globalPools);
    globalPools = nullptr;
}

HVector<void*, int>** threadinternal::createLocalPools() {
    if (globalPools == nullptr) {
        return nullptr;
    }
    Pool** localPools = new Pool*[static_cast<unsigned>(globalPoolCount)];
    for (int id = 0; id < globalPoolCount; ++id) {
        localPools[id] = new Pool(localOrder, moveToGlobal, id);
    }
    return localPools;
}

void threadinternal::destroyLocalPools(HVector<void*, int>** localPools) {
    if (localPools == nullptr) {
        return;
    }
    for (int id = 0; id < globalPoolCount; ++id) {
        if (globalPools != nullptr) {
            CriticalSection::Locker locker(globalPools[id].lock);
            delete localPools[id];
            trimGlobal(id);
        } else {
            delete localPools[id];
        }
    }
    delete[] localPools;
}

void Thread::dropCaches(Thread& thread) {
    PoolsOff off(thread.poolsEnabled);
    for (int id = 0; id < globalPoolCount; ++id) {
        if (thread.localPools != nullptr) {
            Pool& local = *thread.localPools[id];
            while (local.size() > 0) {
                destroyPooled(takeLast(local), id);
            }
        }
        CriticalSection::Locker locker(globalPools[id].lock);
        globalPools[id].objects.clear();
    }
}

void* Thread::getObjectFromPool(int poolId) {
    Thread* thread = getCurrentThread();
    void* object = nullptr;
    if (thread != nullptr && thread->localPools != nullptr &&
        thread->localPools[poolId]->size() > 0) {
        object = takeLast(*thread->localPools[poolId]);
    } else if (globalPools != nullptr) {
        CriticalSection::Locker locker(globalPools[poolId].lock);
        Pool& pool = globalPools[poolId].objects;
        object = pool.size() > 0 ? takeLast(pool) : nullptr;
    }
    if (object != nullptr && thread != nullptr && memoryAllocationReservesDepleting()) {
        dropCaches(*thread);
    }
    return object;
}

void Thread::putObjectToPool(void* object, int poolId) {
    if (object == nullptr) {
        return;
    }
    BaseObjectPool& kind = *BaseObjectPool::pools[poolId];
    Thread* thread = getCurrentThread();
    const bool caching = thread != nullptr && thread->poolsEnabled;
    const bool depleting = memoryAllocationReservesDepleting();
    if (depleting || !caching) {
        kind.destroyObject(object);
        if (depleting && caching) {
            dropCaches(*thread);
        }
        return;
    }
    Pool* local = thread->localPools != nullptr ? thread->localPools[poolId] : nullptr;
    if (local != nullptr && local->size() < kind.maxLocalPoolSize()) {
        local->append(object);
        return;
    }
    CriticalSection::Locker locker(globalPools[poolId].lock);
    PoolsOff off(thread->poolsEnabled);
    Pool& global = globalPools[poolId].objects;
    if (local != nullptr) {
        for (int left = local->size() - kind.minLocalPoolSize(); left > 0; --left) {
            global.append(takeLast(*local));
        }
    }
    global.append(object);
    trimGlobal(poolId);
}
