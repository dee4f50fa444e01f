// What the runtime's tests share: a started runtime per test, work on threads of their own, and an
// allocator whose failures a test can order.

#ifndef MORVEX_TESTS_RUNTIME_RUNTIME_H
#define MORVEX_TESTS_RUNTIME_RUNTIME_H

#include "common/thread/thread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

class RuntimeTest : public testing::Test {
protected:
    RuntimeTest() { Thread::init(); }
    ~RuntimeTest() override {
        EXPECT_EQ(Thread::waitOnlyThreadsCnt(0, 20000), 0) << "a thread did not end";
        Thread::cleanup();
        EXPECT_EQ(Thread::globalCS, nullptr);
    }
};

// Runs a function on a thread of its own.
class Worker : public Thread {
public:
    explicit Worker(std::function<int()> function, bool usePools = true)
        : Thread(usePools), work(std::move(function)) {}
    ~Worker() override;
    int run() override { return work(); }

protected:
    void finish(); // joins if that is left to do; a destructor's, while run is still its class's

private:
    std::function<int()> work;
};

// The same, started at once.
class Started : public Worker {
public:
    explicit Started(std::function<int()> function) : Worker(std::move(function)) {
        EXPECT_EQ(start(0), 0);
    }
    ~Started() override { finish(); }
};

// Runs a function on so many threads at once, and waits for all.
void onThreads(int count, const std::function<int()>& work);

// Runs a function on a thread of its own and gives its result.
int onThread(const std::function<int()>& work);

// Waits, yielding, until the condition holds; false after twenty seconds.
bool eventually(const std::function<bool()>& condition);

// Answers of the allocator that this test binary stands in for.
extern std::atomic<bool> reservesDepleting;
extern std::atomic<bool> noStackMemory;
extern std::atomic<int> moreMemoryRequests; // how often it was asked; it says yes ten times

// While above 0, pthread_create fails and counts it down.
extern std::atomic<int> failingCreates;

// A log hook for death tests.
void logToStandardError(int level, const char* format, ...) __attribute__((format(printf, 2, 3)));

#endif
