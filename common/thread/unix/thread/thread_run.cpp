// The platform's side of Thread: the binding of the current thread, start, run and end, stacks,
// priorities, sleep.
//
// Stacks. A thread runs on a block of the runtime's own. A joined thread's block is free at once;
// a detached one gives its block back while it still runs on it for its last few instructions. A
// free block therefore names its last user, by the kernel's thread number, and is used again only
// when the kernel no longer knows that thread. (A pthread_t can't be asked: once a detached thread
// has ended, its id means nothing, and pthread_kill may report it alive for ever.)

#include "common/hexcept.h"
#include "common/thread/foreign_thread.h"
#include "common/thread/memory_seam.h"
#include "common/thread/thread_internal.h"

#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>

namespace {

// A thread sanitizer keeps its own record of a thread on that thread's stack.
#if defined(__SANITIZE_THREAD__)
constexpr std::size_t stackBlockSize = 819200 + 262144;
#else
constexpr std::size_t stackBlockSize = 819200;
#endif
constexpr int maxStartTries = 3;
constexpr int pausedMayGoOn = 2; // condition of globalCS
constexpr pthread_t noThread = static_cast<pthread_t>(-1);

pthread_key_t crThread_key;
std::atomic<bool> keyExists{false};

// The head of a free block. The list is guarded by globalCS.
struct FreeStack {
    std::uintptr_t user; // the kernel's number of the thread that may still run on it, or 0
    FreeStack* next;
};
FreeStack* threadStackCache = nullptr;

bool isGone(std::uintptr_t user) {
    return user == 0 || (tgkill(getpid(), static_cast<pid_t>(user), 0) != 0 && errno == ESRCH);
}

// A free block whose last user has ended, or null. Requires: globalCS is held.
void* takeCachedStack() {
    for (FreeStack** link = &threadStackCache; *link != nullptr; link = &(*link)->next) {
        FreeStack* block = *link;
        if (isGone(block->user)) {
            *link = block->next;
            return block;
        }
    }
    return nullptr;
}

class Attributes {
public:
    Attributes() : failure(pthread_attr_init(&attributes)) {}
    Attributes(const Attributes&) = delete;
    Attributes& operator=(const Attributes&) = delete;
    ~Attributes() {
        if (made) {
            pthread_attr_destroy(&attributes);
        }
    }

    // The first error of all steps so far, or 0.
    int error() const { return failure; }
    void setDetached() {
        if (failure == 0) {
            failure = pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
        }
    }
    void setStack(void* block) {
        if (failure == 0) {
            const std::size_t page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
            const std::size_t behindPage = reinterpret_cast<std::uintptr_t>(block) % page;
            char* const start = static_cast<char*>(block) + (page - behindPage) % page;
            failure = pthread_attr_setstack(&attributes, start, stackBlockSize - 2 * page);
        }
    }
    const pthread_attr_t& get() const { return attributes; }

private:
    pthread_attr_t attributes;
    int failure;
    bool made = failure == 0;
};

[[noreturn]] void failRun(const char* message) {
    Thread::log(3, "Internal server error (%s)", message);
    std::abort();
}

} // namespace

void threadinternal::createCurrentThreadKey() {
    const int code = pthread_key_create(&crThread_key, nullptr);
    if (code != 0) {
        failRun(Thread::getErrorMessage(static_cast<unsigned>(code)));
    }
    keyExists = true;
}

void threadinternal::deleteCurrentThreadKey() {
    keyExists = false;
    pthread_key_delete(crThread_key);
}

void threadinternal::putStack(void* block, std::uintptr_t user) {
    GlobalLocker locker;
    threadStackCache = new (block) FreeStack{user, threadStackCache};
}

Thread* Thread::getCurrentThread() {
    return keyExists.load(std::memory_order_acquire)
               ? static_cast<Thread*>(pthread_getspecific(crThread_key))
               : nullptr;
}

bool Thread::bindCurrent(Thread* thread) {
    const int code = pthread_setspecific(crThread_key, thread);
    if (code != 0) {
        setLastError(code);
    }
    return code == 0;
}

int Thread::start(int detach) {
    if (detached != 0 || handle != nullptr) {
        setLastError(HE_THSTARTED);
        return -1;
    }
    Attributes attributes;
    if (detach != 0) {
        attributes.setDetached();
    }
    {
        ReentrantCS::Locker locker(*globalCS);
        countThreads(1);
        if (stackBlock == nullptr) {
            stackBlock = takeCachedStack();
        }
    }
    if (stackBlock == nullptr) {
        stackBlock = allocMemory(stackBlockSize, maxStartTries, __FILE__, __LINE__);
        if (stackBlock == nullptr) {
            return failStart(HE_NOMEM);
        }
    }
    attributes.setStack(stackBlock);
    if (attributes.error() != 0) {
        return failStart(static_cast<unsigned>(attributes.error()));
    }
    handle = new pthread_t(noThread);
    detached = detach != 0 ? 1 : 0;
    running.store(1, std::memory_order_release);
    const int code = createStarted(attributes.get());
    if (code != 0) {
        return failStart(static_cast<unsigned>(code));
    }
    setLastError(0u); // the object may be gone by now: a detached thread may have deleted it
    return 0;
}

int Thread::createStarted(const pthread_attr_t& attributes) {
    int tries = 0;
    for (;;) {
        const int code = pthread_create(handle, &attributes, thstart, this);
        if (code == 0 || tries > maxStartTries || !requestMoreMemory(tries)) {
            return code;
        }
    }
}

// Brings a thread that could not be started back to where it was. The stack stays with it.
int Thread::failStart(unsigned code) {
    running.store(0, std::memory_order_release);
    countThreads(-1);
    delete handle;
    handle = nullptr;
    detached = 0;
    setLastError(code);
    return -1;
}

void* Thread::thstart(void* argument) {
    Thread* thread = static_cast<Thread*>(argument);
    int tries = 0;
    while (!bindCurrent(thread)) {
        if (!requestMoreMemory(tries)) {
            sleep(100);
        }
    }
    {
        ReentrantCS::Locker locker(*globalCS);
        while (newThPaused != 0) {
            globalCS->wait(pausedMayGoOn, -1);
        }
    }
    thread->stackTop = __builtin_frame_address(0);
    thread->pid = getpid();
    void* block = thread->stackBlock;
    bool givesStackBack = thread->detached != 0;

    const int result = thread->runGuarded();

    if (getCurrentThread() != thread) {
        givesStackBack = true; // it deleted itself
    } else {
        if (givesStackBack) {
            thread->stackBlock = nullptr;
        }
        bindCurrent(nullptr);
        thread->running.store(0, std::memory_order_release); // now its owner may delete it
    }
    ReentrantCS::Locker locker(*globalCS);
    if (givesStackBack) {
        threadinternal::putStack(block, static_cast<std::uintptr_t>(gettid()));
    }
    countThreads(-1);
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the result of run() is a number
    return reinterpret_cast<void*>(static_cast<std::intptr_t>(result));
}

int Thread::runGuarded() {
    try {
        return run();
    } catch (const std::exception& exception) {
        failRun(exception.what());
    } catch (...) {
        failRun(getErrorMessage());
    }
}

int Thread::join() {
    if (detached != 0 || handle == nullptr) {
        throw hexcept(HE_THJOIN);
    }
    void* result = nullptr;
    const int code = pthread_join(*handle, &result);
    if (code != 0) {
        setLastError(code);
        throw hexcept();
    }
    delete handle;
    handle = nullptr;
    return static_cast<int>(reinterpret_cast<std::intptr_t>(result));
}

pthread_t Thread::getId() const {
    return handle != nullptr ? *handle : noThread;
}

int Thread::setPriority(ThreadPriority priority) {
    static constexpr int niceOf[] = {5, 0, -5};
    if (priority < PRIORITY_LOW || priority > PRIORITY_HIGH) {
        setLastError(HE_INVAL);
        return -1;
    }
    return setpriority(PRIO_PROCESS, static_cast<id_t>(pid), niceOf[priority]);
}

int Thread::getPriority(ThreadPriority& priority) const {
    errno = 0; // -1 is a priority too
    const int nice = getpriority(PRIO_PROCESS, static_cast<id_t>(pid));
    if (nice == -1 && errno != 0) {
        return -1;
    }
    priority = nice < -4 ? PRIORITY_HIGH : nice < 5 ? PRIORITY_NORMAL : PRIORITY_LOW;
    return 0;
}

void Thread::sleep(unsigned milliseconds) {
    if (milliseconds >= 1000) {
        ::sleep(milliseconds / 1000);
    }
    if (milliseconds % 1000 != 0) {
        usleep(milliseconds % 1000 * 1000);
    }
}

ForeignThread::ForeignThread(void* stackPointer, const char* text)
    : Thread(false), attached(false), id(noThread) {
    if (!initialized || getCurrentThread() != nullptr ||
        pthread_equal(pthread_self(), getMainThreadId())) {
        return;
    }
    if (!bindCurrent(this)) {
        return;
    }
    attached = true;
    id = pthread_self();
    handle = &id;
    pid = getpid();
    running = 1;
    detached = 1;
    if (text != nullptr) {
        setName(text);
    } else {
        std::snprintf(name, sizeof(name), "ForeignThread[%llu]",
                      static_cast<unsigned long long>(id));
    }
    stackTop = stackPointer != nullptr ? stackPointer : __builtin_frame_address(0);
    countThreads(1);
}

ForeignThread::~ForeignThread() {
    if (attached) {
        bindCurrent(nullptr);
        countThreads(-1);
        handle = nullptr; // it was not allocated
        running = 0;
        detached = 0;
        attached = false;
    }
}

CastableId* ForeignThread::getCastableClassId() {
    static CastableId classId;
    return &classId;
}

void* ForeignThread::doCastInternal(CastableId* castId) const {
    if (castId == getCastableClassId()) {
        return const_cast<ForeignThread*>(this);
    }
    return Thread::doCastInternal(castId);
}

CastableId* ForeignThread::getOwnCastableId() const {
    return getCastableClassId();
}
