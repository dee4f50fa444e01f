// Copies of zero-terminated texts as new arrays, for the owners of plain text fields.

#ifndef MORVEX_ADDRESS_TEXT_COPY_H
#define MORVEX_ADDRESS_TEXT_COPY_H

#include <cstddef>
#include <cstring>

// The first `length` bytes of a text, terminated, as a new array.
inline char* copyText(const char* text, std::size_t length) {
    char* copy = new char[length + 1];
    std::memcpy(copy, text, length);
    copy[length] = '\0';
    return copy;
}

// The whole text as a new array; null for null.
inline char* copyText(const char* text) {
    return text != nullptr ? copyText(text, std::strlen(text)) : nullptr;
}

#endif
