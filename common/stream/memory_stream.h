// A stream over one block of memory, a fixed window that never grows. One position serves both
// reading and writing, and the states are StateEnd at the end of the block and StateGood before.

#ifndef MORVEX_COMMON_STREAM_MEMORY_STREAM_H
#define MORVEX_COMMON_STREAM_MEMORY_STREAM_H

#include "common/stream/buffered_reader.h"
#include "common/stream/buffered_writer.h"

class MemoryStream : public BufferedReader, public BufferedWriter {
public:
    // Over size bytes at block, which outlives this object, or belongs to it with ownsBlock and
    // then came from new char[]. A reader of this stream may write into the block (a tokenizer
    // does so to end its tokens).
    MemoryStream(void* block, long long blockSize, bool ownsBlock = false);
    ~MemoryStream() override;

    static CastableId* getCastableClassId();
    void* doCastInternal(CastableId* id) const override;
    CastableId* getOwnCastableId() const override;

    // Copy what remains, up to amount; 0 at the end and without an error.
    int read(void* target, int amount) override;
    int write(const void* data, int amount) override;

    // In place: amount is cut to what remains, or to 0 if it was not positive. peek and poke are
    // the same; read and write(int) move the position.
    void* read(int& amount) override;
    void* peek(int& amount) override;
    int write(int amount) override;
    void* poke(int& amount) override;

    // Nothing ever waits here: HE_INVALOP, -1.
    int mustWrite() const override;

    int getBufferSize() const override;
    int setBufferSize(int amount) override; // HE_INVALOP, -1
    void* getBuffer(int& amount) const override;

    // What remains.
    int canRead() const override;
    int canWrite() const override;

    // The target is clamped to the block; EINVAL and -1 for an unknown origin.
    long long lseek(long long offset, Seek origin) override;
    long long getSize() const override { return size; }

    // Only to a smaller or equal size: HE_FBIG and -1 for a larger one, EINVAL and -1 for a
    // negative one. The position stays within. Nothing is freed.
    int truncate(long long newSize) override;

    // One writeAll (or one for each 2 GiB) of what remains, or of count bytes if that is less and
    // not 0; nothing more is left to read after that. 0, or -1 if fewer bytes went through.
    int copy(Stream& target, long long& count) override;

    State getInputState() const override;
    State getOutputState() const override;

protected:
    char* buffer;
    long long size;
    long long position = 0;
    bool ownsBuffer;

private:
    int remaining() const;
};

// A MemoryStream that always owns its block.
class MemoryStreamEvil : public MemoryStream {
public:
    MemoryStreamEvil(void* block, long long blockSize) : MemoryStream(block, blockSize, true) {}

    static CastableId* getCastableClassId();
    void* doCastInternal(CastableId* id) const override;
    CastableId* getOwnCastableId() const override;
};

#endif
