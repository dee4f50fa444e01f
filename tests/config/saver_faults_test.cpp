// A save of a configuration file, gone wrong at every system call it makes: the call fails, or the
// process is killed there. After a failure the old content stands under the file's own name; after
// a kill it stands there or under the copy's, or the new content is whole.

#include "tests/faults/tracer.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>

#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

namespace {

const std::string oldText = "Server {\n    primaryDomain = \"old.example.org\"\n}\n";

class SaverFaults : public testing::Test {
protected:
    support::TempDir dir;
    const std::string path = dir / "morvex.cfg";
    std::string newText;

    void SetUp() override {
        static const bool traceable = canTrace();
        if (!traceable) {
            GTEST_SKIP() << "no fault injection on this machine";
        }
        ASSERT_EQ(run("0", 0, {}).exitCode, 0);
        newText = support::readFile(path);
        ASSERT_GT(newText.size(), 10000u);
    }

    // Lets the call go wrong that is the `at`-th one from the first rename on.
    TracedRun run(const char* backupCount, int at, Verdict verdict,
                  const char* failingAllocation = nullptr) {
        int first = -1;
        return trace(
            [&] {
                execl(SAVER_PROBE, "saver_probe", path.c_str(), backupCount, dir.path().c_str(),
                      failingAllocation, nullptr);
            },
            [&](int position, const TracedCall& call) {
                if (first < 0 && call.number == SYS_rename) {
                    first = position;
                }
                return first >= 0 && position - first == at ? verdict : Verdict();
            });
    }

    // How many files of the directory hold exactly `text`.
    int holding(const std::string& text) const {
        int count = 0;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(dir.path())) {
            count += entry.is_regular_file() && support::readFile(entry.path()) == text ? 1 : 0;
        }
        return count;
    }

    // Starts with the old content, in a directory where it can be moved aside or not.
    void prepare(bool movable) {
        for (const auto& entry : std::filesystem::directory_iterator(dir.path())) {
            std::filesystem::remove_all(entry.path());
        }
        support::writeFile(path, oldText);
        if (!movable) {
            std::filesystem::create_directories(path + ".1/x");
        }
    }

    void goThrough(const char* backupCount, bool movable, Verdict verdict) {
        int failures = 0;
        for (int at = 0;; ++at) {
            prepare(movable);
            const TracedRun traced = run(backupCount, at, verdict);
            const std::string text = support::readFile(path);
            if (traced.exitCode == 0) {
                EXPECT_EQ(text, newText) << at;
            } else if (traced.exitCode < 128) {
                EXPECT_EQ(text, oldText) << at << " " << verdict.value;
                EXPECT_EQ(holding(oldText), 1) << at;
                failures += traced.exitCode == 1 ? 1 : 0;
            } else if (movable) {
                EXPECT_TRUE(text == newText || holding(oldText) == 1) << at;
            }
            if (!traced.reached) {
                break;
            }
            ASSERT_LT(at, 5000);
        }
        EXPECT_TRUE(failures > 1 || verdict.kind != Verdict::Fail);
    }
};

TEST_F(SaverFaults, EachCallFails) {
    for (const int error : {EIO, ENOSPC, EACCES}) {
        const Verdict verdict{Verdict::Fail, error};
        goThrough("0", true, verdict);
        goThrough("2", true, verdict);
        goThrough("0", false, verdict);
    }
}

TEST_F(SaverFaults, EachAllocationFails) {
    for (const bool movable : {true, false}) {
        int exitCode = 1;
        for (int at = 1; exitCode != 0; ++at) {
            prepare(movable);
            exitCode = run("0", -1, {}, std::to_string(at).c_str()).exitCode;
            EXPECT_EQ(support::readFile(path), exitCode == 0 ? newText : oldText) << at;
            ASSERT_TRUE(exitCode == 0 || exitCode == 1) << at;
            ASSERT_LT(at, 5000);
        }
    }
}

TEST_F(SaverFaults, TheProcessIsKilledAtEachCall) {
    goThrough("0", true, {Verdict::Kill, 0});
    goThrough("1", true, {Verdict::Kill, 0});
}

} // namespace
