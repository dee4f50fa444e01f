// Cuts header text into lines, where a line that begins with a blank or a TAB continues the one
// before it (RFC 2822, section 2.2.3). The folds of a line stay as they are, or are taken out in
// place, in the reader's buffer.
//
// Ownership, threads and failure as in message/tokenizer.h.

#ifndef MORVEX_MESSAGE_FOLDED_LINE_TOKENIZER_H
#define MORVEX_MESSAGE_FOLDED_LINE_TOKENIZER_H

#include "common/container/simple_vector.h"
#include "message/tokenizer.h"

class FoldedLineTokenizer : public TokenizerStream {
public:
    // What becomes of the folds; part of the flag word.
    enum FoldingType : int {
        KeepFolds = 0,
        RemoveLineEnds = 0x200,
        RemoveLineEndsAndBlank = 0x600 // and the first blank or TAB behind each
    };

    // A limit above this counts as this.
    static constexpr int MaxTokenSize = 1 << 20;

    // Over stream, behind a reader of its own with a largest size of 4096; with no input yet where
    // stream is null. endOfLine is the end-of-line set of Stream::searchEOL, with ExcludeLineEnd
    // and a FoldingType.
    FoldedLineTokenizer(Stream* stream, int endOfLine, bool zeroTerminate);

    static CastableId* getCastableClassId();
    void* doCastInternal(CastableId* id) const override;
    CastableId* getOwnCastableId() const override;

    // The next line with all lines that continue it. An empty line never has a continuation where
    // it follows a finished token or stands first: it ends a header block. A token that fills the
    // limit is cut and incomplete, whatever follows, and stops short of a line end that stands at
    // its very end, or of the first half of one. When the reader has timed out short of a line,
    // nothing is consumed and the call can be repeated.
    void* readToken(int& size) override;

    void setFoldingType(FoldingType type);

    // The bytes of input, folds and line end included, that the last token took, and the incomplete
    // ones right before it.
    int getRealTokenSize() const { return realTokenSize; }

    // Gives the reader another base, or none; what it has buffered stays.
    int setBaseStream(Stream* stream) override;

protected:
    void forget(Touch touch) const override;

private:
    void init(Stream* stream);
    void recordFold(int offset);
    void* takeCut(const unsigned char* data, int limit, int lineEnd, int& size);
    void* takeRest(const unsigned char* data, int atHand, int lineEnd, int& size);
    void* compressFoldedLine(int& size, int lineEnd, bool complete);
    int removeFolds(char* token, int size) const;
    void* foldedFailed(int& size);

    SimpleVector<int> folds; // offsets of the line ends inside the token; its size is the room
    int foldCount = 0;       // those in use
    int realTokenSize = 0;
    bool previousComplete = true;
};

#endif
