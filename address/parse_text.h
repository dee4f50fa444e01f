// The texts of a running parse, kept in step with the parser's stack.
//
// Each token and each symbol with a text value holds one string of the pool. The strings stand in
// the order of the parser's stack, the lookahead token's on top if there is one. A reduction joins
// its texts in the string of its first symbol and gives the others back. So the pool needs as many
// strings as the stack is deep, however long the text is, and joining costs time in proportion to
// the text, where fresh strings for each joined value would cost its square.
//
// In all functions `lookahead` points to the value of the lookahead token, or is null where none
// has been read.

#ifndef MORVEX_ADDRESS_PARSE_TEXT_H
#define MORVEX_ADDRESS_PARSE_TEXT_H

#include "address/string_pool.h"

#include <string>

// Gives back the `count` strings that lie on top, under the lookahead's.
inline void dropTexts(StringPool& pool, int count, std::string** lookahead) {
    if (lookahead != nullptr) {
        std::string* lowest = pool.getString(pool.getUsed() - 1 - count);
        if (lowest != *lookahead) {
            lowest->swap(**lookahead);
            *lookahead = lowest;
        }
    }
    pool.dropStrings(count);
}

// A new empty string on top, under the lookahead's.
inline std::string* pushText(StringPool& pool, std::string** lookahead) {
    std::string* top = pool.addEmpty();
    if (lookahead == nullptr) {
        return top;
    }
    std::string* pushed = *lookahead;
    top->swap(*pushed);
    *lookahead = top;
    return pushed;
}

#endif
