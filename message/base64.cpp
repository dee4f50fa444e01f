// The base64 codecs. Encoding is a walk over whole groups; decoding takes groups that lie together
// in one step, and collects the bytes of the others one by one.

#include "message/base64.h"

#include <climits>

namespace {

constexpr unsigned char ALPHABET[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// The bit that marks a byte outside the alphabet in base64table.
constexpr unsigned char OUTSIDE = 128;

// Input bytes of a line of 76 characters.
constexpr int LINE_INPUT = 57;

unsigned char* putGroup(unsigned char* out, const unsigned char* in) {
    out[0] = ALPHABET[in[0] >> 2];
    out[1] = ALPHABET[(in[0] & 3) << 4 | in[1] >> 4];
    out[2] = ALPHABET[(in[1] & 15) << 2 | in[2] >> 6];
    out[3] = ALPHABET[in[2] & 63];
    return out + 4;
}

// A last group of one or two bytes.
unsigned char* putPartialGroup(unsigned char* out, const unsigned char* in, int count,
                               unsigned char pad) {
    const unsigned char group[3] = {in[0], count == 2 ? in[1] : static_cast<unsigned char>(0), 0};
    putGroup(out, group);
    out[3] = pad;
    if (count == 1) {
        out[2] = pad;
    }
    return out + 4;
}

bool isBreakBefore(int position) {
    return position > 0 && position % LINE_INPUT == 0;
}

unsigned char* putBreak(unsigned char* out) {
    out[0] = '\r';
    out[1] = '\n';
    return out + 2;
}

// Writes the three bytes of a group without a pad.
unsigned char* takeGroup(unsigned char* out, const unsigned char* group) {
    const unsigned int bits =
        static_cast<unsigned int>(base64table[group[0]] << 18 | base64table[group[1]] << 12 |
                                  base64table[group[2]] << 6 | base64table[group[3]]);
    out[0] = static_cast<unsigned char>(bits >> 16);
    out[1] = static_cast<unsigned char>(bits >> 8);
    out[2] = static_cast<unsigned char>(bits);
    return out + 3;
}

// How the four bytes of a group were taken.
enum class Group { FULL, STOPPED, MISPLACED_PAD };

// Decodes a group of four bytes in which a pad ends the data, and moves out behind what it gave.
Group takeLastGroup(unsigned char*& out, const unsigned char* group, unsigned char pad) {
    if (group[0] == pad || group[1] == pad) {
        return Group::MISPLACED_PAD;
    }
    const int b = base64table[group[1]];
    *out++ = static_cast<unsigned char>(base64table[group[0]] << 2 | b >> 4);
    if (group[2] == pad) {
        return Group::STOPPED;
    }
    const int c = base64table[group[2]];
    *out++ = static_cast<unsigned char>((b & 15) << 4 | c >> 2);
    if (group[3] == pad) {
        return Group::STOPPED;
    }
    *out++ = static_cast<unsigned char>((c & 3) << 6 | base64table[group[3]]);
    return Group::FULL;
}

// Notes in a buffer that may have no room at all that it holds nothing.
int refuse(unsigned char* out, int outSize, int* outLength, int length) {
    if (outSize > 0) {
        out[0] = '\0';
    }
    *outLength = length;
    return -1;
}

} // namespace

// clang-format off
const unsigned char base64table[256] = {
    128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128,
    128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128,
    128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128,  62, 128, 128, 128,  63,
     52,  53,  54,  55,  56,  57,  58,  59,  60,  61, 128, 128, 128,   0, 128, 128,
    128,   0,   1,   2,   3,   4,   5,   6,   7,   8,   9,  10,  11,  12,  13,  14,
     15,  16,  17,  18,  19,  20,  21,  22,  23,  24,  25, 128, 128, 128, 128, 128,
    128,  26,  27,  28,  29,  30,  31,  32,  33,  34,  35,  36,  37,  38,  39,  40,
     41,  42,  43,  44,  45,  46,  47,  48,  49,  50,  51, 128, 128, 128, 128, 128,
    128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128,
    128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128,
    128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128,
    128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128,
    128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128,
    128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128,
    128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128,
    128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128,
};
// clang-format on

bool isbase64(unsigned char byte) {
    return base64table[byte] != OUTSIDE;
}

int base64encodeBase(const unsigned char* in, int inLength, unsigned char* out, int* outLength,
                     unsigned char pad, int lineBreaks) {
    const int outSize = *outLength;
    const long long padded = (static_cast<long long>(inLength) + 2) / 3 * 3;
    long long needed = padded * 4 / 3 + 1;
    if (lineBreaks != 0 && padded > LINE_INPUT) {
        needed += (padded - 1) / LINE_INPUT * 2;
    }
    if (in == nullptr || inLength <= 0 || out == nullptr || needed > INT_MAX) {
        *outLength = 0;
        return -1;
    }
    if (outSize < needed) {
        return refuse(out, outSize, outLength, static_cast<int>(needed));
    }
    unsigned char* end = out;
    const int whole = inLength / 3 * 3;
    int position = 0;
    if (lineBreaks == 0) {
        for (; position < whole; position += 3) {
            end = putGroup(end, in + position);
        }
    } else {
        for (; position < whole; position += 3) {
            if (isBreakBefore(position)) {
                end = putBreak(end);
            }
            end = putGroup(end, in + position);
        }
    }
    if (position < inLength) {
        if (lineBreaks != 0 && isBreakBefore(position)) {
            end = putBreak(end);
        }
        end = putPartialGroup(end, in + position, inLength - position, pad);
    }
    *end = '\0';
    *outLength = static_cast<int>(end - out);
    return 0;
}

int base64encode(const unsigned char* in, int inLength, unsigned char* out, int* outLength,
                 int lineBreaks) {
    return base64encodeBase(in, inLength, out, outLength, '=', lineBreaks);
}

int base64encodeModified(const unsigned char* in, int inLength, unsigned char* out,
                         int* outLength) {
    return base64encodeBase(in, inLength, out, outLength, 0, 1);
}

int base64decodeBase(const unsigned char* in, int inLength, unsigned char* out, int* outLength,
                     int strict, unsigned char pad) {
    if (in == nullptr || inLength <= 0 || out == nullptr) {
        return -1;
    }
    const int outSize = *outLength;
    const int needed = static_cast<int>(static_cast<long long>(inLength) * 3 / 4 + 1);
    if (outSize < needed) {
        return refuse(out, outSize, outLength, needed);
    }
    unsigned char* end = out;
    unsigned char group[4];
    int collected = 0;
    Group last = Group::FULL;
    for (int i = 0; i < inLength && last == Group::FULL;) {
        // Whole groups with nothing between their bytes are nearly all of the data.
        if (collected == 0 && inLength - i >= 4) {
            const unsigned char* p = in + i;
            const int marks =
                base64table[p[0]] | base64table[p[1]] | base64table[p[2]] | base64table[p[3]];
            if (marks < OUTSIDE && p[0] != pad && p[1] != pad && p[2] != pad && p[3] != pad) {
                end = takeGroup(end, p);
                i += 4;
                continue;
            }
        }
        const unsigned char byte = in[i++];
        if (base64table[byte] == OUTSIDE) {
            if (strict != 0 && byte != '\r' && byte != '\n') {
                return refuse(out, outSize, outLength, 0);
            }
            continue;
        }
        group[collected++] = byte;
        if (collected == 4) {
            last = takeLastGroup(end, group, pad);
            collected = 0;
        }
    }
    const bool ranOut = last == Group::FULL;
    if (ranOut && collected > 0 && pad == 0) {
        while (collected < 4) {
            group[collected++] = 0;
        }
        last = takeLastGroup(end, group, pad);
    } else if (ranOut && collected > 0 && strict != 0) {
        return refuse(out, outSize, outLength, 0);
    }
    if ((last == Group::MISPLACED_PAD && strict != 0) || (last == Group::FULL && end == out)) {
        return refuse(out, outSize, outLength, 0);
    }
    *end = '\0';
    *outLength = static_cast<int>(end - out);
    return 0;
}

int base64decode(const unsigned char* in, int inLength, unsigned char* out, int* outLength,
                 int strict) {
    return base64decodeBase(in, inLength, out, outLength, strict, '=');
}

int base64decodeModified(const unsigned char* in, int inLength, unsigned char* out, int* outLength,
                         int strict) {
    return base64decodeBase(in, inLength, out, outLength, strict, 0);
}

int decodeBase64Ex(unsigned char*& out, const unsigned char* outEnd, const char*& in,
                   const char* inEnd) {
    const unsigned char* const start = out;
    if (outEnd - out < 4) {
        return 0;
    }
    unsigned char group[4];
    int collected = 0;
    const char* firstPad = nullptr;
    for (const char* next = in; next < inEnd && outEnd - out >= 3;) {
        const unsigned char byte = static_cast<unsigned char>(*next++);
        if (byte == '\r' || byte == '\n') {
            if (collected == 0) {
                in = next; // else a line end behind the last group would never be taken
            }
            continue;
        }
        if (!isbase64(byte)) {
            return 0;
        }
        if (byte == '=' && firstPad == nullptr) {
            firstPad = next - 1;
        }
        group[collected++] = byte;
        if (collected < 4) {
            continue;
        }
        const Group taken = takeLastGroup(out, group, '=');
        if (taken == Group::MISPLACED_PAD) {
            return 0;
        }
        if (taken == Group::STOPPED) {
            in = firstPad + 1;
            break;
        }
        in = next;
        collected = 0;
    }
    return static_cast<int>(out - start);
}
