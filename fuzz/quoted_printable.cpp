// Quoted-printable and the Q encoding: round trips, decoding into buffers of all small sizes, and
// in pieces. Input: size of the pieces, data.

#include "fuzz/target.h"
#include "message/qp.h"

#include <optional>
#include <vector>

namespace {

using Bytes = std::unique_ptr<unsigned char[]>;

std::string encode(std::string_view data, int hexSpecials, int binary, bool header) {
    QP qp;
    unsigned char* out = nullptr;
    unsigned int length = 0;
    FUZZ_CHECK(qp.encode(fuzz::bytesOf(data), static_cast<unsigned>(data.size()), &out, &length,
                         hexSpecials, binary, header) == 0);
    const Bytes guard(out);
    return std::string(fuzz::viewOf(out, length));
}

std::optional<std::string> decode(std::string_view data, int strict, bool header) {
    QP qp;
    unsigned char* out = nullptr;
    unsigned int length = 0;
    if (qp.decode(fuzz::bytesOf(data), static_cast<unsigned>(data.size()), &out, &length, strict,
                  header) != 0) {
        FUZZ_CHECK(out == nullptr);
        return std::nullopt;
    }
    const Bytes guard(out);
    FUZZ_CHECK(length <= data.size() && out[length] == 0);
    return std::string(fuzz::viewOf(out, length));
}

// The same into a buffer of the caller's, with room for the zero byte or without.
void checkOwnBuffer(std::string_view data, int strict, bool header,
                    const std::optional<std::string>& expected) {
    QP qp;
    for (std::size_t size = data.size(); size <= data.size() + 1; ++size) {
        const Bytes room(new unsigned char[size]);
        unsigned char* out = room.get();
        unsigned int length = static_cast<unsigned>(size);
        const int result = qp.decode(fuzz::bytesOf(data), static_cast<unsigned>(data.size()), &out,
                                     &length, strict, header);
        FUZZ_CHECK(out == room.get());
        FUZZ_CHECK((result == 0) == expected.has_value());
        FUZZ_CHECK(result != 0 || fuzz::viewOf(out, length) == *expected);
    }
}

// CR, LF and CR LF as CR LF.
std::string normalized(std::string_view data) {
    std::string result;
    for (std::size_t i = 0; i < data.size(); ++i) {
        if (data[i] == '\r' && i + 1 < data.size() && data[i + 1] == '\n') {
            continue;
        }
        result += data[i] == '\r' || data[i] == '\n' ? "\r\n" : std::string(1, data[i]);
    }
    return result;
}

std::string decodeInPieces(std::string_view data, std::size_t inStep, std::size_t outStep) {
    QP qp;
    std::string result;
    std::size_t start = 0;
    for (std::size_t end = 0; end < data.size();) {
        end = std::min(data.size(), end + inStep);
        const std::vector<char> piece(data.begin() + static_cast<std::ptrdiff_t>(start),
                                      data.begin() + static_cast<std::ptrdiff_t>(end));
        const char* in = piece.data();
        const char* before = nullptr;
        while (in != before) {
            before = in;
            std::vector<unsigned char> room(outStep);
            unsigned char* out = room.data();
            const int count = qp.decodeEx(out, out + outStep, in, piece.data() + piece.size());
            FUZZ_CHECK(out - room.data() == count);
            result += fuzz::viewOf(room.data(), static_cast<std::size_t>(count));
        }
        start += static_cast<std::size_t>(in - piece.data());
    }
    return result;
}

} // namespace

FUZZ_TARGET(quoted_printable) {
    const unsigned steps = input.byte();
    const std::string_view data = input.rest();
    for (const int strict : {0, 1}) {
        for (const bool header : {false, true}) {
            checkOwnBuffer(data, strict, header, decode(data, strict, header));
        }
    }
    if (data.empty()) {
        return;
    }
    for (const int hexSpecials : {0, 1}) {
        for (const bool header : {false, true}) {
            FUZZ_CHECK(decode(encode(data, hexSpecials, 1, header), 1, header) == data);
            FUZZ_CHECK(decode(encode(data, hexSpecials, 0, header), 1, header) == normalized(data));
        }
    }
    FUZZ_CHECK(decodeInPieces(data, 1 + steps % 7, 1 + steps / 7 % 5) ==
               decodeInPieces(data, data.size(), data.size()));
}
