// The base class of the thin wrappers: each operation goes to the base stream as it is. With no
// base, each operation sets HE_INVALOP and gives -1; the states are then StateError, the counts 0
// and the name empty.

#ifndef MORVEX_COMMON_STREAM_WRAP_STREAM_H
#define MORVEX_COMMON_STREAM_WRAP_STREAM_H

#include "common/stream/composable_stream.h"

class WrapStream : public ComposableStream {
public:
    // Adds a reference to stream, which may be null.
    explicit WrapStream(Stream* stream);
    ~WrapStream() override;

    static CastableId* getCastableClassId();
    void* doCastInternal(CastableId* id) const override;
    CastableId* getOwnCastableId() const override;

    int read(void* buffer, int size) override;
    int write(const void* buffer, int size) override;
    int flush() override;
    int canRead() const override;
    int canWrite() const override;
    unsigned getReceivedCount(bool reset) const override;
    unsigned getSentCount(bool reset) const override;
    long long lseek(long long offset, Seek origin) override;
    long long getSize() const override;
    int truncate(long long size) override;
    int copy(Stream& target, long long& count) override;
    int readAll(void* buffer, int size) override;
    int writeAll(const void* buffer, int size) override;
    State getInputState() const override;
    State getOutputState() const override;
    int getInputTimeout() const override;
    int getOutputTimeout() const override;
    int setInputTimeout(int milliseconds) override;
    int setOutputTimeout(int milliseconds) override;
    const char* getStreamName(char* buffer, unsigned size) const override;

    Stream* getBaseStream() const override { return base; }
    int setBaseStream(Stream* stream) override;

protected:
    Stream* base;
};

#endif
