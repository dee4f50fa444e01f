// How the names of the queue's files are put together. Plain arithmetic into the caller's buffer:
// no allocation, no lock, no library call, so that a signal handler may build names too. Each
// function writes a name with its terminating zero.

#ifndef MORVEX_QUEUE_FILE_NAMES_H
#define MORVEX_QUEUE_FILE_NAMES_H

namespace FileNames {

// Room that the longest name takes behind the prefix, with its terminator, for any 32-bit id.
inline constexpr int room = 26;

// `value` in upper-case hexadecimal, padded with zeros to `width` digits; the place behind it.
inline char* putHex(char* out, unsigned value, int width) {
    int digits = 1;
    while (digits < 8 && (value >> (4 * digits)) != 0) {
        ++digits;
    }
    for (int left = digits < width ? width : digits; left > 0; --left) {
        const unsigned digit = left > 8 ? 0 : (value >> (4 * (left - 1))) & 0xF;
        *out++ = static_cast<char>(digit < 10 ? '0' + digit : 'A' + (digit - 10));
    }
    return out;
}

inline char* putText(char* out, const char* text) {
    while (*text != '\0') {
        *out++ = *text++;
    }
    *out = '\0';
    return out;
}

// The common start of a mail's names: in a tree "%02X/", the family and "%04X"; flat, the family
// and "%06X" where the family stands first.
inline char* putMail(char* out, bool tree, char family, unsigned id) {
    if (!tree) {
        *out++ = family;
        return putHex(out, id, 6);
    }
    out = putHex(out, id >> 16, 2);
    *out++ = '/';
    *out++ = family;
    return putHex(out, id & 0xFFFF, 4);
}

inline void putState(char* out, bool tree, unsigned id) {
    *putMail(out, tree, 'S', id) = '\0';
}

inline void putData(char* out, bool tree, unsigned id, unsigned version) {
    out = putMail(out, tree, 'D', id);
    *out++ = '.';
    *putHex(out, version, version < 0x100 ? 2 : version < 0x10000 ? 4 : 8) = '\0';
}

inline void putTemporary(char* out, bool tree, unsigned id, unsigned number) {
    out = putMail(out, tree, 'D', id);
    *out++ = '.';
    putText(putHex(out, number, 4), ".mvxtmp");
}

inline void putAssociated(char* out, bool tree, unsigned id, char family) {
    putText(putMail(out, tree, family, id), ".assoc");
}

// Behind a prefix that already ends in a slash: the marker of a mail.
inline void putMarker(char* out, unsigned id) {
    *putHex(putText(out, "/locals/"), id, 6) = '\0';
}

} // namespace FileNames

#endif
