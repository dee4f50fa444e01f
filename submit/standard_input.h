// Standard input as a stream that tells a failed read from the end of the message, and knows its
// position without asking the system.
//
// To the line reader a read that fails is simply the end of its input. A mail that stops there is
// not whole, so the driver asks here before it hands a mail over. Owned by the driver's stack.

#ifndef MORVEX_SUBMIT_STANDARD_INPUT_H
#define MORVEX_SUBMIT_STANDARD_INPUT_H

#include "common/stream/fd_stream.h"

class StandardInput final : public FDStream {
public:
    StandardInput();

    int read(void* buffer, int size) override;

    // The position counts from where the message began, which need not be the start of a file; the
    // system knows none in a pipe. It can be asked for and not changed: anything but (0,
    // SeekCurrent) is HE_INVALOP.
    long long lseek(long long offset, Seek origin) override;

    // The error of the read that failed, or 0 while all went well.
    int readError() const { return error; }

private:
    int error = 0;
    long long position = 0;
};

#endif
