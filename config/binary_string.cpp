#include "config/binary_string.h"

#include "message/base64.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace HConfig {

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): set() takes its own bytes too
BinaryString& BinaryString::operator=(const BinaryString& other) {
    set(other.data, other.size);
    return *this;
}

int BinaryString::strToBstr(const char* text, BinaryString& out) {
    if (text == nullptr || *text == '\0') {
        out.set(nullptr, 0);
        return 0;
    }
    const std::size_t length = std::strlen(text);
    if (length > INT_MAX - 4) {
        return -1;
    }
    int decoded = static_cast<int>(length / 4 * 3 + length % 4 + 1);
    const auto scratch =
        std::make_unique_for_overwrite<unsigned char[]>(static_cast<std::size_t>(decoded));
    if (base64decode(reinterpret_cast<const unsigned char*>(text), static_cast<int>(length),
                     scratch.get(), &decoded, 1) != 0) {
        return -1;
    }
    out.set(scratch.get(), static_cast<unsigned>(decoded));
    return 0;
}

void BinaryString::bstrToStr(const BinaryString& value, char* buffer, int size) {
    buffer[0] = '\0';
    if (value.size == 0 || value.size > INT_MAX) {
        return;
    }
    int length = size;
    if (base64encode(value.data, static_cast<int>(value.size),
                     reinterpret_cast<unsigned char*>(buffer), &length, 0) != 0) {
        buffer[0] = '\0';
    }
}

void BinaryString::generate(BinaryString& out, unsigned size) {
    const auto bytes = std::make_unique_for_overwrite<unsigned char[]>(size);
    for (unsigned at = 0; at < size; at += sizeof(std::uint32_t)) {
        const auto drawn = static_cast<std::uint32_t>(random());
        std::memcpy(&bytes[at], &drawn, std::min<std::size_t>(sizeof drawn, size - at));
    }
    out.set(bytes.get(), size);
}

void BinaryString::set(const void* bytes, unsigned count) {
    unsigned char* copy = nullptr;
    if (count != 0) {
        copy = new unsigned char[count];
        std::memcpy(copy, bytes, count);
    }
    delete[] data;
    data = copy;
    size = count;
}

int BinaryString::compareTo(const BinaryString& other) const {
    const std::uint32_t common = std::min(size, other.size);
    const int order = common == 0 ? 0 : std::memcmp(data, other.data, common);
    if (order != 0) {
        return order;
    }
    return size < other.size ? -1 : size > other.size ? 1 : 0;
}

} // namespace HConfig
