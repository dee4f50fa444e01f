// The entries of a parsed address list (RFC 2822): a Single is one mailbox, a Group a named list of
// mailboxes, and a Mailbox2 holds a display name and an addr-spec text.
//
// A list owns its entries, an entry its mailboxes, a mailbox its two texts. Everything here is used
// by one thread at a time. Texts that are returned as new arrays belong to the caller, who frees
// them with array delete. Nothing here sets the last error.

#ifndef MORVEX_ADDRESS_ADDRESS_H
#define MORVEX_ADDRESS_ADDRESS_H

#include <string>

template <class T, class A> class HVector;

class Mailbox2 {
public:
    // The display name goes through decodeHeader(name, false), so that encoded words (RFC 2047)
    // are held decoded. The addr-spec is copied as it stands. A null stays null.
    Mailbox2(const char* name, const char* spec);

    // Copies both texts as they stand, with no decoding.
    Mailbox2(const Mailbox2& other);
    Mailbox2& operator=(const Mailbox2&) = delete;
    ~Mailbox2();

    // Frees the old display name and stores decodeHeader(text, false). A null clears the name.
    void setFullName(const char* text);

    // The first `@` outside double quotes, as a pointer into addrSpec, or null. A quote ends at the
    // first `"` that has no backslash directly before it. Requires: addrSpec is not null.
    const char* findAt() const;

    // The texts before and after the `@`, as new arrays. Without an `@` the local part is the whole
    // text and the domain null; without an addrSpec both are null.
    void splitAddress(char*& localPart, char*& domain) const;

    // The same pieces one by one, as new arrays; null where the piece is missing.
    char* genLocalPart() const;
    char* genDomain() const;

    // Replaces the text after the `@`, or adds "@" and the domain where there was none. Without an
    // addrSpec nothing happens. Requires: domain is not null.
    void setDomain(const char* domain);

    // The addr-spec as a new array, the text before its first `@` (quotes are not looked at) run
    // through AddressList::quotePhrase. Null without an addrSpec.
    char* genAddrSpecQouted() const;

    // "fullName <addrSpec>", or what there is of the two, as a new array; never null. Nothing is
    // quoted or encoded.
    char* genMailboxValue() const;

    // Appends the mailbox in header form to `out` and returns where the appended text starts, a
    // pointer that is good until `out` changes. With a display name: the name (put in quotes where
    // `quote` is set and it needs them, in encoded words where `encode` is set and it needs them),
    // then the addr-spec in angle brackets; the null path prints as "<>" then. Without one: the
    // addr-spec alone, with no brackets added.
    const char* writeToString(std::string& out, bool encode, bool quote) const;

    // Destroy function of mailbox vectors; a null element is ignored.
    static void destroyMailbox(void* mailbox, void* unused);

    char* fullName; // owned; display name in decoded form (UTF-8), or null
    char* addrSpec; // owned; local part, "@", domain as the grammar normalised it, with the quotes
                    // and backslashes of a quoted local part; "<>" is the null reverse path
};

class Address {
public:
    Address() = default;
    Address(const Address&) = delete;
    Address& operator=(const Address&) = delete;
    virtual ~Address();

    virtual bool isGroup() const = 0;

    // The name of a group as it stands, null where there is none. Belongs to the entry.
    virtual const char* getGroupName() const = 0;

    // Stores a copy of the name; null clears it. 0, or -1 where the entry is no group.
    virtual int setGroupName(const char* name) = 0;

    // Number of mailboxes.
    virtual int size() const = 0;

    // The mailbox at an index, still owned by the entry, or null for an index out of range.
    virtual Mailbox2* getMailbox(int index) const = 0;

    // Appends a mailbox, which belongs to the entry from then on. 0, or -1 where the entry is no
    // group; the mailbox stays with the caller then.
    virtual int addMailbox(Mailbox2* mailbox) = 0;

    // Destroys and removes the mailbox at an index. 0, or -1 for a bad index or no group.
    virtual int removeMailbox(int index) = 0;

    // The lowest index of a mailbox whose field is present and equal to the argument, ignoring the
    // case of ASCII letters, or -1.
    virtual int findMailboxByAddrSpec(const char* addrSpec) const = 0;
    virtual int findMailboxByName(const char* name) const = 0;

    // Appends the entry in header form and returns where the appended text starts, a pointer that
    // is good until `out` changes. A group prints as "name: mailbox, mailbox;".
    virtual const char* writeToString(std::string& out, bool encode) const = 0;

    // The same, but of a group only its mailboxes, with no name, colon and semicolon.
    virtual const char* writeToStringFlat(std::string& out, bool encode) const = 0;

    // Destroy function of entry vectors; a null element is ignored.
    static void destroyAddress(void* address, void* unused);
};

class Single final : public Address {
public:
    // Takes the mailbox over. Requires: mailbox is not null.
    explicit Single(Mailbox2* newMailbox);
    ~Single() override;

    bool isGroup() const override;
    const char* getGroupName() const override;
    int setGroupName(const char* name) override;
    int size() const override;
    Mailbox2* getMailbox(int index) const override;
    int addMailbox(Mailbox2* mailbox) override;
    int removeMailbox(int index) override;
    int findMailboxByAddrSpec(const char* addrSpec) const override;
    int findMailboxByName(const char* name) const override;
    const char* writeToString(std::string& out, bool encode) const override;
    const char* writeToStringFlat(std::string& out, bool encode) const override;

private:
    Mailbox2* mailbox; // owned
};

class Group final : public Address {
public:
    // A group with no mailboxes and a copy of the name; null for no name yet.
    explicit Group(const char* name);

    // A deep copy: the name, and each mailbox in order with both texts as they stand.
    explicit Group(Group* other);
    ~Group() override;

    bool isGroup() const override;
    const char* getGroupName() const override;
    int setGroupName(const char* name) override;
    int size() const override;
    Mailbox2* getMailbox(int index) const override;
    int addMailbox(Mailbox2* mailbox) override;
    int removeMailbox(int index) override;
    int findMailboxByAddrSpec(const char* addrSpec) const override;
    int findMailboxByName(const char* name) const override;
    const char* writeToString(std::string& out, bool encode) const override;
    const char* writeToStringFlat(std::string& out, bool encode) const override;

private:
    char* groupName;                  // owned, or null
    HVector<void*, void*>* mailboxes; // owned, of owned Mailbox2*
};

#endif
