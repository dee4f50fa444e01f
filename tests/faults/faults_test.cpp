// One submission, gone wrong at every system call: killed there, the call failing or moving less
// than asked, every call from there on failing, signals arriving there.

#include "tests/faults/fault_desk.h"
#include "tests/faults/tracer.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <map>

namespace {

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

// The system calls of a submission on a fresh tree, or on one that is there.
std::vector<std::uint64_t> callsOfARun(bool present) {
    FaultDesk desk;
    if (present) {
        EXPECT_EQ(desk.run({}).exitCode, 0);
    }
    std::vector<std::uint64_t> numbers;
    const TracedRun run = trace(desk.child({}), [&numbers](int, const TracedCall& call) {
        numbers.push_back(call.number);
        return Verdict{};
    });
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(wholeMails(desk), present ? 2 : 1);
    return numbers;
}

// main asks for the process id, and the loader does not. What the loader does about a failure is
// its own affair.
std::size_t firstOfMain(const std::vector<std::uint64_t>& calls) {
    return static_cast<std::size_t>(std::find(calls.begin(), calls.end(), SYS_getpid) -
                                    calls.begin());
}

Judge at(std::size_t point, Verdict verdict) {
    return [point, verdict](int position, const TracedCall&) {
        return position == static_cast<int>(point) ? verdict : Verdict{};
    };
}

std::string callAt(const std::vector<std::uint64_t>& calls, std::size_t point) {
    return "system call " + std::to_string(calls[point]) + " at " + std::to_string(point);
}

// On a fresh tree and on one that is there already.
class Killed : public Faults, public testing::WithParamInterface<bool> {};

TEST_P(Killed, AnywhereLeavesALegalQueue) {
    const auto calls = callsOfARun(GetParam());
    const int before = GetParam() ? 1 : 0;
    Tally tally(GetParam() ? "kill points, tree present," : "kill points, fresh tree,");
    for (std::size_t point = 0; point < calls.size(); ++point) {
        const bool goOn = tally.check(callAt(calls, point), [&] {
            FaultDesk desk;
            if (GetParam()) {
                ASSERT_EQ(desk.run({}).exitCode, 0);
            }
            const TracedRun run = trace(desk.child({}), at(point, {Verdict::Kill, 0}));
            EXPECT_EQ(run.exitCode, 128 + SIGKILL);
            expectAsAfterAKill(desk, before);
        });
        if (!goOn) {
            return;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Tree, Killed, testing::Bool(), [](const auto& tested) {
    return std::string(tested.param ? "Present" : "Fresh");
});

// The errors that a call can give, of those that a submission may meet.
const std::map<std::uint64_t, std::vector<int>> errorsOfCalls = {
    {SYS_openat, {ENOSPC, EIO, EACCES, EMFILE, EINTR, ENOMEM}},
    {SYS_read, {EIO, EINTR}},
    {SYS_pread64, {EIO, EINTR}},
    {SYS_write, {ENOSPC, EIO, EINTR}},
    {SYS_writev, {ENOSPC, EIO, EINTR}},
    {SYS_fsync, {ENOSPC, EIO, EINTR}},
    {SYS_sync_file_range, {ENOSPC, EIO, ENOMEM}},
    {SYS_close, {ENOSPC, EIO, EINTR}},
    {SYS_fchmod, {EIO, EACCES}},
    {SYS_mkdir, {ENOSPC, EIO, EACCES, ENOMEM}},
    {SYS_linkat, {ENOSPC, EIO, EACCES}},
    {SYS_unlink, {EIO, EACCES}},
    {SYS_lseek, {EIO}},
    {SYS_getdents64, {EIO}},
    {SYS_stat, {EIO, EACCES, ENOMEM}},
    {SYS_fstat, {EIO, EACCES, ENOMEM}},
    {SYS_newfstatat, {EIO, EACCES, ENOMEM}},
    {SYS_access, {EIO, EACCES, ENOMEM}},
    {SYS_poll, {EINTR, ENOMEM}},
    {SYS_socket, {EACCES, EMFILE, ENOMEM}},
    {SYS_connect, {EACCES, EINTR}},
    {SYS_mmap, {EACCES, ENOMEM}},
    {SYS_munmap, {ENOMEM}},
    {SYS_mprotect, {EACCES, ENOMEM}},
    {SYS_fcntl, {EMFILE, EINTR}},
    {SYS_getrandom, {EINTR}},
};

// The long form asks every call for every error, whether it can give it or not.
std::vector<int> errorsToTry(std::uint64_t call) {
    const bool cannotFail = call == SYS_exit_group || call == SYS_exit ||
                            call == SYS_rt_sigreturn || call == SYS_execve ||
                            call == SYS_execveat || call == SYS_brk; // brk has no error to give
    if (longForm() && !cannotFail) {
        return {ENOSPC, EIO, EACCES, EMFILE, EINTR, ENOMEM, EROFS, EDQUOT};
    }
    const auto row = errorsOfCalls.find(call);
    return row != errorsOfCalls.end() ? row->second : std::vector<int>{};
}

TEST_F(Faults, EveryCallFailsOnce) {
    for (const bool present : {false, true}) {
        const auto calls = callsOfARun(present);
        Tally tally(std::string("failing calls, ") + (present ? "tree present," : "fresh tree,"));
        for (std::size_t point = present && !longForm() ? firstOfMain(calls) : 0;
             point < calls.size(); point += present ? stride(4) : 1) {
            for (const int error : errorsToTry(calls[point])) {
                const bool goOn = tally.check(
                    std::string(std::strerror(error)) + " from " + callAt(calls, point), [&] {
                        FaultDesk desk;
                        if (present) {
                            ASSERT_EQ(desk.run({}).exitCode, 0);
                            for (const auto& [name, content] : desk.mailFiles()) {
                                ::unlink(desk.queue(name).c_str());
                            }
                        }
                        const TracedRun run =
                            trace(desk.child({}), at(point, {Verdict::Fail, error}));
                        EXPECT_TRUE(run.reached);
                        expectWholeOrNothing(desk, desk.collect(run.exitCode),
                                             point > firstOfMain(calls));
                    });
                if (!goOn) {
                    return;
                }
            }
        }
    }
}

// A mail that takes many blocks, and that the disk begins to take before it is whole.
TEST_F(Faults, AnyTransferOfALargeMail) {
    const auto largeDesk = [] { return FaultDesk(2, 1200000); };
    std::vector<TracedCall> calls;
    {
        FaultDesk desk = largeDesk();
        EXPECT_EQ(trace(desk.child({}),
                        [&calls](int, const TracedCall& call) {
                            calls.push_back(call);
                            return Verdict{};
                        })
                      .exitCode,
                  0);
    }
    int hints = 0;
    std::size_t seen = 0;
    Tally tally("transfers of a large mail");
    for (std::size_t point = 0; point < calls.size(); ++point) {
        const TracedCall& call = calls[point];
        const bool transfers = (call.number == SYS_read && call.args[0] == STDIN_FILENO) ||
                               (call.number == SYS_write && call.args[2] > 65536);
        const bool hint = call.number == SYS_sync_file_range;
        hints += hint ? 1 : 0;
        if (!hint && !(transfers && seen++ % stride(4) == 0)) {
            continue;
        }
        std::vector<Verdict> verdicts = {{Verdict::Kill, 0}, {Verdict::Signal, SIGINT}};
        for (const int error : errorsToTry(call.number)) {
            verdicts.push_back({Verdict::Fail, error});
        }
        if (transfers) {
            verdicts.push_back({Verdict::Shorten, 4095});
        }
        for (const Verdict& verdict : verdicts) {
            const bool goOn = tally.check(
                "call " + std::to_string(call.number) + " at " + std::to_string(point), [&] {
                    FaultDesk desk = largeDesk();
                    const TracedRun run = trace(desk.child({}), at(point, verdict));
                    EXPECT_TRUE(run.reached);
                    if (verdict.kind == Verdict::Kill) {
                        expectAsAfterAKill(desk);
                    } else if (verdict.kind == Verdict::Signal) {
                        EXPECT_EQ(run.exitCode, 0);
                        EXPECT_EQ(countFiles(desk), 0U);
                    } else {
                        expectWholeOrNothing(desk, desk.collect(run.exitCode), true);
                        EXPECT_TRUE(!hint || run.exitCode == 0) << run.exitCode;
                    }
                });
            if (!goOn) {
                return;
            }
        }
    }
    EXPECT_EQ(hints, 1);
}

bool writesBeyondStandard(const TracedCall& call) {
    return call.number == SYS_write && call.args[0] > STDERR_FILENO;
}

bool opensToChange(const TracedCall& call) {
    return call.number == SYS_openat && (call.args[2] & (O_ACCMODE | O_CREAT)) != 0;
}

// From a point on nothing works any more: an error does not go away by itself.
TEST_F(Faults, EveryCallFailsFromThereOn) {
    struct Row {
        const char* what;
        int error;
        bool (*fails)(const TracedCall& call);
        bool removes; // unlink still works
    };
    const Row rows[] = {
        {"a full disk", ENOSPC,
         [](const TracedCall& call) {
             return writesBeyondStandard(call) || opensToChange(call) || call.number == SYS_mkdir ||
                    call.number == SYS_linkat || call.number == SYS_fsync;
         },
         true},
        {"no descriptors", EMFILE,
         [](const TracedCall& call) {
             return call.number == SYS_openat || call.number == SYS_socket;
         },
         true},
        {"a tree that is read only", EROFS,
         [](const TracedCall& call) {
             return opensToChange(call) || call.number == SYS_mkdir || call.number == SYS_linkat ||
                    call.number == SYS_fchmod || call.number == SYS_unlink;
         },
         false},
        {"a broken disk", EIO,
         [](const TracedCall& call) {
             return writesBeyondStandard(call) ||
                    (call.number != SYS_write && call.number != SYS_close &&
                     errorsOfCalls.count(call.number) != 0);
         },
         false},
        {"a broken disk that close tells of", EIO,
         [](const TracedCall& call) {
             return call.number == SYS_close || call.number == SYS_fsync;
         },
         true},
    };
    const auto calls = callsOfARun(false);
    for (const Row& row : rows) {
        Tally tally(std::string("points of ") + row.what + " from there on");
        for (std::size_t point = firstOfMain(calls); point < calls.size(); point += stride(3)) {
            const bool goOn = tally.check(callAt(calls, point), [&] {
                FaultDesk desk;
                const TracedRun run =
                    trace(desk.child({}), [&](int position, const TracedCall& call) {
                        return position >= static_cast<int>(point) && row.fails(call)
                                   ? Verdict{Verdict::Fail, row.error}
                                   : Verdict{};
                    });
                if (row.removes) {
                    expectWholeOrNothing(desk, desk.collect(run.exitCode), true);
                } else {
                    EXPECT_EQ(wholeMails(desk), run.exitCode == 0 ? 1 : 0);
                    EXPECT_LE(countFiles(desk), 3U);
                }
            });
            if (!goOn) {
                return;
            }
        }
    }
}

TEST_F(Faults, ShortTransfers) {
    const auto calls = callsOfARun(false);
    Tally tally("short transfers");
    const auto isTransfer = [](const TracedCall& call) {
        return (call.number == SYS_read || call.number == SYS_write) && call.args[2] > 7;
    };
    const auto check = [&](std::size_t first, std::size_t count, int bytes) {
        return tally.check(std::to_string(bytes) + " bytes, " + callAt(calls, first), [&] {
            FaultDesk desk;
            const TracedRun run = trace(desk.child({}), [&](int position, const TracedCall& call) {
                const auto here = static_cast<std::size_t>(position);
                return here >= first && here - first < count && isTransfer(call)
                           ? Verdict{Verdict::Shorten, bytes}
                           : Verdict{};
            });
            expectWholeOrNothing(desk, desk.collect(run.exitCode), true);
        });
    };
    const std::size_t main = firstOfMain(calls);
    EXPECT_TRUE(check(main, calls.size() * 100, 7)); // all of them
    for (std::size_t point = 0; point < calls.size(); ++point) {
        if ((calls[point] == SYS_read || calls[point] == SYS_write) &&
            !(check(point, 1, 1) && check(point, 3, 1))) {
            return;
        }
    }
}

// An interrupt at each call, a second right behind the first, and one at every call from there on.
TEST_F(Faults, InterruptedAnywhere) {
    const auto calls = callsOfARun(false);
    for (const std::size_t signals : {std::size_t{1}, std::size_t{2}, calls.size() * 10}) {
        Tally tally("points of " +
                    (signals > 2 ? std::string("a flood of") : std::to_string(signals)) +
                    " SIGINT");
        int outcomes[2] = {};
        for (std::size_t point = 0; point<calls.size(); point += signals> 1 ? stride(2) : 1) {
            const bool goOn = tally.check(callAt(calls, point), [&] {
                FaultDesk desk;
                const TracedRun run = trace(desk.child({}), [&](int position, const TracedCall&) {
                    const auto here = static_cast<std::size_t>(position);
                    return here >= point && here - point < signals
                               ? Verdict{Verdict::Signal, SIGINT}
                               : Verdict{};
                });
                const int mails = wholeMails(desk);
                const Outcome outcome = desk.collect(run.exitCode);
                // Before the handler is armed the default action holds.
                EXPECT_TRUE(run.exitCode == 0 || run.exitCode == 128 + SIGINT) << run.exitCode;
                EXPECT_EQ(countFiles(desk), mails == 0 ? 0U : 3U);
                if (mails == 0) {
                    EXPECT_EQ(outcome.out,
                              run.exitCode == 0 ? "Transaction aborted by user\n" : "");
                }
                ++outcomes[mails];
            });
            if (!goOn) {
                return;
            }
        }
        EXPECT_GT(outcomes[0], 0);
        EXPECT_GT(outcomes[1], 0);
    }
}

// Signals that end a process by default are kills; SIGABRT has a handler that takes the mail back.
TEST_F(Faults, EndedByOtherSignals) {
    const auto calls = callsOfARun(false);
    for (const int signal : {SIGTERM, SIGABRT, SIGHUP, SIGQUIT, SIGUSR1, SIGSEGV}) {
        Tally tally(std::string("points of ") + ::strsignal(signal));
        for (std::size_t point = 0; point < calls.size(); point += stride(9)) {
            const bool goOn = tally.check(callAt(calls, point), [&] {
                FaultDesk desk;
                const TracedRun run = trace(desk.child({}), at(point, {Verdict::Signal, signal}));
                const bool reported = run.exitCode != 128 + signal;
                EXPECT_TRUE(!reported || signal == SIGABRT || point + 2 >= calls.size())
                    << run.exitCode;
                if (reported) {
                    // While the id is claimed and while the marker is made, files may stay.
                    EXPECT_EQ(wholeMails(desk), run.exitCode == 0 ? 1 : 0);
                    EXPECT_LE(countFiles(desk), run.exitCode == 0 ? 3U : 2U);
                } else {
                    expectAsAfterAKill(desk);
                }
            });
            if (!goOn) {
                return;
            }
        }
    }
}

} // namespace
