// The address grammar of web forms against its plain model; what it reads and prints plainly, it
// and the grammar of headers read back. Input: the text.

#include "fuzz/printed_addresses.h"
#include "tests/support/webmail_model.h"

using support::entriesOf;

FUZZ_TARGET(webmail_address) {
    const fuzz::Text text(input.rest());
    AddressList list;
    const int result = list.parseWebmail(text.get());
    const auto expected = support::WebmailModel::read(text.view());
    FUZZ_CHECK((result == 0) == expected.has_value());
    if (result == 0) {
        FUZZ_CHECK(entriesOf(list) == *expected);
        fuzz::checkPrint(list, [](AddressList& again, const char* printed) {
            return again.parseWebmail(printed);
        });
        fuzz::checkPrint(list, [](AddressList& again, const char* printed) {
            return again.parse2822(printed, true);
        });
    }
    const support::Entries entries = entriesOf(list);
    FUZZ_CHECK(list.parseWebmail(text.get()) == result);
    FUZZ_CHECK(entriesOf(list) == entries);
}
