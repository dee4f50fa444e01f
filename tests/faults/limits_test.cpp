// Limits that the process inherits, standard descriptors that are not what they should be, and
// memory that runs out.

#include "tests/faults/fault_desk.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

std::function<void()> limit(int resource, rlim_t value) {
    return [resource, value] {
        const rlimit both{value, value};
        ::setrlimit(static_cast<__rlimit_resource>(resource), &both);
    };
}

// Puts another file in the place of a standard descriptor.
void replace(int fd, int other) {
    ::dup2(other, fd);
    ::close(other);
}

// A pipe with its other end closed: without a writer for descriptor 0, without a reader for others.
void replaceByPipe(int fd) {
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    replace(fd, ends[fd == STDIN_FILENO ? 0 : 1]);
    ::close(ends[fd == STDIN_FILENO ? 1 : 0]);
}

TEST(Limits, AreReportedOrHeldTo) {
    struct Row {
        const char* what;
        std::function<void()> limits;
        int exitCode;
        const char* reason; // in the middle of standard error; null: the mail goes through
    };
    const Row rows[] = {
        {"files of at most 4 KiB", limit(RLIMIT_FSIZE, 4096), 74, "(File too large)"},
        {"no descriptor to spare", limit(RLIMIT_NOFILE, 3), 127, ""},
        {"one descriptor to spare", limit(RLIMIT_NOFILE, 4), 74, "(Too many open files)"},
        {"two descriptors to spare", limit(RLIMIT_NOFILE, 5), 0, nullptr},
        {"no standard input", [] { ::close(0); }, 74, "(Bad file descriptor)"},
        {"a standard input that can only be written to",
         [] { replace(0, ::open("/dev/null", O_WRONLY)); }, 74, "(Bad file descriptor)"},
        {"a directory as standard input", [] { replace(0, ::open("/", O_RDONLY)); }, 74,
         "(Is a directory)"},
        {"a standard input with nothing to read yet",
         [] {
             int ends[2]; // the writing end stays open over the exec
             if (::pipe2(ends, O_NONBLOCK) == 0) {
                 replace(0, ends[0]);
             }
         },
         74, "(Resource temporarily unavailable)"},
        {"no standard output", [] { ::close(1); }, 0, nullptr},
        {"no standard error", [] { ::close(2); }, 0, nullptr},
        {"no standard descriptor", [] { ::close(0), ::close(1), ::close(2); }, 74, ""},
        {"only standard error", [] { ::close(0), ::close(1); }, 74, "(Bad file descriptor)"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        FaultDesk desk;
        desk.preload = true; // whether a log service holds a descriptor must not matter
        desk.limits = row.limits;
        const Outcome run = desk.run({});
        EXPECT_EQ(run.exitCode, row.exitCode) << run.err;
        expectWholeOrNothing(desk, run, false);
        if (row.reason != nullptr) {
            EXPECT_NE(run.err.find(row.reason), std::string::npos) << run.err;
        }
    }
}

TEST(Limits, EveryNumberOfDescriptorsWithEveryStandardDescriptorClosed) {
    Tally tally("limits on descriptors with standard descriptors closed,");
    for (unsigned closed = 0; closed < 8; ++closed) {
        for (rlim_t descriptors = 0; descriptors < 10; ++descriptors) {
            tally.check(std::to_string(descriptors) + " descriptors, closed " +
                            std::to_string(closed),
                        [&] {
                            FaultDesk desk;
                            desk.limits = [closed, descriptors] {
                                for (int fd = 0; fd < 3; ++fd) {
                                    if ((closed >> fd & 1) != 0) {
                                        ::close(fd);
                                    }
                                }
                                limit(RLIMIT_NOFILE, descriptors)();
                            };
                            const Outcome run = desk.run({});
                            expectWholeOrNothing(desk, run, false);
                            EXPECT_TRUE((closed & 1) == 0 || run.exitCode != 0);
                        });
        }
    }
}

TEST(Limits, EveryFileSize) {
    Tally tally("limits on the size of a file");
    for (rlim_t size = 0; size < 11000; size += longForm() ? 16 : 250) {
        const bool goOn = tally.check(std::to_string(size), [size] {
            FaultDesk desk;
            desk.limits = limit(RLIMIT_FSIZE, size);
            // Standard error is a file too.
            expectWholeOrNothing(desk, desk.run({}), size >= 250);
        });
        if (!goOn) {
            return;
        }
    }
}

// Neither what cannot be written to standard output or error nor who has gone away decides about a
// mail or an exit code.
TEST(Limits, OutputsThatCannotBeWritten) {
    for (const int fd : {1, 2}) {
        for (const bool full : {true, false}) {
            for (const auto& [recipient, exitCode] :
                 {std::pair("r@x.org", 0), std::pair("@", 65)}) {
                SCOPED_TRACE(std::to_string(fd) + (full ? " full " : " closed ") + recipient);
                FaultDesk desk;
                desk.limits = [fd = fd, full = full] {
                    full ? replace(fd, ::open("/dev/full", O_WRONLY)) : replaceByPipe(fd);
                };
                const Outcome run = desk.run({recipient});
                EXPECT_EQ(run.exitCode, exitCode);
                expectWholeOrNothing(desk, run, false);
            }
        }
    }
}

// A small object that cannot be had ends the process on the spot, as a kill does; everything else
// has an exit code and leaves nothing.
void expectEndOfMemory(FaultDesk& desk, const Outcome& run) {
    if (run.exitCode >= 128) {
        expectAsAfterAKill(desk);
    } else {
        expectWholeOrNothing(desk, run, false);
    }
}

TEST(Memory, RunsOutAtEachAllocation) {
    Tally tally("allocations that fail from there on,");
    for (int limit = 1;; ++limit) {
        bool enough = false;
        const bool goOn = tally.check(std::to_string(limit), [&] {
            FaultDesk desk;
            desk.preload = true;
            desk.environment = {{"MORVEX_TEST_MEMORY", std::to_string(limit)}};
            const Outcome run = desk.run({});
            enough = run.exitCode == 0;
            expectEndOfMemory(desk, run);
        });
        if (!goOn || enough) {
            EXPECT_GT(limit, 50);
            return;
        }
    }
}

TEST(Memory, EveryAddressSpace) {
    Tally tally("limits on the address space");
    int whole = 0;
    for (rlim_t kib = 1024; kib < 24 * 1024; kib += longForm() ? 16 : 256) {
        const bool goOn = tally.check(std::to_string(kib) + " KiB", [&] {
            FaultDesk desk;
            desk.preload = true;
            desk.environment = {{"MORVEX_TEST_MEMORY", "0"}};
            desk.limits = limit(RLIMIT_AS, kib * 1024);
            const Outcome run = desk.run({});
            whole += run.exitCode == 0 ? 1 : 0;
            expectEndOfMemory(desk, run);
        });
        if (!goOn) {
            return;
        }
    }
    EXPECT_GT(whole, 0);
}

} // namespace
