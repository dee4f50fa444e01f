// Deadline: the end of a wait that may take several steps. Timeouts are in milliseconds, a
// negative one never ends.

#ifndef MORVEX_COMMON_THREAD_DEADLINE_H
#define MORVEX_COMMON_THREAD_DEADLINE_H

#include <time.h>

class Deadline {
public:
    explicit Deadline(int timeout) : end(timeout < 0 ? -1 : now() + timeout) {}

    // Milliseconds left, at least 0; -1 for a wait without end.
    int left() const {
        if (end < 0) {
            return -1;
        }
        const long long rest = end - now();
        return rest > 0 ? static_cast<int>(rest) : 0;
    }

private:
    static long long now() {
        struct timespec time;
        clock_gettime(CLOCK_MONOTONIC, &time);
        return static_cast<long long>(time.tv_sec) * 1000 + time.tv_nsec / 1000000;
    }

    long long end;
};

#endif
