// A byte range of a base stream, shown as a stream of its own. The base is sought to the start of
// the range at the first transfer only, so nobody else may move it while the chunk is in use.

#ifndef MORVEX_COMMON_STREAM_CHUNKER_STREAM_H
#define MORVEX_COMMON_STREAM_CHUNKER_STREAM_H

#include "common/stream/composable_stream.h"

class ChunkerStream : public ComposableStream {
public:
    // size bytes from start on; -1 as size means up to the end of the base. A start below 0, a size
    // below -1, or an end that cannot be found gives a bad chunk: transfers give -1, the states
    // are StateError and the size is 0. Holds a reference to stream.
    // Requires: stream is not null.
    ChunkerStream(Stream* stream, long long start, long long size);

    // The same from the base's present position on. If that cannot be had, the chunk starts where
    // the base stands, and is counted from 0.
    ChunkerStream(long long size, Stream* stream);

    ~ChunkerStream() override;

    static CastableId* getCastableClassId();
    void* doCastInternal(CastableId* id) const override;
    CastableId* getOwnCastableId() const override;

    // Cut to what remains in the chunk; 0 at its end. -1 with HE_INVALOP for a bad chunk, which it
    // also becomes when the base cannot be sought to its start: then with the base's error.
    int read(void* buffer, int size) override;
    int write(const void* buffer, int size) override;

    int flush() override;
    int canRead() const override;
    int canWrite() const override;
    unsigned getReceivedCount(bool reset) const override;
    unsigned getSentCount(bool reset) const override;

    // Counted within the chunk. -1 for a target outside of it (EINVAL), an unknown origin (EINVAL)
    // or a bad chunk (HE_INVALOP).
    long long lseek(long long offset, Seek origin) override;
    long long getSize() const override { return chunkSize; }
    int truncate(long long size) override; // HE_INVALOP, -1

    State getInputState() const override;
    State getOutputState() const override;

    int getInputTimeout() const override;
    int getOutputTimeout() const override;
    int setInputTimeout(int milliseconds) override;
    int setOutputTimeout(int milliseconds) override;
    const char* getStreamName(char* buffer, unsigned size) const override;

    Stream* getBaseStream() const override { return base; }

private:
    void setRange(long long start, long long size);
    bool prepare(int& size);
    void makeBad();
    State state(State ofBase) const;

    Stream* base;
    long long position = 0;
    long long chunkStart = -1; // -1 marks a bad chunk
    long long chunkSize = 0;
    bool mustSeekFirst = true;
};

#endif
