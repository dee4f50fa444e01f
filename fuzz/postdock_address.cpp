// The address grammar of the command line: a list that parses is printed and parses again to the
// same addresses, and limits cut it where they say. Input: the text of the list.

#include "fuzz/printed_addresses.h"

namespace {

using support::Entries;
using support::entriesOf;
using support::Entry;
using support::Mailbox;

constexpr char Domain[] = "d.example";

void checkPieces(const AddressList& list) {
    for (int i = 0; i < list.addresses->size(); ++i) {
        const Address* address = static_cast<const Address*>(list.addresses->get(i));
        for (int j = 0; j < address->size(); ++j) {
            char* local = nullptr;
            char* domain = nullptr;
            const Mailbox2* mailbox = address->getMailbox(j);
            mailbox->splitAddress(local, domain);
            const std::unique_ptr<char[]> localGuard(local);
            const std::unique_ptr<char[]> domainGuard(domain);
            FUZZ_CHECK(local != nullptr);
            const std::string joined =
                domain != nullptr ? std::string(local) + "@" + domain : std::string(local);
            FUZZ_CHECK(joined == mailbox->addrSpec);
            const std::unique_ptr<char[]> quoted(mailbox->genAddrSpecQouted());
            const std::unique_ptr<char[]> value(mailbox->genMailboxValue());
            FUZZ_CHECK(std::strlen(value.get()) >= joined.size());
        }
    }
}

} // namespace

FUZZ_TARGET(postdock_address) {
    const fuzz::Text text(input.rest());
    AddressList list;
    const int bare = list.parsePostdock(text.get(), 0, nullptr, false);
    const Entries bareEntries = entriesOf(list);
    const int count = list.parsePostdock(text.get(), 0, Domain, true);
    if (count < 0) {
        FUZZ_CHECK(bare < 0);
        return;
    }
    const Entries entries = entriesOf(list);
    const std::string behindComment = std::string("()") + text.get();
    FUZZ_CHECK(list.parsePostdock(behindComment.c_str(), 0, Domain, true) == count);
    FUZZ_CHECK(entriesOf(list) == entries);
    FUZZ_CHECK(bare < 0 || (bare == count && bareEntries == entries));
    checkPieces(list);

    fuzz::checkPrint(list, [](AddressList& again, const char* printed) {
        return again.parsePostdock(printed, 0, nullptr, true);
    });

    AddressList other;
    for (int limit = 1; limit <= count && limit <= 4; ++limit) {
        FUZZ_CHECK(other.parsePostdock(text.get(), limit, Domain, true) == limit);
    }
    other.mergeAddressList(&list);
    if (count > 0 && !entries.front().mailboxes.empty()) {
        const std::string spec = entries.front().mailboxes.front().addrSpec;
        FUZZ_CHECK(list.removeMailboxByAddrSpec(spec.c_str(), 0) == 0);
        for (const Entry& entry : entriesOf(list)) {
            for (const Mailbox& mailbox : entry.mailboxes) {
                FUZZ_CHECK(mailbox.addrSpec != spec);
            }
        }
    }
}
