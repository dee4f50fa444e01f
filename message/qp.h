// Quoted-printable (RFC 2045, 6.7), and as its header mode the Q encoding of RFC 2047, 4.2.
//
// A QP object is a small value for the stack of its user; it allocates nothing of its own. The
// calls report by their result alone and set no last error. Reentrant: objects share only the
// constant table.

#ifndef MORVEX_MESSAGE_QP_H
#define MORVEX_MESSAGE_QP_H

class QP {
public:
    // The classes of bytes that a table of rules names.
    enum ByteClass : unsigned char {
        ALWAYS_HEX = 0,  // always "=XX"
        LITERAL = 1,     // always as it is
        WHITE_SPACE = 2, // tab and space
        LINE_END = 3,    // CR and LF
        SPECIAL = 4,     // as it is, or "=XX" if hexSpecials is set
        HEADER_HEX = 5   // as it is, or "=XX" in header mode
    };

    static const unsigned char staticRules[256];

    // The upper-case digits that encode writes.
    static const char hexDigits[17];

    QP();

    // An object may point into itself, so it is not copied.
    QP(const QP&) = delete;
    QP& operator=(const QP&) = delete;

    // Encodes inLength bytes. On 0, *out is a new array of *outLength bytes for the caller to free
    // with array delete, with no zero byte behind them. On -1 (in is null, inLength is 0, the
    // result would pass 2 GB, or a table holds an unknown class) neither is touched.
    // hexSpecials: write the bytes of class SPECIAL as "=XX". binary: write CR and LF as "=XX"
    // too; otherwise CR, LF and CR LF all come out as CR LF. header: the Q encoding, in lines of
    // 64 characters in place of 76.
    int encode(const unsigned char* in, unsigned int inLength, unsigned char** out,
               unsigned int* outLength, int hexSpecials, int binary, bool header);

    // Decodes inLength bytes. With *out null, *out becomes a new array for the caller to free with
    // array delete. Otherwise *out is the caller's buffer and *outLength its size, which must be
    // at least inLength, or the result is -1. The result is followed by a zero byte that
    // *outLength does not count; a caller's buffer filled to its last byte has no room for that
    // zero and goes without it. On -1 a new array has been freed, *out is as it was, and the
    // caller's buffer may hold part of the result.
    // strict: only upper-case digits, soft breaks "=" CR LF, printable bytes, TAB, LF and CR LF
    // pass; anything else fails. Without it, digits may be lower case, CR or LF alone end a soft
    // break, "=" in front of any other byte below 127 is kept together with that byte, and all
    // else is dropped. header: "_" is a space.
    // Nothing stands behind the data, neither digits nor a line end: a "=" that needs more than
    // there is fails with strict and is kept without it.
    int decode(const unsigned char* in, unsigned int inLength, unsigned char** out,
               unsigned int* outLength, int strict, bool header);

    // Decodes data that arrives in pieces, in header mode and without error reports: writes from
    // out on, not past outEnd, reads from in on, not past inEnd, moves both on, and returns the
    // number of bytes written. An escape that the input cuts off stays unread, so that the next
    // call sees it again together with what follows.
    int decodeEx(unsigned char*& out, const unsigned char* outEnd, const char*& in,
                 const char* inEnd);

    // From now on this object writes each byte of the text as "=XX". A second call replaces the
    // first; a null text does nothing.
    void forceHexaEncoding(const char* bytes);

    // The line rule of encode: makes room for needed characters that stand for byte. Adds needed
    // to lineLength if the sum stays below the limit or if byte is a UTF-8 continuation byte
    // (0x80 to 0xBF), which is never parted from its character. Otherwise writes a soft break,
    // "=" CR LF, at position in buffer, moves position behind it and sets lineLength to needed.
    // Requires: three bytes of room in buffer at position.
    void checkLineLength(unsigned char* buffer, unsigned int& position, unsigned int& lineLength,
                         int needed, unsigned int byte) const;

    int getMaxLineLength() const { return maxLineLength; }

    // Lines of at most length characters from now on, in both modes; 0 goes back to 64 in header
    // mode and 76 otherwise. Requires: length is 0 or at least 5.
    void setFixedLineLength(int length);

private:
    int maxLineLength;
    int fixedLineLength;
    const unsigned char* rules;
    unsigned char ownRules[256];
};

#endif
