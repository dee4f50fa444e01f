// Preloaded into the command under test.
//
// MORVEX_TEST_LOG=FILE: openlog, syslog and closelog are written to FILE, a line a call, and so is
// the datagram that the interrupt handler sends to the log socket.
// MORVEX_TEST_FAULT=CALL:PATH:N:ERRNO: the N-th call (from 1; 0 for every one) of open, mkdir,
// write, fsync, read, lseek, stat or unlink on a file whose path contains PATH fails with that
// error.
// MORVEX_TEST_SIGNAL=CALL:PATH:N[:SIGNAL]: as above, but the process first gets that signal, SIGINT
// by default.
// MORVEX_TEST_MEMORY=N: from the N-th allocation of the command on (from 1) none is served any
// more, and the waits for memory are over at once; with 0 all are served. Not with a sanitizer.
// MORVEX_TEST_PEAK=FILE: at the end the most resident memory, in KiB, is written to FILE. What
// wait4 tells counts the test's own memory too, of which the command is a fork.

#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <pwd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

namespace {

using LookUp = void* (*)(void*, const char*);

#ifdef WITH_SANITIZER
// A sanitizer looks up what it stands in for, and what comes next must be next to its own library.
LookUp realLookUp() {
    return ::dlsym;
}
#else
// The C library's dlsym: the name is this library's own.
LookUp realLookUp() {
    static LookUp found = nullptr;
    for (const char* version : {"GLIBC_2.34", "GLIBC_2.2.5", "GLIBC_2.17"}) {
        if (found == nullptr) {
            found = reinterpret_cast<LookUp>(::dlvsym(RTLD_NEXT, "dlsym", version));
        }
    }
    return found;
}
#endif

template <class Function> Function next(const char* name) {
    return reinterpret_cast<Function>(realLookUp()(RTLD_NEXT, name));
}

using OpenCall = int (*)(const char*, int, ...);
using WriteCall = ssize_t (*)(int, const void*, size_t);
using ReadCall = ssize_t (*)(int, void*, size_t);

[[gnu::destructor]] void notePeak() {
    const char* path = std::getenv("MORVEX_TEST_PEAK");
    if (path == nullptr) {
        return;
    }
    const auto open = next<OpenCall>("open");
    char status[4096] = "";
    int fd = open("/proc/self/status", O_RDONLY | O_CLOEXEC);
    if (fd != -1) {
        const ssize_t size = next<ReadCall>("read")(fd, status, sizeof status - 1);
        status[size > 0 ? size : 0] = '\0';
        ::close(fd);
    }
    const char* peak = std::strstr(status, "VmHWM:");
    fd = open(path, O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    if (fd != -1) {
        if (peak != nullptr) {
            next<WriteCall>("write")(fd, peak + 6, std::strcspn(peak + 6, "k"));
        }
        ::close(fd);
    }
}

void logLine(const char* line) {
    const char* path = std::getenv("MORVEX_TEST_LOG");
    if (path == nullptr) {
        return;
    }
    const int fd = next<OpenCall>("open")(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
    const auto write = next<WriteCall>("write");
    if (fd != -1) {
        write(fd, line, std::strlen(line));
        write(fd, "\n", 1);
        ::close(fd);
    }
}

void logMessage(int priority, const char* format, va_list args) {
    char line[100000];
    const int head = std::snprintf(line, sizeof line, "%d ", priority);
    std::vsnprintf(line + head, sizeof line - static_cast<size_t>(head), format, args);
    logLine(line);
}

// Whether a rule in the environment names this call of this path, for the time it names.
struct Rule {
    const char* variable;
    int seen = 0;

    bool matches(const char* call, const char* path, int& error) {
        const char* text = std::getenv(variable);
        char ruleCall[16];
        char rulePath[256];
        int number = 0;
        error = 0;
        if (text == nullptr || path == nullptr ||
            std::sscanf(text, "%15[^:]:%255[^:]:%d:%d", ruleCall, rulePath, &number, &error) < 3 ||
            std::strcmp(call, ruleCall) != 0 || std::strstr(path, rulePath) == nullptr) {
            return false;
        }
        ++seen;
        return number == 0 || seen == number;
    }
};

Rule fault{"MORVEX_TEST_FAULT"};
Rule interrupt{"MORVEX_TEST_SIGNAL"};

bool fails(const char* call, const char* path) {
    int error = 0;
    if (interrupt.matches(call, path, error)) {
        ::raise(error != 0 ? error : SIGINT);
    }
    if (fault.matches(call, path, error)) {
        errno = error;
        return true;
    }
    return false;
}

bool fails(const char* call, int fd) {
    char link[64];
    char path[4096];
    std::snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
    const ssize_t length = ::readlink(link, path, sizeof path - 1);
    path[length > 0 ? length : 0] = '\0';
    return fails(call, path);
}

#ifndef WITH_SANITIZER
// The allocations of the command, which finds the C library's allocator by dlsym.
long allocations = 0;
void* (*servedMalloc)(size_t) = nullptr;
void* (*servedRealloc)(void*, size_t) = nullptr;

bool isServed() {
    static const long limit = std::atol(std::getenv("MORVEX_TEST_MEMORY"));
    return ++allocations < limit || limit == 0;
}

void* limitedMalloc(size_t size) {
    return isServed() ? servedMalloc(size) : nullptr;
}

void* limitedRealloc(void* block, size_t size) {
    return isServed() ? servedRealloc(block, size) : nullptr;
}
#endif

} // namespace

extern "C" {

#ifndef WITH_SANITIZER
void* dlsym(void* library, const char* name) noexcept {
    void* const found = realLookUp()(library, name);
    if (std::getenv("MORVEX_TEST_MEMORY") == nullptr || library == RTLD_NEXT) {
        return found;
    }
    if (std::strcmp(name, "malloc") == 0) {
        servedMalloc = reinterpret_cast<void* (*)(size_t)>(found);
        return reinterpret_cast<void*>(limitedMalloc);
    }
    if (std::strcmp(name, "realloc") == 0) {
        servedRealloc = reinterpret_cast<void* (*)(void*, size_t)>(found);
        return reinterpret_cast<void*>(limitedRealloc);
    }
    return found;
}
#endif

int pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex, const timespec* end) {
    if (std::getenv("MORVEX_TEST_MEMORY") != nullptr) {
        return ETIMEDOUT;
    }
    using WaitCall = int (*)(pthread_cond_t*, pthread_mutex_t*, const timespec*);
    return next<WaitCall>("pthread_cond_timedwait")(condition, mutex, end);
}

void openlog(const char* ident, int option, int facility) {
    char line[256];
    std::snprintf(line, sizeof line, "openlog %s %d %d", ident, option, facility);
    logLine(line);
}

void closelog() {
    logLine("closelog");
}

void vsyslog(int priority, const char* format, va_list args) {
    logMessage(priority, format, args);
}

void syslog(int priority, const char* format, ...) {
    va_list args;
    va_start(args, format);
    logMessage(priority, format, args);
    va_end(args);
}

void __vsyslog_chk(int priority, int, const char* format, va_list args) {
    logMessage(priority, format, args);
}

void __syslog_chk(int priority, int, const char* format, ...) {
    va_list args;
    va_start(args, format);
    logMessage(priority, format, args);
    va_end(args);
}

ssize_t sendto(int, const void* data, size_t length, int, const sockaddr*, socklen_t) {
    char line[512];
    std::snprintf(line, sizeof line, "datagram %.*s", static_cast<int>(length),
                  static_cast<const char*>(data));
    logLine(line);
    return static_cast<ssize_t>(length);
}

// A caller without a password entry; the file itself is kept away by a fault.
passwd* getpwuid(uid_t uid) {
    if (std::getenv("MORVEX_TEST_NO_PASSWD") != nullptr) {
        return nullptr;
    }
    return next<passwd* (*)(uid_t)>("getpwuid")(uid);
}

int open(const char* path, int flags, ...) {
    va_list args;
    va_start(args, flags);
    const mode_t mode = va_arg(args, mode_t);
    va_end(args);
    return fails("open", path) ? -1 : next<OpenCall>("open")(path, flags, mode);
}

int open64(const char* path, int flags, ...) {
    va_list args;
    va_start(args, flags);
    const mode_t mode = va_arg(args, mode_t);
    va_end(args);
    return fails("open", path) ? -1 : next<OpenCall>("open64")(path, flags, mode);
}

int mkdir(const char* path, mode_t mode) {
    return fails("mkdir", path) ? -1 : next<int (*)(const char*, mode_t)>("mkdir")(path, mode);
}

int unlink(const char* path) {
    return fails("unlink", path) ? -1 : next<int (*)(const char*)>("unlink")(path);
}

int fsync(int fd) {
    return fails("fsync", fd) ? -1 : next<int (*)(int)>("fsync")(fd);
}

ssize_t write(int fd, const void* data, size_t size) {
    return fails("write", fd) ? -1 : next<WriteCall>("write")(fd, data, size);
}

ssize_t read(int fd, void* data, size_t size) {
    return fails("read", fd) ? -1 : next<ReadCall>("read")(fd, data, size);
}

off_t lseek(int fd, off_t offset, int whence) noexcept {
    return fails("lseek", fd) ? -1 : next<off_t (*)(int, off_t, int)>("lseek")(fd, offset, whence);
}

int stat(const char* path, struct stat* status) noexcept {
    using StatCall = int (*)(const char*, struct stat*);
    return fails("stat", path) ? -1 : next<StatCall>("stat")(path, status);
}

} // extern "C"
