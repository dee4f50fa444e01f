// SIGINT at random moments of a run: one, two in a row, and a flood of them until the end.

#include "tests/faults/fault_desk.h"
#include "tests/support/random.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::nanoseconds;

void waitUntil(Clock::time_point moment) {
    while (Clock::now() < moment) {
    }
}

// Somewhat more than a run takes here that nobody disturbs.
nanoseconds ordinaryRun() {
    nanoseconds shortest = nanoseconds::max();
    for (int i = 0; i < 10; ++i) {
        FaultDesk desk;
        const auto start = Clock::now();
        EXPECT_EQ(desk.run({}).exitCode, 0);
        shortest = std::min(shortest, nanoseconds(Clock::now() - start));
    }
    return shortest * 5 / 4;
}

// Starts the run and sends `signals` from a moment on, the next ones `gap` apart.
int interrupted(FaultDesk& desk, nanoseconds delay, int signals, nanoseconds gap) {
    const auto body = desk.child({});
    const auto start = Clock::now();
    const pid_t child = ::fork();
    if (child == 0) {
        body();
        ::_exit(126);
    }
    auto moment = start + delay;
    int status = 0;
    for (int i = 0; i < signals; ++i) {
        waitUntil(moment);
        moment += gap;
        // Until it is waited for, the process keeps its number.
        if (::waitpid(child, &status, WNOHANG) == child) {
            return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        }
        ::kill(child, SIGINT);
    }
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

TEST(Interrupts, AtRandomMoments) {
    auto random = support::seededRandom("Interrupts.AtRandomMoments");
    const nanoseconds run = ordinaryRun();
    const int rounds = longForm() ? 2000 : 100;
    for (const auto& [what, count] :
         {std::pair("one SIGINT", 1), std::pair("two SIGINTs", 2), std::pair("a flood", 1 << 30)}) {
        Tally tally("random moments of " + std::string(what));
        const int signals = count; // for the lambda below
        int mailsSeen = 0;
        for (int round = 0; round < rounds; ++round) {
            const auto delay =
                nanoseconds(support::below(random, static_cast<std::size_t>(run.count())));
            const auto gap = nanoseconds(support::below(random, count == 2 ? 200'000 : 20'000));
            const bool goOn = tally.check(std::to_string(delay.count()) + " ns", [&] {
                FaultDesk desk;
                const int exitCode = interrupted(desk, delay, signals, gap);
                EXPECT_TRUE(exitCode == 0 || exitCode == 128 + SIGINT ||
                            exitCode == 126) // before the exec
                    << exitCode;
                const int mails = wholeMails(desk);
                EXPECT_EQ(countFiles(desk), mails == 1 ? 3U : 0U);
                if (mails == 0 && exitCode == 0) {
                    EXPECT_EQ(desk.collect(0).out, "Transaction aborted by user\n");
                }
                mailsSeen += mails;
            });
            if (!goOn) {
                return;
            }
        }
        std::printf("  of these %d whole and %d gone\n", mailsSeen, rounds - mailsSeen);
    }
}

} // namespace
