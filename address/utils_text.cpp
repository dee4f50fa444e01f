// Utils: texts.

#include "address/utils.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

const char* const Blanks = " \t\r\n";
const char* const HexDigits = "0123456789ABCDEF";

bool isDigit(char byte) {
    return byte >= '0' && byte <= '9';
}

bool isLower(char byte) {
    return byte >= 'a' && byte <= 'z';
}

bool isUpper(char byte) {
    return byte >= 'A' && byte <= 'Z';
}

// The value of a hexadecimal digit of either case, or -1.
int hexValue(char byte) {
    if (isDigit(byte)) {
        return byte - '0';
    }
    if (byte >= 'A' && byte <= 'F') {
        return byte - 'A' + 10;
    }
    return byte >= 'a' && byte <= 'f' ? byte - 'a' + 10 : -1;
}

} // namespace

int Utils::escapeString(const char* text, char* out, int& size) {
    int used = 0;
    for (; *text != '\0' && used < size - 3; ++text) {
        if (*text == '\\' || *text == '"') {
            out[used++] = '\\';
        }
        out[used++] = *text;
    }
    if (*text != '\0' || used >= size) {
        return -1;
    }
    out[used] = '\0';
    size = used;
    return 0;
}

int Utils::strStrip(char* text) {
    if (text == nullptr || *text != '"') {
        return 1;
    }
    const std::size_t length = std::strlen(text);
    const std::size_t kept = length >= 2 ? length - 2 : 0;
    std::memmove(text, text + 1, kept);
    text[kept] = '\0';
    return 0;
}

char* Utils::trimString(char* text) {
    if (text == nullptr) {
        return nullptr;
    }
    text += std::strspn(text, Blanks);
    std::size_t length = std::strlen(text);
    while (length > 0 && std::strchr(Blanks, text[length - 1]) != nullptr) {
        --length;
    }
    text[length] = '\0';
    return text;
}

char* Utils::firstToken(char* text) {
    if (text == nullptr) {
        return nullptr;
    }
    text += std::strspn(text, Blanks);
    text[std::strcspn(text, Blanks)] = '\0';
    return text;
}

void Utils::wildcharToRegex(std::string& text) {
    std::string regex = "^";
    for (const char byte : text) {
        if (byte == '.') {
            regex += '\\';
        } else if (byte == '*') {
            regex += '.';
        }
        regex += byte;
    }
    regex += '$';
    text.swap(regex);
}

bool Utils::isNumber10(const char* text, unsigned int maxLength) {
    if (text == nullptr) {
        return false;
    }
    const std::size_t length = strnlen(text, maxLength);
    const std::size_t start = length > 0 && (*text == '-' || *text == '+') ? 1 : 0;
    return length > start && std::all_of(text + start, text + length, isDigit);
}

void Utils::appendIntToString(std::string& text, unsigned int value) {
    text += std::to_string(value);
}

int Utils::intToAscii(char* buffer, unsigned int size, unsigned int value) {
    if (size < 2) {
        *buffer = '\0';
        return -1;
    }
    const std::string digits = std::to_string(value);
    const std::size_t length = std::min<std::size_t>(digits.size(), size - 1);
    std::memcpy(buffer, digits.data(), length);
    buffer[length] = '\0';
    return length == digits.size() ? static_cast<int>(length) : -1;
}

char* Utils::stringToLower(char* text) {
    for (char* at = text; at != nullptr && *at != '\0'; ++at) {
        if (isUpper(*at)) {
            *at = static_cast<char>(*at - 'A' + 'a');
        }
    }
    return text;
}

char* Utils::stringToUpper(char* text) {
    for (char* at = text; at != nullptr && *at != '\0'; ++at) {
        if (isLower(*at)) {
            *at = static_cast<char>(*at - 'a' + 'A');
        }
    }
    return text;
}

void Utils::tokenizeString(const std::string& text, std::vector<std::string>& out,
                           const std::string& delimiters) {
    std::size_t start = text.find_first_not_of(delimiters);
    while (start != std::string::npos) {
        const std::size_t end = std::min(text.find_first_of(delimiters, start), text.size());
        out.emplace_back(text, start, end - start);
        start = text.find_first_not_of(delimiters, end);
    }
}

const char* Utils::httpUrlEscape(const char* text, std::string& out, bool plusForSpace) {
    if (text == nullptr) {
        return nullptr;
    }
    out.clear();
    for (; *text != '\0'; ++text) {
        if (isDigit(*text) || isLower(*text) || isUpper(*text)) {
            out += *text;
        } else if (*text == ' ' && plusForSpace) {
            out += '+';
        } else {
            const unsigned byte = static_cast<unsigned char>(*text);
            out += '%';
            out += HexDigits[byte >> 4];
            out += HexDigits[byte & 0xF];
        }
    }
    return out.c_str();
}

void Utils::httpUrlUnescape(char* text) {
    char* out = text;
    while (*text != '\0') {
        if (*text == '+') {
            *out++ = ' ';
            ++text;
        } else if (*text != '%') {
            *out++ = *text++;
        } else if (text[1] == '\0' || text[2] == '\0') {
            break;
        } else {
            const int high = hexValue(text[1]);
            const int low = hexValue(text[2]);
            if (high >= 0 && low >= 0) {
                *out++ = static_cast<char>(high << 4 | low);
            } else {
                std::memmove(out, text, 3);
                out += 3;
            }
            text += 3;
        }
    }
    std::memmove(out, text, std::strlen(text) + 1);
}

void Utils::generatePassword(char* buffer, int size) {
    constexpr int MinSize = 14;
    if (buffer == nullptr || size < MinSize) {
        return;
    }
    const unsigned first = static_cast<unsigned>(std::rand());
    const unsigned second = static_cast<unsigned>(std::rand());
    const unsigned value = ((first << 15) ^ second) & 0x7FFFFFFF;
    for (int shift = 20; shift >= 0; shift -= 4) {
        *buffer++ = HexDigits[value >> shift & 0xF];
    }
    // One of each kind that a password rule may ask for.
    std::memcpy(buffer, "-mQ7", 5);
}

void removeTrailingSpaces(char* text) {
    if (text == nullptr) {
        return;
    }
    std::size_t length = std::strlen(text);
    while (length > 0 && (text[length - 1] == ' ' || text[length - 1] == '\t')) {
        --length;
    }
    text[length] = '\0';
}
