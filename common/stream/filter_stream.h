// A wrapper whose subclass changes the data on its way. The data may shrink or grow, so a position
// in it means nothing: lseek, getSize and truncate give HE_INVALOP.

#ifndef MORVEX_COMMON_STREAM_FILTER_STREAM_H
#define MORVEX_COMMON_STREAM_FILTER_STREAM_H

#include "common/stream/wrap_stream.h"

class FilterStream : public WrapStream {
public:
    explicit FilterStream(Stream* stream) : WrapStream(stream) {}

    static CastableId* getCastableClassId();
    void* doCastInternal(CastableId* id) const override;
    CastableId* getOwnCastableId() const override;

    // Filters what comes from the base, in the caller's buffer. Gives 0 only at the end of the
    // base, also where a whole block filters away to nothing.
    int read(void* buffer, int size) override;

    // Gives the count of input bytes whose output the base took whole. After a short result the
    // caller repeats the rest with the same data; what the base already has is not sent twice.
    int write(const void* buffer, int size) override;

    long long lseek(long long offset, Seek origin) override;
    long long getSize() const override;
    int truncate(long long size) override;

    // These run on this stream's own read and write, so that nothing passes by the filter.
    int copy(Stream& target, long long& count) override;
    int readAll(void* buffer, int size) override;
    int writeAll(const void* buffer, int size) override;

    // A new base starts with a whole block.
    int setBaseStream(Stream* stream) override;

    // Filters up to size bytes of input, size being above 0, and gives how many of them it took,
    // or 0 or less on an error. The result is then at *output, *outputSize bytes long, valid until
    // the next call: in the filter's own store, or in input where it is not longer than what was
    // taken. When reading, the result must not be longer than what was taken. When writing, the
    // same input gives the same result again.
    virtual int filter(const void* input, int size, bool writing, const void** output,
                       int* outputSize) = 0;

private:
    int pendingWritten = 0; // filtered bytes already at the base of an unfinished block
};

#endif
