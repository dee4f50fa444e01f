// Encoded words: any text decodes within its bounds, and valid UTF-8 comes back from its encoded
// form. Input: the text.

#include "message/encoded_word.h"

#include "fuzz/target.h"
#include "message/header_field.h"
#include "message/text_checks.h"

namespace {

bool isAscii(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return (c & 0x80) == 0; });
}

// Valid UTF-8 in the narrow sense: no overlong form, no surrogate, nothing above U+10FFFF.
bool isUtf8(std::string_view text) {
    for (std::size_t i = 0; i < text.size();) {
        const unsigned lead = static_cast<unsigned char>(text[i]);
        const std::size_t more = lead < 0x80 ? 0 : lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
        if ((lead >= 0x80 && lead < 0xC2) || lead > 0xF4 || i + more >= text.size()) {
            return false;
        }
        unsigned value = more == 0 ? lead : lead & (0x3FU >> more);
        for (std::size_t j = 1; j <= more; ++j) {
            const unsigned next = static_cast<unsigned char>(text[i + j]);
            if ((next & 0xC0U) != 0x80) {
                return false;
            }
            value = value << 6 | (next & 0x3FU);
        }
        if ((more == 2 && value < 0x800) || (more == 3 && (value < 0x10000 || value > 0x10FFFF)) ||
            (value >= 0xD800 && value < 0xE000)) {
            return false;
        }
        i += more + 1;
    }
    return true;
}

} // namespace

FUZZ_TARGET(encoded_word) {
    const fuzz::Text text(input.rest());

    int length = -1;
    const std::unique_ptr<char[]> narrow(decodeHeader(text.get(), length, false));
    FUZZ_CHECK(length >= 0 && narrow[static_cast<std::size_t>(length)] == '\0');
    const bool hasWord = text.view().find("=?") != std::string_view::npos;
    FUZZ_CHECK(hasWord || text.view() == std::string_view(narrow.get()));

    const std::unique_ptr<char[]> wide(decodeHeader(text.get(), length, true));
    char16_t last = 1;
    std::memcpy(&last, wide.get() + static_cast<std::size_t>(length) * sizeof last, sizeof last);
    FUZZ_CHECK(length >= 0 && last == 0);

    const std::unique_ptr<char[]> strict(decodeHeader(text.get(), true));
    const std::unique_ptr<char[]> loose(decodeHeader(text.get(), false));
    FUZZ_CHECK(loose != nullptr);
    if (strict != nullptr) {
        FUZZ_CHECK(std::strcmp(strict.get(), loose.get()) == 0);
        FUZZ_CHECK(Utils::isValidUTF8(reinterpret_cast<unsigned char*>(strict.get())));
    }

    const std::unique_ptr<char[]> encoded(encodeHeader(text.get()));
    FUZZ_CHECK(isAscii(encoded.get()));
    if (isAscii(text.view())) {
        FUZZ_CHECK(text.view() == encoded.get());
    } else if (isUtf8(text.view()) && text.view().find_first_of("\r\n") == std::string_view::npos) {
        const std::unique_ptr<char[]> back(decodeHeader(encoded.get(), true));
        FUZZ_CHECK(back != nullptr && text.view() == back.get());
    }
}
