// A program with the system's own malloc, run by memory_system_test one case at a time:
// "memory_probe CASE LIBRARY". It prints "done", or the condition that did not hold.
//
// The scripted allocator of LIBRARY stands in for the C library where memory has to run out. Waits
// and pauses are counted, and pass at once where a case says so.

#include "common/error.h"
#include "common/memory/memory_system.h"
#include "common/thread/thread.h"
#include "tests/memory/scripted_malloc.h"

#include <dlfcn.h>
#include <sys/resource.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <thread>

namespace {

const char* scriptedLibrary = nullptr;
ScriptedMalloc* script = nullptr;

std::atomic<bool> skipWaits{false};
std::atomic<int> waits{0};
std::atomic<int> pauses{0};

[[noreturn]] void fail(const char* condition, int line) {
    std::printf("line %d: %s\n", line, condition);
    std::fflush(stdout);
    ::_exit(1);
}
#define REQUIRE(condition) ((condition) ? void() : fail(#condition, __LINE__))

// Keeps the optimizer from leaving out allocations whose block nobody looks at.
void* volatile sink;

} // namespace

extern "C" int pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                                      const timespec* end) {
    ++waits;
    if (skipWaits) {
        return ETIMEDOUT;
    }
    using Function = int (*)(pthread_cond_t*, pthread_mutex_t*, const timespec*);
    static const auto real =
        reinterpret_cast<Function>(::dlsym(RTLD_NEXT, "pthread_cond_timedwait"));
    return real(condition, mutex, end);
}

extern "C" int usleep(useconds_t microseconds) {
    ++pauses;
    if (!skipWaits) {
        const timespec duration{0, static_cast<long>(microseconds) * 1000};
        ::nanosleep(&duration, nullptr);
    }
    return 0;
}

namespace {

// Initializes on top of the scripted allocator.
void startScripted(long long maxSize = 0) {
    alloc_functions_lib = scriptedLibrary;
    REQUIRE(initializeMemoryAllocationSystem(maxSize, false, 0, 0) == 0);
    void* library = ::dlopen(scriptedLibrary, RTLD_NOW | RTLD_NOLOAD);
    REQUIRE(library != nullptr);
    script = static_cast<ScriptedMalloc*>(::dlsym(library, "scriptedMalloc"));
    REQUIRE(script != nullptr);
    Thread::init();
}

void startPlain() {
    REQUIRE(initializeMemoryAllocationSystem(0, false, 0, 0) == 0);
}

// One allocation, for its effect on the reserve.
void touchMemory() {
    sink = malloc(16);
    free(sink);
}

int restarts = 0;
int waitsAtRestart = -1;
int countRestart(int mode) {
    REQUIRE(mode == 0);
    waitsAtRestart = waits;
    ++restarts;
    return 0;
}

void logToOutput(int level, const char* format, ...) {
    char text[200];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    char line[240];
    const int length = std::snprintf(line, sizeof line, "%d: %s\n", level, text);
    sink = reinterpret_cast<void*>(::write(1, line, static_cast<std::size_t>(length)));
}

// ---- Start and end ---------------------------------------------------------------------------

void arena() {
    auto* first = static_cast<char*>(malloc(8));
    REQUIRE(first != nullptr);
    std::strcpy(first, "kept");
    REQUIRE(malloc(0) == first + 8);
    REQUIRE(malloc(0) == first + 8);
    free(first);
    auto* second = static_cast<char*>(malloc(8));
    REQUIRE(second == first + 8);
    errno = 0;
    REQUIRE(realloc(first, 100) == nullptr && errno == ENOMEM);
    REQUIRE(std::strcmp(first, "kept") == 0);
    REQUIRE(malloc(262145) == nullptr);
    REQUIRE(allocMemory(8, 3, "", 0) == nullptr);
    REQUIRE(kernelAllocMemory(8) == nullptr);
    REQUIRE(mvxMalloc(8) == second + 8);

    auto* zeroed = static_cast<unsigned char*>(calloc(5, 8));
    REQUIRE(std::all_of(zeroed, zeroed + 40, [](unsigned char c) { return c == 0; }));

    startPlain();
    REQUIRE(realloc(first, 100) == nullptr);
    free(first);
    REQUIRE(std::strcmp(first, "kept") == 0);
    const auto* later = static_cast<char*>(malloc(8));
    REQUIRE(later < first - 262144 || later > first + 262144);
}

void arguments() {
    alloc_functions_lib = "/nonexistent/library.so";
    REQUIRE(initializeMemoryAllocationSystem(0, false, 0, 0) == -1);
    alloc_functions_lib = nullptr;
    free(std::aligned_alloc(64, 64)); // from the C library, which is not reached yet
    REQUIRE(initializeMemoryAllocationSystem(0, false, -1, 0) == -1);
    REQUIRE(initializeMemoryAllocationSystem(0, false, 0, 4097) == -1);
    REQUIRE(initializeMemoryAllocationSystem(0, true, 4096, 4096) == 0);
    REQUIRE(initializeMemoryAllocationSystem(0, false, -1, 0) == 1);
    unsigned damaged = 1;
    REQUIRE(memoryAllocCheck(true, damaged) == 0 && damaged == 0);
}

void passThrough() {
    startPlain();
    unsigned damaged = 0;
    REQUIRE(memoryAllocCheck(false, damaged) == -1); // no check was asked for
    sink = malloc(0);
    REQUIRE(sink != nullptr);
    free(sink);
    free(nullptr);

    auto* text = static_cast<char*>(realloc(nullptr, 10));
    std::strcpy(text, "moved");
    text = static_cast<char*>(realloc(text, 100000));
    REQUIRE(std::strcmp(text, "moved") == 0);
    REQUIRE(realloc(text, 0) == nullptr);

    char* copy = ::strdup("from the C library");
    free(copy);
    sink = std::aligned_alloc(4096, 8192);
    REQUIRE(reinterpret_cast<std::uintptr_t>(sink) % 4096 == 0);
    free(sink);

    delete new int(5);
    delete[] new char[100];
    REQUIRE(*staticEmptyString == '\0');
    delete[] staticEmptyString;
    REQUIRE(waits == 0 && pauses == 0);
}

// By pointer: compilers refuse such sizes where they see them.
void callocOverflow() {
    startScripted();
    skipWaits = true;
    script->failFrom = 0x80000000;
    errno = 0;
    REQUIRE(mvxCalloc(0x100000000, 0x100000000) == nullptr && errno == ENOMEM);
    REQUIRE(mvxCalloc(static_cast<std::size_t>(-1), 2) == nullptr);
    REQUIRE(mvxCalloc(2, static_cast<std::size_t>(-1)) == nullptr);
    REQUIRE(script->largestRequest < 0x80000000);
    REQUIRE(mvxCalloc(65536, 65536) == nullptr);
    REQUIRE(script->largestRequest == 0x100000000);
    REQUIRE(mvxCalloc(0, static_cast<std::size_t>(-1)) != nullptr);

    auto* dirty = static_cast<unsigned char*>(malloc(5000));
    std::memset(dirty, 0xff, 5000);
    free(dirty);
    auto* zeroed = static_cast<unsigned char*>(calloc(50, 100));
    REQUIRE(std::all_of(zeroed, zeroed + 5000, [](unsigned char c) { return c == 0; }));
}

void afterCleanup() {
    auto* before = static_cast<char*>(malloc(8));
    startScripted();
    void* block = malloc(100);
    cleanupMemoryAllocationSystem();
    const int frees = script->frees;
    free(block);
    delete static_cast<int*>(block);
    REQUIRE(script->frees == frees);
    const auto* after = static_cast<char*>(malloc(8));
    REQUIRE(after > before && after < before + 262144);
    REQUIRE(realloc(block, 200) == nullptr);
    cleanupMemoryAllocationSystem();

    REQUIRE(initializeMemoryAllocationSystem(0, false, 0, 0) == 0);
    free(block);
    REQUIRE(script->frees == frees + 1);
}

void disabledFree() {
    startScripted();
    REQUIRE(setReservedMemorySize(12) == 0);
    disableMemoryDeallocation();
    sink = malloc(10);
    int frees = script->frees;
    free(sink);
    REQUIRE(script->frees == frees + 1); // the reserve was not complete

    REQUIRE(waitMemoryAllocationRequest(false, 0) == -1); // fills it
    disableMemoryDeallocation();
    frees = script->frees;
    free(malloc(10));
    freeMemory(malloc(10), "", 0);
    REQUIRE(script->frees == frees);
}

// ---- No memory, and no reserve ---------------------------------------------------------------

void exhausted() {
    startScripted();
    Thread::requestRestart = countRestart;
    skipWaits = true;
    script->failFrom = 100;
    errno = 0;
    REQUIRE(malloc(100) == nullptr && errno == ENOMEM);
    REQUIRE(waits == 360);
    REQUIRE(restarts == 1 && waitsAtRestart == 2);
    REQUIRE(memoryAllocationSystemRequestedRestart());

    void* block = malloc(99);
    waits = 0;
    REQUIRE(realloc(block, 100) == nullptr);
    REQUIRE(waits == 360 && restarts == 1);
    free(block);
}

void attempts() {
    startScripted();
    skipWaits = true;
    script->failFrom = 819200;
    REQUIRE(allocMemory(819200, 3, "", 0) == nullptr);
    REQUIRE(script->failures == 4 && waits == 3);
    script->credits = 1;
    sink = allocMemory(819200, 3, "", 0);
    REQUIRE(sink != nullptr);
    freeMemory(sink, "", 0);
    sink = allocMemory(0, 0, "", 0);
    REQUIRE(sink != nullptr);
}

// The second arm of an emergency asks for the restart under the lock.
void* holderBlock = nullptr;
void* holderRealloc = &holderRealloc;
int allocateAsHolder(int) {
    const int before = waits;
    holderBlock = malloc(200);
    void* block = malloc(50);
    holderRealloc = realloc(block, 200);
    free(block);
    REQUIRE(waits == before);

    while (malloc(4096) != nullptr && pauses == 0) { // until the arena is full as well
    }
    REQUIRE(pauses == 360 && waits == before);
    return 0;
}

void lockHolder() {
    auto* first = static_cast<char*>(malloc(8));
    startScripted();
    skipWaits = true;
    Thread::requestRestart = allocateAsHolder;
    script->failFrom = 100;
    REQUIRE(malloc(100) == nullptr);
    REQUIRE(holderBlock > first && holderBlock < first + 262144);
    REQUIRE(holderRealloc == nullptr);
}

void largeNew() {
    startScripted();
    skipWaits = true;
    script->failFrom = 262144;
    for (const bool array : {false, true}) {
        bool thrown = false;
        try {
            sink = array ? operator new[](262144) : operator new(262144);
        } catch (const std::bad_alloc&) {
            thrown = true;
        }
        REQUIRE(thrown);
    }
    REQUIRE(operator new(262144, std::nothrow) == nullptr);
    sink = operator new(262143);
    operator delete(sink);
}

void smallNew(bool array) {
    startScripted();
    Thread::log = logToOutput;
    skipWaits = true;
    script->failFrom = 262143;
    sink = array ? operator new[](262143) : operator new(262143);
}

// ---- The reserve -----------------------------------------------------------------------------

void reserveSizes() {
    REQUIRE(setReservedMemorySize(12) == -1 && Thread::getLastError() == HE_INVALOP);
    startScripted();
    struct {
        int megabytes, result;
    } const rows[] = {{11, -1}, {0, -1}, {-5, -1}, {1025, -1}, {1024, 0}, {12, 0}};
    for (const auto& row : rows) {
        Thread::setLastError(0U);
        REQUIRE(setReservedMemorySize(row.megabytes) == row.result);
        REQUIRE(row.result == 0 || Thread::getLastError() == HE_INVAL);
    }
    REQUIRE(script->liveReserveBlocks == 0); // nothing is allocated by the setting itself
    REQUIRE(memoryAllocationReservesDepleting());
    touchMemory();
    REQUIRE(script->liveReserveBlocks == 257); // just over two thirds of 384
    sink = realloc(nullptr, 10);
    REQUIRE(script->liveReserveBlocks == 258);
    sink = allocMemory(10, 0, "", 0);
    REQUIRE(script->liveReserveBlocks == 259);
}

void reserveShrinks() {
    startScripted();
    REQUIRE(setReservedMemorySize(20) == 0);
    touchMemory();
    REQUIRE(script->liveReserveBlocks == 640 - 212);
    REQUIRE(setReservedMemorySize(12) == 0);
    REQUIRE(script->liveReserveBlocks == 384);
    REQUIRE(!memoryAllocationReservesDepleting());
    REQUIRE(setReservedMemorySize(13) == 0);
    REQUIRE(memoryAllocationReservesDepleting());
    REQUIRE(waitMemoryAllocationRequest(false, 0) == -1);
    REQUIRE(script->liveReserveBlocks == 416);
}

// Fills a reserve of 12 megabytes, 384 blocks, and makes further requests fail but for what the
// reserve gives back.
void startWithFullReserve() {
    startScripted();
    Thread::requestRestart = countRestart;
    REQUIRE(setReservedMemorySize(12) == 0);
    REQUIRE(waitMemoryAllocationRequest(false, 0) == -1);
    REQUIRE(script->liveReserveBlocks == 384);
    waits = 0;
    script->failFrom = 100;
    script->creditsPerReserveBlock = 1;
}

void reserveSpent() {
    startWithFullReserve();
    skipWaits = true;
    // The refill of each next call would take the freed memory itself: it has no credit left.
    for (int taken = 1; taken <= 384; ++taken) {
        REQUIRE(malloc(100) != nullptr);
        REQUIRE(script->liveReserveBlocks == 384 - taken);
        REQUIRE(waits == 0 || taken > 128); // the first third goes without a wait
        REQUIRE(waits != 0 || taken <= 128);
        REQUIRE(restarts == (taken > 192 ? 1 : 0)); // more than half of the reserve is gone
    }
    REQUIRE(memoryAllocationSystemRequestedRestart());
    waits = 0;
    REQUIRE(malloc(100) == nullptr);
    REQUIRE(waits == 360 && restarts == 1);
}

// ---- The manager -----------------------------------------------------------------------------

std::atomic<int> managerRounds{0};
std::atomic<int> lastRequest{0};

// A manager that finds memory for one request each time it is asked.
void runManager() {
    bool freed = false;
    for (;;) {
        const int request = waitMemoryAllocationRequest(freed, -1);
        if (request == 0) {
            return;
        }
        REQUIRE(request > 0);
        lastRequest = request;
        ++managerRounds;
        REQUIRE(memoryAllocationReservesDepleting());
        ++script->credits;
        freed = true;
    }
}

void managerServes() {
    startScripted();
    Thread::requestRestart = countRestart;
    std::thread manager(runManager);
    script->failFrom = 100;
    for (int i = 0; i < 5; ++i) {
        sink = malloc(100);
        REQUIRE(sink != nullptr);
    }
    REQUIRE(managerRounds >= 5);
    REQUIRE((lastRequest & 0xffff) >= 1);
    REQUIRE((lastRequest & MEMORY_RESERVES_DEPLETING) != 0); // all of no reserve is gone
    REQUIRE(!memoryAllocationSystemRequestedRestart() && restarts == 0);
    resetMemoryManagerThreadWatchdog();
    script->failFrom = static_cast<std::size_t>(-1);
    stopMemoryManagerThread();
    manager.join();
    REQUIRE(waitMemoryAllocationRequest(false, -1) == 0);
}

void managerRefills() {
    startScripted();
    REQUIRE(setReservedMemorySize(12) == 0);
    REQUIRE(waitMemoryAllocationRequest(true, 10) == -1);
    REQUIRE(script->liveReserveBlocks == 384);
    REQUIRE(!memoryAllocationReservesDepleting());

    // Where the reserve cannot be filled the manager is told so, first without and then with the
    // mark of a depleting reserve.
    struct {
        int megabytes, result;
    } const rows[] = {{16, 1}, {18, 1 + MEMORY_RESERVES_DEPLETING}};
    for (const auto& row : rows) {
        script->failFrom = 32768;
        REQUIRE(setReservedMemorySize(row.megabytes) == 0);
        REQUIRE(waitMemoryAllocationRequest(false, 10) == row.result);
    }
    script->failFrom = static_cast<std::size_t>(-1);
    REQUIRE(waitMemoryAllocationRequest(false, 10) == -1);
    REQUIRE(script->liveReserveBlocks == 18 * 32);
    stopMemoryManagerThread();
    REQUIRE(waitMemoryAllocationRequest(false, 10) == 0);
    REQUIRE(script->liveReserveBlocks == 0);
}

void managerItself() {
    startWithFullReserve();
    skipWaits = true;
    REQUIRE(malloc(100) != nullptr); // takes a block, so that the manager has something to do
    REQUIRE(waitMemoryAllocationRequest(false, 0) == 1);
    // Now this thread is the manager at work: it may take all of the reserve, without a wait.
    waits = 0;
    for (int i = 0; i < 383; ++i) {
        REQUIRE(malloc(100) != nullptr);
    }
    REQUIRE(script->liveReserveBlocks == 0);
    REQUIRE(malloc(100) == nullptr);
    REQUIRE(waits == 0 && pauses == 1800);
    REQUIRE(restarts == 0);
}

// ---- The rest --------------------------------------------------------------------------------

void kernel() {
    startPlain();
    auto* block = static_cast<unsigned char*>(kernelAllocMemory(5000));
    REQUIRE(block != nullptr && reinterpret_cast<std::uintptr_t>(block) % 4096 == 0);
    REQUIRE(std::all_of(block, block + 8192, [](unsigned char c) { return c == 0; }));
    block[8191] = 1;
    int count = 0;
    long long size = 0;
    getKernelAllocations(count, size);
    REQUIRE(count == 1 && size == 5000);
    kernelFreeMemory(nullptr, 10);
    kernelFreeMemory(block, 5000);
    getKernelAllocations(count, size);
    REQUIRE(count == 0 && size == 0);

    skipWaits = true;
    REQUIRE(kernelAllocMemory(static_cast<unsigned long>(1) << 60) == nullptr);
    REQUIRE(waits == 20 && Thread::getLastError() == HE_NOMEM);
    REQUIRE(kernelAllocMemory(0) == nullptr);
    REQUIRE(kernelAllocMemory(static_cast<unsigned long>(-1)) == nullptr);
}

void addressSpace() {
    constexpr long long limit = 512LL << 20;
    startScripted(limit);
    REQUIRE(getVirtualMemoryLimit() == limit);
    rlimit set{};
    REQUIRE(::getrlimit(RLIMIT_AS, &set) == 0);
    REQUIRE(set.rlim_cur == limit && set.rlim_max == limit);
    // 500 megabytes must be left beside the reserve.
    REQUIRE(setReservedMemorySize(13) == -1 && Thread::getLastError() == HE_NOMEM);
    REQUIRE(setReservedMemorySize(12) == 0);
    cleanupMemoryAllocationSystem();
    REQUIRE(initializeMemoryAllocationSystem(limit * 2, false, 0, 0) == -1 || ::geteuid() == 0);
}

void churn(unsigned seed) {
    struct {
        unsigned char* data;
        std::size_t size;
    } blocks[64] = {};
    for (int step = 0; step < 20000; ++step) {
        seed = seed * 1664525 + 1013904223;
        auto& block = blocks[seed >> 26];
        const auto mark = static_cast<unsigned char>(seed >> 26);
        REQUIRE(std::all_of(block.data, block.data + block.size,
                            [mark](unsigned char c) { return c == mark; }));
        block.size = 1 + (seed >> 8) % 3000;
        if ((seed & 0x80) != 0) {
            free(block.data);
            block.data = nullptr;
        }
        block.data = static_cast<unsigned char*>(realloc(block.data, block.size));
        REQUIRE(block.data != nullptr);
        std::memset(block.data, mark, block.size);
    }
    for (const auto& block : blocks) {
        free(block.data);
    }
}

// Threads that allocate while others run out of memory, spend the reserve and fill it again.
void threads() {
    startScripted();
    Thread::requestRestart = countRestart;
    REQUIRE(setReservedMemorySize(12) == 0);
    std::thread manager([] {
        while (waitMemoryAllocationRequest(true, 20) != 0) {
            script->failFrom = static_cast<std::size_t>(-1);
        }
    });
    std::thread workers[4];
    unsigned seed = 1;
    for (std::thread& worker : workers) {
        worker = std::thread(churn, seed++);
    }
    for (int i = 0; i < 20; ++i) {
        script->failFrom = 2000;
        ::usleep(5000);
    }
    script->failFrom = static_cast<std::size_t>(-1);
    for (std::thread& worker : workers) {
        worker.join();
    }
    stopMemoryManagerThread();
    manager.join();
    REQUIRE(script->liveReserveBlocks == 0);
}

const struct {
    const char* name;
    void (*run)();
} cases[] = {{"arena", arena},
             {"arguments", arguments},
             {"pass_through", passThrough},
             {"calloc_overflow", callocOverflow},
             {"after_cleanup", afterCleanup},
             {"disabled_free", disabledFree},
             {"exhausted", exhausted},
             {"attempts", attempts},
             {"lock_holder", lockHolder},
             {"large_new", largeNew},
             {"small_new", [] { smallNew(false); }},
             {"small_new_array", [] { smallNew(true); }},
             {"reserve_sizes", reserveSizes},
             {"reserve_shrinks", reserveShrinks},
             {"reserve_spent", reserveSpent},
             {"manager_serves", managerServes},
             {"manager_refills", managerRefills},
             {"manager_itself", managerItself},
             {"kernel", kernel},
             {"address_space", addressSpace},
             {"threads", threads}};

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        return 2;
    }
    scriptedLibrary = argv[2];
    for (const auto& row : cases) {
        if (std::strcmp(row.name, argv[1]) == 0) {
            row.run();
            constexpr char done[] = "done\n";
            return ::write(1, done, sizeof done - 1) > 0 ? 0 : 1;
        }
    }
    return 2;
}
