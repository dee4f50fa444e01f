// What the targets of the address grammars share: a list that prints plainly parses again to the
// same list.

#ifndef MORVEX_FUZZ_PRINTED_ADDRESSES_H
#define MORVEX_FUZZ_PRINTED_ADDRESSES_H

#include "fuzz/target.h"
#include "tests/support/address_entries.h"

namespace fuzz {

// A name that comes back as it stands: words of letters and digits, with one blank between two.
inline bool isPlainName(std::string_view name) {
    return !name.empty() &&
           name.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ "
                                  "0123456789") == name.npos &&
           !name.starts_with(' ') && !name.ends_with(' ') && name.find("  ") == name.npos;
}

// Whether printing and parsing keeps a list. A backslash is left out: normalizeAddrSpec counts a
// quote behind one as the end of the quoted text, as it has to.
inline bool isPlain(const support::Entries& entries) {
    for (const support::Entry& entry : entries) {
        if (entry.groupName && !isPlainName(*entry.groupName)) {
            return false;
        }
        for (const support::Mailbox& mailbox : entry.mailboxes) {
            if ((mailbox.name && !isPlainName(*mailbox.name)) ||
                mailbox.addrSpec.find('\\') != std::string::npos) {
                return false;
            }
        }
    }
    return true;
}

// Prints the list in all ways; `parse` reads a text into a list, below 0 for a failure. Requires:
// the language has all that the list holds.
template <class Parse> void checkPrint(AddressList& list, Parse parse) {
    const support::Entries entries = support::entriesOf(list);
    const int size = list.addresses->size();
    for (const bool encode : {false, true}) {
        const std::string flat = list.getAddressListValueFlat(encode, size);
        const std::string printed = list.getAddressListValue(encode, size);
        FUZZ_CHECK(flat.size() <= printed.size());
        if (size > 0 && isPlain(entries)) {
            AddressList again;
            FUZZ_CHECK(parse(again, printed.c_str()) >= 0);
            FUZZ_CHECK(support::entriesOf(again) == entries);
            FUZZ_CHECK(again.getAddressListValue(encode, size) == printed);
        }
    }
}

} // namespace fuzz

#endif
