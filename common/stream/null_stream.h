// A stream that drops what is written, gives zero bytes without end, and counts both. It keeps a
// position and a size as if it were a file, so that it can measure what a writer would produce.

#ifndef MORVEX_COMMON_STREAM_NULL_STREAM_H
#define MORVEX_COMMON_STREAM_NULL_STREAM_H

#include "common/stream/stream.h"

class NullStream : public Stream {
public:
    NullStream() = default;

    static CastableId* getCastableClassId();
    void* doCastInternal(CastableId* id) const override;
    CastableId* getOwnCastableId() const override;

    // Both give amount, raise their count and the position by it, and the size where the position
    // goes beyond it. An amount of 0 or less gives 0 and changes nothing.
    int read(void* buffer, int amount) override;
    int write(const void* buffer, int amount) override;

    unsigned getReceivedCount(bool reset) const override;
    unsigned getSentCount(bool reset) const override;

    // A negative target becomes 0; an unknown origin gives EINVAL and -1. The size stays.
    long long lseek(long long offset, Seek origin) override;
    long long getSize() const override { return size; }

    // Sets the size and nothing else; EINVAL and -1 for a negative one.
    int truncate(long long newSize) override;

    // HE_INVALOP, -1: it would have no end.
    int copy(Stream& target, long long& count) override;

    int readAll(void* buffer, int amount) override;
    int writeAll(const void* buffer, int amount) override;

    State getInputState() const override { return StateGood; }
    State getOutputState() const override { return StateGood; }

private:
    int advance(unsigned& count, int amount);

    mutable unsigned received = 0;
    mutable unsigned sent = 0;
    long long position = 0;
    long long size = 0;
};

#endif
