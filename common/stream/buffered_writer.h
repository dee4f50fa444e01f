// Streams that are written in place. BufferedWriter is the interface; BufferedWriterImpl puts a
// buffer in front of a base stream.
//
// A pointer from poke() points into the stream's own buffer and is good until the next call.
// Failure: what the base refuses stays in the buffer. The destructor flushes and has no way to
// report, so a writer whose data matters is flushed before its last reference ends.

#ifndef MORVEX_COMMON_STREAM_BUFFERED_WRITER_H
#define MORVEX_COMMON_STREAM_BUFFERED_WRITER_H

#include "common/stream/composable_stream.h"
#include "common/stream/stream.h"

class BufferedWriter : public virtual Stream {
public:
    static CastableId* getCastableClassId();
    void* doCastInternal(CastableId* id) const override;
    CastableId* getOwnCastableId() const override;

    // Commits size bytes that were written through the pointer from poke(); gives the bytes taken,
    // or -1. Requires: size is at most what poke() gave.
    virtual int write(int size) = 0;

    // Gives a pointer to room for up to size bytes; size becomes what there is. Null on failure.
    virtual void* poke(int& size) = 0;

    // The size of the buffer, and its change. Here: HE_INVALOP, -1.
    virtual int getBufferSize() const;
    virtual int setBufferSize(int size);

    // The memory of the buffer and its size. Here: HE_INVALOP, null and 0.
    virtual void* getBuffer(int& size) const;

    // The bytes that wait in the buffer.
    virtual int mustWrite() const = 0;

    // By poke, a copy and write(int). A negative size gives EINVAL and -1; no room gives 0 when the
    // output state is StateEnd, and -1 otherwise.
    int write(const void* buffer, int size) override;

    int canWrite() const override = 0;

    // A writer cannot be read: HE_INVALOP, -1, and StateError.
    int read(void* buffer, int size) override;
    State getInputState() const override;

    // A writer over stream, with one reference for the caller: stream itself where it is a
    // BufferedWriter with a buffer of at least size bytes, and otherwise a new
    // BufferedWriterImpl(stream, size).
    // Requires: stream is not null, size is above 0.
    static BufferedWriter* getStream(Stream* stream, int size);

    // A BufferedWriterImpl with no base and a size of 4096.
    static BufferedWriter* getStream();
};

class BufferedWriterImpl : public BufferedWriter, public ComposableStream {
public:
    // Holds a reference to stream, which may be null. Requires: bufferSize is above 0.
    BufferedWriterImpl(Stream* stream, int bufferSize);
    ~BufferedWriterImpl() override;

    static CastableId* getCastableClassId();
    void* doCastInternal(CastableId* id) const override;
    CastableId* getOwnCastableId() const override;

    using BufferedWriter::read;

    // Less than the room left stays in the buffer. With an empty buffer the data goes straight to
    // the base. Otherwise the buffer is filled and sent with one write, and what the caller's data
    // then finds room for is taken.
    int write(const void* data, int dataSize) override;
    int write(int committed) override;
    void* poke(int& wanted) override;

    int getBufferSize() const override { return size; }

    // The rules of BufferedReaderImpl::setBufferSize for the value; a smaller size flushes first.
    int setBufferSize(int newSize) override;
    void* getBuffer(int& bufferSize) const override;
    int mustWrite() const override { return held(); }

    // The room left, or else what the base says.
    int canWrite() const override;

    // Sends what waits to the base, which is not flushed itself. 0, or -1.
    int flush() override;

    unsigned getReceivedCount(bool reset) const override;
    unsigned getSentCount(bool reset) const override;

    // Flush first; -1 if that fails.
    long long lseek(long long offset, Seek origin) override;
    int truncate(long long newSize) override;

    // Of what has reached the base.
    long long getSize() const override;

    // The base's, or StateError without one.
    State getOutputState() const override;

    int getInputTimeout() const override;
    int getOutputTimeout() const override;
    int setInputTimeout(int milliseconds) override;
    int setOutputTimeout(int milliseconds) override;
    const char* getStreamName(char* buffer, unsigned bufferSize) const override;

    Stream* getBaseStream() const override { return base; }

    // Keeps what is buffered: it then goes to the new base.
    int setBaseStream(Stream* stream) override;

    // Drops what was not written.
    int resetComposableStream() override;

private:
    int held() const { return static_cast<int>(writePointer - start); }
    int room() const { return static_cast<int>(endPointer - writePointer); }
    int sendBuffer();
    void dropFront(int count);

    Stream* base;
    char* start;
    char* writePointer;
    char* endPointer;
    int size;
};

#endif
