// What the date and the time patterns share: bounded output and the rule for fields of one or two
// letters. Internal to the two values.

#ifndef MORVEX_COMMON_TIME_PATTERN_OUTPUT_H
#define MORVEX_COMMON_TIME_PATTERN_OUTPUT_H

#include <cctype>
#include <cstdio>

// Writes into a buffer of `size` bytes, always terminated inside it; what does not fit is dropped.
class PatternOutput {
public:
    // Empties the buffer where it exists.
    PatternOutput(char* buffer, int size)
        : position(buffer), end(buffer != nullptr && size > 0 ? buffer + size - 1 : nullptr) {
        if (usable()) {
            *position = '\0';
        }
    }

    bool usable() const { return end != nullptr; }
    bool full() const { return position == end; }

    void put(char c) {
        if (position < end) {
            *position++ = c;
            *position = '\0';
        }
    }
    void put(const char* text) {
        while (*text != '\0') {
            put(*text++);
        }
    }
    void putNumber(const char* format, int number) {
        char text[16];
        std::snprintf(text, sizeof text, format, number);
        put(text);
    }

    // A field named by the letter at `pattern`, which may be doubled for two digits. Of a run of
    // three or more letters the first stands for itself. Returns where the pattern goes on.
    const char* putField(const char* pattern, int value) {
        const auto same = [pattern](int offset) {
            return std::tolower(static_cast<unsigned char>(pattern[offset])) ==
                   std::tolower(static_cast<unsigned char>(*pattern));
        };
        if (!same(1)) {
            putNumber("%d", value);
            return pattern + 1;
        }
        if (!same(2)) {
            putNumber("%02d", value);
            return pattern + 2;
        }
        put(*pattern);
        return pattern + 1;
    }

private:
    char* position;
    char* end; // the byte of the terminator at the latest; null without a buffer
};

#endif
