// A list of mail addresses (RFC 2822): filled by a parser, printed, merged and searched.
//
// The list owns its entries and its parsers, one for each of the three languages. A list is made
// once and parsed into many times: a parser and its text buffers are made by its first parse and
// kept, so that a further parse of an ordinary address allocates next to nothing. A list is used by
// one thread at a time; different lists share nothing. A parse reports failure by -1 alone: there
// is no message, and the last error is not set.

#ifndef MORVEX_ADDRESS_ADDRESS_LIST_H
#define MORVEX_ADDRESS_ADDRESS_LIST_H

#include "address/address.h"

#include <string>

class Addr2822Flexer;
class AddrPostdockFlexer;
class AddrWebmailFlexer;

class AddressList {
public:
    AddressList();
    AddressList(const AddressList&) = delete;
    AddressList& operator=(const AddressList&) = delete;
    ~AddressList();

    // Empties the list, then parses an address list as it stands on a command line or in an address
    // header: RFC 2822 with its obsolete forms, ASCII only.
    //   maxAddresses   the largest number of mailboxes to deliver, 0 for no limit. Once it is
    //                  reached the parse ends with success, and the rest of the text is not judged.
    //                  A group is cut to the places left. A limit below 0 fails the parse.
    //   defaultDomain  what an address without `@` gets as its domain; where it is null, such an
    //                  address fails the parse.
    //   allowNullPath  whether the null address "<>" is accepted.
    // Returns the number of mailboxes delivered, a group counting as its size, or -1 for a text
    // that does not parse, and for a null one. After -1 the list holds what was complete before the
    // failing point and is best ignored. After success it holds, in the order of the text, a Single
    // for each mailbox and a Group for each group; without a limit a group may be empty.
    // Requires: neither text is one of an entry of this list, which the call empties first.
    int parsePostdock(const char* text, int maxAddresses, const char* defaultDomain,
                      bool allowNullPath);

    // Parses an address list as it stands in a message header: the language of parsePostdock
    // without the null address, and with a bare local part, which gets no domain, as an address.
    // With `clear` the list is emptied first; without, the new entries come behind those of earlier
    // calls, so that several header values can be collected. Returns 0, or -1 for a text that does
    // not parse, and for a null one. After -1 the entries that were complete before the failing
    // point stay in the list.
    // Requires: with `clear`, the text is none of an entry of this list.
    int parse2822(const char* text, bool clear);

    // Empties the list, then parses what a person typed into an address field: addresses with or
    // without a display name, with commas, semicolons and line ends between them. A display name
    // needs no quotes, may hold 8-bit text and such separators, and may be an address in angle
    // brackets. A text that ends within a quoted string or an encoded word ends before it. There
    // are no groups, comments and routes. Returns 0 or -1 as parse2822 does; the list holds Single
    // entries only.
    // Requires: the text is none of an entry of this list.
    int parseWebmail(const char* text);

    // The first `maxEntries` entries in header form, joined by ", " and not folded. With `encode`
    // display names and group names that need it come as encoded words (RFC 2047). The flat form
    // prints of a group only its mailboxes. A `maxEntries` of 0 or below gives the empty text. The
    // text belongs to the list and is good until the next call of either.
    const char* getAddressListValue(bool encode, int maxEntries);
    const char* getAddressListValueFlat(bool encode, int maxEntries);

    // Appends a deep copy of each entry of `other`, which stays unchanged. Duplicates are kept.
    // Requires: other is neither null nor this list.
    void mergeAddressList(AddressList* other);

    // Removes the mailboxes whose display name or addr-spec equals the argument, ignoring the case
    // of ASCII letters: at most `limit` of them in the order of the list, or all for a limit of 0
    // or below. A Single goes with its mailbox; a Group stays, even when emptied. A null argument
    // equals none; one that is a text of this list is good. Returns 0.
    int removeMailboxByName(const char* name, int limit);
    int removeMailboxByAddrSpec(const char* addrSpec, int limit);

    // Whether a byte may stand in a phrase without quotes. Wider than the atext of RFC 2822: the
    // space and every byte from 0x80 up may.
    static bool isatext(unsigned char byte);

    // Puts a text in double quotes, `"` and `\` behind a backslash, unless it is empty or all of
    // its bytes pass isatext.
    static void quotePhrase(std::string* text);

    // Makes a display name of the text of a parsed phrase: trailing spaces go, then one pair of
    // double quotes around the whole. Backslash pairs inside stay. A text of spaces only stays.
    static void normalizeDisplayName(std::string* text);

    // Removes every space outside double quotes. Each `"` opens or closes a quote, whether or not a
    // backslash stands before it.
    static void normalizeAddrSpec(std::string* text);

    // Appends a text as it stands or, with `encode`, as encodeHeader gives it; a text that cannot
    // be encoded is appended as it stands.
    static void appendHeaderText(std::string& out, const std::string& text, bool encode);

    HVector<void*, void*>* addresses; // owned, of owned Address*: size() and get(i) are the list

private:
    using Writer = const char* (Address::*)(std::string&, bool) const;
    using Field = char* Mailbox2::*;

    const char* writeEntries(bool encode, int maxEntries, Writer writer);
    int removeMailboxes(Field field, const char* text, int limit);

    std::string value;                  // text of the last getAddressListValue or ...Flat
    AddrWebmailFlexer* webmailFlexer;   // owned; null until the first parseWebmail
    Addr2822Flexer* rfc2822Flexer;      // owned; null until the first parse2822
    AddrPostdockFlexer* postdockFlexer; // owned; null until the first parsePostdock
};

#endif
