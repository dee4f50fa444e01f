// The block of a header field, and the two helpers for header text.

#include "message/header_field.h"

#include <cstdarg>
#include <cstddef>
#include <cstring>
#include <string_view>

namespace {

constexpr std::string_view DEFAULT_SEPARATOR = ": ";

// The most strings that hstrmappend joins to the first.
constexpr int MAX_JOINED = 10;

int lengthOf(const char* text) {
    return static_cast<int>(std::strlen(text));
}

// Puts a text and a zero byte at `to`; the place behind them.
char* putTerminated(char* to, const char* text, int length) {
    std::memcpy(to, text, static_cast<std::size_t>(length));
    to[length] = '\0';
    return to + length + 1;
}

char* newBlock(const char* name, int nameLength, const char* value, int valueLength,
               const char* separator, int separatorLength) {
    std::size_t size = static_cast<std::size_t>(nameLength) +
                       static_cast<std::size_t>(valueLength) +
                       static_cast<std::size_t>(separatorLength) + 3;
    char* block = new char[size];
    char* end = putTerminated(block, name, nameLength);
    end = putTerminated(end, value, valueLength);
    putTerminated(end, separator, separatorLength);
    return block;
}

} // namespace

HeaderField::HeaderField(const char* name, const char* value)
    : HeaderField(name, lengthOf(name), value, lengthOf(value), DEFAULT_SEPARATOR.data(),
                  static_cast<int>(DEFAULT_SEPARATOR.size())) {
}

HeaderField::HeaderField(const char* name, int nameSize, const char* value, int valueSize,
                         const char* separator, int separatorLength)
    : text(newBlock(name, nameSize, value, valueSize, separator, separatorLength)),
      nameLength(nameSize), valueLength(valueSize), ownsText(true) {
}

HeaderField::HeaderField(const HeaderField& other, bool deep)
    : text(other.text), nameLength(other.nameLength), valueLength(other.valueLength),
      ownsText(deep) {
    if (deep) {
        text = newBlock(other.getName(), nameLength, other.getValue(), valueLength,
                        other.getSeparator(), lengthOf(other.getSeparator()));
    }
}

HeaderField::~HeaderField() {
    if (ownsText) {
        delete[] text;
    }
    text = nullptr;
}

void HeaderField::changeValue(const char* value) {
    replaceText(getName(), nameLength, value, lengthOf(value), getSeparator(),
                lengthOf(getSeparator()));
}

void HeaderField::changeHeader(const char* name, const char* value) {
    replaceText(name, lengthOf(name), value, lengthOf(value), DEFAULT_SEPARATOR.data(),
                static_cast<int>(DEFAULT_SEPARATOR.size()));
}

void HeaderField::print() {
}

// Builds the new block before the old one goes, since the texts may lie in the old one.
void HeaderField::replaceText(const char* name, int newNameLength, const char* value,
                              int newValueLength, const char* separator, int separatorLength) {
    char* block = newBlock(name, newNameLength, value, newValueLength, separator, separatorLength);
    if (ownsText) {
        delete[] text;
    }
    text = block;
    nameLength = newNameLength;
    valueLength = newValueLength;
    ownsText = true;
}

int hstrmappend(char*& out, const char* first, ...) {
    std::string_view parts[MAX_JOINED + 1];
    int count = 0;
    parts[count++] = first != nullptr ? first : "";
    va_list rest;
    va_start(rest, first);
    while (count <= MAX_JOINED) {
        const char* next = va_arg(rest, const char*);
        if (next == nullptr) {
            break;
        }
        parts[count++] = next;
    }
    va_end(rest);

    std::size_t length = 0;
    for (int i = 0; i < count; ++i) {
        length += parts[i].size();
    }
    char* joined = new char[length + 1];
    char* end = joined;
    for (int i = 0; i < count; ++i) {
        std::memcpy(end, parts[i].data(), parts[i].size());
        end += parts[i].size();
    }
    *end = '\0';
    out = joined;
    return 0;
}

char* hstrdupNoComments(const char* value) {
    if (value == nullptr) {
        return nullptr;
    }
    char* copy = new char[std::strlen(value) + 1];
    char* end = copy;
    bool escaped = false;
    bool quoted = false;
    bool lastWasBlank = false;
    std::size_t depth = 0;
    for (; *value != '\0'; ++value) {
        const char c = *value;
        bool keep = depth == 0;
        bool nowEscaped = false;
        switch (c) {
        case ' ':
        case '\t':
            keep = keep && (escaped || quoted || !lastWasBlank);
            nowEscaped = escaped;
            break;
        case '"':
        case '\r':
        case '\n':
            quoted = quoted != (keep && !escaped);
            break;
        case '(':
            if (!escaped && !quoted) {
                ++depth;
                keep = false;
            }
            break;
        case ')':
            if (depth > 0 && !escaped) {
                --depth;
            }
            break;
        case '\\':
            nowEscaped = !escaped;
            break;
        default:
            break;
        }
        escaped = nowEscaped;
        if (c == ' ' || c == '\t') {
            lastWasBlank = true;
        } else if (keep) {
            lastWasBlank = false;
        }
        if (keep) {
            *end++ = c;
        }
    }
    *end = '\0';
    return copy;
}
