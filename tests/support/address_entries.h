// What an address list holds as plain values, which compare and print.

#ifndef MORVEX_TESTS_SUPPORT_ADDRESS_ENTRIES_H
#define MORVEX_TESTS_SUPPORT_ADDRESS_ENTRIES_H

#include "address/address_list.h"
#include "common/container/hvector.h"

#include <optional>
#include <string>
#include <vector>

namespace support {

struct Mailbox {
    std::optional<std::string> name;
    std::string addrSpec;
    bool operator==(const Mailbox&) const = default;
};

struct Entry {
    std::optional<std::string> groupName; // set for a group
    std::vector<Mailbox> mailboxes;
    bool operator==(const Entry&) const = default;
};

using Entries = std::vector<Entry>;

inline Entries entriesOf(const AddressList& list) {
    Entries entries;
    for (int i = 0; i < list.addresses->size(); ++i) {
        const Address* address = static_cast<const Address*>(list.addresses->get(i));
        Entry entry;
        if (address->isGroup()) {
            entry.groupName = address->getGroupName();
        }
        for (int j = 0; j < address->size(); ++j) {
            const Mailbox2* mailbox = address->getMailbox(j);
            Mailbox copy;
            if (mailbox->fullName != nullptr) {
                copy.name = mailbox->fullName;
            }
            copy.addrSpec = mailbox->addrSpec;
            entry.mailboxes.push_back(copy);
        }
        entries.push_back(entry);
    }
    return entries;
}

// "name <spec>" for a mailbox, "group[...]" for a group, all joined by "; ", with "-" for no name.
inline std::string dump(const Entries& entries) {
    std::string out;
    for (const Entry& entry : entries) {
        out += out.empty() ? "" : "; ";
        out += entry.groupName ? *entry.groupName + "[" : "";
        for (std::size_t i = 0; i < entry.mailboxes.size(); ++i) {
            const Mailbox& mailbox = entry.mailboxes[i];
            out += (i > 0 ? ", " : "") + mailbox.name.value_or("-") + " <" + mailbox.addrSpec + ">";
        }
        out += entry.groupName ? "]" : "";
    }
    return out;
}

} // namespace support

#endif
