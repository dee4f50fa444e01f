// The parser object of the web form address grammar: the scanner with its text, and the texts of
// the running parse. A mailbox goes to the list at the moment it is built.
//
// An AddressList makes its flexer with the first parse and keeps it. Between two parses a flexer
// holds no text and no scanner state; the strings of its pool stay allocated. The class is not
// final, so that a list destroys it through the virtual table: a program that never parses a web
// form then needs neither this class nor its grammar.

#ifndef MORVEX_ADDRESS_WEBMAIL_FLEXER_H
#define MORVEX_ADDRESS_WEBMAIL_FLEXER_H

#include "address/scanner_input.h"
#include "address/string_pool.h"
#include "address/webmail/scanner.h"

#include <string>

class AddressList;

class AddrWebmailFlexer : public addrWebmailFlexLexer {
public:
    // A flexer whose results go to `list`, which must outlive it.
    explicit AddrWebmailFlexer(AddressList* list);
    ~AddrWebmailFlexer() override;

    // Runs one parse, as AddressList::parseWebmail tells, without emptying the list first. A text
    // of 2 GiB fails. Requires: list is not null.
    int parse(const char* list);

    int LexerInput(char* buffer, int maxSize) override;

    // Ends a parse: frees the text and puts the scanner back in its initial state.
    void clean();

    // What follows is for the grammar.

    // The next token, with its text in a pooled string. A quoted string and an encoded word come as
    // words.
    int nextToken(std::string*& value);

    StringPool& getPool() { return *pool; }

    // Appends a new mailbox to the list. A null fullName means no display name.
    void deliver(const std::string* fullName, const std::string& addrSpec);

private:
    std::string wordBuffer; // a quoted string or encoded word while it is collected
    StringPool* pool;       // owned
    AddressList* owner;
    ScannerInput text;
};

// The generated grammar. Returns 0 on success, non-zero on failure; calls no one but the flexer,
// an AddrWebmailFlexer.
int addrWebmailparse(void* flexer);

#endif
