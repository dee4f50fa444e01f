#include "common/hexcept.h"
#include "common/thread/critical_section.h"
#include "common/thread/multi_thread_cs.h"
#include "common/thread/reentrant_cs.h"
#include "tests/runtime/runtime.h"

namespace {

using LockTest = RuntimeTest;

TEST_F(LockTest, CriticalSectionExcludes) {
    CriticalSection section(0);
    int counter = 0; // plain: the lock is all that protects it
    onThreads(4, [&] {
        for (int i = 0; i < 2000; ++i) {
            CriticalSection::Locker locker(section);
            ++counter;
        }
        return 0;
    });
    EXPECT_EQ(counter, 8000);

    section.enter();
    EXPECT_EQ(onThread([&] { return section.tryEnter(); }), -1);
    section.leave();
    EXPECT_EQ(section.tryEnter(), 0);
    section.leave();
}

TEST_F(LockTest, WaitAnswersTimeAndBadConditions) {
    CriticalSection section(1);
    CriticalSection::Locker locker(section);
    const struct {
        int condition;
        int timeout;
        unsigned error;
    } rows[] = {{0, 0, HE_TIMEOUT}, {0, 20, HE_TIMEOUT}, {1, 0, HE_INVAL}, {-1, -1, HE_INVAL}};
    for (const auto& row : rows) {
        EXPECT_EQ(section.wait(row.condition, row.timeout), -1);
        EXPECT_EQ(Thread::getLastError(), row.error);
    }
    section.signal(5); // ignored
    EXPECT_EQ(section.addConditions(-1), -1);
    EXPECT_EQ(section.addConditions(0), 1);
    EXPECT_EQ(section.addConditions(3), 4);
    EXPECT_EQ(section.wait(3, 0), -1);
    EXPECT_EQ(Thread::getLastError(), HE_TIMEOUT);
}

TEST_F(LockTest, SignalsWakeByCondition) {
    CriticalSection section(2);
    int turn = 0;
    int woken = 0;
    const auto waitFor = [&](int condition, int timeout) {
        CriticalSection::Locker locker(section);
        while (turn != 1) {
            section.wait(condition, timeout);
        }
        ++woken;
        return 0;
    };
    Started first([&] { return waitFor(0, -1); });
    Started second([&] { return waitFor(1, 20000); });
    Thread::sleep(20);
    section.enter();
    turn = 1;
    section.signal(0);
    section.signalAll(1);
    section.leave();
    first.join();
    second.join();
    EXPECT_EQ(woken, 2);
}

TEST_F(LockTest, ReentrantLockNests) {
    ReentrantCS section(1);
    section.enter();
    section.enter();
    EXPECT_EQ(section.tryEnter(), 0);
    section.leave();
    section.leave();
    EXPECT_EQ(onThread([&] { return section.tryEnter(); }), -1) << "one level is still held";
    section.leave();
    int counter = 0;
    onThreads(4, [&] {
        for (int i = 0; i < 1000; ++i) {
            ReentrantCS::Locker outer(section);
            ReentrantCS::Locker inner(section);
            ++counter;
        }
        return 0;
    });
    EXPECT_EQ(counter, 4000);
}

TEST_F(LockTest, ReentrantWaitGivesUpAllLevels) {
    ReentrantCS section(2);
    bool entered = false;
    Worker other([&] {
        ReentrantCS::Locker locker(section);
        entered = true;
        section.signal(1);
        Thread::sleep(20); // the waiter comes back only when the lock is free
        entered = false;
        return 0;
    });
    section.enter();
    section.enter();
    ASSERT_EQ(other.start(0), 0);
    EXPECT_EQ(section.wait(1, 20000), 0);
    EXPECT_FALSE(entered);
    EXPECT_EQ(section.wait(0, 10), -1);
    EXPECT_EQ(Thread::getLastError(), HE_TIMEOUT);
    EXPECT_EQ(section.wait(2, 0), -1);
    EXPECT_EQ(Thread::getLastError(), HE_INVAL) << "two conditions for the users";
    EXPECT_EQ(section.wait(-1, 0), -1) << "the lock's own condition is not theirs";
    EXPECT_EQ(section.addConditions(1), 3);
    section.leave();
    EXPECT_EQ(onThread([&] { return section.tryEnter(); }), -1) << "both levels are back";
    section.leave();
    other.join();
}

TEST_F(LockTest, SlotsAreDistinctAndKnowTheirThread) {
    EXPECT_THROW(MultiThreadCS(0), hexcept);
    MultiThreadCS section(2);
    EXPECT_EQ(section.getId(pthread_self()), -1);
    section.leave(); // nothing is held
    const int mine = section.enter();
    EXPECT_EQ(section.getId(pthread_self()), mine);
    std::atomic<int> theirs{-1};
    std::atomic<bool> go{false};
    Started other([&] {
        theirs = section.enter();
        eventually([&] { return go.load(); });
        section.leave();
        return 0;
    });
    ASSERT_TRUE(eventually([&] { return theirs >= 0; }));
    EXPECT_EQ(theirs, 1 - mine);
    section.leave();
    EXPECT_EQ(section.getId(other.getId()), theirs);
    EXPECT_EQ(section.enter(), mine) << "the slot that was left, not the other thread's";
    section.leave();
    go = true;
}

TEST_F(LockTest, SlotsBelongToOneThreadAtATime) {
    MultiThreadCS section(3);
    std::atomic<int> inside{0};
    std::atomic<int> taken[3] = {};
    onThreads(6, [&] {
        for (int i = 0; i < 200; ++i) {
            const int slot = section.enter();
            EXPECT_LE(++inside, 3);
            EXPECT_EQ(++taken[slot], 1) << "a slot of two threads";
            --taken[slot];
            --inside;
            section.leave();
        }
        return 0;
    });
    EXPECT_EQ(inside, 0);
}

// Two slots come free before the waiter that the first one woke has run: the second waiter has
// room too and must be woken as well.
TEST_F(LockTest, EveryFreedSlotReachesAWaiter) {
    for (int round = 0; round < 20; ++round) {
        MultiThreadCS section(2);
        std::atomic<int> asking{0};
        std::atomic<int> inside{0};
        section.enter();
        section.enter();
        const auto meet = [&] {
            ++asking;
            section.enter();
            ++inside;
            const bool met = eventually([&] { return inside == 2; });
            section.leave();
            return met ? 0 : 1;
        };
        Started first(meet);
        Started second(meet);
        ASSERT_TRUE(eventually([&] { return asking == 2; }));
        Thread::sleep(2);
        EXPECT_EQ(inside, 0) << "both slots are taken";
        section.leave();
        section.leave();
        EXPECT_EQ(first.join() + second.join(), 0);
    }
}

TEST(LockDeathTest, FailedCallIsLoggedAndAborts) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            Thread::log = logToStandardError;
            CriticalSection section(0);
            section.enter();
            section.~CriticalSection(); // while it is held
        },
        "level 3: Internal server error \\(pthread_mutex_destroy failed: .*busy\\)");
}

} // namespace
