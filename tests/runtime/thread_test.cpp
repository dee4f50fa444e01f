#include "common/hexcept.h"
#include "common/thread/foreign_thread.h"
#include "common/thread/reentrant_cs.h"
#include "common/thread/thread_specific_key.h"
#include "tests/runtime/runtime.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <memory>
#include <mutex>
#include <set>
#include <stdexcept>
#include <thread>

namespace {

// A key whose manager counts, and which destroys null without harm.
std::atomic<int> datesAlive{0};

class CountingManager final : public Thread::SpecificDataManager {
public:
    void* createData() override {
        ++datesAlive;
        return new int(7);
    }
    void destroyData(void* data) override {
        if (data != nullptr) {
            --datesAlive;
        }
        delete static_cast<int*>(data);
    }
};

CountingManager countingManager;
struct CountedTag;
const ThreadSpecificKey<int, CountedTag> countedKey(&countingManager);
struct PlainTag;
const ThreadSpecificKey<int, PlainTag> plainKey(nullptr);

using ThreadTest = RuntimeTest;

TEST_F(ThreadTest, RunsAndGivesItsResult) {
    const pthread_t none = static_cast<pthread_t>(-1);
    std::atomic<pthread_t> seen{none};
    Worker worker([&seen] {
        seen = Thread::getCurrentThreadId();
        return -17;
    });
    EXPECT_EQ(worker.getId(), none);
    EXPECT_FALSE(worker.isRunning());
    for (int round = 0; round < 2; ++round) { // a joined thread can be started again
        Thread::setLastError(EAGAIN);
        ASSERT_EQ(worker.start(0), 0);
        EXPECT_EQ(Thread::getLastError(), 0u);
        EXPECT_EQ(worker.start(0), -1);
        EXPECT_EQ(Thread::getLastError(), HE_THSTARTED);
        const pthread_t id = worker.getId();
        EXPECT_EQ(worker.join(), -17);
        EXPECT_EQ(seen.load(), id);
        EXPECT_FALSE(worker.isRunning());
        EXPECT_EQ(worker.getId(), none);
    }
    EXPECT_EQ(Thread::getCurrentThread(), nullptr);
    EXPECT_EQ(Thread::getCurrentThreadId(), Thread::getMainThreadId());
}

TEST_F(ThreadTest, JoinOfDetachedOrUnstartedThreadThrows) {
    Worker unstarted([] { return 0; });
    EXPECT_THROW(unstarted.join(), hexcept);
    EXPECT_EQ(Thread::getLastError(), HE_THJOIN);
    Worker detached([] { return 0; });
    ASSERT_EQ(detached.start(1), 0);
    EXPECT_THROW(detached.join(), hexcept);
    EXPECT_TRUE(eventually([&] { return !detached.isRunning(); }));
    EXPECT_EQ(detached.start(0), -1) << "a detached thread is not started twice";
}

TEST_F(ThreadTest, DestructorWaitsForTheEnd) {
    for (int i = 0; i < 20; ++i) {
        Thread thread(true); // a Worker would join by itself
        ASSERT_EQ(thread.start(0), 0);
    }
    EXPECT_EQ(Thread::globalCount, 0);
}

// A thread that deletes its own object as the last step of its run.
class SelfDeleting : public Thread {
public:
    explicit SelfDeleting(std::atomic<int>& counter) : Thread(true), runs(counter) {}
    int run() override {
        ++runs;
        delete this;
        return 0;
    }

private:
    std::atomic<int>& runs;
};

TEST_F(ThreadTest, ThreadsMayDeleteThemselves) {
    std::atomic<int> runs{0};
    for (int i = 0; i < 40; ++i) {
        ASSERT_EQ((new SelfDeleting(runs))->start(i % 2), 0);
    }
    EXPECT_EQ(Thread::waitOnlyThreadsCnt(0, 20000), 0);
    EXPECT_EQ(runs, 40);
}

TEST_F(ThreadTest, StacksAreUsedAgain) {
    std::set<std::uintptr_t> pages;
    std::mutex guard;
    const auto note = [&pages, &guard] {
        char local = 0;
        const std::lock_guard<std::mutex> lock(guard);
        pages.insert(reinterpret_cast<std::uintptr_t>(&local) >> 19);
        return 0;
    };
    for (int i = 0; i < 60; ++i) {
        onThread(note);
    }
    EXPECT_LE(pages.size(), 4u) << "joined threads";
    pages.clear();
    for (int i = 0; i < 60; ++i) {
        Worker worker(note);
        ASSERT_EQ(worker.start(1), 0);
        ASSERT_TRUE(eventually([&] { return !worker.isRunning(); }));
        ASSERT_EQ(Thread::waitOnlyThreadsCnt(0, 20000), 0);
        Thread::sleep(2); // the last instructions of a detached thread, on its stack
    }
    EXPECT_LE(pages.size(), 20u) << "detached threads";
}

TEST_F(ThreadTest, StartWithoutMemoryLeavesNothingBehind) {
    // All free stacks are taken first, so that the next thread needs memory.
    std::vector<std::unique_ptr<Worker>> holders;
    std::atomic<bool> go{false};
    noStackMemory = true;
    int failed = 0;
    Worker worker([] { return 3; });
    while (failed == 0 && holders.size() < 200) {
        holders.push_back(std::make_unique<Worker>([&go] {
            eventually([&go] { return go.load(); });
            return 0;
        }));
        if (holders.back()->start(0) != 0) {
            EXPECT_EQ(Thread::getLastError(), HE_NOMEM);
            EXPECT_FALSE(holders.back()->isRunning());
            EXPECT_EQ(worker.start(1), -1);
            failed = 1;
        }
    }
    EXPECT_EQ(failed, 1);
    noStackMemory = false;
    EXPECT_EQ(worker.start(0), 0) << "it can be started once there is memory";
    EXPECT_EQ(worker.join(), 3);
    go = true;
    holders.clear();
    EXPECT_EQ(Thread::globalCount, 0);
}

TEST_F(ThreadTest, StartTriesAgainAsOftenAsMemoryIsSetFree) {
    Worker worker([] { return 5; });
    const struct { int failures, result, requests; } rows[] = {{1, 0, 1}, {4, 0, 4}, {5, -1, 4}};
    for (const auto& row : rows) {
        failingCreates = row.failures;
        moreMemoryRequests = 0;
        EXPECT_EQ(worker.start(0), row.result) << row.failures;
        EXPECT_EQ(failingCreates, 0);
        EXPECT_EQ(moreMemoryRequests, row.requests) << row.failures;
        if (row.result == 0) {
            EXPECT_EQ(worker.join(), 5);
        }
    }
    EXPECT_EQ(Thread::getLastError(), static_cast<unsigned>(EAGAIN));
    EXPECT_FALSE(worker.isRunning());
    EXPECT_EQ(worker.getId(), static_cast<pthread_t>(-1));
    EXPECT_EQ(Thread::globalCount, 0);
    EXPECT_EQ(worker.start(0), 0) << "a failed start leaves a thread that can be started";
}

TEST_F(ThreadTest, CountsAndPausesThreads) {
    std::atomic<bool> started{false};
    std::atomic<bool> go{false};
    {
        ReentrantCS::Locker locker(*Thread::globalCS);
        Thread::newThPaused = 1;
    }
    Started first([&] {
        started = true;
        return 0;
    });
    Started second([&] {
        eventually([&] { return go.load(); });
        return 0;
    });
    EXPECT_EQ(Thread::waitOnlyThreadsCnt(1, 50), -1);
    EXPECT_EQ(Thread::getLastError(), HE_TIMEOUT);
    EXPECT_FALSE(started);
    Thread::cleanup(); // refused while threads live
    ASSERT_NE(Thread::globalCS, nullptr);
    {
        ReentrantCS::Locker locker(*Thread::globalCS);
        Thread::newThPaused = 0;
        Thread::globalCS->signalAll(2);
    }
    EXPECT_EQ(Thread::waitOnlyThreadsCnt(1, 20000), 0);
    EXPECT_TRUE(started);
    go = true;
    EXPECT_EQ(Thread::waitOnlyThreadsCnt(0, -1), 0);
    first.join();
    second.join();
}

TEST_F(ThreadTest, NamesKeepSixtyTwoCharacters) {
    EXPECT_STREQ(Thread::getCurrentThreadName(), "mainThread");
    Started worker([] {
        EXPECT_EQ(std::string(Thread::getCurrentThreadName()).rfind("thread[0x", 0), 0u);
        Thread::setCurrentThreadName("inner");
        return 0;
    });
    worker.join();
    EXPECT_STREQ(worker.getName(), "inner");
    worker.setName(std::string(80, 'n').c_str());
    EXPECT_EQ(worker.getName(), std::string(62, 'n'));
    worker.setName(nullptr);
    EXPECT_STREQ(worker.getName(), "");
}

TEST_F(ThreadTest, SpecificDataIsMadeForEveryThread) {
    EXPECT_EQ(datesAlive, 1); // that of the code outside any Thread
    *countedKey.get() = 1;
    EXPECT_EQ(plainKey.get(), nullptr);
    {
        Worker worker([] {
            EXPECT_EQ(*countedKey.get(), 7);
            *countedKey.get() = 2;
            plainKey.set(countedKey.get());
            return *plainKey.get();
        });
        EXPECT_EQ(datesAlive, 2);
        ASSERT_EQ(worker.start(0), 0);
        EXPECT_EQ(worker.join(), 2);
    }
    EXPECT_EQ(datesAlive, 1);
    EXPECT_EQ(*countedKey.get(), 1);
    const int keys = Thread::getSpecificKeyCount(&countingManager);
    EXPECT_EQ(Thread::getSpecificKeyCount(nullptr), keys) << "nothing registers after init";
    Thread::cleanup();
    EXPECT_EQ(datesAlive, 0);
    Thread::init();
}

TEST_F(ThreadTest, ForeignThreadAttachesAnUnknownThread) {
    const ForeignThread onMain;
    EXPECT_FALSE(onMain.isAttached());
    EXPECT_EQ(Thread::globalCount, 0);
    std::thread([] {
        char local = 0;
        EXPECT_FALSE(Thread::isOnStack(&local));
        {
            ForeignThread foreign(__builtin_frame_address(0));
            EXPECT_TRUE(foreign.isAttached());
            EXPECT_EQ(Thread::getCurrentThread(), &foreign);
            EXPECT_EQ(foreign.getId(), pthread_self());
            EXPECT_EQ(*countedKey.get(), 7);
            EXPECT_EQ(Thread::globalCount, 1);
            EXPECT_TRUE(Thread::isOnStack(&foreign));
            EXPECT_EQ(std::string(foreign.getName()),
                      "ForeignThread[" + std::to_string(pthread_self()) + "]");
            const ForeignThread nested(nullptr, "nested");
            EXPECT_FALSE(nested.isAttached()) << "the thread has an object already";
            EXPECT_EQ(foreign.start(0), -1);
            EXPECT_THROW(foreign.join(), hexcept);
        }
        EXPECT_EQ(Thread::getCurrentThread(), nullptr);
        const ForeignThread named(nullptr, "named");
        EXPECT_STREQ(Thread::getCurrentThreadName(), "named");
    }).join();
    EXPECT_EQ(Thread::globalCount, 0);
    EXPECT_EQ(datesAlive, 2); // of onMain and of the code outside any Thread
}

TEST_F(ThreadTest, StackAddressesAreKnown) {
    static char data;
    const std::unique_ptr<char> heap(new char);
    const void* const mainFrame = __builtin_frame_address(0);
    const auto check = [&heap] {
        char local = 0;
        EXPECT_TRUE(Thread::isOnStack(&local));
        for (const char* elsewhere :
             std::initializer_list<const char*>{&data, heap.get(), nullptr}) {
            EXPECT_FALSE(Thread::isOnStack(elsewhere));
        }
        return 0;
    };
    check();
    onThread(check);
    EXPECT_EQ(onThread([mainFrame] { return Thread::isOnStack(mainFrame); }), 0);
}

class RecordingHook final : public Thread::CleanupHook {
public:
    RecordingHook(std::string& target, char mark) : calls(target), ownMark(mark) {}
    void cleanup() override {
        calls += ownMark;
        EXPECT_NE(Thread::globalCS, nullptr);
    }

private:
    std::string& calls;
    char ownMark;
};

TEST_F(ThreadTest, CleanupCallsItsHooksOnce) {
    std::string calls;
    RecordingHook first(calls, 'a');
    RecordingHook second(calls, 'b');
    Thread::registerCleanupHook(&first);
    Thread::registerCleanupHook(&second);
    Thread::cleanup();
    Thread::cleanup();
    EXPECT_EQ(calls, "ab");
    static char data;
    EXPECT_TRUE(Thread::isOnStack(&data)) << "everything counts as on the stack then";
    Thread::init();
    Thread::init();
}

TEST_F(ThreadTest, InitKeepsASeedOnlyIfItWasSetForIt) {
    const auto firstDraw = [](std::time_t time, int process) {
        std::srand(static_cast<unsigned>(time) + 32U * static_cast<unsigned>(process));
        return std::rand();
    };
    const int own = getpid();
    for (const int process : {own + 1, own}) {
        Thread::cleanup();
        const std::time_t before = std::time(nullptr);
        if (process != own) {
            Thread::seedRandom(process);
        }
        Thread::init();
        const int drawn = std::rand();
        bool found = false;
        for (std::time_t second = std::time(nullptr); second >= before && !found; --second) {
            found = firstDraw(second, process) == drawn;
        }
        EXPECT_TRUE(found) << (process == own ? "seeded by init" : "seeded before it");
    }
}

TEST_F(ThreadTest, WorkingPathIsMadeAbsolute) {
    std::string out;
    EXPECT_EQ(Thread::getWorkingPath("rel", out), nullptr);
    EXPECT_EQ(Thread::getLastError(), HE_INVALOP);
    Thread::getWorkingDirectory = [] { return "/work dir"; };
    for (const char* path : {"/a/b", "c:\\x", "Z:"}) {
        EXPECT_EQ(Thread::getWorkingPath(path, out), path);
    }
    EXPECT_STREQ(Thread::getWorkingPath("rel/x", out), "/work dir/rel/x");
    EXPECT_STREQ(Thread::getWorkingPath("1:x", out), "/work dir/1:x");
    EXPECT_STREQ(Thread::getWorkingPath("", out), "/work dir/");
    EXPECT_STREQ(Thread::getWorkingPath(nullptr, out), "/work dir");
    Thread::getWorkingDirectory = [] { return static_cast<const char*>(nullptr); };
    EXPECT_EQ(Thread::requestRestart(0), -1);
}

TEST_F(ThreadTest, PrioritiesHaveThreeSteps) {
    Worker worker([] { return 0; });
    EXPECT_EQ(worker.setPriority(static_cast<Thread::ThreadPriority>(3)), -1);
    EXPECT_EQ(Thread::getLastError(), HE_INVAL);
    if (getpriority(PRIO_PROCESS, 0) > 5) {
        GTEST_SKIP() << "runs at a low priority already";
    }
    const pid_t child = fork(); // the change can't be taken back without rights
    if (child == 0) {
        Thread::ThreadPriority priority = Thread::PRIORITY_HIGH;
        const bool good = worker.setPriority(Thread::PRIORITY_LOW) == 0 &&
                          getpriority(PRIO_PROCESS, 0) == 5 && worker.getPriority(priority) == 0 &&
                          priority == Thread::PRIORITY_LOW;
        _exit(good ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

void runThrowing(const std::function<int()>& work) {
    Thread::init();
    Thread::log = logToStandardError;
    onThread(work);
}

TEST(ThreadDeathTest, ExceptionThatLeavesRunEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(runThrowing([]() -> int { throw hexcept(HE_CRC); }),
                 "level 3: Internal server error \\(Bad checksum\\)");
    EXPECT_DEATH(runThrowing([]() -> int { throw std::runtime_error("odd"); }),
                 "level 3: Internal server error \\(odd\\)");
    EXPECT_DEATH(runThrowing([]() -> int {
                     Thread::setLastError(HE_VERSION);
                     throw 1;
                 }),
                 "level 3: Internal server error \\(Bad file format version\\)");
}

} // namespace
