// The byte tests. isASCII runs over whole messages and works in machine words; isValidUTF8 sees
// header text only.

#include "message/text_checks.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace {

constexpr std::uint64_t TOP_BITS = 0x8080808080808080U;

std::uint64_t loadWord(const char* text) {
    std::uint64_t word;
    std::memcpy(&word, text, sizeof word);
    return word;
}

// The bits that stand in any of them.
std::uint64_t fourWords(const char* text) {
    return loadWord(text) | loadWord(text + 8) | loadWord(text + 16) | loadWord(text + 24);
}

// How many continuation bytes a lead byte announces; -1 for a byte that cannot lead.
int continuations(unsigned char lead) {
    if (lead < 0xC0) {
        return -1;
    }
    if (lead < 0xE0) {
        return 1;
    }
    if (lead < 0xF0) {
        return 2;
    }
    if (lead < 0xF8) {
        return 3;
    }
    if (lead < 0xFC) {
        return 4;
    }
    return lead < 0xFE ? 5 : -1;
}

} // namespace

// NOLINTNEXTLINE(readability-non-const-parameter): as its callers hold it
bool Utils::isValidUTF8(unsigned char* text) {
    const unsigned char* p = text;
    while (*p != 0) {
        const unsigned char lead = *p++;
        if (lead < 0x80) {
            continue;
        }
        int left = continuations(lead);
        if (left < 0) {
            return false;
        }
        for (; left > 0; --left, ++p) {
            if ((*p & 0xC0) != 0x80) {
                return false;
            }
        }
    }
    return true;
}

bool Utils::isASCII(const char* text, unsigned int length) {
    const char* const end = text + length;
    // Many words a step, without a branch between them: this runs over whole messages.
    for (; end - text >= 64; text += 64) {
        if (((fourWords(text) | fourWords(text + 32)) & TOP_BITS) != 0) {
            return false;
        }
    }
    for (; text < end; ++text) {
        if ((static_cast<unsigned char>(*text) & 0x80) != 0) {
            return false;
        }
    }
    return true;
}
