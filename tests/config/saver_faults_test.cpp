// A save of a configuration file, gone wrong at every system call it makes: the call fails, or the
// process is killed there. After a failure the old content stands under the file's own name; after
// a kill it stands there or under the copy's, or the new content is whole. The same where the file
// cannot be moved aside, but for a kill where it cannot be copied either.

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

    enum Place { Movable, Copyable, Fixed }; // what can be done with the file that is there

    void SetUp() override {
        static const bool traceable = canTrace();
        if (!traceable) {
            GTEST_SKIP() << "no fault injection on this machine";
        }
        ASSERT_EQ(run("0", 0, {}).exitCode, 0);
        newText = support::readFile(path);
        ASSERT_GT(newText.size(), 10000u);
    }

    struct Outcome {
        int exitCode;
        bool reached; // whether there was such a call
    };

    // Lets the call go wrong that is the `at`-th one from the first rename on.
    Outcome run(const char* backupCount, int at, Verdict verdict, Place place = Movable,
                const char* failingAllocation = nullptr) {
        int first = -1;
        bool reached = false;
        const TracedRun traced = trace(
            [&] {
                execl(SAVER_PROBE, "saver_probe", path.c_str(), backupCount, dir.path().c_str(),
                      failingAllocation, nullptr);
            },
            [&](int position, const TracedCall& call) {
                if (first < 0 && call.number == SYS_rename) {
                    first = position;
                }
                if (first >= 0 && position - first == at) {
                    reached = true;
                    return verdict;
                }
                return place == Copyable && position == first ? Verdict{Verdict::Fail, EBUSY}
                                                              : Verdict();
            });
        return {traced.exitCode, reached};
    }

    // How many files of the directory hold exactly `text`.
    int holding(const std::string& text) const {
        int count = 0;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(dir.path())) {
            count += entry.is_regular_file() && support::readFile(entry.path()) == text ? 1 : 0;
        }
        return count;
    }

    // Starts with the old content, and an older copy.
    void prepare(Place place) {
        for (const auto& entry : std::filesystem::directory_iterator(dir.path())) {
            std::filesystem::remove_all(entry.path());
        }
        support::writeFile(path, oldText);
        support::writeFile(dir / "morvex-01-02-03:04:05.cfg", "older");
        if (place == Fixed) {
            std::filesystem::create_directories(path + ".1/x");
        }
    }

    void goThrough(const char* backupCount, Place place, Verdict verdict) {
        int failures = 0;
        for (int at = 0;; ++at) {
            prepare(place);
            const Outcome outcome = run(backupCount, at, verdict, place);
            const std::string text = support::readFile(path);
            if (outcome.exitCode == 0) {
                EXPECT_EQ(text, newText) << at;
            } else if (outcome.exitCode < 128) {
                EXPECT_EQ(text, oldText) << at << " " << verdict.value;
                EXPECT_EQ(holding(oldText), 1) << at;
                failures += outcome.exitCode == 1 ? 1 : 0;
            } else {
                EXPECT_TRUE(text == newText || holding(oldText) >= 1) << at;
            }
            if (!outcome.reached) {
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
        goThrough("0", Movable, verdict);
        goThrough("1", Movable, verdict);
        goThrough("1", Copyable, verdict);
        goThrough("0", Fixed, verdict);
    }
}

TEST_F(SaverFaults, EachAllocationFails) {
    const std::pair<const char*, Place> rows[] = {{"1", Movable}, {"1", Copyable}, {"0", Fixed}};
    for (const auto& [backupCount, place] : rows) {
        int exitCode = 1;
        for (int at = 1; exitCode != 0; ++at) {
            prepare(place);
            exitCode = run(backupCount, -1, {}, place, std::to_string(at).c_str()).exitCode;
            EXPECT_EQ(support::readFile(path), exitCode == 0 ? newText : oldText) << at;
            ASSERT_TRUE(exitCode == 0 || exitCode == 1) << at;
            ASSERT_LT(at, 5000);
        }
    }
}

TEST_F(SaverFaults, TheProcessIsKilledAtEachCall) {
    goThrough("0", Movable, {Verdict::Kill, 0});
    goThrough("1", Movable, {Verdict::Kill, 0});
    goThrough("0", Copyable, {Verdict::Kill, 0});
}

} // namespace
