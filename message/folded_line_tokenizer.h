// Cuts header text into lines, where a line that begins with a blank or a TAB continues the one
// before it (RFC 2822, section 2.2.3). The folds of a line stay as they are, or are taken out in
// place, in the reader's buffer.
//
// Ownership, threads and failure as for LineTokenizer.

#ifndef MORVEX_MESSAGE_FOLDED_LINE_TOKENIZER_H
#define MORVEX_MESSAGE_FOLDED_LINE_TOKENIZER_H

#include "common/container/simple_vector.h"
#include "message/line_tokenizer.h"

class FoldedLineTokenizer : public Tokenizer, public ComposableStream, public BufferedReader {
public:
    // What becomes of the folds; part of the flag word.
    enum FoldingType : int {
        KeepFolds = 0,
        RemoveLineEnds = 0x200,
        RemoveLineEndsAndBlank = 0x600 // and the first blank or TAB behind each
    };

    // Over stream, or with no input yet where it is null. flags is the end-of-line set of
    // Stream::searchEOL, with ExcludeLineEnd and a FoldingType.
    FoldedLineTokenizer(Stream* stream, int flags, bool zeroTerminate);
    ~FoldedLineTokenizer() override;

    static CastableId* getCastableClassId();
    void* doCastInternal(CastableId* id) const override;
    CastableId* getOwnCastableId() const override;

    // A token is a line with all lines that continue it. An empty line never has a continuation
    // where it follows a complete token or stands first: it ends a header block. A token that
    // reaches the limit is cut and incomplete, short of a line end that stands at its very end,
    // or of the first half of one.
    void* readToken(int& size) override;
    bool lastTokenCompleted() const override { return eolLength > 0; }

    void setEolType(int newFlags, bool zeroTerminate);
    void setFoldingType(FoldingType type);

    // The bytes of input, folds and line end included, that the last token and the incomplete ones
    // before it took.
    int getRealTokenSize() const { return realTokenSize; }

    // The reader, which is made by the constructor.
    Stream* getBaseStream() const override { return reader; }

    // Gives the reader another base, or takes stream in its place where that is a reader itself.
    int setBaseStream(Stream* stream) override;
    int resetComposableStream() override;

    // All of the stream and reader operations go to the reader, after the scan state is forgotten.
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

    // StateGood until a token was not complete, then the reader's state.
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
    void init(Stream* stream);
    void* compressFoldedLine(int& size, bool complete);
    void* copyToken(const char* token, int size);

    BufferedReader* reader;
    int flags;
    int eolLength = 0; // of the last token: above 0 a line end, 0 cut, -1 not finished or no data
    int scanOffset = 0;
    int localSize = 0;
    std::unique_ptr<char[]> local;
    SimpleVector<int> folds; // offsets of the line ends inside the token
    int foldCount = 0;
    int realTokenSize = 0;
    bool previousComplete = true;
};

#endif
