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
    try {
        join(); // while run is still this class's
    } catch (const hexcept&) {
        EXPECT_FALSE(isRunning()); // never started, joined before, or detached and at its end
    }
}

int onThread(const std::function<int()>& work) {
    Worker worker(work);
    if (worker.start(0) != 0) {
        ADD_FAILURE() << "no thread: " << Thread::getErrorMessage();
        return -1;
    }
    return worker.join();
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

namespace {

std::vector<std::string> caught;
void (*savedLog)(int, const char*, ...) = nullptr;

__attribute__((format(printf, 2, 3))) void catchLog(int level, const char* format, ...) {
    char text[2048];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    caught.push_back(std::to_string(level) + " " + text);
}

} // namespace

void logToStandardError(int level, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::fprintf(stderr, "level %d: ", level);
    std::vfprintf(stderr, format, arguments);
    va_end(arguments);
}

LogCatcher::LogCatcher() {
    caught.clear();
    savedLog = Thread::log;
    Thread::log = catchLog;
}

LogCatcher::~LogCatcher() {
    Thread::log = savedLog;
}

const std::vector<std::string>& LogCatcher::lines() const {
    return caught;
}
