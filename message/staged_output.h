// Gathers text for an output stream, so that neither a header field nor a body line costs a call
// of the stream. For one function's stack: what is gathered goes out by flush, and is lost without
// it. The pages of the buffer are touched only as far as they are used.

#ifndef MORVEX_MESSAGE_STAGED_OUTPUT_H
#define MORVEX_MESSAGE_STAGED_OUTPUT_H

#include "common/stream/stream.h"

#include <cstddef>
#include <cstring>

class StagedOutput {
public:
    explicit StagedOutput(Stream& target) : output(target) {}
    StagedOutput(const StagedOutput&) = delete;
    StagedOutput& operator=(const StagedOutput&) = delete;

    // Takes size bytes; false once the stream took less than it was given, and from then on.
    // Requires: size is not negative.
    bool append(const char* data, int size) {
        while (size > CAPACITY - used) {
            const int part = CAPACITY - used;
            std::memcpy(buffer + used, data, static_cast<std::size_t>(part));
            used = CAPACITY;
            if (!sendBlock()) {
                return false;
            }
            data += part;
            size -= part;
        }
        std::memcpy(buffer + used, data, static_cast<std::size_t>(size));
        used += size;
        return !failed;
    }

    // Room to write into directly, at least KEPT + 1 bytes of it; null once the stream failed. The
    // last KEPT bytes that were written like this can still be taken back.
    char* room(int& size) {
        if (CAPACITY - used <= KEPT && !sendBlock()) {
            return nullptr;
        }
        size = CAPACITY - used;
        return failed ? nullptr : buffer + used;
    }

    // What was written into the room; below 0, what is taken back.
    void commit(int size) { used += size; }

    static constexpr int KEPT = 2;

    bool appendLineEnd() { return append("\r\n", 2); }

    // Sends what is gathered; false as above.
    bool flush() {
        const int size = used;
        used = 0;
        return write(buffer, size);
    }

    // What the stream gets at a time. Large enough that a system call costs little beside its
    // bytes, small enough for a stack, and a whole number of pages: a copy into a file costs up to
    // twice as much where it begins within a page.
    static constexpr int SIZE = 131072;

private:
    static constexpr int LINE = 64; // of a processor's cache
    static constexpr int CAPACITY = SIZE + LINE;
    static_assert(CAPACITY - SIZE >= 2 * KEPT);

    // Requires: at least SIZE + KEPT bytes are gathered.
    bool sendBlock() {
        if (!write(buffer, SIZE)) {
            return false;
        }
        used -= SIZE;
        std::memmove(buffer, buffer + SIZE, static_cast<std::size_t>(used));
        return true;
    }

    bool write(const char* data, int size) {
        failed = failed || (size > 0 && output.writeAll(data, size) != size);
        return !failed;
    }

    Stream& output;
    int used = 0;
    bool failed = false;
    alignas(LINE) char buffer[CAPACITY];
};

#endif
