// Many processes on one queue, and several that make its tree at the same time.

#include "tests/faults/fault_desk.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <set>

namespace {

constexpr int workers = 16;

std::string message(const std::string& name) {
    return "From: " + name + "@x.org\n\n" + std::string(name.size() * 700, name.back()) + "\n";
}

// Submits `count` mails into the queue of another desk, each of its own sender and body. Does not
// come back.
[[noreturn]] void work(const Desk& queue, int worker, int count) {
    int failures = 0;
    {
        FaultDesk own; // for its standard descriptors
        for (int i = 0; i < count; ++i) {
            const std::string name = "w" + std::to_string(worker) + "n" + std::to_string(i);
            own.input = message(name);
            failures += own.runPlain({"-W", queue.path("."), name + "@y.org"}).exitCode != 0;
        }
    }
    ::_exit(failures == 0 ? 0 : 1);
}

TEST(Crowd, EverySubmissionGetsAMailOfItsOwn) {
    const int each = longForm() ? 125 : 30;
    FaultDesk desk(1); // 65,536 ids, so that some are drawn twice
    for (int worker = 0; worker < workers; ++worker) {
        if (::fork() == 0) {
            work(desk, worker, each);
        }
    }
    for (int worker = 0; worker < workers; ++worker) {
        int status = 0;
        ::wait(&status);
        EXPECT_EQ(status, 0) << "a submission failed";
    }
    const std::size_t all = static_cast<std::size_t>(workers * each);
    const std::vector<StoredMail> mails = handedOver(desk);
    EXPECT_EQ(mails.size(), all);
    EXPECT_EQ(countFiles(desk), 3 * all);
    Tally tally("mails of " + std::to_string(workers) + " processes");
    std::set<std::string> names;
    for (const StoredMail& mail : mails) {
        const bool goOn = tally.check(mail.id, [&] {
            ASSERT_EQ(mail.state.strings.size(), 4U);
            const std::string& to = mail.state.strings[3];
            const std::string name = to.substr(0, to.find('@'));
            names.insert(name);
            EXPECT_EQ(mail.state.strings[0], name + "@x.org");
            std::string stored = "\r\nFrom: " + name + "@x.org\r\n\r\n";
            stored += std::string(name.size() * 700, name.back()) + "\r\n";
            EXPECT_TRUE(mail.data.ends_with(stored));
        });
        if (!goOn) {
            return;
        }
    }
    EXPECT_EQ(names.size(), all);
}

TEST(Crowd, FirstRunsRaceToMakeTheTree) {
    const int rounds = longForm() ? 200 : 8;
    for (const int racers : {2, workers}) {
        Tally tally("races of " + std::to_string(racers) + " first runs");
        for (int round = 0; round < rounds; ++round) {
            const bool goOn = tally.check(std::to_string(round), [&] {
                FaultDesk desk;
                timespec start{};
                ::clock_gettime(CLOCK_MONOTONIC, &start);
                start.tv_sec += start.tv_nsec / 990'000'000;
                start.tv_nsec = (start.tv_nsec + 10'000'000) % 1'000'000'000;
                desk.limits = [start] { // all at once
                    ::clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &start, nullptr);
                };
                const auto body = desk.child({});
                for (int racer = 0; racer < racers; ++racer) {
                    if (::fork() == 0) {
                        body();
                        ::_exit(126);
                    }
                }
                for (int racer = 0; racer < racers; ++racer) {
                    int status = 0;
                    ::wait(&status);
                    EXPECT_EQ(status, 0) << support::readFile(desk.path("stderr"));
                }
                EXPECT_EQ(wholeMails(desk), racers);
                EXPECT_EQ(countFiles(desk), static_cast<std::size_t>(3 * racers));
                const std::string token = support::readFile(desk.queue("q/.mql_auth"));
                EXPECT_EQ(token.size(), 38U) << token;
                EXPECT_TRUE(token.starts_with("MQL:00000000-") && token.ends_with("\r\n")) << token;
            });
            if (!goOn) {
                return;
            }
        }
    }
}

} // namespace
