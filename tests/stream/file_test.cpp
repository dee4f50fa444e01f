// Streams over descriptors and named files.

#include "common/error.h"
#include "common/stream/fd_stream.h"
#include "common/stream/file.h"
#include "common/thread/thread.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <string>

namespace {

int logLines = 0;
char lastLogLine[256];

void countLog(int level, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(lastLogLine, sizeof lastLogLine, format, arguments);
    va_end(arguments);
    logLines += level == 3;
}

} // namespace

TEST(FDStream, EndAndErrorAreFinalWithoutASystemCall) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    ASSERT_EQ(write(ends[1], "abc", 3), 3);
    FDStream stream(ends[0]);
    char buffer[8];
    EXPECT_EQ(stream.read(buffer, 0), 0);
    EXPECT_EQ(stream.getInputState(), Stream::StateGood);
    EXPECT_EQ(stream.read(buffer, 8), 3);
    EXPECT_EQ(stream.getSize(), -1);
    ::close(ends[1]);
    for (int again = 0; again < 2; ++again) {
        EXPECT_EQ(stream.read(buffer, 8), 0);
        EXPECT_EQ(stream.getInputState(), Stream::StateEnd);
        ::close(ends[0]);
    }
    EXPECT_EQ(stream.write("x", 1), -1);
    EXPECT_EQ(stream.getOutputState(), Stream::StateError);
    errno = 0;
    EXPECT_EQ(stream.write("x", 1), -1);
    EXPECT_EQ(errno, 0);
}

TEST(File, WritesReadsAndCuts) {
    const support::TempDir directory;
    const std::string path = directory / "f";
    File file(path.c_str());
    EXPECT_EQ(file.read(nullptr, 1), -1);
    EXPECT_EQ(file.flush(), -1);
    EXPECT_EQ(Thread::getLastError(), HE_INVAL);
    ASSERT_EQ(file.open(O_RDWR | O_CREAT | O_EXCL), 0);
    EXPECT_NE(fcntl(file.getDescriptor(), F_GETFD) & FD_CLOEXEC, 0);
    EXPECT_EQ(file.open(O_RDWR), -1);
    EXPECT_EQ(file.writeAll("0123456789", 10), 10);
    EXPECT_EQ(file.truncate(4), 0);
    EXPECT_EQ(file.lseek(0, Stream::SeekCurrent), 4);
    char buffer[8];
    EXPECT_EQ(file.read(buffer, 8), 0);
    EXPECT_EQ(file.getInputState(), Stream::StateEnd);
    EXPECT_EQ(file.lseek(1, Stream::SeekStart), 1);
    EXPECT_EQ(file.getInputState(), Stream::StateGood);
    EXPECT_EQ(FDStream(file.getDescriptor()).getSize(), 4); // found without moving
    EXPECT_EQ(file.read(buffer, 8), 3);
    EXPECT_EQ(file.forcedFlush(), 0);
    EXPECT_EQ(file.flush(), 0);
    EXPECT_EQ(file.close(), 0);
    EXPECT_EQ(file.close(), -1);
    EXPECT_EQ(Thread::getLastError(), static_cast<unsigned>(EBADF));
    EXPECT_EQ(file.getSize(), 4); // by its name
}

TEST(File, FlushReachesTheDiskOnlyWhenAskedTo) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0); // fsync of a pipe fails, so that a call can be told from none
    FDStream raw(ends[1]);
    EXPECT_EQ(raw.flush(), -1);
    ::close(ends[1]);
    const support::TempDir directory;
    File file((directory / "f").c_str());
    ASSERT_EQ(file.open(O_WRONLY | O_CREAT), 0);
    const int number = file.getDescriptor();
    ASSERT_EQ(dup2(ends[0], number), number);
    EXPECT_EQ(file.flush(), 0);
    File::syncEnabled = true;
    EXPECT_EQ(file.flush(), -1);
    File::syncEnabled = false;
    EXPECT_EQ(file.forcedFlush(), -1);
    ::close(ends[0]);
}

TEST(File, NamesOfAnyLengthAndTheirRenaming) {
    const support::TempDir directory;
    for (const std::size_t length : {1U, 60U, 200U}) {
        const std::string from = directory / std::string(length, 'a');
        const std::string to = directory / std::string(length + 1, 'b');
        File file(from.c_str());
        ASSERT_EQ(file.open(O_RDWR | O_CREAT), 0);
        EXPECT_EQ(file.rename((directory / "missing/x").c_str()), -1);
        EXPECT_STREQ(file.getName(), from.c_str());
        EXPECT_EQ(file.rename(to.c_str()), 0);
        EXPECT_TRUE(file.isOpen());
        EXPECT_STREQ(file.getStreamName(nullptr, 0), to.c_str());
        EXPECT_EQ(access(to.c_str(), F_OK), 0);
        EXPECT_EQ(access(from.c_str(), F_OK), -1);
        EXPECT_EQ(file.rename(nullptr), 0);
        EXPECT_FALSE(file.isOpen());
        EXPECT_EQ(file.getName(), nullptr);
        EXPECT_EQ(file.getAttributes(), nullptr);
    }
    for (const std::size_t length : {126U, 127U, 128U, 129U}) {
        File file(std::string(length, 'n').c_str());
        EXPECT_EQ(std::string(file.getName()), std::string(length, 'n'));
        file.clearName();
        EXPECT_STREQ(file.getStreamName(nullptr, 0), "");
    }
}

TEST(File, AttributesMarkHiddenNames) {
    const support::TempDir directory;
    for (const char* name : {".h", "v", "v.h"}) {
        const std::string path = directory / name;
        support::writeFile(path, "abc");
        struct stat status;
        ASSERT_EQ(chmod(path.c_str(), 0640) + stat(path.c_str(), &status), 0);
        const File file(path.c_str());
        const File::Attributes* known = file.getAttributes();
        ASSERT_NE(known, nullptr);
        EXPECT_EQ(known->mode, (S_IFREG | 0640u) + (*name == '.' ? File::HiddenMark : 0));
        EXPECT_EQ(known->size, 3);
        EXPECT_EQ(known->modifyTime, status.st_mtime);
    }
}

TEST(File, AFullDiskIsLoggedOnceAHundredTimes) {
    File file("/dev/full");
    if (file.open(O_WRONLY) < 0) {
        GTEST_SKIP() << "no /dev/full here";
    }
    auto* const before = Thread::log;
    Thread::log = countLog;
    logLines = 0;
    for (int i = 1; i <= 201; ++i) {
        EXPECT_EQ(file.write("x", 1), -1);
        EXPECT_EQ(Thread::getLastError(), static_cast<unsigned>(ENOSPC));
        EXPECT_EQ(logLines, (i + 99) / 100) << i;
    }
    Thread::log = before;
    EXPECT_STREQ(lastLogLine, "File write error (No space left on device)");
    EXPECT_EQ(file.getOutputState(), Stream::StateError);
}

TEST(FileDeathTest, AProtectedFileTakesNothingAfterAnAbortRequest) {
    testing::GTEST_FLAG(death_test_style) = "fast";
    const support::TempDir directory;
    const std::string path = directory / "f";
    EXPECT_EXIT(
        {
            File file(path.c_str(), true);
            file.open(O_WRONLY | O_CREAT);
            file.write("before", 6);
            Thread::abortRequest = true;
            alarm(1);
            file.write("after", 5);
        },
        testing::KilledBySignal(SIGALRM), "");
    EXPECT_EQ(support::readFile(path), "before");
}

TEST(File, RelativePaths) {
    const struct {
        const char* path;
        bool relative;
    } rows[] = {{nullptr, false},  {"/", false},       {"a", true},        {"", true},
                {"/a/../b", true}, {"/a/b..", true},   {"/a..b/c", false}, {"/..", true},
                {"/a/...", true},  {"/a/.b/c.", false}};
    for (const auto& row : rows) {
        EXPECT_EQ(File::containsRelativePath(row.path), row.relative)
            << (row.path != nullptr ? row.path : "null");
    }
}
