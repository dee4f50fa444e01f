// The parser object of the command-line address grammar: the scanner with its text, the texts and
// objects of the running parse, and what the grammar's reductions do.
//
// An AddressList makes its flexer with the first parse and keeps it. Between two parses a flexer
// holds no text, no objects and no scanner state; the strings of its pool stay allocated. Objects
// that a parse has built belong to the flexer until an entry or the list takes them over; what is
// left when the parse ends, by error or at the limit, is destroyed by clean.

#ifndef MORVEX_ADDRESS_POSTDOCK_FLEXER_H
#define MORVEX_ADDRESS_POSTDOCK_FLEXER_H

#include "address/address_scanner.h"
#include "address/string_pool.h"

#include <string>

class Address;
class AddressList;
class Mailbox2;
template <class T, class A> class HVector;

using addrPostdockFlexLexer = AddressScanner;

class AddrPostdockFlexer final : public addrPostdockFlexLexer {
public:
    // A flexer whose results go to `list`, which must outlive it.
    explicit AddrPostdockFlexer(AddressList* list);
    ~AddrPostdockFlexer() override;

    // Runs one parse, as AddressList::parsePostdock tells, without emptying the list first. A text
    // of 2 GiB and a negative limit fail. Requires: text is not null.
    int parse(const char* text, int maxAddresses, const char* defaultDomain, bool allowNullPath);

    int LexerInput(char* buffer, int maxSize) override;

    // Ends a parse: frees the texts, destroys what is pending, and puts the scanner back in its
    // initial state.
    void clean();

    // What follows is for the grammar.

    // The next token, with its text in a pooled string.
    int nextToken(std::string*& text);

    StringPool& getPool() { return *pool; }
    bool isNullPathAllowed() const { return allowNullPath; }
    const char* getDefaultDomain() const { return defaultDomain; } // null where there is none

    // New objects, pending. A null fullName means no display name.
    Mailbox2* newMailbox(const std::string* fullName, const char* addrSpec);
    Address* newGroup(const char* name);

    // Moves a pending mailbox into a group; null is ignored.
    void moveIntoGroup(Address* group, Mailbox2* mailbox);

    // Delivers a complete mailbox or group to the owner, a group cut to the places left. True when
    // the limit is reached, which ends the parse with success.
    bool commitMailbox(Mailbox2* mailbox);
    bool commitGroup(Address* group);

private:
    bool isLimitReached() const { return maxAddresses != 0 && count >= maxAddresses; }

    int commentDepth;    // of the scanner
    int inputLength;     // of the text, in bytes
    int inputPosition;   // how much of it LexerInput has handed over
    char* input;         // owned copy of the text
    char* defaultDomain; // owned copy, or null
    int maxAddresses;    // 0 for no limit
    int count;           // mailboxes delivered so far
    bool allowNullPath;
    StringPool* pool;                        // owned
    HVector<void*, void*>* pendingMailboxes; // owned, of owned Mailbox2*, in rising order
    HVector<void*, void*>* pendingGroups;    // owned, of owned Address*, in rising order
    AddressList* owner;
};

// The generated grammar. Returns 0 on success, non-zero on failure; calls no one but the flexer,
// an AddrPostdockFlexer.
int addrPostdockparse(void* flexer);

#endif
