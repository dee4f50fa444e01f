#include "common/thread/critical_section.h"

#include "common/thread/thread.h"

#include <string.h>
#include <time.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

// The library has one of two strerror_r; both put the text within reach.
[[maybe_unused]] const char* errorText(int result, const char* buffer) {
    return result == 0 ? buffer : "Unknown error";
}
[[maybe_unused]] const char* errorText(const char* result, const char*) {
    return result;
}

// Ends the process over a failed pthread call. The message does not come from
// Thread::getErrorMessage, which takes a lock of this very kind; for the same reason a failure
// inside the log hook ends the process without a second message.
[[noreturn]] void fail(const char* call, int code) {
    static std::atomic<bool> failing{false};
    if (!failing.exchange(true)) {
        char buffer[128];
        Thread::log(3, "Internal server error (%s failed: %s)", call,
                    errorText(strerror_r(code, buffer, sizeof(buffer)), buffer));
    }
    std::abort();
}

void check(const char* call, int code) {
    if (code != 0) [[unlikely]] {
        fail(call, code);
    }
}

// A condition's timed waits go by the monotonic clock: a step of the system's time neither cuts
// them short nor draws them out.
pthread_cond_t* makeCondition() {
    pthread_cond_t* condition = new pthread_cond_t;
    pthread_condattr_t attributes;
    check("pthread_cond_init", pthread_condattr_init(&attributes));
    check("pthread_cond_init", pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC));
    check("pthread_cond_init", pthread_cond_init(condition, &attributes));
    pthread_condattr_destroy(&attributes);
    return condition;
}

} // namespace

CriticalSection::CriticalSection(int conditions) : condCount(0), conds(nullptr) {
    check("pthread_mutex_init", pthread_mutex_init(&mutex, nullptr));
    if (conditions > 0) {
        addConditions(conditions);
    }
}

CriticalSection::~CriticalSection() {
    for (int i = 0; i < condCount; ++i) {
        check("pthread_cond_destroy", pthread_cond_destroy(conds[i]));
        delete conds[i];
    }
    delete[] conds;
    check("pthread_mutex_destroy", pthread_mutex_destroy(&mutex));
}

void CriticalSection::enter() {
    check("pthread_mutex_lock", pthread_mutex_lock(&mutex));
}

void CriticalSection::leave() {
    check("pthread_mutex_unlock", pthread_mutex_unlock(&mutex));
}

int CriticalSection::tryEnter() {
    const int code = pthread_mutex_trylock(&mutex);
    if (code != 0) {
        Thread::setLastError(code);
        return -1;
    }
    return 0;
}

int CriticalSection::wait(int condition, int timeout) {
    if (condition < 0 || condition >= condCount) {
        Thread::setLastError(HE_INVAL);
        return -1;
    }
    int code;
    if (timeout < 0) {
        code = pthread_cond_wait(conds[condition], &mutex);
    } else {
        struct timespec end;
        clock_gettime(CLOCK_MONOTONIC, &end);
        end.tv_sec += timeout / 1000;
        end.tv_nsec += (timeout % 1000) * 1000000L;
        if (end.tv_nsec >= 1000000000L) {
            end.tv_sec += 1;
            end.tv_nsec -= 1000000000L;
        }
        code = pthread_cond_timedwait(conds[condition], &mutex, &end);
    }
    if (code != 0) {
        Thread::setLastError(code);
        return -1;
    }
    return 0;
}

void CriticalSection::signal(int condition) {
    if (condition >= 0 && condition < condCount) {
        check("pthread_cond_signal", pthread_cond_signal(conds[condition]));
    }
}

void CriticalSection::signalAll(int condition) {
    if (condition >= 0 && condition < condCount) {
        check("pthread_cond_broadcast", pthread_cond_broadcast(conds[condition]));
    }
}

int CriticalSection::addConditions(int count) {
    if (count < 0) {
        Thread::setLastError(HE_INVAL);
        return -1;
    }
    if (count > 0) {
        pthread_cond_t** grown = new pthread_cond_t*[static_cast<unsigned>(condCount + count)];
        for (int i = 0; i < condCount; ++i) {
            grown[i] = conds[i];
        }
        delete[] conds;
        conds = grown;
        // One at a time, so that what is made is also owned should memory run out.
        for (int i = 0; i < count; ++i) {
            conds[condCount] = makeCondition();
            ++condCount;
        }
    }
    return condCount;
}
