// The address grammar of the command line: a list that parses is printed and parses again to the
// same addresses, and limits cut it where they say. Input: the text of the list.

#include "address/address_list.h"
#include "common/container/hvector.h"
#include "fuzz/target.h"

#include <vector>

namespace {

constexpr char Domain[] = "d.example";

struct Entry {
    bool group;
    std::vector<std::string> addresses;
    bool operator==(const Entry&) const = default;
};

std::vector<Entry> entriesOf(const AddressList& list) {
    std::vector<Entry> entries;
    for (int i = 0; i < list.addresses->size(); ++i) {
        const Address* address = static_cast<const Address*>(list.addresses->get(i));
        Entry entry{address->isGroup(), {}};
        for (int j = 0; j < address->size(); ++j) {
            entry.addresses.emplace_back(address->getMailbox(j)->addrSpec);
        }
        entries.push_back(entry);
    }
    return entries;
}

// A name that comes back as it stands: words of letters and digits, with one blank between two.
bool isPlainName(const char* name) {
    const std::string_view text = name != nullptr ? name : "";
    return text.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ "
                                  "0123456789") == std::string_view::npos &&
           !text.starts_with(' ') && !text.ends_with(' ') &&
           text.find("  ") == std::string_view::npos;
}

// Whether printing and parsing keeps the addresses. A backslash is left out: normalizeAddrSpec
// counts a quote behind one as the end of the quoted text, as it has to.
bool isPlain(const AddressList& list) {
    for (int i = 0; i < list.addresses->size(); ++i) {
        const Address* address = static_cast<const Address*>(list.addresses->get(i));
        const char* groupName = address->getGroupName();
        if (!isPlainName(groupName) || (address->isGroup() && *groupName == '\0')) {
            return false;
        }
        for (int j = 0; j < address->size(); ++j) {
            const Mailbox2* mailbox = address->getMailbox(j);
            if (!isPlainName(mailbox->fullName) ||
                std::strchr(mailbox->addrSpec, '\\') != nullptr) {
                return false;
            }
        }
    }
    return true;
}

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
    const std::vector<Entry> bareEntries = entriesOf(list);
    const int count = list.parsePostdock(text.get(), 0, Domain, true);
    if (count < 0) {
        FUZZ_CHECK(bare < 0);
        return;
    }
    const std::vector<Entry> entries = entriesOf(list);
    FUZZ_CHECK(bare < 0 || (bare == count && bareEntries == entries));
    checkPieces(list);

    for (const bool encode : {false, true}) {
        const std::string flat = list.getAddressListValueFlat(encode, entries.empty() ? 0 : 1000);
        const std::string printed = list.getAddressListValue(encode, 1000000);
        if (isPlain(list) && !entries.empty()) {
            AddressList again;
            FUZZ_CHECK(again.parsePostdock(printed.c_str(), 0, nullptr, true) == count);
            FUZZ_CHECK(entriesOf(again) == entries);
            FUZZ_CHECK(again.getAddressListValue(encode, 1000000) == printed);
        }
    }

    AddressList other;
    for (int limit = 1; limit <= count && limit <= 4; ++limit) {
        FUZZ_CHECK(other.parsePostdock(text.get(), limit, Domain, true) == limit);
    }
    other.mergeAddressList(&list);
    if (count > 0 && !entries.front().addresses.empty()) {
        const std::string spec = entries.front().addresses.front();
        FUZZ_CHECK(list.removeMailboxByAddrSpec(spec.c_str(), 0) == 0);
        for (const Entry& entry : entriesOf(list)) {
            FUZZ_CHECK(std::find(entry.addresses.begin(), entry.addresses.end(), spec) ==
                       entry.addresses.end());
        }
    }
}
