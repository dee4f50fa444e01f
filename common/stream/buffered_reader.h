// Streams that give access to their data in place. BufferedReader is the interface on which the
// line tokenizers stand; BufferedReaderImpl puts a buffer in front of a base stream.
//
// A pointer from peek() or read(int&) points into the stream's own buffer and is good until the
// next call on the stream. The bytes may be changed by the holder while it is.
// Ownership, threads and failure as for every stream.

#ifndef MORVEX_COMMON_STREAM_BUFFERED_READER_H
#define MORVEX_COMMON_STREAM_BUFFERED_READER_H

#include "common/stream/composable_stream.h"
#include "common/stream/stream.h"

class BufferedReader : public virtual Stream {
public:
    static CastableId* getCastableClassId();
    void* doCastInternal(CastableId* id) const override;
    CastableId* getOwnCastableId() const override;

    // Gives a pointer to up to size bytes, which are consumed; size becomes what is there. Null on
    // a failure of the stream itself.
    virtual void* read(int& size) = 0;

    // The same without consuming. Less than asked for does not mean that no more will come.
    virtual void* peek(int& size) = 0;

    // The most that peek can ever give, and its change. Here: HE_INVALOP, -1.
    virtual int getBufferSize() const;
    virtual int setBufferSize(int size);

    // The memory of the buffer and its present size. Here: HE_INVALOP, null and 0.
    virtual void* getBuffer(int& size) const;

    // peek, repeated until all of size is there or a pass brings no more.
    virtual void* peekAll(int& size);

    // peekAll, and consumes what it gave.
    virtual void* peekAndReadAll(int& size);

    // By read(int&) and a copy. A negative size gives EINVAL and -1; no data gives 0 when the input
    // state is StateEnd, and -1 otherwise.
    int read(void* buffer, int size) override;

    int canRead() const override = 0;

    // As Stream::copy, with no copy in between: blocks of read(int&) go to writeAll on the target.
    // A stop request (Thread::stopRequest) ends it with HE_SHUTDOWN and -1.
    int copy(Stream& target, long long& count) override;

    // A reader cannot be written: HE_INVALOP, -1, and StateError.
    int write(const void* buffer, int size) override;
    State getOutputState() const override;

    // A reader over stream, with one reference for the caller: stream itself where it is a
    // BufferedReader that can hold size bytes (or all of its data), and otherwise a new
    // BufferedReaderImpl(stream, size).
    // Requires: stream is not null, size is above 0.
    static BufferedReader* getStream(Stream* stream, int size);

    // A BufferedReaderImpl with no base and a largest size of 4096.
    static BufferedReader* getStream();
};

class BufferedReaderImpl : public BufferedReader, public ComposableStream {
public:
    // The first allocation, and the step in which it grows when it is full of unread data.
    static constexpr int BlockSize = 4096;

    // As far as the buffer grows only to read in larger blocks.
    static constexpr int ReadAheadSize = 65536;

    // Holds a reference to stream, which may be null. Allocates at most BlockSize bytes; the buffer
    // grows on demand up to maxSize bytes. Requires: maxSize is above 0.
    BufferedReaderImpl(Stream* stream, int maxSize);
    ~BufferedReaderImpl() override;

    static CastableId* getCastableClassId();
    void* doCastInternal(CastableId* id) const override;
    CastableId* getOwnCastableId() const override;

    using BufferedReader::write;

    // What is unread goes first, alone. A size of at least the allocation goes straight from the
    // base into buffer.
    int read(void* buffer, int size) override;
    void* read(int& size) override;

    // Makes at most one read on the base.
    void* peek(int& size) override;

    // The largest size permitted.
    int getBufferSize() const override { return maximumSize; }

    // EINVAL and -1 for a size below 1 or no multiple of 4, HE_INVALOP and -1 for one smaller than
    // the unread data. A size above the allocation only sets the largest size.
    int setBufferSize(int size) override;

    // The allocation as it stands.
    void* getBuffer(int& size) const override;

    // The unread bytes, or else what the base says.
    int canRead() const override;

    unsigned getReceivedCount(bool reset) const override;
    unsigned getSentCount(bool reset) const override;

    // Counts as if there were no buffer. A target within the buffered range costs no seek of the
    // base's and keeps the buffer. EINVAL and -1 for an unknown origin. The input state is not
    // reset by it, only by the next read on the base that brings data.
    long long lseek(long long offset, Seek origin) override;
    long long getSize() const override;

    // StateGood until a read on the base brought nothing; then the base's state, also while unread
    // data remains.
    State getInputState() const override;

    int getInputTimeout() const override;
    int getOutputTimeout() const override;
    int setInputTimeout(int milliseconds) override;
    int setOutputTimeout(int milliseconds) override;
    const char* getStreamName(char* buffer, unsigned size) const override;

    Stream* getBaseStream() const override { return base; }

    // Keeps what is buffered.
    int setBaseStream(Stream* stream) override;

    // Drops what is buffered.
    int resetComposableStream() override;

private:
    int unread() const { return static_cast<int>(fillPointer - readPointer); }
    void reallocate(int size);
    void moveDown(const char* from);
    int fill(int room);
    void growFor(int wanted);

    Stream* base;
    char* start;
    char* readPointer;
    char* fillPointer;
    int allocatedSize;
    int maximumSize;
    bool lastFillFailed = false;
    bool lastFillWasFull = false; // the base had at least as much as there was room for
};

#endif
