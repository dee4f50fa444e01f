// The runtime's start and end, and what a Thread is apart from its run. The platform's side of it
// (start, stacks, the binding of the current thread) is in unix/thread/.

#include "common/thread/thread.h"

#include "common/thread/critical_section.h"
#include "common/thread/deadline.h"
#include "common/thread/sync_provider.h"
#include "common/thread/thread_internal.h"

#include <time.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

// Conditions of globalCS: 0 the number of threads fell, 1 unused, 2 paused threads may go on.
constexpr int globalConditions = 3;
constexpr int threadsFell = 0;

// What isOnStack takes for a stack's size, a little less than a thread's stack has.
constexpr std::uintptr_t stackReach = 0xAF000;
// How far above init's frame the main thread's stack is taken to begin.
constexpr std::uintptr_t mainStackAbove = 102400;

constexpr std::size_t keptNameLength = 62;

char globalName[64];
pthread_t mainThread;
std::uintptr_t mainStackPointer = 0;
bool randomSeeded = false; // since the last init

const char* unknownPath() {
    return nullptr;
}

int refuseRestart(int) {
    return -1;
}

void logNothing(int, const char*, ...) {
}

void callHook(Thread::CleanupHook* hook, void*) {
    hook->cleanup();
}

bool isAbsolutePath(const char* path) {
    const char first = static_cast<char>(path[0] | 0x20);
    return path[0] == '/' || (first >= 'a' && first <= 'z' && path[1] == ':');
}

} // namespace

const char* (*Thread::getRunDirectory)() = unknownPath;
const char* (*Thread::getWorkingDirectory)() = unknownPath;
const char* (*Thread::getProcessPath)() = unknownPath;
const char* (*Thread::getBinDir)() = unknownPath;
const char* (*Thread::getLibDir)() = unknownPath;
int (*Thread::requestRestart)(int) = refuseRestart;
void (*Thread::log)(int, const char*, ...) = logNothing;

std::atomic<bool> Thread::initialized{false};
std::atomic<bool> Thread::abortRequest{false};
std::atomic<bool> Thread::stopRequest{false};
std::int32_t Thread::newThPaused = 0;
std::int32_t Thread::globalCount = 0;
ReentrantCS* Thread::globalCS = nullptr;
CriticalSection* Thread::allocCS = nullptr;
HVector<Thread::CleanupHook*, void*>* Thread::cleanupHooks = nullptr;

void Thread::seedRandom(int process) {
    std::srand(static_cast<unsigned>(time(nullptr)) + 32 * static_cast<unsigned>(process));
    randomSeeded = true;
}

void Thread::init() {
    if (initialized) {
        return;
    }
    if (!randomSeeded) {
        seedRandom(getpid());
    }
    randomSeeded = false;
    threadinternal::createCurrentThreadKey();
    threadinternal::createSpecificData(threadinternal::globalSpecificData);
    mainStackPointer =
        reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0)) + mainStackAbove;
    keepName(globalName, "mainThread");
    globalCS = new ReentrantCS(globalConditions);
    allocCS = new CriticalSection(0);
    cleanupHooks = new HVector<CleanupHook*, void*>(16, callHook);
    threadinternal::createGlobalPools();
    SyncProvider::init();
    mainThread = pthread_self();
    initialized = true;
}

void Thread::cleanup() {
    if (!initialized) {
        return;
    }
    {
        ReentrantCS::Locker locker(*globalCS);
        if (globalCount > 0) {
            return;
        }
    }
    initialized = false;
    SyncProvider::cleanup();
    delete cleanupHooks;
    cleanupHooks = nullptr;
    threadinternal::destroyGlobalPools();
    delete globalCS;
    globalCS = nullptr;
    delete allocCS;
    allocCS = nullptr;
    threadinternal::deleteCurrentThreadKey();
    threadinternal::destroySpecificData(threadinternal::globalSpecificData);
}

void Thread::registerCleanupHook(CleanupHook* hook) {
    ReentrantCS::Locker locker(*globalCS);
    cleanupHooks->append(hook);
}

Thread::Thread(bool usePools)
    : localPools(usePools ? threadinternal::createLocalPools() : nullptr), running(0), detached(0),
      errorText(), errorFunc(nullptr), specificData(), poolsEnabled(true), stackTop(nullptr),
      handle(nullptr), stackBlock(nullptr), pid(0) {
    threadinternal::createSpecificData(specificData);
    std::snprintf(name, sizeof(name), "thread[%p]", static_cast<void*>(this));
}

Thread::~Thread() {
    if (getCurrentThread() == this) {
        // The thread ends its own object at the end of its run. thstart finds itself unbound and
        // touches the object no more; it gives the stack back.
        bindCurrent(nullptr);
        stackBlock = nullptr;
        if (detached == 0 && handle != nullptr) {
            pthread_detach(*handle);
        }
    } else if (handle != nullptr && detached == 0) {
        pthread_join(*handle, nullptr);
    }
    threadinternal::destroyLocalPools(localPools);
    delete handle;
    if (stackBlock != nullptr) {
        threadinternal::putStack(stackBlock, 0);
    }
    threadinternal::destroySpecificData(specificData);
}

CastableId* Thread::getCastableClassId() {
    static CastableId classId;
    return &classId;
}

void* Thread::doCastInternal(CastableId* id) const {
    if (id == getCastableClassId()) {
        return const_cast<Thread*>(this);
    }
    return nullptr;
}

CastableId* Thread::getOwnCastableId() const {
    return getCastableClassId();
}

int Thread::run() {
    return 0;
}

pthread_t Thread::getMainThreadId() {
    return mainThread;
}

void Thread::keepName(char (&name)[64], const char* text) {
    const std::size_t length = text != nullptr ? strnlen(text, keptNameLength) : 0;
    if (length > 0) {
        std::memmove(name, text, length);
    }
    name[length] = '\0';
}

void Thread::setName(const char* text) {
    keepName(name, text);
}

void Thread::setCurrentThreadName(const char* text) {
    Thread* thread = getCurrentThread();
    keepName(thread != nullptr ? thread->name : globalName, text);
}

const char* Thread::getCurrentThreadName() {
    const Thread* thread = getCurrentThread();
    return thread != nullptr ? thread->name : globalName;
}

bool Thread::isOnStack(const void* address) {
    if (!initialized) {
        return true;
    }
    const Thread* thread = getCurrentThread();
    std::uintptr_t top;
    if (thread != nullptr) {
        top = reinterpret_cast<std::uintptr_t>(thread->stackTop);
    } else if (pthread_equal(pthread_self(), mainThread)) {
        top = mainStackPointer;
    } else {
        return false;
    }
    return top - reinterpret_cast<std::uintptr_t>(address) < stackReach; // wraps above the top
}

// Woken at every fall, not only at 0, so that a wait for a higher count ends too.
void Thread::countThreads(int difference) {
    threadinternal::GlobalLocker locker;
    globalCount += difference;
    if (difference < 0 && globalCS != nullptr) {
        globalCS->signalAll(threadsFell);
    }
}

int Thread::waitOnlyThreadsCnt(int count, int timeout) {
    const Deadline deadline(timeout);
    ReentrantCS::Locker locker(*globalCS);
    while (globalCount > count) {
        const int left = deadline.left();
        if (left == 0) {
            setLastError(HE_TIMEOUT);
            return -1;
        }
        globalCS->wait(threadsFell, left);
    }
    return 0;
}

const char* Thread::getWorkingPath(const char* path, std::string& out) {
    if (path != nullptr && isAbsolutePath(path)) {
        return path;
    }
    const char* directory = getWorkingDirectory();
    if (directory == nullptr) {
        setLastError(HE_INVALOP);
        return nullptr;
    }
    if (path == nullptr) {
        return directory;
    }
    out = directory;
    out += '/';
    out += path;
    return out.c_str();
}
