// One submission, gone wrong at every point it can: killed at each system call, each call failing
// or moving less than asked, interrupted at each call, and run against limits. After each, the
// queue must be in one of its legal states: no marker, or a marker with two whole files.

#include "tests/command/harness.h"
#include "tests/faults/tracer.h"

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>

namespace {

namespace fs = std::filesystem;

// More than one block of the data file's writer.
const std::string body(9000, 'x');
const std::string storedTail = "From: a@x.org\r\nTo: r@x.org\r\n\r\n" + body + "\r\n";

class Faults : public testing::Test {
protected:
    static void SetUpTestSuite() { traceable = canTrace(); }

    void SetUp() override {
        if (!traceable) {
            GTEST_SKIP() << "no fault injection on this machine";
        }
    }

    static inline bool traceable = false;
};

// A desk whose queue stands elsewhere than the built-in default, so that a run that goes on without
// its configuration is seen.
void prepare(Desk& desk) {
    desk.preload = false;
    desk.input = "From: a@x.org\nTo: r@x.org\n\n" + body + "\n";
    support::writeFile(desk.path("run/morvex.cfg"),
                       "Server {\n primaryDomain = \"example.org\"\n"
                       " processing = { queuePath = \"queue/q\" queueEntryCount = 2 }\n}\n");
    fs::create_directory(desk.path("queue"));
}

// Checks every marker of the queue against its two files; returns how many there are.
int wholeMails(const Desk& desk) {
    const auto files = desk.mailFiles();
    int count = 0;
    for (const auto& [name, content] : files) {
        if (!name.starts_with("q/locals/")) {
            continue;
        }
        ++count;
        EXPECT_EQ(content, "") << name;
        const std::string id = name.substr(9);
        EXPECT_EQ(id.size(), 6U) << name;
        const std::string entry = "q/" + id.substr(0, 2) + "/";
        const auto state = files.find(entry + "S" + id.substr(2));
        const auto data = files.find(entry + "D" + id.substr(2) + ".00");
        if (state == files.end() || data == files.end()) {
            ADD_FAILURE() << "marker " << id << " without its files";
            continue;
        }
        const StateFile decoded = decodeStateFile(state->second);
        EXPECT_TRUE(decoded.valid) << id;
        EXPECT_EQ(decoded.strings,
                  (std::vector<std::string>{"a@x.org", "a@x.org", "<>", "r@x.org"}))
            << id;
        EXPECT_TRUE(data->second.starts_with("Received: by example.org (Morvex postdock")) << id;
        EXPECT_TRUE(data->second.ends_with(storedTail)) << id;
    }
    return count;
}

void expectNothingOutside(const Desk& desk) {
    for (const auto& [name, content] : desk.mailFiles()) {
        EXPECT_TRUE(name.starts_with("q/")) << name << " stands outside the configured queue";
    }
}

const Judge harmless = [](int, const TracedCall&) { return Verdict{}; };

int countCalls(Desk& desk) {
    const TracedRun run = trace(desk.child({}), harmless);
    EXPECT_EQ(run.exitCode, 0);
    return run.calls;
}

Judge at(int point, Verdict verdict) {
    return [point, verdict](int position, const TracedCall&) {
        return position == point ? verdict : Verdict{};
    };
}

// On a fresh tree and on one that is there already.
class Killed : public Faults, public testing::WithParamInterface<bool> {};

TEST_P(Killed, AnywhereLeavesALegalQueue) {
    int points = 0;
    for (int point = 0;; ++point) {
        SCOPED_TRACE("killed at call " + std::to_string(point));
        Desk desk;
        prepare(desk);
        if (GetParam()) {
            ASSERT_EQ(countCalls(desk) > 0, true);
        }
        const int before = GetParam() ? 1 : 0;
        const TracedRun run = trace(desk.child({}), at(point, {Verdict::Kill, 0}));
        if (!run.reached) {
            EXPECT_EQ(run.exitCode, 0);
            break;
        }
        ++points;
        EXPECT_EQ(run.exitCode, 128 + SIGKILL);
        EXPECT_LE(wholeMails(desk), before + 1);
        expectNothingOutside(desk);
        // The tree works for the next run, whatever the killed one left.
        const int standing = wholeMails(desk);
        EXPECT_EQ(desk.run({}).exitCode, 0);
        EXPECT_EQ(wholeMails(desk), standing + 1);
        if (HasFailure()) {
            return;
        }
    }
    std::printf("%d of %d kill points safe\n", points, points);
}

INSTANTIATE_TEST_SUITE_P(Tree, Killed, testing::Bool(), [](const auto& tested) {
    return std::string(tested.param ? "Present" : "Fresh");
});

bool mustNotBeJudged(std::uint64_t call) {
    return call == SYS_exit_group || call == SYS_exit || call == SYS_rt_sigreturn ||
           call == SYS_execve || call == SYS_brk; // brk has no error to give
}

// After a fault: exit 0 with one whole mail, or another exit code with a reason and no file of the
// mail. What the loader does before main runs is its own affair.
void expectWholeOrNothing(const Desk& desk, const Outcome& run, bool started) {
    const int mails = wholeMails(desk);
    expectNothingOutside(desk);
    if (run.exitCode == 0) {
        EXPECT_EQ(mails, 1);
        EXPECT_EQ(desk.mailFiles().size(), 3U);
        return;
    }
    EXPECT_EQ(mails, 0);
    EXPECT_EQ(desk.mailFiles().size(), 0U);
    if (!started) {
        return;
    }
    EXPECT_NE(run.err, "") << "exit code " << run.exitCode;
    for (const int expected : {65, 74, 75, 78}) {
        if (run.exitCode == expected) {
            return;
        }
    }
    ADD_FAILURE() << "exit code " << run.exitCode << ": " << run.err;
}

TEST_F(Faults, EveryCallFailsOnce) {
    const int errors[] = {ENOSPC, EIO, EACCES, EMFILE, EINTR, ENOMEM};
    int faults = 0;
    for (const int error : errors) {
        for (int point = 0;; ++point) {
            Desk desk;
            prepare(desk);
            std::uint64_t number = 0;
            bool started = false; // main asks for the process id, and the loader does not
            const TracedRun run = trace(desk.child({}), [&](int position, const TracedCall& call) {
                started = started || (position <= point && call.number == SYS_getpid);
                if (position != point) {
                    return Verdict{};
                }
                number = call.number;
                return mustNotBeJudged(call.number) ? Verdict{} : Verdict{Verdict::Fail, error};
            });
            SCOPED_TRACE(std::string(std::strerror(error)) + " from system call " +
                         std::to_string(number) + " at " + std::to_string(point));
            if (run.calls <= point) {
                break;
            }
            if (!run.reached) {
                continue;
            }
            ++faults;
            expectWholeOrNothing(desk, desk.collect(run.exitCode), started);
        }
    }
    std::printf("%d faults\n", faults);
}

TEST_F(Faults, ShortTransfers) {
    for (int point = 0;; ++point) {
        SCOPED_TRACE("one byte at call " + std::to_string(point));
        Desk desk;
        prepare(desk);
        const TracedRun run = trace(desk.child({}), [&](int position, const TracedCall& call) {
            const bool transfer = call.number == SYS_read || call.number == SYS_write;
            return position >= point && transfer && call.args[2] > 1 && position < point + 3
                       ? Verdict{Verdict::Shorten, 1}
                       : Verdict{};
        });
        if (run.calls <= point) {
            break;
        }
        if (run.reached) {
            expectWholeOrNothing(desk, desk.collect(run.exitCode), true);
        }
    }
}

// An interrupt at each call, and a second right behind the first.
TEST_F(Faults, InterruptedAnywhere) {
    for (const int signals : {1, 2}) {
        int aborted = 0;
        int whole = 0;
        for (int point = 0;; ++point) {
            SCOPED_TRACE(std::to_string(signals) + " interrupts from call " +
                         std::to_string(point));
            Desk desk;
            prepare(desk);
            const TracedRun run = trace(desk.child({}), [&](int position, const TracedCall&) {
                return position >= point && position < point + signals
                           ? Verdict{Verdict::Signal, SIGINT}
                           : Verdict{};
            });
            if (!run.reached) {
                break;
            }
            const int mails = wholeMails(desk);
            const Outcome outcome = desk.collect(run.exitCode);
            // Before the handler is armed the default action holds.
            EXPECT_TRUE(run.exitCode == 0 || run.exitCode == 128 + SIGINT) << run.exitCode;
            if (mails == 0) {
                EXPECT_EQ(desk.mailFiles().size(), 0U);
                EXPECT_EQ(outcome.out, run.exitCode == 0 ? "Transaction aborted by user\n" : "");
                ++aborted;
            } else {
                EXPECT_EQ(desk.mailFiles().size(), 3U);
                ++whole;
            }
        }
        std::printf("%d aborted, %d whole\n", aborted, whole);
        EXPECT_GT(aborted, 0);
        EXPECT_GT(whole, 0);
    }
}

// Limits that the process inherits.
TEST(Limits, AreReportedOrHeldTo) {
    struct Row {
        const char* what;
        std::function<void()> limits;
        int exitCode;
        const char* reason; // in the middle of standard error; null: the mail goes through
    };
    const auto set = [](int resource, rlim_t value) {
        return [resource, value] {
            const rlimit limit{value, value};
            ::setrlimit(static_cast<__rlimit_resource>(resource), &limit);
        };
    };
    const Row rows[] = {
        {"files of at most 4 KiB", set(RLIMIT_FSIZE, 4096), 74, "(File too large)"},
        {"no descriptor to spare", set(RLIMIT_NOFILE, 3), 127, ""},
        {"one descriptor to spare", set(RLIMIT_NOFILE, 4), 74, "(Too many open files)"},
        {"two descriptors to spare", set(RLIMIT_NOFILE, 5), 0, nullptr},
        {"no standard input", [] { ::close(0); }, 74, "(Bad file descriptor)"},
        {"no standard output", [] { ::close(1); }, 0, nullptr},
        {"no standard error", [] { ::close(2); }, 0, nullptr},
        {"no standard descriptor", [] { ::close(0), ::close(1), ::close(2); }, 74, ""},
        {"only standard error", [] { ::close(0), ::close(1); }, 74, "(Bad file descriptor)"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        Desk desk;
        prepare(desk);
        desk.preload = true; // whether a log service holds a descriptor must not matter
        desk.limits = row.limits;
        const Outcome run = desk.run({});
        EXPECT_EQ(run.exitCode, row.exitCode) << run.err;
        EXPECT_EQ(wholeMails(desk), row.reason == nullptr ? 1 : 0);
        EXPECT_EQ(desk.mailFiles().size(), row.reason == nullptr ? 3U : 0U);
        if (row.reason != nullptr) {
            EXPECT_NE(run.err.find(row.reason), std::string::npos) << run.err;
        }
    }
}

} // namespace
