// Gathers small pieces of text for an output stream, so that neither a header field nor a body
// line costs a call of the stream, and passes large pieces on as they are. For one function's
// stack: what is gathered goes out by flush, and is lost without it. The pages of the buffer are
// touched only as far as they are used.

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
        if (size > SIZE - used && !flush()) {
            return false;
        }
        if (size > SIZE / 2) {
            return flush() && write(data, size);
        }
        std::memcpy(buffer + used, data, static_cast<std::size_t>(size));
        used += size;
        return !failed;
    }

    // Room to write into directly, at least KEPT + 1 bytes of it; null once the stream failed. The
    // last KEPT bytes that were written like this can still be taken back.
    char* room(int& size) {
        if (SIZE - used <= KEPT) {
            const int sent = used - KEPT;
            if (!write(buffer, sent)) {
                return nullptr;
            }
            std::memmove(buffer, buffer + sent, KEPT);
            used = KEPT;
        }
        size = SIZE - used;
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

    // Large enough that a system call costs little beside its bytes, small enough for a stack.
    static constexpr int SIZE = 131072;

private:
    bool write(const char* data, int size) {
        failed = failed || (size > 0 && output.writeAll(data, size) != size);
        return !failed;
    }

    Stream& output;
    int used = 0;
    bool failed = false;
    char buffer[SIZE];
};

#endif
