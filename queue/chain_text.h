// What the readers of string chains share: numbers in their strings, and entries in a tree.

#ifndef MORVEX_QUEUE_CHAIN_TEXT_H
#define MORVEX_QUEUE_CHAIN_TEXT_H

#include "common/container/rb_tree.h"

#include <cstdint>
#include <cstdlib>
#include <memory>

namespace ChainText {

// The hexadecimal number at the start of a text, 0 for none.
inline std::uint32_t hexAt(const char* text) {
    return static_cast<std::uint32_t>(std::strtoul(text, nullptr, 16));
}

// Adds an entry unless the key is there. The key object is the tree's; `value` stays the caller's.
template <class Key, class Value> void addOnce(Tree& out, Value key, const char* value) {
    std::unique_ptr<Key> fresh(new Key(key));
    if (out.insert(fresh.get(), value) == 0) {
        static_cast<void>(fresh.release());
    }
}

} // namespace ChainText

#endif
