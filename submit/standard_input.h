// Standard input as a stream that tells a failed read from the end of the message, and knows its
// position without asking the system.
//
// To the line reader a read that fails is simply the end of its input. A mail that stops there is
// not whole, so the driver asks here before it hands a mail over.
//
// A terminal differs from other inputs in two ways. Where a lone dot ends the message, the input
// ends with it: before it takes a header line for finished, the line reader looks whether the next
// one continues it, and somebody who types would have to type one line more. And one that was hung
// up reads as if it had come to its end, which is a failure here.
//
// Owned by the driver's stack.

#ifndef MORVEX_SUBMIT_STANDARD_INPUT_H
#define MORVEX_SUBMIT_STANDARD_INPUT_H

#include "common/stream/fd_stream.h"

#include <string_view>

class StandardInput final : public FDStream {
public:
    explicit StandardInput(bool dotEndsInput);

    // On a terminal a read gives no more than one line; behind one that is a lone dot, 0.
    int read(void* buffer, int size) override;

    State getInputState() const override;

    // The position counts from where the message began, which need not be the start of a file; the
    // system knows none in a pipe. It can be asked for and not changed: anything but (0,
    // SeekCurrent) is HE_INVALOP.
    long long lseek(long long offset, Seek origin) override;

    // The error of the read that failed, or 0 while all went well.
    int readError() const { return error; }

private:
    void notePiece(std::string_view bytes);
    bool isHungUp();

    bool endsAtDot;
    bool mayBeTerminal = true; // so far no read gave more than one line
    bool atLineStart = true;
    bool dotRead = false;
    int error = 0;
    long long position = 0;
};

#endif
