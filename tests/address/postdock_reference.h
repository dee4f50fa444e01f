// A plain reader of the command-line address language, written from its description in words and
// independent of the generated scanner and grammar: no limit, everything in memory, one pass.

#ifndef MORVEX_TESTS_ADDRESS_POSTDOCK_REFERENCE_H
#define MORVEX_TESTS_ADDRESS_POSTDOCK_REFERENCE_H

#include <optional>
#include <string>
#include <vector>

namespace reference {

struct Mailbox {
    std::optional<std::string> name;
    std::string addrSpec;
};

struct Entry {
    std::optional<std::string> groupName; // set for a group
    std::vector<Mailbox> mailboxes;
};

// The entries of a text, or nothing where it is no address list. A null defaultDomain refuses bare
// local parts.
std::optional<std::vector<Entry>> parse(const std::string& text, const char* defaultDomain,
                                        bool allowNullPath);

// "name <spec>" for a mailbox, "group[...]" for a group, all joined by "; ", with "-" for no name.
std::string dump(const std::vector<Entry>& entries);

} // namespace reference

#endif
