// A stream over a descriptor that somebody else owns: it is never closed here.
//
// Failure: once a direction has met its end or an error, further transfers in it give 0 or -1
// without a system call. Transfers broken by a signal are repeated.

#ifndef MORVEX_COMMON_STREAM_FD_STREAM_H
#define MORVEX_COMMON_STREAM_FD_STREAM_H

#include "common/stream/stream.h"

class FDStream : public Stream {
public:
    explicit FDStream(int fd) : descriptor(fd) {}

    static CastableId* getCastableClassId();
    void* doCastInternal(CastableId* id) const override;
    CastableId* getOwnCastableId() const override;

    // A size of 0 or less gives 0 and leaves the state alone.
    int read(void* buffer, int size) override;
    int write(const void* buffer, int size) override;

    // fsync: 0, or -1 with the system's error.
    int flush() override;

    // The states stay as they are.
    long long lseek(long long offset, Seek origin) override;

    // Found by seeking to the end and back; -1 if the position cannot be had.
    long long getSize() const override;

    State getInputState() const override { return inputState; }
    State getOutputState() const override { return outputState; }

    int getDescriptor() const { return descriptor; }

private:
    int descriptor;
    State inputState = StateGood;
    State outputState = StateGood;
};

#endif
