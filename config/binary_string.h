// BinaryString: a counted array of bytes, the value of attributes of that type. In text it stands
// as Base64.
//
// Owns its bytes; copies do not share them. Guarded by its owner where threads share it.

#ifndef MORVEX_CONFIG_BINARY_STRING_H
#define MORVEX_CONFIG_BINARY_STRING_H

#include <cstdint>

namespace HConfig {

class BinaryString {
public:
    BinaryString() = default;
    ~BinaryString() { delete[] data; }
    BinaryString(const BinaryString& other) { set(other.data, other.size); }
    BinaryString& operator=(const BinaryString& other);

    // Decodes Base64, strictly. 0, or -1 for bad input with `out` unchanged. A null or empty text
    // gives no bytes.
    static int strToBstr(const char* text, BinaryString& out);

    // Encodes as Base64 with a terminator. No bytes, or a `size` that is too small, give an empty
    // text. Requires: a `size` above 0.
    static void bstrToStr(const BinaryString& value, char* buffer, int size);

    // Fills `out` with `size` bytes of random(): good for names, of no use as a secret.
    static void generate(BinaryString& out, unsigned size);

    // Becomes a copy of `count` bytes, which may be part of this object's own.
    void set(const void* bytes, unsigned count);

    // Below 0, 0 or above 0: the common length decides by unsigned bytes, then the sizes.
    int compareTo(const BinaryString& other) const;

    const unsigned char* getData() const { return data; }
    std::uint32_t getSize() const { return size; }

private:
    unsigned char* data = nullptr; // null for no bytes
    std::uint32_t size = 0;
};

} // namespace HConfig

#endif
