// Runs the cases of memory_probe, each in a process of its own, which prints what went wrong.

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <string>

namespace {

#ifdef MEMORY_PROBE

struct Outcome {
    int status = -1;
    std::string output;
};

Outcome runProbe(const std::string& name) {
    Outcome outcome;
    // exec: the shell would report a signal in its own way.
    const std::string command =
        std::string("exec " MEMORY_PROBE " ") + name + " " SCRIPTED_MALLOC " 2>&1";
    FILE* pipe = ::popen(command.c_str(), "r");
    if (pipe == nullptr) {
        return outcome;
    }
    std::array<char, 4096> buffer;
    while (const std::size_t got = std::fread(buffer.data(), 1, buffer.size(), pipe)) {
        outcome.output.append(buffer.data(), got);
    }
    outcome.status = ::pclose(pipe);
    return outcome;
}

class MemorySystem : public testing::TestWithParam<const char*> {};

TEST_P(MemorySystem, Case) {
    const Outcome outcome = runProbe(GetParam());
    EXPECT_EQ(outcome.output, "done\n");
    EXPECT_TRUE(WIFEXITED(outcome.status) && WEXITSTATUS(outcome.status) == 0);
}

INSTANTIATE_TEST_SUITE_P(All, MemorySystem,
                         testing::Values("arena", "arguments", "pass_through", "calloc_overflow",
                                         "after_cleanup", "disabled_free", "exhausted", "attempts",
                                         "lock_holder", "large_new", "reserve_sizes",
                                         "reserve_shrinks", "reserve_spent", "manager_serves",
                                         "manager_refills", "manager_itself", "kernel",
                                         "address_space", "threads"),
                         [](const auto& row) { return std::string(row.param); });

TEST(MemorySystemDeath, SmallNewThatFailsEndsTheProcess) {
    for (const char* name : {"small_new", "small_new_array"}) {
        const Outcome outcome = runProbe(name);
        EXPECT_EQ(outcome.output, "3: Internal server error (not enough memory)\n");
        EXPECT_TRUE(WIFSIGNALED(outcome.status) && WTERMSIG(outcome.status) == SIGKILL);
    }
}

#else

TEST(MemorySystem, NeedsTheAllocator) {
    GTEST_SKIP() << "built without the system's own allocator";
}

#endif

} // namespace
