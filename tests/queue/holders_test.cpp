// Many threads on one queue: waiting for a mail, timeouts, removal under waiters, and new mails.

#include "common/thread/foreign_thread.h"
#include "tests/queue/queue_fixture.h"

#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <thread>

namespace fs = std::filesystem;

namespace {

constexpr int threadCount = 8;

class Holders : public QueueTest {
protected:
    void SetUp() override { attach(queue, 4); }

    MailItem* bind(int id, int timeout) {
        bool badFile = false;
        return queue.rawBindMail(id, timeout, false, badFile);
    }
    static void onThreads(int count, const std::function<void(int)>& work) {
        std::vector<std::thread> threads;
        for (int i = 0; i < count; ++i) {
            threads.emplace_back([&work, i] {
                const ForeignThread thread;
                work(i);
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    }
    MailQueue queue;
};

TEST_F(Holders, oneAtATimeOwnsAMail) {
    const int id = submit(queue);
    int counter = 0; // guarded by the hold on the mail alone
    std::atomic<int> timeouts = 0;
    onThreads(threadCount, [&](int thread) {
        for (int round = 0; round < 200; ++round) {
            MailItem* item = bind(id, thread % 2 == 0 ? -1 : round % 3);
            if (item == nullptr) {
                EXPECT_EQ(HE_TIMEOUT, Thread::getLastError());
                ++timeouts;
                continue;
            }
            ++counter;
            item->rstadjust(counter);
            if (round % 5 == 0) {
                queue.rawUnbindMail(item, true); // out of memory, if nobody waits
            } else {
                queue.unbindMail(item, false);
            }
        }
    });
    EXPECT_EQ(threadCount * 200, counter + timeouts);
    MailItem* item = bind(id, 0);
    ASSERT_NE(nullptr, item);
    EXPECT_EQ(counter, item->getField<long long>(RecordFormat::nextSchedule));
    queue.unbindMail(item, false);
}

TEST_F(Holders, aWaiterTimesOutWhileTheOwnerKeepsTheMail) {
    const int id = submit(queue);
    MailItem* item = bind(id, 0);
    onThreads(1, [&](int) {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(HE_TIMEOUT, errorOf(bind(id, 30)));
        EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(30));
    });
    EXPECT_EQ(0, item->saveToFile(nullptr));
    queue.unbindMail(item, false);
    item = bind(id, 0); // nobody is counted any more
    const CriticalSection::Locker locked(queue.getLock());
    EXPECT_EQ(0, item->release(&queue));
}

TEST_F(Holders, theLastHolderRemovesAMail) {
    for (int round = 0; round < 30; ++round) {
        const int id = submit(queue);
        MailItem* item = bind(id, 0);
        std::atomic<int> begun = 0;
        onThreads(threadCount, [&](int thread) {
            ++begun;
            if (thread > 0) { // some give up before the removal, some after, some never
                EXPECT_EQ(nullptr, bind(id, thread % 4 == 0 ? -1 : thread % 4 - 1));
                return;
            }
            while (begun < threadCount) {
                std::this_thread::yield();
            }
            if (round % 2 == 0) {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
            EXPECT_EQ(0, queue.removeMail(item));
        });
        EXPECT_FALSE(fs::exists(statePath(id)));
        EXPECT_FALSE(fs::exists(dataPath(id)));
        EXPECT_EQ(nullptr, queue.getFirst());
    }
    EXPECT_EQ(0, queue.getQueueSize());
}

// Names are built in the queue's one buffer: mails made, removed and handed over, and their streams
// opened, at once; each thread finds its own.
TEST_F(Holders, manyThreadsSubmitAndOpenStreams) {
    onThreads(threadCount, [&](int thread) {
        for (int round = 0; round < 25; ++round) {
            IncomingStream* removed = nullptr;
            MailItem* item = fill(queue, {"a@b"}, "removed", removed);
            EXPECT_EQ(0, queue.removeMail(item));
            Stream::release(removed);
            const std::string body =
                "N: " + std::to_string(thread) + "." + std::to_string(round) + "\r\n\r\n";
            const int id = submit(queue, {"a@b"}, body);
            EXPECT_TRUE(fs::exists(markerPath(id)));
            item = bind(id, -1);
            ASSERT_NE(nullptr, item);
            Stream* const streams[] = {
                item->openHeaderStream(&queue, 0),
                item->getAssociatedStream(&queue, 'M', 1, thread, false, false)};
            char text[64];
            ASSERT_NE(nullptr, streams[0]);
            EXPECT_EQ(static_cast<int>(body.size()), streams[0]->readAll(text, sizeof text));
            EXPECT_EQ(body, std::string(text, body.size()));
            ASSERT_NE(nullptr, streams[1]);
            char name[4096];
            int size = sizeof name;
            EXPECT_EQ(1U, item->getNextDataVersion(&queue, name, size));
            EXPECT_EQ(dataPath(id).substr(0, static_cast<std::size_t>(size) - 1) + "1",
                      std::string(name));
            Stream::release(streams[0]);
            Stream::release(streams[1]);
            queue.rawUnbindMail(item, round % 2 == 0);
        }
    });
}

} // namespace
