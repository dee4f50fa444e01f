// BaseObjectPool: a kind of reusable object that is kept in two levels of caches, one per thread
// that needs no lock and one for the process. Thread::getObjectFromPool and
// Thread::putObjectToPool do the work; a pool object only says what the limits are and how an
// object is destroyed.
//
// Pools are static objects and register when they are made, before Thread::init. They are never
// destroyed through this class.

#ifndef MORVEX_COMMON_THREAD_OBJECT_POOL_H
#define MORVEX_COMMON_THREAD_OBJECT_POOL_H

#include <cstdint>

class BaseObjectPool {
public:
    static constexpr int maxPools = 256;

    // Registers the pool. With all places taken it prints "ERROR: too many registered object
    // pools" on standard error and stays unregistered, with id -1.
    BaseObjectPool();
    BaseObjectPool(const BaseObjectPool&) = delete;
    BaseObjectPool& operator=(const BaseObjectPool&) = delete;

    // A thread's cache that is full, at the maximum, is brought down to the minimum in one step,
    // and so is the process's.
    virtual int minLocalPoolSize() const;  // 2
    virtual int maxLocalPoolSize() const;  // 4
    virtual int minGlobalPoolSize() const; // 256
    virtual int maxGlobalPoolSize() const; // 1024
    // May be called under the lock of the process's cache: it gets no object from a pool.
    virtual void destroyObject(void* object);
    // The usable size of an object in bytes, where that means something; 0 by default.
    virtual int getSize() const;

    int getId() const { return id; }

    static int count;                       // pools registered
    static BaseObjectPool* pools[maxPools]; // by id

protected:
    ~BaseObjectPool() = default;

    std::int32_t id;
};

#endif
