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

    bool appendLineEnd() { return append("\r\n", 2); }

    // A text and a line end; as above. An empty line costs two bytes and no call.
    bool appendLine(const char* data, int size) {
        if (size > 0 || SIZE - used < 2) {
            return append(data, size) && appendLineEnd();
        }
        buffer[used++] = '\r';
        buffer[used++] = '\n';
        return !failed;
    }

    // Sends what is gathered; false as above.
    bool flush() {
        const int size = used;
        used = 0;
        return write(buffer, size);
    }

private:
    static constexpr int SIZE = 65536;

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
