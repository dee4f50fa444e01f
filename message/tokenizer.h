// What cuts a stream into tokens, and the common half of the two line tokenizers: a tokenizer is a
// buffered reader itself, and reading from it goes on behind the last token.
//
// A token is a pointer into the reader's buffer, or into the tokenizer's own, good until the next
// call on the tokenizer. While a tokenizer is in use its reader is used through it only.
// Ownership: a tokenizer holds a reference to its reader. Not shared between threads.
// Failure: null from readToken means that the reader failed, with HE_INVALOP. The end of data is
// no failure: it gives a token of size 0, with lastTokenCompleted() false and the input state not
// StateGood.

#ifndef MORVEX_MESSAGE_TOKENIZER_H
#define MORVEX_MESSAGE_TOKENIZER_H

#include "common/stream/buffered_reader.h"
#include "common/stream/composable_stream.h"

#include <memory>

class Tokenizer : public virtual ACastable {
public:
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

class TokenizerStream : public Tokenizer, public ComposableStream, public BufferedReader {
public:
    // The bits of a flag word above the end-of-line set of Stream::searchEOL.
    static constexpr int ExcludeLineEnd = 0x80; // the token excludes its line end
    static constexpr int ZeroTerminate = 0x100; // a zero byte follows the token

    ~TokenizerStream() override;

    void* doCastInternal(CastableId* id) const override;
    CastableId* getOwnCastableId() const override = 0;

    bool lastTokenCompleted() const override { return eolLength > 0; }

    // Sets the flag word anew; the zeroTerminate argument decides over ZeroTerminate, not the word.
    void setEolType(int newFlags, bool zeroTerminate);

    // The reader.
    Stream* getBaseStream() const override { return reader; }

    // Drops what the reader holds of its base's data; HE_INVALOP and -1 where it has no base.
    int resetComposableStream() override;

    // These go to the reader, after the scan state is forgotten.
    int read(void* buffer, int size) override;
    void* read(int& size) override;
    void* peek(int& size) override;
    void* peekAll(int& size) override;
    void* peekAndReadAll(int& size) override;
    int readAll(void* buffer, int size) override;
    long long lseek(long long offset, Seek origin) override;
    int truncate(long long size) override;
    int copy(Stream& target, long long& count) override;
    int write(const void* buffer, int size) override;
    int writeAll(const void* buffer, int size) override;
    int flush() override;
    int setBufferSize(int size) override;

    // These go to the reader and change nothing here.
    int canRead() const override;
    int canWrite() const override;
    unsigned getReceivedCount(bool reset) const override;
    unsigned getSentCount(bool reset) const override;
    long long getSize() const override;
    State getOutputState() const override;
    int getInputTimeout() const override;
    int getOutputTimeout() const override;
    int setInputTimeout(int milliseconds) override;
    int setOutputTimeout(int milliseconds) override;
    const char* getStreamName(char* buffer, unsigned size) const override;
    int getBufferSize() const override;
    void* getBuffer(int& size) const override;

    // StateGood as long as the last token was neither unfinished nor the end of data; then the
    // reader's state.
    State getInputState() const override;

protected:
    // What an operation on the reader means for the data that was scanned.
    enum class Touch { Reading, Moving, Writing, Flushing, Resizing };

    // Takes over the caller's reference to ownedReader.
    TokenizerStream(BufferedReader* ownedReader, int endOfLine, bool zeroTerminate);

    // Forgets of the scan state what the operation spoils.
    virtual void forget(Touch touch) const = 0;

    bool has(int flag) const { return (flags & flag) != 0; }
    int limitFor(int size) const;
    unsigned char* peekReader(int& size);
    bool isFirstHalf(unsigned char c) const;
    void* copyToken(const void* token, int size);
    void* failed(int& size);

    BufferedReader* reader;
    int flags;
    mutable int scanOffset = 0; // how far the data at the read pointer has been searched
    mutable int eolLength = 0;  // of the last token: above 0 a line end, 0 cut, -1 end of data

private:
    int localSize = 0;
    std::unique_ptr<char[]> local; // for tokens that need a copy
};

#endif
