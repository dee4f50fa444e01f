// Cuts a stream into lines. A line costs no copy unless it must be zero-terminated at a place where
// it cannot be patched in: the byte behind the token is then put back by the next call.
//
// Ownership, threads and failure as in message/tokenizer.h.

#ifndef MORVEX_MESSAGE_LINE_TOKENIZER_H
#define MORVEX_MESSAGE_LINE_TOKENIZER_H

#include "message/tokenizer.h"

class LineTokenizer : public TokenizerStream {
public:
    // Over stream, read through BufferedReader::getStream(stream, 4096): a stream that is a reader
    // is used in place. endOfLine is the end-of-line set of Stream::searchEOL, with ExcludeLineEnd.
    // Requires: stream is not null.
    LineTokenizer(Stream* stream, int endOfLine, bool zeroTerminate);
    ~LineTokenizer() override;

    static CastableId* getCastableClassId();
    void* doCastInternal(CastableId* id) const override;
    CastableId* getOwnCastableId() const override;

    // The next line. A line longer than the limit comes in pieces: each is cut at the limit, or one
    // byte before it where that byte is a CR or LF, so that no line end is split, and only the last
    // piece is complete. Where only the line end goes beyond the limit, the piece is the whole line
    // and an empty, complete token follows it. When the reader has timed out short of a line,
    // nothing is consumed and the call can be repeated.
    void* readToken(int& size) override;

    // Reads from stream from now on, through BufferedReader::getStream where it is no reader.
    // Requires: stream is not null.
    int setBaseStream(Stream* stream) override;

protected:
    void forget(Touch touch) const override;

private:
    void restorePatch() const;
    void* patchToken(void* token, int size);
    void* takeFound(int lineSize, int limit, int& size);
    void* takeLine(int lineSize, int& size);
    void* takePiece(int lineSize, int limit, int& size);
    void* takeUnended(unsigned char* data, int atHand, int limit, int& size);

    mutable char* patchedByte = nullptr;
    char savedByte = 0;
};

#endif
