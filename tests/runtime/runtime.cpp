#include "tests/runtime/runtime.h"

#include "common/hexcept.h"
#include "common/thread/memory_seam.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

std::atomic<bool> reservesDepleting{false};
std::atomic<bool> noStackMemory{false};
std::atomic<int> moreMemoryRequests{0};
std::atomic<int> failingCreates{0};

extern "C" {

using ThreadMain = void* (*)(void*);
int __real_pthread_create(pthread_t*, const pthread_attr_t*, ThreadMain, void*);
int __wrap_pthread_create(pthread_t*, const pthread_attr_t*, ThreadMain, void*);

int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, ThreadMain start,
                          void* argument) {
    if (failingCreates > 0) {
        --failingCreates;
        return EAGAIN;
    }
    return __real_pthread_create(thread, attributes, start, argument);
}

} // extern "C"

// These take the place of the library's stand-ins, as those of a process's own allocator do.
bool memoryAllocationReservesDepleting() {
    return reservesDepleting;
}

void* allocMemory(unsigned long size, int, const char*, int) {
    return noStackMemory ? nullptr : std::malloc(size);
}

bool requestMoreMemory(int& tries) {
    ++moreMemoryRequests;
    return ++tries <= 10;
}

Worker::~Worker() {
    finish();
}

void Worker::finish() {
    try {
        join();
    } catch (const hexcept&) {
        EXPECT_FALSE(isRunning()); // never started, joined before, or detached and at its end
    }
}

int onThread(const std::function<int()>& work) {
    return Started(work).join();
}

void onThreads(int count, const std::function<int()>& work) {
    std::vector<std::unique_ptr<Started>> workers;
    for (int i = 0; i < count; ++i) {
        workers.push_back(std::make_unique<Started>(work));
    }
}

bool eventually(const std::function<bool()>& condition) {
    for (int i = 0; i < 20000; ++i) {
        if (condition()) {
            return true;
        }
        Thread::sleep(1);
    }
    return false;
}

void logToStandardError(int level, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::fprintf(stderr, "level %d: ", level);
    std::vfprintf(stderr, format, arguments);
    va_end(arguments);
}
