#include "common/container/crc32.h"
#include "tests/support/random.h"

#include <gtest/gtest.h>

#include <string>

namespace {

constexpr unsigned allOnes = 0xFFFFFFFF;

using Checksum = unsigned(const unsigned char*, int, unsigned, unsigned);

unsigned crcOf(const std::string& text, unsigned initial = 0, unsigned xorValue = allOnes,
               Checksum* checksum = CRC32) {
    return checksum(reinterpret_cast<const unsigned char*>(text.data()),
                    static_cast<int>(text.size()), initial, xorValue);
}

// A bit a step, straight from the polynomial.
unsigned slowCrc(const std::string& text, unsigned initial, unsigned xorValue) {
    unsigned crc = initial ^ xorValue;
    for (const char c : text) {
        crc ^= static_cast<unsigned char>(c);
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc & 1) != 0 ? (crc >> 1) ^ 0xEDB88320U : crc >> 1;
        }
    }
    return crc ^ xorValue;
}

TEST(CRC32, AnyLengthAndChunkingAgreesWithTheBitwiseForm) {
    EXPECT_EQ(crcOf("123456789"), 0xCBF43926U); // the standard's check value
    EXPECT_EQ(crcOf("", 0x12345678), 0x12345678U);
    auto random = support::seededRandom("CRC32");
    for (int round = 0; round < 300; ++round) {
        std::string text(support::below(random, 70), '\0');
        for (char& c : text) {
            c = static_cast<char>(random());
        }
        const auto initial = static_cast<unsigned>(random());
        const auto xorValue = static_cast<unsigned>(random());
        const unsigned whole = slowCrc(text, initial, xorValue);
        ASSERT_EQ(crcOf(text, initial, xorValue), whole);

        const std::size_t cut = support::below(random, text.size() + 1);
        const unsigned carried = crcOf(text.substr(0, cut), initial, xorValue);
        ASSERT_EQ(crcOf(text.substr(cut), carried, xorValue), whole);
    }
}

TEST(CRC32, CaseFormFoldsLettersOnly) {
    const std::string mixed = "ABC@[`{ xyz\xC4\xDF";
    EXPECT_EQ(crcOf(mixed, 0, allOnes, caseCRC32), crcOf("abc@[`{ xyz\xC4\xDF"));
}

} // namespace
