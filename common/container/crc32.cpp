// Eight bytes a step ("slicing by eight"): table n holds the effect of a byte that is followed by
// n more ones, so eight look-ups that don't wait for each other take the place of eight that do.
// What is left over goes a byte a step through table 0, the classic table.

#include "common/container/crc32.h"

#include <array>
#include <cctype>
#include <cstdint>

namespace {

using Table = std::array<std::uint32_t, 256>;

constexpr std::array<Table, 8> makeTables() {
    std::array<Table, 8> tables{};
    for (std::uint32_t byte = 0; byte < 256; ++byte) {
        std::uint32_t value = byte;
        for (int bit = 0; bit < 8; ++bit) {
            value = (value >> 1) ^ ((value & 1) != 0 ? 0xEDB88320U : 0U);
        }
        tables[0][byte] = value;
    }
    for (std::size_t n = 1; n < tables.size(); ++n) {
        for (std::size_t byte = 0; byte < 256; ++byte) {
            const std::uint32_t value = tables[n - 1][byte];
            tables[n][byte] = tables[0][value & 0xff] ^ (value >> 8);
        }
    }
    return tables;
}

constexpr std::array<Table, 8> tables = makeTables();

inline std::uint32_t step(std::uint32_t crc, unsigned byte) {
    return tables[0][(crc ^ byte) & 0xff] ^ (crc >> 8);
}

// Put together byte by byte, which any byte order reads alike and compilers turn into one load.
inline std::uint32_t littleEndian(const unsigned char* data) {
    return static_cast<std::uint32_t>(data[0]) | static_cast<std::uint32_t>(data[1]) << 8 |
           static_cast<std::uint32_t>(data[2]) << 16 | static_cast<std::uint32_t>(data[3]) << 24;
}

} // namespace

unsigned int CRC32(const unsigned char* data, int length, unsigned int initial,
                   unsigned int xorValue) {
    std::uint32_t crc = initial ^ xorValue;
    for (; length >= 8; length -= 8, data += 8) {
        const std::uint32_t low = crc ^ littleEndian(data);
        const std::uint32_t high = littleEndian(data + 4);
        crc = tables[7][low & 0xff] ^ tables[6][(low >> 8) & 0xff] ^ tables[5][(low >> 16) & 0xff] ^
              tables[4][low >> 24] ^ tables[3][high & 0xff] ^ tables[2][(high >> 8) & 0xff] ^
              tables[1][(high >> 16) & 0xff] ^ tables[0][high >> 24];
    }
    for (; length > 0; --length, ++data) {
        crc = step(crc, *data);
    }
    return crc ^ xorValue;
}

unsigned int caseCRC32(const unsigned char* data, int length, unsigned int initial,
                       unsigned int xorValue) {
    std::uint32_t crc = initial ^ xorValue;
    for (; length > 0; --length, ++data) {
        crc = step(crc, static_cast<unsigned>(std::tolower(*data)));
    }
    return crc ^ xorValue;
}
