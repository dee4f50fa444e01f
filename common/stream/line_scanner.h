// The scanners behind Stream::searchEOL: each finds the first line end of one set, in one pass
// that never goes back, sixteen bytes and more a step.
//
// A member is named by a pair of characters, the first in the low byte, and a mode word that says
// which of them, alone or in a row, make a line end. The data is only read and nothing outside of
// it is, so a range may lie in read-only memory and be searched by several threads at once.

#ifndef MORVEX_COMMON_STREAM_LINE_SCANNER_H
#define MORVEX_COMMON_STREAM_LINE_SCANNER_H

#include <cstdint>

namespace scan {

// The bits of the mode word.
constexpr unsigned FirstAlone = 1;  // the first character alone is a line end
constexpr unsigned SecondAlone = 2; // the second character alone is a line end
constexpr unsigned NoPair = 4;      // the two in a row count one by one
constexpr unsigned ReversePair = 8; // the two in the other order are a line end as well
constexpr unsigned NulAlone = 16;   // a NUL byte alone is a line end

constexpr std::uint16_t pair(char first, char second) {
    return static_cast<std::uint16_t>(static_cast<unsigned char>(first) |
                                      static_cast<unsigned char>(second) << 8);
}

} // namespace scan

// Gives the offset just behind the first line end in data and its length, 1 or 2, in eolSize; or
// -1 with eolSize 0. A size of 0 or less finds nothing. The members that exist are those that
// Stream::searchEOL uses, and with mode 7 the pairs TAB and blank, and ")" and blank.
template <std::uint16_t Pair, unsigned Mode>
int searchTwoChars(const unsigned char* data, int size, int& eolSize);

// The same: no member needs room behind its range.
template <std::uint16_t Pair, unsigned Mode>
inline int safeSearchTwoChars(const unsigned char* data, int size, int& eolSize) {
    return searchTwoChars<Pair, Mode>(data, size, eolSize);
}

// Gives the offset just behind the first TAB or blank, or -1.
int searchTabOrBlank(const unsigned char* data, int size);

// Gives the offset just behind the first ")" or blank, or -1.
int searchParenthesisOrBlank(const unsigned char* data, int size);

#endif
