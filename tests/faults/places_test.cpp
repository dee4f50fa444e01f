// Places where a mail cannot be stored: a full disk, a tree that is read only, directories that
// belong to somebody else. Most of it needs root, for mounts in a mount namespace of the test's own
// and for a user to be; where that is not to be had a test skips.

#include "tests/faults/fault_desk.h"

#include <gtest/gtest.h>

#include <grp.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

namespace {

namespace fs = std::filesystem;

constexpr uid_t nobody = 65534;

bool isRoot() {
    return ::geteuid() == 0;
}

void becomeNobody() {
    if (::setgroups(0, nullptr) != 0 || ::setgid(nobody) != 0 || ::setuid(nobody) != 0) {
        ::_exit(125);
    }
}

// Mounts of this process are seen by nobody else from here on. False, and why, where that fails.
bool ownMounts(std::string& why) {
    static const int error =
        ::unshare(CLONE_NEWNS) == 0 &&
                ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0
            ? 0
            : errno;
    why = std::string("no mount namespace to be had: ") + std::strerror(error);
    return error == 0;
}

// A file system in memory for as long as the object lives.
class Mount {
public:
    Mount(const std::string& where, const std::string& options) : path(where) {
        EXPECT_EQ(::mount("tmpfs", path.c_str(), "tmpfs", 0, options.c_str()), 0)
            << std::strerror(errno);
    }
    Mount(const Mount&) = delete;
    Mount& operator=(const Mount&) = delete;
    ~Mount() { ::umount2(path.c_str(), MNT_DETACH); }

    void change(unsigned long flags, const char* options) {
        EXPECT_EQ(::mount("none", path.c_str(), nullptr, MS_REMOUNT | flags, options), 0)
            << std::strerror(errno);
    }

private:
    std::string path;
};

class Mounted : public testing::Test {
protected:
    void SetUp() override {
        std::string why;
        if (!ownMounts(why)) {
            GTEST_SKIP() << why;
        }
    }
};

TEST_F(Mounted, AFullDisk) {
    Tally tally("sizes of a full disk");
    int refused = 0;
    for (const char* what : {"size=%dk", "nr_inodes=%d"}) {
        const bool blocks = what[0] == 's';
        for (int amount = 1; amount <= 10; ++amount) {
            char options[32];
            std::snprintf(options, sizeof options, what, blocks ? 4 * amount : amount);
            tally.check(options, [&] {
                FaultDesk desk;
                Mount disk(desk.path("queue"), options);
                const Outcome run = desk.run({});
                expectWholeOrNothing(desk, run, true);
                const int mails = run.exitCode == 0 ? 1 : 0;
                if (mails == 0) {
                    ++refused;
                    EXPECT_TRUE(run.exitCode == 74 || run.exitCode == 75) << run.exitCode;
                    EXPECT_TRUE(run.exitCode == 75 ||
                                run.err.find("(No space left on device)") != std::string::npos)
                        << run.err;
                }
                disk.change(0, "size=1m,nr_inodes=100"); // somebody has made room
                EXPECT_EQ(desk.run({}).exitCode, 0);
                EXPECT_EQ(wholeMails(desk), mails + 1);
            });
        }
    }
    EXPECT_GT(refused, 8);
}

TEST_F(Mounted, AReadOnlyTree) {
    for (const bool present : {false, true}) {
        SCOPED_TRACE(present);
        FaultDesk desk;
        Mount disk(desk.path("queue"), "size=1m");
        if (present) {
            EXPECT_EQ(desk.run({}).exitCode, 0);
        }
        disk.change(MS_RDONLY, nullptr);
        const Outcome run = desk.run({});
        EXPECT_EQ(run.exitCode, present ? 75 : 74);
        EXPECT_NE(
            run.err.find(present ? "cannot create a new mail in queue" : "(Read-only file system)"),
            std::string::npos)
            << run.err;
        disk.change(0, nullptr);
        EXPECT_EQ(wholeMails(desk), present ? 1 : 0);
        EXPECT_EQ(desk.run({}).exitCode, 0);
        EXPECT_EQ(wholeMails(desk), present ? 2 : 1);
    }
}

// The command runs with its caller's rights, and the tree decides what those are worth.
TEST(Rights, OfAnotherUserDecide) {
    struct Row {
        const char* what;
        const char* path; // under the queue; "" is the queue, null the configuration
        mode_t mode;
        int exitCode;
        const char* reason;
    };
    const Row rows[] = {
        {"a tree that everybody may write to", "q", 0777, 0, nullptr},
        {"an unwritable locals", "q/locals", 0555, 74, "(Permission denied)"},
        {"an unsearchable locals", "q/locals", 0444, 74, "(Permission denied)"},
        {"an unwritable entry directory", "q/00", 0555, 75, "cannot create a new mail"},
        {"an unsearchable entry directory", "q/00", 0444, 75, "cannot create a new mail"},
        {"an unreadable token", "q/.mql_auth", 0200, 74, "(Permission denied)"},
        {"an unwritable queue that is complete", "q", 0555, 0, nullptr},
        {"a queue that may be searched but not listed", "q", 0111, 0, nullptr},
        {"an unsearchable queue", "q", 0444, 74, "(Permission denied)"},
        {"an unreadable configuration", nullptr, 0200, 78, "(Permission denied)"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        FaultDesk desk(1);
        fs::permissions(desk.path(""), fs::perms::all);
        ASSERT_EQ(desk.run({}).exitCode, 0);
        for (const auto& [name, content] : desk.mailFiles()) {
            ::unlink(desk.queue(name).c_str());
        }
        for (const char* name : {"q", "q/00", "q/locals", "q/.mql_auth"}) {
            ::chmod(desk.queue(name).c_str(), 0777);
        }
        const std::string changed =
            row.path != nullptr ? desk.queue(row.path) : desk.path("run/morvex.cfg");
        ::chmod(changed.c_str(), row.mode);
        desk.limits = isRoot() ? becomeNobody : nullptr;
        const Outcome run = desk.run({});
        ::chmod(changed.c_str(), 0777);
        EXPECT_EQ(run.exitCode, row.exitCode) << run.err;
        expectWholeOrNothing(desk, run, true);
        if (row.reason != nullptr) {
            EXPECT_NE(run.err.find(row.reason), std::string::npos) << run.err;
        }
    }
}

TEST(Rights, ATreeOfSomebodyElse) {
    if (!isRoot()) {
        GTEST_SKIP() << "needs root, to be somebody else";
    }
    FaultDesk desk;
    fs::permissions(desk.path(""), fs::perms::all);
    ASSERT_EQ(desk.run({}).exitCode, 0); // root's tree, by the command's own umask
    const std::size_t files = countFiles(desk);
    desk.limits = becomeNobody;
    const Outcome run = desk.run({});
    EXPECT_EQ(run.exitCode, 74) << run.err;
    EXPECT_NE(run.err.find("(Permission denied)"), std::string::npos) << run.err;
    EXPECT_EQ(countFiles(desk), files);
}

} // namespace
