// Quoted-printable. Encoding goes by the class of each byte; decoding looks at most two bytes
// ahead, and never past the end that it was given.

#include "message/qp.h"

#include <climits>
#include <cstddef>
#include <cstring>
#include <memory>

namespace {

constexpr int HEADER_LINE_LENGTH = 64;
constexpr int BODY_LINE_LENGTH = 76;

// What one input byte can add to the output at most: a soft break and an escape.
constexpr unsigned int MAX_ITEM = 6;

// The value of a hexadecimal digit in either case, or -1.
int digitValue(int c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    return -1;
}

bool isLowerDigit(int c) {
    return c >= 'a' && c <= 'f';
}

bool isPrintable(int c) {
    return c >= 0x20 && c <= 0x7E;
}

bool isLineEnd(unsigned char c) {
    return c == '\r' || c == '\n';
}

// The growing result of encode. It doubles, so that each byte is moved a bounded number of times.
class Output {
public:
    explicit Output(std::size_t firstCapacity)
        : capacity(firstCapacity), bytes(new unsigned char[firstCapacity]) {}

    // Room for one more item; false if the result would pass 2 GB.
    bool reserveItem() {
        if (position + MAX_ITEM <= capacity) {
            return true;
        }
        if (position > INT_MAX - MAX_ITEM) {
            return false;
        }
        std::size_t larger = capacity * 2 + MAX_ITEM;
        std::unique_ptr<unsigned char[]> moved(new unsigned char[larger]);
        std::memcpy(moved.get(), bytes.get(), position);
        bytes = std::move(moved);
        capacity = larger;
        return true;
    }

    void put(unsigned char byte) { bytes[position++] = byte; }
    void putHex(unsigned char byte) {
        put('=');
        put(static_cast<unsigned char>(QP::hexDigits[byte >> 4]));
        put(static_cast<unsigned char>(QP::hexDigits[byte & 15]));
    }

    unsigned char* data() { return bytes.get(); }
    unsigned char* release() { return bytes.release(); }

    unsigned int position = 0;

private:
    std::size_t capacity;
    std::unique_ptr<unsigned char[]> bytes;
};

} // namespace

const char QP::hexDigits[17] = "0123456789ABCDEF";

// clang-format off
const unsigned char QP::staticRules[256] = {
    0, 0, 0, 0, 0, 0, 0, 0, 0, 2, 3, 0, 0, 3, 0, 0, // controls; TAB, LF, CR
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    2, 4, 4, 4, 4, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, // space ! " # $ % & ' ( ) * + , - . /
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 0, 1, 5, // 0 to 9 : ; < = > ?
    4, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, // @ A to O
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 4, 4, 4, 4, 5, // P to Z [ \ ] ^ _
    4, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, // ` a to o
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 4, 4, 4, 4, 0, // p to z { | } ~ DEL
};
// clang-format on

QP::QP() : maxLineLength(BODY_LINE_LENGTH), fixedLineLength(0), rules(staticRules), ownRules() {
}

void QP::setFixedLineLength(int length) {
    fixedLineLength = length;
    if (length != 0) {
        maxLineLength = length;
    }
}

void QP::forceHexaEncoding(const char* bytes) {
    if (bytes == nullptr) {
        return;
    }
    std::memcpy(ownRules, staticRules, sizeof ownRules);
    for (; *bytes != '\0'; ++bytes) {
        ownRules[static_cast<unsigned char>(*bytes)] = ALWAYS_HEX;
    }
    rules = ownRules;
}

void QP::checkLineLength(unsigned char* buffer, unsigned int& position, unsigned int& lineLength,
                         int needed, unsigned int byte) const {
    const unsigned int added = static_cast<unsigned int>(needed);
    if (lineLength + added < static_cast<unsigned int>(maxLineLength) ||
        (byte >= 0x80 && byte <= 0xBF)) {
        lineLength += added;
        return;
    }
    buffer[position++] = '=';
    buffer[position++] = '\r';
    buffer[position++] = '\n';
    lineLength = added;
}

int QP::encode(const unsigned char* in, unsigned int inLength, unsigned char** out,
               unsigned int* outLength, int hexSpecials, int binary, bool header) {
    if (in == nullptr || inLength == 0 || inLength > INT_MAX) {
        return -1;
    }
    if (fixedLineLength == 0) {
        maxLineLength = header ? HEADER_LINE_LENGTH : BODY_LINE_LENGTH;
    }
    Output result(static_cast<std::size_t>(inLength) + MAX_ITEM);
    unsigned int lineLength = 0;
    for (unsigned int i = 0; i < inLength; ++i) {
        if (!result.reserveItem()) {
            return -1;
        }
        const unsigned char byte = in[i];
        const bool beforeLineEnd = i + 1 < inLength && isLineEnd(in[i + 1]);
        bool hex = false;
        switch (rules[byte]) {
        case ALWAYS_HEX:
            hex = true;
            break;
        case LITERAL:
            break;
        case WHITE_SPACE:
            checkLineLength(result.data(), result.position, lineLength, 1, byte);
            if (header && byte == ' ') {
                result.put('_');
            } else if (header || beforeLineEnd) {
                result.putHex(byte);
            } else {
                result.put(byte);
            }
            continue;
        case LINE_END:
            if (binary != 0) {
                hex = true;
                break;
            }
            if (byte == '\r' && beforeLineEnd && in[i + 1] == '\n') {
                ++i;
            }
            result.put('\r');
            result.put('\n');
            lineLength = 0;
            continue;
        case SPECIAL:
            hex = hexSpecials != 0;
            break;
        case HEADER_HEX:
            hex = header;
            break;
        default:
            return -1;
        }
        checkLineLength(result.data(), result.position, lineLength, hex ? 3 : 1, byte);
        if (hex) {
            result.putHex(byte);
        } else {
            result.put(byte);
        }
    }
    *outLength = result.position;
    *out = result.release();
    return 0;
}

namespace {

// One walk of QP::decode over its input. A byte behind the end is -1: neither a digit nor a line
// end.
class Decoder {
public:
    Decoder(const unsigned char* data, unsigned int length, unsigned char* target)
        : in(data), size(length), out(target) {}

    bool run(bool strict, bool header) {
        while (position < size) {
            const int c = at(0);
            if (c == '=') {
                if (!takeEscape(strict)) {
                    return false;
                }
            } else if (c == '\r') {
                if (at(1) == '\n') {
                    put(c);
                    put('\n');
                    ++position;
                } else if (strict) {
                    return false;
                }
                ++position;
            } else {
                if (header && c == '_') {
                    put(' ');
                } else if (isPrintable(c) || c == '\t' || c == '\n') {
                    put(c);
                } else if (strict) {
                    return false;
                }
                ++position;
            }
        }
        return true;
    }

    unsigned int written() const { return count; }

private:
    int at(unsigned int ahead) const { return size - position > ahead ? in[position + ahead] : -1; }
    void put(int byte) { out[count++] = static_cast<unsigned char>(byte); }

    // What follows a "="; false for what strict mode refuses.
    bool takeEscape(bool strict) {
        const int next = at(1);
        const int high = digitValue(next);
        const int low = digitValue(at(2));
        if (high >= 0 && low >= 0) {
            if (strict && (isLowerDigit(next) || isLowerDigit(at(2)))) {
                return false;
            }
            put(high << 4 | low);
            position += 3;
            return true;
        }
        if (next == '\r') {
            const bool pair = at(2) == '\n';
            position += pair ? 3 : 2;
            return pair || !strict;
        }
        if (strict) {
            return false;
        }
        if (next == -1) {
            put('=');
            ++position;
            return true;
        }
        if (next != '\n' && next < 127) {
            put('=');
            put(next);
        }
        position += 2;
        return true;
    }

    const unsigned char* in;
    unsigned int size;
    unsigned char* out;
    unsigned int position = 0;
    unsigned int count = 0;
};

} // namespace

int QP::decode(const unsigned char* in, unsigned int inLength, unsigned char** out,
               unsigned int* outLength, int strict, bool header) {
    if (in == nullptr && inLength != 0) {
        return -1;
    }
    std::unique_ptr<unsigned char[]> owned;
    std::size_t capacity = static_cast<std::size_t>(inLength) + 1;
    unsigned char* target = *out;
    if (target == nullptr) {
        owned.reset(new unsigned char[capacity]);
        target = owned.get();
    } else if (*outLength < inLength) {
        return -1;
    } else {
        capacity = *outLength;
    }
    // Nothing decodes to more than its own length, so the target needs no check on the way.
    Decoder decoder(in, inLength, target);
    if (!decoder.run(strict != 0, header)) {
        return -1;
    }
    if (decoder.written() < capacity) {
        target[decoder.written()] = '\0';
    }
    *outLength = decoder.written();
    *out = target;
    static_cast<void>(owned.release());
    return 0;
}

int QP::decodeEx(unsigned char*& out, const unsigned char* outEnd, const char*& in,
                 const char* inEnd) {
    enum { TEXT, AFTER_EQUALS, AFTER_DIGIT } state = TEXT;
    const unsigned char* const start = out;
    unsigned char first = 0;
    while (in < inEnd && out < outEnd) {
        const unsigned char c = static_cast<unsigned char>(*in++);
        switch (state) {
        case TEXT:
            if (c == '_') {
                *out++ = ' ';
            } else if (c == '=') {
                state = AFTER_EQUALS;
            } else if (isPrintable(c) || c == '\t') {
                *out++ = c;
            }
            break;
        case AFTER_EQUALS:
            first = c;
            state = isLineEnd(c) ? TEXT : AFTER_DIGIT;
            break;
        case AFTER_DIGIT:
            if (digitValue(first) >= 0 && digitValue(c) >= 0) {
                *out++ = static_cast<unsigned char>(digitValue(first) << 4 | digitValue(c));
            }
            state = TEXT;
            break;
        }
    }
    in -= state;
    return static_cast<int>(out - start);
}
