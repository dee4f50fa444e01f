// The address grammar of headers: it gives what the command line's gives, but for the default
// domain; a list that parses is printed and parses again to the same addresses. Input: the text.

#include "fuzz/printed_addresses.h"

using support::Entries;
using support::entriesOf;

FUZZ_TARGET(rfc2822_address) {
    constexpr char Domain[] = "d.example";
    const fuzz::Text text(input.rest());
    AddressList header;
    const int result = header.parse2822(text.get(), true);
    const Entries entries = entriesOf(header);

    // What was complete before a failing point is the same as well. Only the one entry in front of
    // a
    // `[` or a raw byte may be missing, which the command line's grammar takes for part of a name.
    const auto mayEndName = [](char c) { return c == '[' || (c & 0x80) != 0; };
    const bool cut = result != 0 && std::any_of(text.get(), text.get() + text.size(), mayEndName);
    AddressList completed;
    FUZZ_CHECK((completed.parsePostdock(text.get(), 0, Domain, false) >= 0) == (result == 0));
    AddressList bare;
    bare.mergeAddressList(&header);
    for (int i = 0; i < bare.addresses->size(); ++i) {
        const Address* address = static_cast<const Address*>(bare.addresses->get(i));
        for (int j = 0; j < address->size(); ++j) {
            Mailbox2* mailbox = address->getMailbox(j);
            // A backslash before a quote hides an `@` from findAt, or shows one that is quoted.
            if (mailbox->findAt() == nullptr && std::strchr(mailbox->addrSpec, '\\') == nullptr) {
                mailbox->setDomain(Domain);
            }
        }
    }
    Entries expected = entriesOf(bare);
    const Entries found = entriesOf(completed);
    if (cut && found.size() + 1 == expected.size()) {
        expected.pop_back();
    }
    FUZZ_CHECK(expected.size() == found.size());
    if (std::strchr(text.get(), '\\') == nullptr) {
        FUZZ_CHECK(expected == found);
    }

    if (result == 0) {
        fuzz::checkPrint(header, [](AddressList& again, const char* printed) {
            return again.parse2822(printed, true);
        });
    }
    Entries twice = entries;
    twice.insert(twice.end(), entries.begin(), entries.end());
    FUZZ_CHECK(header.parse2822(text.get(), false) == result);
    FUZZ_CHECK(entriesOf(header) == twice);
}
