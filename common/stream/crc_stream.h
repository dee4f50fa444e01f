// A wrapper that runs the CRC-32 of IEEE 802.3 over the bytes that pass through it, in either
// direction. What copy, readAll and writeAll move is included, block by block.

#ifndef MORVEX_COMMON_STREAM_CRC_STREAM_H
#define MORVEX_COMMON_STREAM_CRC_STREAM_H

#include "common/stream/wrap_stream.h"

class CRCStream : public WrapStream {
public:
    explicit CRCStream(Stream* stream) : WrapStream(stream) {}

    static CastableId* getCastableClassId();
    void* doCastInternal(CastableId* id) const override;
    CastableId* getOwnCastableId() const override;

    int read(void* buffer, int size) override;
    int write(const void* buffer, int size) override;

    // These run on this stream's own read and write, so that nothing passes by the checksum.
    int copy(Stream& target, long long& count) override;
    int readAll(void* buffer, int size) override;
    int writeAll(const void* buffer, int size) override;

    // The checksum of all that has passed so far; 0 at the start.
    unsigned getCRC() const { return crc; }
    void setCRC(unsigned value) { crc = value; }

private:
    unsigned crc = 0;
};

#endif
