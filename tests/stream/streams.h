// Base streams of the tests: a source that gives its text in pieces, and a sink that takes short.

#ifndef MORVEX_TESTS_STREAM_STREAMS_H
#define MORVEX_TESTS_STREAM_STREAMS_H

#include "common/stream/stream.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <utility>

namespace support {

// Gives at most piece() bytes a read; a piece of 0 is a time-out, -1 an error.
class Source : public Stream {
public:
    explicit Source(std::string data, std::function<int()> nextPiece = nullptr)
        : text(std::move(data)), piece(std::move(nextPiece)) {}

    int read(void* buffer, int size) override {
        ++reads;
        largestRead = std::max(largestRead, size);
        lastPlace = reinterpret_cast<std::uintptr_t>(buffer);
        const int most = piece ? piece() : size;
        if (most <= 0) {
            state = most == 0 ? StateTimedOut : StateError;
            return -1;
        }
        const auto left = static_cast<long long>(text.size()) - position;
        const auto moved = static_cast<std::size_t>(std::min<long long>({size, most, left}));
        std::memcpy(buffer, text.data() + position, moved);
        position += static_cast<long long>(moved);
        state = moved == 0 ? StateEnd : StateGood;
        return static_cast<int>(moved);
    }
    int write(const void*, int) override { return notAllowed(); }
    long long lseek(long long offset, Seek origin) override {
        const long long from[] = {0, position, static_cast<long long>(text.size())};
        position = from[origin] + offset;
        return position;
    }
    long long getSize() const override { return static_cast<long long>(text.size()); }
    State getInputState() const override { return state; }
    State getOutputState() const override { return StateError; }

    std::string text;
    std::function<int()> piece;
    long long position = 0;
    State state = StateGood;
    int reads = 0;
    int largestRead = 0;
    std::uintptr_t lastPlace = 0; // where the last read went
};

// Takes at most piece() bytes a write; less than 1 is what the write gives.
class Sink : public Stream {
public:
    explicit Sink(std::function<int()> nextPiece = nullptr) : piece(std::move(nextPiece)) {}

    int read(void*, int) override { return notAllowed(); }
    int write(const void* buffer, int size) override {
        ++writes;
        largestWrite = std::max(largestWrite, size);
        const int most = piece ? piece() : size;
        if (most < 1) {
            return most;
        }
        text.append(static_cast<const char*>(buffer),
                    static_cast<std::size_t>(std::min(size, most)));
        return std::min(size, most);
    }
    State getInputState() const override { return StateError; }
    State getOutputState() const override { return StateGood; }

    std::string text;
    std::function<int()> piece;
    int writes = 0;
    int largestWrite = 0;
};

// A pattern in which each piece differs from its neighbours.
inline std::string pattern(std::size_t size) {
    std::string text(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
        text[i] = static_cast<char>('!' + (i * 7 + i / 251) % 90);
    }
    return text;
}

} // namespace support

#endif
