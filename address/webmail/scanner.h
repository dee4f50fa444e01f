// The scanner of addresses as people type them: it cuts a text into addresses, words of display
// names and what stands between them.
//
// A quoted string, with its quotes and backslashes resolved, and an encoded word (RFC 2047), as it
// stands, come as a WebmailQuotedWord; their text is not the token's but in the word buffer. A byte
// that fits nowhere is the token WebmailError, which no grammar takes. A text that ends within a
// quoted string or an encoded word gives just the end: what was begun is dropped.
//
// The scanner proper is generated. Its state belongs to this object; its blocks come from the
// per-thread string pools. One thread at a time. It has no way to fail other than WebmailError.

#ifndef MORVEX_ADDRESS_WEBMAIL_SCANNER_H
#define MORVEX_ADDRESS_WEBMAIL_SCANNER_H

#include <string>
#include <string_view>

// The tokens that are no single character; 0 is the end of the text. The values are those that the
// generated grammar gives to its first tokens; WebmailQuotedWord is none of the grammar's.
enum WebmailToken {
    WebmailEnd = 0,
    WebmailAddr = 258,
    WebmailWord,
    WebmailSep,
    WebmailWs,
    WebmailError,
    WebmailQuotedWord
};

class addrWebmailFlexLexer {
public:
    addrWebmailFlexLexer(const addrWebmailFlexLexer&) = delete;
    addrWebmailFlexLexer& operator=(const addrWebmailFlexLexer&) = delete;
    virtual ~addrWebmailFlexLexer();

    // Copies up to maxSize of the text's next bytes to the buffer and returns how many; 0 at the
    // end.
    virtual int LexerInput(char* buffer, int maxSize) = 0;

protected:
    addrWebmailFlexLexer();

    // Gets ready for a text of inputLength bytes, none of them 0, which LexerInput then gives.
    // Requires: the scanner is new or was reset.
    void start(int inputLength);

    // The next token: a WebmailToken, `<` or `>`. wordBuffer is kept between calls for the
    // scanner's own use.
    int scan(std::string& wordBuffer);

    // The text of the last token, good until the next call of any operation; empty at the end.
    std::string_view tokenText() const;

    // Forgets the text and what was scanned of it, wherever the scanner stood.
    void reset();

private:
    void* state; // of the generated scanner
};

#endif
