#include "common/stream/descriptor.h"

#include "common/error.h"
#include "common/thread/reentrant_cs.h"
#include "common/thread/thread.h"

#include <fcntl.h>
#include <unistd.h>
#include <unwind.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace {

// One bit a descriptor. Only the pages of descriptors in use are ever touched.
alignas(4096) unsigned char fdStatus[MaxRecordedFd / 8];

bool recorded(int fd) {
    return fd < MaxRecordedFd;
}

// The return addresses of the callers, for the log line of a process about to abort.
class CallTrace {
public:
    CallTrace() {
        text[0] = '\0';
        _Unwind_Backtrace(add, this);
    }
    const char* get() const { return text; }

private:
    static _Unwind_Reason_Code add(_Unwind_Context* context, void* trace) {
        CallTrace& self = *static_cast<CallTrace*>(trace);
        const std::size_t room = sizeof self.text - self.length;
        const int added =
            std::snprintf(self.text + self.length, room, self.length == 0 ? "%#lx" : " %#lx",
                          static_cast<unsigned long>(_Unwind_GetIP(context)));
        if (added < 0 || static_cast<std::size_t>(added) >= room) {
            self.text[self.length] = '\0';
            return _URC_END_OF_STACK;
        }
        self.length += static_cast<std::size_t>(added);
        return _URC_NO_REASON;
    }

    char text[1024];
    std::size_t length = 0;
};

[[noreturn]] void abortConcurrentClose(int fd) {
    const CallTrace trace;
    if (fd == -1) {
        Thread::log(3, "Concurrent close on file descriptor: %s", trace.get());
    } else {
        Thread::log(3, "Concurrent close on file descriptor %d: %s", fd & ~FdCloseMark,
                    trace.get());
    }
    std::abort();
}

[[noreturn]] void abortFailedClose(int fd) {
    const unsigned code = Thread::getLastError();
    const CallTrace trace;
    Thread::log(3, "Close failed on file descriptor %d(%s): %s", fd, Thread::getErrorMessage(code),
                trace.get());
    std::abort();
}

// A close that a signal interrupts has closed the descriptor all the same; to repeat it could
// close somebody else's.
int closeOnce(int fd) {
    return close(fd) < 0 && errno != EINTR ? -1 : 0;
}

} // namespace

FDStatusAccessor accessFDStatus(int fd) {
    return {fdStatus + fd / 8, static_cast<unsigned char>(1u << (fd % 8))};
}

int safeOpenFd(int fd) {
    if (fd < 0 || !recorded(fd) || Thread::globalCS == nullptr) {
        return fd;
    }
    const ReentrantCS::Locker locked(*Thread::globalCS);
    const FDStatusAccessor status = accessFDStatus(fd);
    if ((*status.byte & status.mask) != 0) {
        std::abort();
    }
    *status.byte = static_cast<unsigned char>(*status.byte | status.mask);
    return fd;
}

int safeCloseFd(int& fd) {
    if (fd < 0) {
        Thread::setLastError(EBADF);
        return -1;
    }
    if (Thread::globalCS == nullptr) {
        const int result = closeOnce(fd);
        fd = -1;
        return result;
    }
    int number;
    {
        const ReentrantCS::Locker locked(*Thread::globalCS);
        number = fd;
        if (number < 0 || (number & FdCloseMark) != 0) {
            abortConcurrentClose(number);
        }
        fd = number | FdCloseMark;
        if (recorded(number)) {
            const FDStatusAccessor status = accessFDStatus(number);
            if ((*status.byte & status.mask) == 0) {
                std::abort();
            }
            *status.byte = static_cast<unsigned char>(*status.byte & ~status.mask);
        }
    }
    if (closeOnce(number) < 0) {
        abortFailedClose(number);
    }
    fd = -1;
    return 0;
}

int openFd(const char* path, int flags, mode_t mode) {
    int fd;
    do {
        fd = open(path, flags | O_CLOEXEC, mode);
    } while (fd < 0 && errno == EINTR);
    return safeOpenFd(fd);
}

int readFd(int fd, void* buffer, int size) {
    ssize_t moved;
    do {
        moved = read(fd, buffer, static_cast<std::size_t>(size));
    } while (moved < 0 && errno == EINTR);
    return static_cast<int>(moved);
}

int writeFd(int fd, const void* buffer, int size) {
    ssize_t moved;
    do {
        moved = write(fd, buffer, static_cast<std::size_t>(size));
    } while (moved < 0 && errno == EINTR);
    return static_cast<int>(moved);
}

int hookLibcClose() {
    return 0;
}
