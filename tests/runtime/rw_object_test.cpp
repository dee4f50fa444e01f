#include "common/thread/deadline.h"
#include "common/thread/ref_rw_object.h"
#include "common/thread/sync_provider.h"
#include "tests/runtime/runtime.h"
#include "tests/support/random.h"

#include <memory>

namespace {

class Shared final : public RWObject {};
class Counted final : public RefObject {
public:
    void setState(std::uint32_t state) { refState = state; }
    std::uint32_t state() const { return refState; }
};
class Both final : public RefRWObject {
public:
    std::uint32_t uses() const { return refState & useMask; }
};

using RWObjectTest = RuntimeTest;

// What another thread can get of an object right now.
bool readable(const ASyncObject& object) {
    return onThread([&object] {
               const int got = object.readLock(0);
               if (got == 0) {
                   object.readUnlock();
               }
               return got;
           }) == 0;
}

bool writable(const ASyncObject& object) {
    return onThread([&object] {
               const int got = object.writeLock(0);
               if (got == 0) {
                   object.writeUnlock();
               }
               return got;
           }) == 0;
}

// Tells whether a wait ended because it was woken: a lost wake-up shows as a wait that lasts for
// its whole time limit, even if it finds what it waited for then.
constexpr int longWait = 15000;

class Woken {
public:
    ~Woken() { EXPECT_GT(deadline.left(), 0) << "nobody woke a waiting thread"; }

private:
    Deadline deadline{longWait - 1000};
};

TEST_F(RWObjectTest, LocksNestAndExclude) {
    const Shared object;
    const struct {
        char step;          // a capital locks, for reading or for writing; a small letter unlocks
        const char* held;   // by this thread behind it
        const char* others; // what another thread can get
    } rows[] = {
        {'R', "r", "r"}, {'R', "r", "r"}, {'r', "r", "r"}, {'r', "", "rw"},
        {'W', "rw", ""}, {'R', "rw", ""}, {'r', "rw", ""}, // a writer may read and stays the writer
        {'R', "rw", ""}, {'W', "rw", ""}, {'w', "rw", ""}, {'w', "r", "r"},
        {'r', "", "rw"}, // the writer was a reader then
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        switch (row.step) {
        case 'R':
            EXPECT_EQ(object.readLock(-1), 0);
            break;
        case 'r':
            object.readUnlock();
            break;
        case 'W':
            EXPECT_EQ(object.writeLock(-1), 0);
            break;
        default:
            object.writeUnlock();
        }
        EXPECT_EQ(std::string(object.isReadLocked() ? "r" : "") +
                      (object.isWriteLocked() ? "w" : ""),
                  row.held);
        EXPECT_EQ(std::string(readable(object) ? "r" : "") + (writable(object) ? "w" : ""),
                  row.others);
    }
}

TEST_F(RWObjectTest, UpgradesOfSeveralReadersAndOfTheOnlyOne) {
    const Shared object;
    object.readLock(-1);
    EXPECT_EQ(onThread([&] {
                  object.readLock(-1);
                  EXPECT_EQ(object.writeLock(0), -1);
                  EXPECT_EQ(Thread::getLastError(), HE_TIMEOUT);
                  EXPECT_EQ(object.writeLock(20), -1);
                  EXPECT_EQ(Thread::getLastError(), HE_TIMEOUT);
                  EXPECT_TRUE(object.isReadLocked());
                  EXPECT_FALSE(object.isWriteLocked());
                  object.readUnlock();
                  return 1;
              }),
              1);
    EXPECT_FALSE(object.checkWaitingThreads(true, true));
    EXPECT_EQ(object.writeLock(0), 0) << "the only reader";
    EXPECT_FALSE(readable(object));
    object.writeUnlock();
    EXPECT_TRUE(readable(object));
    EXPECT_FALSE(writable(object));
    object.readUnlock();
    EXPECT_TRUE(writable(object)) << "each reader was counted once";
}

// While an upgrade waits, another one may take the lock: a refusal has to wait for its end then.
TEST_F(RWObjectTest, RefusedUpgradeReadsAgainOnlyBehindTheWriter) {
    const Shared object;
    std::atomic<bool> writing{false};
    object.readLock(-1);
    Started other([&] {
        object.readLock(-1);
        EXPECT_EQ(object.writeLock(50), -1);
        EXPECT_FALSE(writing);
        EXPECT_EQ(Thread::getLastError(), HE_TIMEOUT);
        object.readUnlock();
        return 0;
    });
    ASSERT_TRUE(eventually([&] { return object.checkWaitingThreads(false, true); }));
    EXPECT_EQ(object.writeLock(-1), 0);
    writing = true;
    Thread::sleep(100);
    writing = false;
    object.writeUnlock();
    other.join();
    object.readUnlock();
    EXPECT_TRUE(writable(object)) << "each reader was counted once";
}

TEST_F(RWObjectTest, WaitingWriterHoldsBackNewReaders) {
    const Shared object;
    object.readLock(-1);
    Started writer([&] {
        const int result = object.writeLock(-1);
        object.writeUnlock();
        return result;
    });
    ASSERT_TRUE(eventually([&] { return object.checkWaitingThreads(false, true); }));
    EXPECT_FALSE(object.checkWaitingThreads(true, false));
    EXPECT_FALSE(readable(object));
    EXPECT_EQ(object.readLock(0), 0) << "a reader may nest all the same";
    object.readUnlock();
    object.readUnlock();
    EXPECT_EQ(writer.join(), 0);
}

// A writer that gives up was the only reason why readers waited: they must be woken.
TEST_F(RWObjectTest, ReadersGoOnWhenTheWaitingWriterGivesUp) {
    const Woken woken;
    const Shared object;
    object.readLock(-1);
    Started writer([&] { return object.writeLock(150); });
    ASSERT_TRUE(eventually([&] { return object.checkWaitingThreads(false, true); }));
    Started reader([&] {
        const int result = object.readLock(longWait);
        object.readUnlock();
        return result;
    });
    EXPECT_EQ(writer.join(), -1);
    EXPECT_EQ(reader.join(), 0);
    object.readUnlock();
}

// A thread in waitUnlock sleeps where writers sleep; what wakes it must reach the writer too.
TEST_F(RWObjectTest, WaitUnlockPassesTheTurnOn) {
    const Woken woken;
    const Shared object;
    EXPECT_EQ(object.waitUnlock(0), 0);
    object.writeLock(-1);
    EXPECT_EQ(object.waitUnlock(0), -1);
    EXPECT_EQ(Thread::getLastError(), HE_INVALOP);
    EXPECT_EQ(onThread([&] { return object.waitUnlock(10); }), -1);
    std::atomic<int> waiting{0};
    std::vector<std::unique_ptr<Started>> workers;
    for (int i = 0; i < 6; ++i) {
        workers.push_back(std::make_unique<Started>([&object, &waiting, i] {
            ++waiting;
            if (i % 2 == 0) {
                return object.waitUnlock(longWait);
            }
            const int result = object.writeLock(longWait);
            object.writeUnlock();
            return result;
        }));
        ASSERT_TRUE(eventually([&] { return waiting == i + 1; }));
        Thread::sleep(5);
    }
    object.writeUnlock();
    for (const auto& worker : workers) {
        EXPECT_EQ(worker->join(), 0);
    }
    EXPECT_TRUE(writable(object));
}

TEST_F(RWObjectTest, WaitLetsOthersInAndHoldsTheSameAgain) {
    const Woken woken;
    const Shared object;
    EXPECT_EQ(object.wait(0), -1);
    EXPECT_EQ(Thread::getLastError(), HE_INVALOP);
    int value = 0; // guarded by the object
    struct {
        bool reads, writes;
    } const rows[] = {{false, true}, {true, true}, {true, false}};
    for (const auto& row : rows) {
        if (row.reads) {
            object.readLock(-1);
        }
        if (row.writes) {
            object.writeLock(-1);
        }
        Worker other([&] {
            object.writeLock(-1);
            ++value;
            object.writeUnlock();
            return 0;
        });
        const int before = value;
        ASSERT_EQ(other.start(0), 0);
        while (value == before) {
            object.wait(longWait);
        }
        EXPECT_EQ(object.isWriteLocked(), row.writes);
        EXPECT_EQ(readable(object), !row.writes);
        EXPECT_FALSE(writable(object));
        EXPECT_EQ(object.wait(10), -1);
        EXPECT_EQ(Thread::getLastError(), HE_TIMEOUT);
        if (row.writes) {
            object.writeUnlock();
        }
        EXPECT_EQ(object.isReadLocked(), row.reads);
        if (row.reads) {
            EXPECT_FALSE(writable(object));
            object.readUnlock();
        }
        EXPECT_TRUE(writable(object));
    }
}

// Objects a provider's stride apart share that provider.
struct alignas(SyncProvider::count * 16) Strided {
    Shared object;
};

TEST_F(RWObjectTest, ProviderGrowsItsConditionsByFour) {
    const Strided objects[5];
    const SyncProvider& provider = SyncProvider::of(&objects[0].object);
    ASSERT_EQ(&SyncProvider::of(&objects[4].object), &provider);
    EXPECT_EQ(provider.conditionCount(), 0);
    for (int round = 0; round < 2; ++round) { // what was given back is taken again
        std::vector<std::unique_ptr<Started>> workers;
        for (int i = 0; i < 5; ++i) {
            const Shared& object = objects[i].object;
            object.writeLock(-1);
            workers.push_back(std::make_unique<Started>([&object] {
                const int result = object.readLock(-1);
                object.readUnlock();
                return result;
            }));
            ASSERT_TRUE(eventually([&] { return object.checkWaitingThreads(true, false); }));
        }
        for (int i = 0; i < 5; ++i) {
            objects[i].object.writeUnlock();
            EXPECT_EQ(workers[static_cast<std::size_t>(i)]->join(), 0);
            EXPECT_FALSE(objects[i].object.checkWaitingThreads(true, true));
        }
        EXPECT_EQ(provider.conditionCount(), 8);
    }
}

class RecordingJob final : public RWJob {
public:
    void runRead() override { ran += 'r'; }
    void runWrite() override { ran += 'w'; }
    void runLocked() override { ran += 'l'; }
    std::string ran;
};

TEST_F(RWObjectTest, JobsRunUnderTheirLock) {
    const Shared object;
    RecordingJob job;
    const auto runAll = [&] {
        object.csLockRun(&job);
        object.readLockRun(&job);
        object.writeLockRun(&job);
    };
    runAll();
    object.readLock(-1);
    runAll();
    EXPECT_FALSE(writable(object)) << "the reader is a reader again";
    object.writeLock(-1);
    runAll();
    EXPECT_EQ(job.ran, "lrwlrwlrw");

    RecordingJob late;
    Started waiter([&] {
        object.writeLockRun(&late);
        return 0;
    });
    ASSERT_TRUE(eventually([&] { return object.checkWaitingThreads(false, true); }));
    EXPECT_EQ(late.ran, "");
    object.writeUnlock();
    object.readUnlock();
    waiter.join();
    EXPECT_EQ(late.ran, "w");
    EXPECT_TRUE(writable(object));
}

TEST_F(RWObjectTest, UseCountDefersTheDestroy) {
    const Counted object;
    EXPECT_TRUE(object.refUseLock(RWLOCK_NONE));
    EXPECT_TRUE(object.refUseLock(RWLOCK_WRITE));
    bool unlocked = true;
    EXPECT_FALSE(object.refCondUseUnlock(unlocked, RWLOCK_NONE));
    EXPECT_FALSE(unlocked);
    EXPECT_EQ(object.state(), 2u);
    EXPECT_FALSE(object.refDestroy());
    EXPECT_FALSE(object.refUseUnlock(RWLOCK_NONE));
    EXPECT_EQ(object.state(), 0x10000001u);
    EXPECT_TRUE(object.refCondUseUnlock(unlocked, RWLOCK_NONE));
    EXPECT_TRUE(unlocked);
    EXPECT_TRUE(object.refDestroy());

    Counted full;
    full.setState(0x0FFFFFFF);
    EXPECT_FALSE(full.refUseLock(RWLOCK_NONE));
    EXPECT_EQ(Thread::getLastError(), HE_TEMPORARY_DENIED);
    EXPECT_EQ(full.state(), 0x0FFFFFFFu);
    full.setState(2);
    EXPECT_FALSE(full.refUseUnlockDestroy(RWLOCK_NONE));
    EXPECT_TRUE(full.refUseUnlock(RWLOCK_NONE));
    EXPECT_FALSE(full.refUseUnlock(RWLOCK_NONE)) << "no use is left to end";
    EXPECT_EQ(full.state(), 0x10000000u);
    full.setState(1);
    EXPECT_FALSE(full.refUseUnlock(RWLOCK_NONE)) << "nobody asked for the end";
}

TEST_F(RWObjectTest, UseAndLockChangeTogether) {
    const Both object;
    EXPECT_TRUE(object.refUseLock(RWLOCK_READ));
    EXPECT_TRUE(object.refUseLock(RWLOCK_WRITE)) << "an upgrade";
    EXPECT_FALSE(readable(object));
    EXPECT_FALSE(object.refUseUnlock(RWLOCK_WRITE));
    EXPECT_TRUE(readable(object));
    EXPECT_TRUE(object.refUseLock(RWLOCK_NONE));
    EXPECT_EQ(object.uses(), 2u);
    bool unlocked = true;
    EXPECT_FALSE(object.refCondUseUnlock(unlocked, RWLOCK_READ));
    EXPECT_TRUE(object.isReadLocked()) << "nothing happens without a request";
    EXPECT_FALSE(object.refUseUnlockDestroy(RWLOCK_NONE));
    EXPECT_TRUE(object.refCondUseUnlock(unlocked, RWLOCK_READ));
    EXPECT_TRUE(unlocked);
    EXPECT_FALSE(object.isReadLocked());
    EXPECT_TRUE(writable(object));
}

// Random work on few objects. The plain field is what the locks protect: a lost exclusion shows as
// an odd value or as a data race, a lost wake-up as a test that does not end.
struct alignas(SyncProvider::count * 16) Guarded {
    Shared lock;
    std::atomic<int> inside{0}; // readers, or 1000 for a writer
    long value = 0;
};

void readValue(Guarded& object) {
    const long seen = object.value;
    const int others = object.inside.fetch_add(1);
    EXPECT_LT(others, 1000);
    EXPECT_EQ(object.value, seen);
    object.inside -= 1;
}

void writeValue(Guarded& object) {
    EXPECT_EQ(object.inside.fetch_add(1000), 0);
    ++object.value;
    object.inside -= 1000;
}

void randomStep(Guarded& object, std::mt19937_64& random) {
    const int timeout = support::below(random, 3) == 0 ? static_cast<int>(random() % 3) : -1;
    switch (support::below(random, 8)) {
    case 0:
    case 1:
    case 2:
        if (object.lock.readLock(timeout) == 0) {
            readValue(object);
            if (support::below(random, 4) == 0 && object.lock.writeLock(timeout) == 0) {
                writeValue(object);
                object.lock.writeUnlock();
                readValue(object);
            }
            object.lock.readUnlock();
        }
        break;
    case 3:
    case 4:
        if (object.lock.writeLock(timeout) == 0) {
            writeValue(object);
            if (support::below(random, 4) == 0) {
                object.lock.wait(1);
                writeValue(object);
            }
            object.lock.writeUnlock();
        }
        break;
    case 5:
        object.lock.waitUnlock(timeout);
        break;
    case 6:
        if (object.lock.readLock(timeout) == 0) {
            object.lock.wait(1);
            readValue(object);
            object.lock.readUnlock();
        }
        break;
    default: {
        RecordingJob job;
        object.lock.readLockRun(&job);
        object.lock.writeLockRun(&job);
        EXPECT_EQ(job.ran, "rw");
        break;
    }
    }
}

TEST_F(RWObjectTest, RandomUseKeepsExclusionAndEnds) {
    auto random = support::seededRandom("RandomUseKeepsExclusion");
    Guarded objects[3]; // all with one provider
    std::vector<std::unique_ptr<Started>> workers;
    for (int i = 0; i < 6; ++i) {
        workers.push_back(std::make_unique<Started>([&objects, seed = random()] {
            std::mt19937_64 local(seed);
            for (int step = 0; step < 1500; ++step) {
                randomStep(objects[support::below(local, 3)], local);
            }
            return 0;
        }));
    }
    for (const auto& worker : workers) {
        worker->join();
    }
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(objects[i].inside, 0);
        EXPECT_TRUE(writable(objects[i].lock));
        EXPECT_FALSE(objects[i].lock.checkWaitingThreads(true, true));
    }
}

} // namespace
