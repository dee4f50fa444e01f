// The address grammar of web forms: each address that it reads is one for it alone and for the
// grammar of headers, and what prints plainly, both read back. Input: the text.

#include "fuzz/printed_addresses.h"

using support::entriesOf;

namespace {

int parseForm(AddressList& list, const char* text) {
    return list.parseWebmail(text);
}

int parseHeader(AddressList& list, const char* text) {
    return list.parse2822(text, true);
}

} // namespace

FUZZ_TARGET(webmail_address) {
    const fuzz::Text text(input.rest());
    AddressList list;
    const int result = list.parseWebmail(text.get());
    const support::Entries entries = entriesOf(list);
    for (const support::Entry& entry : entries) {
        const std::string& spec = entry.mailboxes.at(0).addrSpec;
        const support::Entries alone = {{std::nullopt, {{std::nullopt, spec}}}};
        for (const auto parse : {parseForm, parseHeader}) {
            AddressList again;
            FUZZ_CHECK(parse(again, spec.c_str()) == 0 && entriesOf(again) == alone);
            FUZZ_CHECK(parse(again, ("N <" + spec + ">").c_str()) == 0);
        }
    }
    if (result == 0) {
        FUZZ_CHECK(!entries.empty());
        fuzz::checkPrint(list, parseForm);
        fuzz::checkPrint(list, parseHeader);
    }
    FUZZ_CHECK(list.parseWebmail(text.get()) == result);
    FUZZ_CHECK(entriesOf(list) == entries);
}
