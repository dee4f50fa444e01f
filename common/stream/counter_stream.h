// A wrapper that counts the bytes that pass through it, modulo 2^32. What its wrapped copy,
// readAll and writeAll move is counted as well, block by block.

#ifndef MORVEX_COMMON_STREAM_COUNTER_STREAM_H
#define MORVEX_COMMON_STREAM_COUNTER_STREAM_H

#include "common/stream/wrap_stream.h"

class CounterStream : public WrapStream {
public:
    explicit CounterStream(Stream* stream) : WrapStream(stream) {}

    static CastableId* getCastableClassId();
    void* doCastInternal(CastableId* id) const override;
    CastableId* getOwnCastableId() const override;

    int read(void* buffer, int size) override;
    int write(const void* buffer, int size) override;
    unsigned getReceivedCount(bool reset) const override;
    unsigned getSentCount(bool reset) const override;

    // These run on this stream's own read and write, so that nothing passes by the counts.
    int copy(Stream& target, long long& count) override;
    int readAll(void* buffer, int size) override;
    int writeAll(const void* buffer, int size) override;

private:
    mutable unsigned received = 0;
    mutable unsigned sent = 0;
};

#endif
