// Base64 of both kinds: round trips, buffers that are too short, and decoding in pieces. Input:
// size of a short buffer and of the pieces, data.

#include "message/base64.h"

#include "fuzz/target.h"

#include <optional>

namespace {

using Bytes = std::unique_ptr<unsigned char[]>;

constexpr int SmallRoom = 4; // fewer bytes hold no group

// What the call tells as needed is enough, and one byte less is not.
template <class Call> std::optional<std::string> runWithNeededRoom(Call call) {
    int needed = 0;
    unsigned char nothing = 9;
    FUZZ_CHECK(call(&nothing, &needed) == -1 && needed > 0 && nothing == 9);
    Bytes room(new unsigned char[static_cast<std::size_t>(needed)]);
    int length = needed - 1;
    FUZZ_CHECK(call(room.get(), &length) == -1 && length == needed);
    if (call(room.get(), &length) != 0) {
        FUZZ_CHECK(length == 0 && room[0] == 0);
        return std::nullopt;
    }
    FUZZ_CHECK(length < needed && room[static_cast<std::size_t>(length)] == 0);
    return std::string(fuzz::viewOf(room.get(), static_cast<std::size_t>(length)));
}

std::optional<std::string> encode(std::string_view data, unsigned char pad, int lineBreaks) {
    return runWithNeededRoom([&](unsigned char* out, int* length) {
        return base64encodeBase(fuzz::bytesOf(data), static_cast<int>(data.size()), out, length,
                                pad, lineBreaks);
    });
}

std::optional<std::string> decode(std::string_view data, int strict, unsigned char pad) {
    return runWithNeededRoom([&](unsigned char* out, int* length) {
        return base64decodeBase(fuzz::bytesOf(data), static_cast<int>(data.size()), out, length,
                                strict, pad);
    });
}

void checkPieces(std::string_view encoded, std::string_view data, int roomSize, std::size_t step) {
    std::string result;
    std::string left;
    for (std::size_t i = 0; i < encoded.size(); i += step) {
        left += encoded.substr(i, step);
        const char* in = left.data();
        const char* const end = in + left.size();
        for (int count = 1; count > 0;) {
            const Bytes room(new unsigned char[static_cast<std::size_t>(roomSize)]);
            unsigned char* out = room.get();
            count = decodeBase64Ex(out, room.get() + roomSize, in, end);
            FUZZ_CHECK(out - room.get() == count && in <= end);
            result += fuzz::viewOf(room.get(), static_cast<std::size_t>(count));
        }
        left.erase(0, static_cast<std::size_t>(in - left.data()));
    }
    FUZZ_CHECK(result == data);
}

} // namespace

FUZZ_TARGET(base64) {
    const unsigned shape = input.byte();
    const std::string_view data = input.rest();
    if (data.empty()) {
        return;
    }
    for (const unsigned char pad : {std::uint8_t{'='}, std::uint8_t{0}}) {
        for (const int strict : {0, 1}) {
            const auto decoded = decode(data, strict, pad);
            FUZZ_CHECK(!decoded || decoded->size() <= data.size() * 3 / 4 + 1);
        }
        for (const int lineBreaks : {0, 1}) {
            const std::string text = *encode(data, pad, lineBreaks);
            // With the pad byte 0 the padding ends the text.
            const fuzz::Text shown(text);
            FUZZ_CHECK(decode(shown.view(), 1, pad) == data);
            if (pad == '=') {
                checkPieces(text, data, SmallRoom + static_cast<int>(shape % 8),
                            1 + shape / 8 % 16);
            }
        }
    }
    // Any text in pieces ends, within its bounds.
    const char* in = data.data();
    const char* const end = in + data.size();
    for (int count = 1; count > 0;) {
        unsigned char room[SmallRoom + 1];
        unsigned char* out = room;
        count = decodeBase64Ex(out, room + sizeof room, in, end);
        FUZZ_CHECK(out <= room + sizeof room && in <= end);
    }
}
