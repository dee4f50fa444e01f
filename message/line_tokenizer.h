// Cuts a stream into lines. A token is a pointer into the reader's buffer, good until the next call
// on the tokenizer, so a line costs no copy unless it must be zero-terminated at a place where it
// cannot be patched in.
//
// A tokenizer is a stream itself: reading from it goes on behind the last token. It holds a
// reference to its reader. Not shared between threads.
// Failure: null from readToken means that the reader failed. The end of data is no failure: it
// gives a token of size 0, with lastTokenCompleted() false and the input state not 0.

#ifndef MORVEX_MESSAGE_LINE_TOKENIZER_H
#define MORVEX_MESSAGE_LINE_TOKENIZER_H

#include "common/stream/buffered_reader.h"
#include "common/stream/composable_stream.h"

#include <memory>

class Tokenizer : public virtual ACastable {
public:
    // The bits of a flag word above the end-of-line set of Stream::searchEOL.
    static constexpr int ExcludeLineEnd = 0x80; // the token excludes its line end
    static constexpr int ZeroTerminate = 0x100; // a zero byte follows the token

    static CastableId* getCastableClassId();
    void* doCastInternal(CastableId* id) const override;
    CastableId* getOwnCastableId() const override;

    // The next token of at most size bytes; with 0 or less, at most the reader's buffer size, or
    // 65,536 where that is not positive. size becomes the token's length. Null on failure, with
    // size 0.
    virtual void* readToken(int& size) = 0;

    // Whether the last token ended in a line end, rather than being cut at its limit or by the end
    // of data.
    virtual bool lastTokenCompleted() const = 0;
};

class LineTokenizer : public Tokenizer, public ComposableStream, public BufferedReader {
public:
    // Over stream, read through BufferedReader::getStream(stream, 4096). flags is the end-of-line
    // set of Stream::searchEOL, with ExcludeLineEnd. Requires: stream is not null.
    LineTokenizer(Stream* stream, int flags, bool zeroTerminate);
    ~LineTokenizer() override;

    static CastableId* getCastableClassId();
    void* doCastInternal(CastableId* id) const override;
    CastableId* getOwnCastableId() const override;

    // A line longer than the limit comes in pieces: each is cut at the limit, or one byte before
    // it where that byte is a CR or LF, so that no line end is split, and only the last one is
    // complete. Where only the line end goes beyond the limit, the piece is the whole line, and an
    // empty token follows it. With ZeroTerminate, and a token that excludes its line end or was cut
    // short of one, the byte behind the token is patched and put back by the next call; otherwise
    // the token is a copy. When the reader has timed out nothing is consumed, so the call can be
    // repeated.
    void* readToken(int& size) override;
    bool lastTokenCompleted() const override { return eolLength > 0; }

    // Sets the flag word anew; the token before counts as cut.
    void setEolType(int newFlags, bool zeroTerminate);

    Stream* getBaseStream() const override { return reader; }

    // Reads from stream from now on, through BufferedReader::getStream where it is no reader.
    // Requires: stream is not null.
    int setBaseStream(Stream* stream) override;
    int resetComposableStream() override;

    // All of the stream and reader operations go to the reader, after the patched byte is back and
    // the scan state forgotten.
    int read(void* buffer, int size) override;
    void* read(int& size) override;
    void* peek(int& size) override;
    void* peekAll(int& size) override;
    void* peekAndReadAll(int& size) override;
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

    // StateGood until a token ended the data or failed, then the reader's state.
    State getInputState() const override;
    State getOutputState() const override;
    int getInputTimeout() const override;
    int getOutputTimeout() const override;
    int setInputTimeout(int milliseconds) override;
    int setOutputTimeout(int milliseconds) override;
    const char* getStreamName(char* buffer, unsigned size) const override;
    int getBufferSize() const override;
    int setBufferSize(int size) override;
    void* getBuffer(int& size) const override;

private:
    void restorePatch();
    void forget(bool forgetLineEnd);
    void* cutAtLimit(char* data, int limit, int& size);
    void* endOfData(char* data, int atHand, int& size);
    void* takeLine(int lineSize, int lineEnd, int& size);
    void* takePiece(int lineSize, int searched, int lineEnd, int limit, int& size);
    void* copyToken(const char* token, int size);
    void* patchToken(char* token, int size);
    void* failed(int& size);

    BufferedReader* reader;
    int flags;
    int scanOffset = 0; // how far the data at the read pointer has been searched
    int localSize = 0;
    std::unique_ptr<char[]> local; // for tokens that need a copy
    char* patchedByte = nullptr;
    char savedByte = 0;
    int eolLength = 0; // of the last token: above 0 a line end, 0 cut without one, -1 end of data
};

#endif
