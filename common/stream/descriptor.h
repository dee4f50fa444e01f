// The one home of descriptors: how they open, transfer and close.
//
// The process keeps a record of the descriptors that are open, one bit each, so that a double
// close is caught at once instead of closing somebody else's file. A program that opens through
// safeOpenFd and closes through safeCloseFd never meets the aborts told below.
// Threads: Thread::globalCS guards the record. Before Thread::init and after Thread::cleanup there
// is no record.

#ifndef MORVEX_COMMON_STREAM_DESCRIPTOR_H
#define MORVEX_COMMON_STREAM_DESCRIPTOR_H

#include <sys/types.h>

// Where the bit of one descriptor stands in the record.
struct FDStatusAccessor {
    unsigned char* byte;
    unsigned char mask;
};

// Descriptors from here on are not recorded.
constexpr int MaxRecordedFd = 262144 * 8;

// The mark of a close under way, in the holder's variable.
constexpr int FdCloseMark = 1 << 30;

// Requires: fd is from 0 to MaxRecordedFd - 1, and Thread::globalCS is held.
FDStatusAccessor accessFDStatus(int fd);

// Records that fd is open and gives it back; to be wrapped around every open(2). A negative fd, or
// one beyond the record, passes untouched. A descriptor that is recorded already aborts.
int safeOpenFd(int fd);

// Closes fd and sets it to -1. Gives 0, or -1 with EBADF for a negative fd. Aborts, with a message
// through Thread::log, when fd is not recorded, when another thread is just closing it, and when
// the system refuses the close. Before Thread::init: the plain result of close(2).
int safeCloseFd(int& fd);

// open(2) with close-on-exec and the mode 0666 by default, recorded with safeOpenFd. Gives the
// descriptor, or -1 with the system's error.
int openFd(const char* path, int flags, mode_t mode = 0666);

// read(2) and write(2) of size bytes, repeated when a signal interrupts them before anything has
// moved. Requires: size is not negative.
int readFd(int fd, void* buffer, int size);
int writeFd(int fd, const void* buffer, int size);

// The place where a platform puts a check on the C library's own close. None is needed here: 0.
int hookLibcClose();

#endif
