// What the readers of string chains share: numbers in their strings, entries in a tree, and the end
// of a walk that would have none.

#ifndef MORVEX_QUEUE_CHAIN_TEXT_H
#define MORVEX_QUEUE_CHAIN_TEXT_H

#include "common/container/rb_tree.h"

#include <charconv>
#include <cstdint>
#include <cstring>
#include <memory>

namespace ChainText {

// The hexadecimal number at the start of a text, 0 for none. No more than eight digits are looked
// at: a damaged text may have millions, and a walk may come by it often.
inline std::uint32_t hexAt(const char* text) {
    constexpr std::size_t maxDigits = 8;
    std::uint32_t value = 0;
    std::from_chars(text, text + ::strnlen(text, maxDigits), value, 16);
    return value;
}

// Notices that a walk along a chain runs in a circle: it comes back to the mark, which moves up at
// each power of two. So a string is met a few times, and not as often as the walk may be long.
class CircleWatch {
public:
    // Whether the walk has been here before. Requires: link is not 0.
    bool closes(std::uint32_t link) {
        if (link == mark) {
            return true;
        }
        if ((steps & (steps + 1)) == 0) {
            mark = link;
        }
        ++steps;
        return false;
    }

private:
    std::uint32_t mark = 0;
    std::uint32_t steps = 0;
};

// Adds an entry unless the key is there. The key object is the tree's; `value` stays the caller's.
template <class Key, class Value> void addOnce(Tree& out, Value key, const char* value) {
    std::unique_ptr<Key> fresh(new Key(key));
    if (out.insert(fresh.get(), value) == 0) {
        static_cast<void>(fresh.release());
    }
}

} // namespace ChainText

#endif
