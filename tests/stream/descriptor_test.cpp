// The record of open descriptors, and the machine's names.

#include "common/error.h"
#include "common/stream/descriptor.h"
#include "common/stream/host_name.h"
#include "common/thread/thread.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <string>

namespace {

bool isRecorded(int fd) {
    const FDStatusAccessor status = accessFDStatus(fd);
    return (*status.byte & status.mask) != 0;
}

void logToStandardError(int, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    vfprintf(stderr, format, arguments);
    va_end(arguments);
}

} // namespace

TEST(Descriptor, OpenAndCloseKeepTheRecord) {
    int first = openFd("/dev/null", O_RDONLY);
    int second = openFd("/dev/null", O_RDONLY);
    ASSERT_GE(first, 0);
    EXPECT_NE(fcntl(first, F_GETFD) & FD_CLOEXEC, 0);
    const int number = first;
    EXPECT_TRUE(isRecorded(first) && isRecorded(second));
    EXPECT_EQ(safeCloseFd(first), 0);
    EXPECT_EQ(first, -1);
    EXPECT_FALSE(isRecorded(number));
    EXPECT_TRUE(isRecorded(second));
    EXPECT_EQ(fcntl(number, F_GETFD), -1);
    EXPECT_EQ(safeCloseFd(first), -1);
    EXPECT_EQ(Thread::getLastError(), static_cast<unsigned>(EBADF));
    EXPECT_EQ(safeCloseFd(second), 0);
    EXPECT_EQ(openFd("/missing/file", O_RDONLY), -1);
    EXPECT_EQ(Thread::getLastError(), HE_NOENT);
    EXPECT_EQ(safeOpenFd(MaxRecordedFd), MaxRecordedFd);
    EXPECT_EQ(safeOpenFd(-1), -1);
}

TEST(DescriptorDeathTest, MisuseAbortsAtOnce) {
    testing::GTEST_FLAG(death_test_style) = "fast";
    int fd = openFd("/dev/null", O_RDONLY);
    ASSERT_GE(fd, 0);
    EXPECT_EXIT(safeOpenFd(fd), testing::KilledBySignal(SIGABRT), "");
    EXPECT_EXIT(
        {
            int copy = fd;
            safeCloseFd(copy);
            safeCloseFd(fd); // its number could be somebody else's by now
        },
        testing::KilledBySignal(SIGABRT), "");
    EXPECT_EXIT(
        {
            Thread::log = logToStandardError;
            int closing = 5 | FdCloseMark;
            safeCloseFd(closing);
        },
        testing::KilledBySignal(SIGABRT), "Concurrent close on file descriptor 5: 0x[0-9a-f]+");
    EXPECT_EXIT(
        {
            Thread::log = logToStandardError;
            ::close(fd);
            safeCloseFd(fd);
        },
        testing::KilledBySignal(SIGABRT),
        "Close failed on file descriptor [0-9]+.Bad file descriptor.: 0x[0-9a-f]+");
    safeCloseFd(fd);
}

TEST(HostName, ComposedFromHostAndDomain) {
    const std::string longName(300, 'n');
    const struct {
        const char* host;
        const char* domain;
        std::string simple;
        std::string full;
    } rows[] = {
        {"h", nullptr, "h", "h"},
        {"h", "", "h", "h"},
        {"h", "(none)", "h", "h"},
        {"h", "d.e", "h", "h.d.e"},
        {"h.d.e", nullptr, "h", "h.d.e"},
        {"h.d.e", "x.y", "h", "h.x.y"},
        {nullptr, "d.e", "localhost", "localhost.localdomain"},
        {"h", longName.c_str(), "h", "h." + std::string(253, 'n')},
        {longName.c_str(), nullptr, std::string(255, 'n'), std::string(255, 'n')},
    };
    for (const auto& row : rows) {
        composeFQDN(row.host, row.domain);
        EXPECT_EQ(std::string(hostnameSimple), row.simple);
        EXPECT_EQ(std::string(hostnameFQDN), row.full);
    }
    populateFQDN();
    const std::string full = hostnameFQDN;
    EXPECT_FALSE(full.empty());
    EXPECT_EQ(full.rfind(hostnameSimple, 0), 0u);
}
