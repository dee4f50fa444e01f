// What a running parse of the RFC 2822 family has made: the texts of its symbols, the mailboxes and
// groups that no entry owns yet, and the list that gets the results.
//
// The two pending vectors are in rising order of the pointers, so that an object is found in
// logarithmic time when it gets an owner. What is still pending when a parse ends, by error or
// early, is destroyed by clean; mailboxes that a pending group has taken over go with it. A parser
// object owns one builder and keeps it from parse to parse. One thread at a time.

#ifndef MORVEX_ADDRESS_ADDRESS_BUILDER_H
#define MORVEX_ADDRESS_ADDRESS_BUILDER_H

#include "address/string_pool.h"

#include <string>

class Address;
class AddressList;
class Mailbox2;
template <class T, class A> class HVector;

class AddressBuilder {
public:
    // A builder whose results go to `list`, which must outlive it.
    explicit AddressBuilder(AddressList* list);
    AddressBuilder(const AddressBuilder&) = delete;
    AddressBuilder& operator=(const AddressBuilder&) = delete;
    ~AddressBuilder();

    StringPool& getPool() { return *pool; }

    // New objects, pending. A null fullName means no display name, a null name none yet.
    Mailbox2* newMailbox(const std::string* fullName, const char* addrSpec);
    Address* newGroup(const char* name);

    // Moves a pending mailbox into a group; null is ignored.
    void moveIntoGroup(Address* group, Mailbox2* mailbox);

    // Appends a pending mailbox, as a Single, or a pending group to the list.
    void deliverMailbox(Mailbox2* mailbox);
    void deliverGroup(Address* group);

    // Appends a new mailbox without a display name to the list, as a Single.
    void deliverNew(const char* addrSpec);

    // Ends a parse: takes back all texts and destroys what is pending.
    void clean();

private:
    StringPool* pool;                        // owned
    HVector<void*, void*>* pendingMailboxes; // owned, of owned Mailbox2*
    HVector<void*, void*>* pendingGroups;    // owned, of owned Address*
    AddressList* owner;
};

#endif
