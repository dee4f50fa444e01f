// The parser object of the command-line address grammar: the scanner with its text, the texts and
// objects of the running parse, and what the grammar's reductions do.
//
// An AddressList makes its flexer with the first parse and keeps it. Between two parses a flexer
// holds no text, no objects and no scanner state; the strings of its pool stay allocated.

#ifndef MORVEX_ADDRESS_POSTDOCK_FLEXER_H
#define MORVEX_ADDRESS_POSTDOCK_FLEXER_H

#include "address/address_builder.h"
#include "address/address_scanner.h"
#include "address/scanner_input.h"

#include <string>

using addrPostdockFlexLexer = AddressScanner;

class AddrPostdockFlexer final : public addrPostdockFlexLexer {
public:
    // A flexer whose results go to `list`, which must outlive it.
    explicit AddrPostdockFlexer(AddressList* list);
    ~AddrPostdockFlexer() override;

    // Runs one parse, as AddressList::parsePostdock tells, without emptying the list first. A text
    // of 2 GiB and a negative limit fail. Requires: list is not null.
    int parse(const char* list, int limit, const char* domain, bool nullPath);

    int LexerInput(char* buffer, int maxSize) override;

    // Ends a parse: frees the texts, destroys what is pending, and puts the scanner back in its
    // initial state.
    void clean();

    // What follows is for the grammar.

    // The next token, with its text in a pooled string.
    int nextToken(std::string*& value);

    // Whether the last token is a raw 8-bit byte outside of comments; the second, one right behind
    // an atom, as in `a@x\xE9.org`.
    bool isRawByte() const { return lastIsRawByte; }
    bool isAtomCutOff() const { return lastIsRawByte && tokenBefore == AddressAtextPlus; }

    AddressBuilder& getBuilder() { return builder; }
    StringPool& getPool() { return builder.getPool(); }
    bool isNullPathAllowed() const { return allowNullPath; }
    const char* getDefaultDomain() const { return defaultDomain; } // null where there is none

    // Delivers a complete mailbox or group to the owner, a group cut to the places left. True when
    // the limit is reached, which ends the parse with success.
    bool commitMailbox(Mailbox2* mailbox);
    bool commitGroup(Address* group);

private:
    // Delivers the plain elements at the head of the text, without scanner and grammar: a dot-atom,
    // or two with "@" between them. True when that ends the parse with success; otherwise the text
    // goes on at the first element that the grammar has to look at.
    bool deliverPlain();

    bool isLimitReached() const { return maxAddresses != 0 && count >= maxAddresses; }

    int commentDepth; // of the scanner
    ScannerInput text;
    char* defaultDomain; // owned copy, or null
    int maxAddresses;    // 0 for no limit
    int count;           // mailboxes delivered so far
    bool allowNullPath;
    AddressBuilder builder;
    int lastToken = AddressEnd;
    int tokenBefore = AddressEnd;
    bool lastIsRawByte = false;
};

// The generated grammar. Returns 0 on success, non-zero on failure; calls no one but the flexer,
// an AddrPostdockFlexer.
int addrPostdockparse(void* flexer);

#endif
