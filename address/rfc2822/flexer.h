// The parser object of the header address grammar: the scanner with its text, and the texts and
// objects of the running parse.
//
// An AddressList makes its flexer with the first parse and keeps it. Between two parses a flexer
// holds no text, no objects and no scanner state; the strings of its pool stay allocated. The class
// is not final, so that a list destroys it through the virtual table: a program that never parses a
// header then needs neither this class nor its grammar.

#ifndef MORVEX_ADDRESS_RFC2822_FLEXER_H
#define MORVEX_ADDRESS_RFC2822_FLEXER_H

#include "address/address_builder.h"
#include "address/address_scanner.h"
#include "address/scanner_input.h"

#include <string>

using addr2822FlexLexer = AddressScanner;

class Addr2822Flexer : public addr2822FlexLexer {
public:
    // A flexer whose results go to `list`, which must outlive it.
    explicit Addr2822Flexer(AddressList* list);
    ~Addr2822Flexer() override;

    // Runs one parse, as AddressList::parse2822 tells, without emptying the list first. A text of
    // 2 GiB fails. Requires: list is not null.
    int parse(const char* list);

    int LexerInput(char* buffer, int maxSize) override;

    // Ends a parse: frees the text, destroys what is pending, and puts the scanner back in its
    // initial state.
    void clean();

    // What follows is for the grammar.

    // The next token, with its text in a pooled string.
    int nextToken(std::string*& value);

    AddressBuilder& getBuilder() { return builder; }
    StringPool& getPool() { return builder.getPool(); }

private:
    int commentDepth; // of the scanner
    AddressBuilder builder;
    ScannerInput text;
};

// The generated grammar. Returns 0 on success, non-zero on failure; calls no one but the flexer,
// an Addr2822Flexer.
int addr2822parse(void* flexer);

#endif
