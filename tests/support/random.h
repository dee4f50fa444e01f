// Random input with a seed that is printed, so that a failure can be run again:
// MORVEX_TEST_SEED=<seed> runs the same input.

#ifndef MORVEX_TESTS_SUPPORT_RANDOM_H
#define MORVEX_TESTS_SUPPORT_RANDOM_H

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <string_view>

namespace support {

inline std::mt19937_64 seededRandom(const char* testName) {
    const char* given = std::getenv("MORVEX_TEST_SEED");
    std::uint64_t seed =
        given != nullptr ? std::strtoull(given, nullptr, 0) : std::random_device{}();
    std::printf("%s: MORVEX_TEST_SEED=%llu\n", testName, static_cast<unsigned long long>(seed));
    return std::mt19937_64(seed);
}

inline std::size_t below(std::mt19937_64& random, std::size_t bound) {
    return static_cast<std::size_t>(random() % bound);
}

// A text of up to maxLength bytes, each drawn from the alphabet.
inline std::string randomText(std::mt19937_64& random, std::string_view alphabet,
                              std::size_t maxLength) {
    std::string text(below(random, maxLength + 1), '\0');
    for (char& byte : text) {
        byte = alphabet[below(random, alphabet.size())];
    }
    return text;
}

} // namespace support

#endif
