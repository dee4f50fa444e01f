// A plain reader of the address languages of the RFC 2822 family, written from their description in
// words and independent of the generated scanner and grammars: no limit, everything in memory.

#ifndef MORVEX_TESTS_ADDRESS_ADDRESS_REFERENCE_H
#define MORVEX_TESTS_ADDRESS_ADDRESS_REFERENCE_H

#include "tests/support/address_entries.h"

#include <optional>
#include <string>

namespace reference {

// The entries of a text, or nothing where it is no address list. A null defaultDomain refuses bare
// local parts, an empty one leaves them as they are.
std::optional<support::Entries> parse(const std::string& text, const char* defaultDomain,
                                      bool allowNullPath);

} // namespace reference

#endif
