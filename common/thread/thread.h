// Thread: the runtime's unit of execution and the home of what each thread has for itself: the
// error text, slots for thread-specific data, caches of reusable objects. Thread::init starts the
// whole runtime, since it makes the locks that all else stands on, and Thread::cleanup ends it; a
// process that never starts a thread calls both.
//
// The main thread has no Thread object. Code outside any Thread shares one set of slots and one
// error text, and has no object caches; a thread that this runtime did not start gets its own by a
// ForeignThread (common/thread/foreign_thread.h).
//
// Ownership: a Thread belongs to whoever made it and outlives its run. A detached one may delete
// itself at the end of its run. Stacks are recycled between threads.
//
// Failure: -1 with the last error, unless told otherwise. A failed pthread call that cannot be
// answered is a broken program: it is logged and the process aborts.

#ifndef MORVEX_COMMON_THREAD_THREAD_H
#define MORVEX_COMMON_THREAD_THREAD_H

#include "common/castable.h"
#include "common/error.h"

#include <pthread.h>

#include <atomic>
#include <cstdint>
#include <string>

class CriticalSection;
class ReentrantCS;
template <class T, class A> class HVector;

class Thread : public ACastable {
public:
    static constexpr int maxSpecificKeys = 256;
    static constexpr int errorTextSize = 400; // longest error text, without the terminator

    using ErrorFunc = const char* (*)();

    enum ThreadPriority : int { PRIORITY_LOW = 0, PRIORITY_NORMAL = 1, PRIORITY_HIGH = 2 };

    // Makes and destroys what a thread-specific key holds. Managers are static objects.
    class SpecificDataManager {
    public:
        // The object for a new thread's slot, called by the thread that makes the Thread. May be
        // null, and is by default.
        virtual void* createData();
        // Destroys what createData made; nothing by default. Ignores null.
        virtual void destroyData(void* data);

    protected:
        ~SpecificDataManager() = default;
    };

    // Work for the end of the runtime. Hooks are not owned.
    class CleanupHook {
    public:
        // Called once, by Thread::cleanup, while the global locks still exist. The end has begun
        // by then: `initialized` is false, everything counts as on the stack, and shared objects
        // can't be locked any more. It registers no further hook.
        virtual void cleanup() = 0;

    protected:
        ~CleanupHook() = default;
    };

    // --- Start and end of the runtime ---

    // Seeds rand with the time plus 32 times the given id of this process. For a program that wants
    // the generator before init, which then leaves it as it is: seeding costs 310 steps of it.
    static void seedRandom(int process);
    // Starts the runtime on the main thread: seeds rand, makes the global locks and pools. A
    // second call does nothing. No thread is started and no file touched.
    static void init();
    // Ends it: calls the clean-up hooks in the order of their registration, frees pools and locks.
    // Does nothing while a thread is alive or the runtime is not initialized.
    static void cleanup();
    // Requires: init has run.
    static void registerCleanupHook(CleanupHook* hook);

    // --- A thread's life ---

    // A thread object, not yet started. With `usePools` the thread keeps caches of its own for
    // pooled objects. Its thread-specific data is made here.
    // Requires: all keys and pools are registered (no Thread is a static object).
    explicit Thread(bool usePools);
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;
    // Waits for a joinable thread's end. A derived class joins in its own destructor: here its run
    // and its fields are gone already.
    // Requires: a detached thread has ended, or is the caller itself at the end of its run.
    ~Thread() override;

    static CastableId* getCastableClassId();
    void* doCastInternal(CastableId* id) const override;
    CastableId* getOwnCastableId() const override;

    // The thread's work, on the thread itself. The result is what join gives. An exception that
    // leaves it is logged and aborts the process.
    virtual int run();

    // Starts the thread, detached if `detach` is not 0. 0, with the last error 0 too, or -1:
    // HE_THSTARTED if it was started before and not joined, else the reason (HE_NOMEM or the
    // platform's), and it can be started again then.
    // Requires: init has run, and cleanup not since.
    int start(int detach);
    // Waits for the end and gives run's result; the thread can be started again. Throws hexcept:
    // HE_THJOIN for a detached or unstarted thread, or pthread_join's error.
    int join();
    // The platform's id of the thread; all ones before start and after join.
    pthread_t getId() const;
    // True from start until run has returned. A detached thread no longer touches its object then.
    bool isRunning() const { return running.load(std::memory_order_acquire) != 0; }

    // The process priority as the thread's platform knows it, in three steps. -1 with HE_INVAL for
    // another value, or with the platform's error.
    int setPriority(ThreadPriority priority);
    int getPriority(ThreadPriority& priority) const;

    // The name, for logs: the first 62 characters are kept. "thread[%p]" at first.
    void setName(const char* text);
    const char* getName() const { return name; }

    // --- The current thread ---

    // Null outside any Thread.
    static Thread* getCurrentThread();
    static pthread_t getCurrentThreadId() { return pthread_self(); }
    // The thread that ran init.
    static pthread_t getMainThreadId();
    // Outside any Thread these concern one name that all such code shares, "mainThread" at first.
    static void setCurrentThreadName(const char* text);
    static const char* getCurrentThreadName();
    static void sleep(unsigned milliseconds);
    // True if the address lies on the stack of the current thread, as far as the runtime knows it:
    // 700 KiB down from its top, which on the main thread is taken as 100 KiB above init's frame.
    // Before init everything counts as on the stack; on a thread unknown to the runtime nothing
    // does.
    static bool isOnStack(const void* address);
    // Waits until at most `count` threads are alive. `timeout` is in milliseconds, negative for no
    // limit. 0, or -1 with HE_TIMEOUT.
    // Requires: init has run.
    static int waitOnlyThreadsCnt(int count, int timeout);

    // --- The last error: one code per thread, held in errno ---

    static void setLastError(unsigned code) { errno = static_cast<int>(code); }
    static void setLastError(int code) { errno = code; }
    // Keeps up to 400 characters of the text, none of a null one, and stores HE_TEXT_SET.
    static void setLastError(const char* text);
    // Stores HE_TEXT_FUNC; `fn` is called when the text is first asked for, and may give null for
    // no text. A null `fn` stores 0.
    static void setLastError(ErrorFunc fn);
    static unsigned getLastError() { return static_cast<unsigned>(errno); }

    // The sentence of a code; a system code has the platform's. The text is constant or lives in
    // the thread's buffer, where the next such call may overwrite it. The last error stays, except
    // that HE_TEXT_FUNC, once answered, becomes HE_TEXT_SET.
    static const char* getErrorMessage() { return getErrorMessage(getLastError()); }
    static const char* getErrorMessage(unsigned code);
    // The symbol of a code, such as "HE_INVAL", or the sentence of one without a symbol.
    static const char* getErrorSymbol() { return getErrorSymbol(getLastError()); }
    static const char* getErrorSymbol(unsigned code);

    // --- Thread-specific data (through common/thread/thread_specific_key.h) ---

    // Registers a key with its manager, the default one for null, and returns the key's number.
    // Once init has run it registers nothing and returns the number of keys.
    static int getSpecificKeyCount(SpecificDataManager* manager);
    // The slot of a thread, or for null that of the code outside any Thread.
    // Requires: 0 <= key < maxSpecificKeys; the thread is the caller's own or not running.
    static void* getSpecific(const Thread* thread, int key);
    static void setSpecific(Thread* thread, int key, void* value);

    // --- Object pools (common/thread/object_pool.h) ---

    // An object from the thread's cache or the global one; null if both are empty, and the caller
    // makes a new one.
    // Requires (both): poolId is the id of a registered pool.
    static void* getObjectFromPool(int poolId);
    // Takes an object over, into a cache or to its destruction. Null is ignored.
    static void putObjectToPool(void* object, int poolId);

    // --- Set by an embedding program ---

    static const char* (*getRunDirectory)();
    static const char* (*getWorkingDirectory)();
    static const char* (*getProcessPath)();
    static const char* (*getBinDir)();
    static const char* (*getLibDir)();
    static int (*requestRestart)(int mode);
    // The process-wide log hook. Levels: 0 nothing, 1 information, 2 warning, 3 error. It does
    // nothing by default.
    static void (*log)(int level, const char* format, ...) __attribute__((format(printf, 2, 3)));

    // The path to use: `path` itself if it is absolute (also with a drive letter), otherwise `out`,
    // filled with the working directory, a slash and `path`. A null path gives the working
    // directory. Null with HE_INVALOP if the working directory is needed and unknown.
    // Requires: `path` is no text of `out`.
    static const char* getWorkingPath(const char* path, std::string& out);

    // --- Process-wide state ---

    static std::atomic<bool> initialized;
    // Set in a crash: from then on files are flushed and no more touched.
    static std::atomic<bool> abortRequest;
    static std::atomic<bool> stopRequest;
    // While not 0, a new thread waits before its run. Guarded by globalCS; to let the threads go,
    // set it to 0 and signal all on condition 2.
    static std::int32_t newThPaused;
    // Threads alive, foreign ones included. Guarded by globalCS.
    static std::int32_t globalCount;
    // The runtime's one global lock; null outside init and cleanup. Three conditions: 0 the number
    // of threads fell, 2 paused threads may go on.
    static ReentrantCS* globalCS;
    // The allocator's; without conditions.
    static CriticalSection* allocCS;

private:
    friend class ForeignThread;

    static void* thstart(void* argument);
    int runGuarded();
    int createStarted(const pthread_attr_t& attributes);
    int failStart(unsigned code);
    // Makes `thread` the calling thread's current one; null unbinds. False with the last error.
    static bool bindCurrent(Thread* thread);
    // Changes the number of threads; who waits for it to fall is woken.
    static void countThreads(int difference);

    static char* errorBuffer();
    static const char* keepErrorText(const char* text);
    static const char* foreignErrorText(unsigned code);
    static void dropCaches(Thread& thread);
    static void keepName(char (&name)[64], const char* text);

    static HVector<CleanupHook*, void*>* cleanupHooks;

    HVector<void*, int>** localPools; // one per registered pool, or null
    std::atomic<std::int32_t> running;
    std::int32_t detached;
    char errorText[errorTextSize + 1];
    ErrorFunc errorFunc;
    void* specificData[maxSpecificKeys];
    bool poolsEnabled; // while false, freed objects bypass the caches
    char name[64];
    void* stackTop; // an address near the top of the thread's stack
    pthread_t* handle;
    void* stackBlock; // the block that holds the thread's stack
    std::int32_t pid; // the process id that the thread sees
};

#endif
