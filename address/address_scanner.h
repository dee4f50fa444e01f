// The scanner of RFC 2822 address lists, shared by the grammars of that family: it cuts a text into
// the tokens of addr-specs, phrases, groups and routes (RFC 2822, sections 3.2 to 3.4 and 4.4).
//
// A run of white space and comments is one Cfws token, and the content of quoted strings and domain
// literals comes as Qcontent and Dcontent tokens with a Fws token for each fold between them. A
// line feed that is not part of folding white space is skipped. A byte that fits nowhere, also any
// with the top bit set, is the token Error2, which no grammar takes.
//
// The scanner proper is generated. Its state belongs to this object; its blocks come from the
// per-thread string pools. One thread at a time. It has no way to fail other than the Error2 token.

#ifndef MORVEX_ADDRESS_ADDRESS_SCANNER_H
#define MORVEX_ADDRESS_ADDRESS_SCANNER_H

#include <string_view>

// The tokens that are no single character; 0 is the end of the text. The values are those that a
// generated grammar gives to its first tokens.
enum AddressToken {
    AddressEnd = 0,
    AddressAtextPlus = 258,
    AddressDquote,
    AddressCfws,
    AddressFws,
    AddressQcontent,
    AddressDcontent,
    AddressError2
};

class AddressScanner {
public:
    AddressScanner(const AddressScanner&) = delete;
    AddressScanner& operator=(const AddressScanner&) = delete;
    virtual ~AddressScanner();

    // Copies up to maxSize of the text's next bytes to the buffer and returns how many; 0 at the
    // end.
    virtual int LexerInput(char* buffer, int maxSize) = 0;

protected:
    AddressScanner();

    // Gets ready for a text of inputLength bytes, none of them 0, which LexerInput then gives.
    // Requires: the scanner is new or was reset.
    void start(int inputLength);

    // The next token: an AddressToken or a character. commentDepth is the nesting depth of
    // comments, kept between calls for the scanner's own use.
    int scan(int& commentDepth);

    // The text of the last token, good until the next call of any operation; empty at the end.
    std::string_view tokenText() const;

    // Forgets the text and what was scanned of it, wherever the scanner stood.
    void reset();

private:
    void* state; // of the generated scanner
};

#endif
