#include "common/stream/stream.h"

#include "common/error.h"
#include "common/log/log.h"
#include "common/thread/thread.h"

#include <climits>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

CastableId* Stream::getCastableClassId() {
    static CastableId classId;
    return &classId;
}

void* Stream::doCastInternal(CastableId* id) const {
    return id == getCastableClassId() ? const_cast<Stream*>(this) : nullptr;
}

CastableId* Stream::getOwnCastableId() const {
    return getCastableClassId();
}

int Stream::notAllowed() {
    Thread::setLastError(HE_INVALOP);
    return -1;
}

long long Stream::seekTarget(long long from, long long offset) {
    long long sum;
    if (!__builtin_add_overflow(from, offset, &sum)) {
        return sum;
    }
    return offset < 0 ? LLONG_MIN : LLONG_MAX;
}

void Stream::release(const Stream* stream) {
    if (stream == nullptr || Thread::isOnStack(stream)) {
        return;
    }
    if (--stream->references == 0 && stream->onRelease()) {
        delete stream;
    }
}

int Stream::flush() {
    return 0;
}

int Stream::canRead() const {
    return 0;
}

int Stream::canWrite() const {
    return 0;
}

unsigned Stream::getReceivedCount(bool) const {
    return 0;
}

unsigned Stream::getSentCount(bool) const {
    return 0;
}

long long Stream::lseek(long long, Seek) {
    return notAllowed();
}

long long Stream::getSize() const {
    return notAllowed();
}

int Stream::truncate(long long) {
    return notAllowed();
}

int Stream::copy(Stream& target, long long& count) {
    char block[CopyBlockSize];
    const bool counted = count > 0;
    long long left = count;
    count = 0;
    while (!counted || left > 0) {
        const int wanted = counted && left < CopyBlockSize ? static_cast<int>(left) : CopyBlockSize;
        const int got = read(block, wanted);
        if (got < 1) {
            return got;
        }
        const int written = target.writeAll(block, got);
        if (written > 0) {
            count += written;
        }
        if (written < got) {
            return -1;
        }
        left -= got;
    }
    return 0;
}

int Stream::readAll(void* buffer, int size) {
    int moved = 0;
    while (moved < size) {
        const int got = read(static_cast<char*>(buffer) + moved, size - moved);
        if (got <= 0) {
            break;
        }
        moved += got;
    }
    return moved;
}

int Stream::writeAll(const void* buffer, int size) {
    int moved = 0;
    while (moved < size) {
        const int taken = write(static_cast<const char*>(buffer) + moved, size - moved);
        if (taken <= 0) {
            break;
        }
        moved += taken;
    }
    return moved;
}

int Stream::getInputTimeout() const {
    return notAllowed();
}

int Stream::getOutputTimeout() const {
    return notAllowed();
}

int Stream::setInputTimeout(int) {
    return notAllowed();
}

int Stream::setOutputTimeout(int) {
    return notAllowed();
}

const char* Stream::getStreamName(char*, unsigned) const {
    return "";
}

bool Stream::onRelease() const {
    return true;
}

namespace {

constexpr int CrLfEnd = 4;

// A formatted text, with room for a line end behind it: short ones in the object itself.
class Text {
public:
    Text(const char* format, va_list& arguments) __attribute__((format(printf, 2, 0)));

    // -1 where the text could not be formatted; the last error is set.
    int length() const { return size; }
    char* bytes() { return allocated ? allocated.get() : local; }

private:
    static constexpr int LocalSize = 4097;

    int size;
    std::unique_ptr<char[]> allocated;
    char local[LocalSize + 2];
};

Text::Text(const char* format, va_list& arguments) {
    va_list again;
    va_copy(again, arguments);
    size = vsnprintf(local, LocalSize, format, arguments);
    if (size > INT_MAX - 3) {
        Thread::setLastError(HE_FBIG);
        size = -1;
    }
    if (size >= LocalSize) {
        allocated.reset(new char[static_cast<std::size_t>(size) + 3]);
        size = vsnprintf(allocated.get(), static_cast<std::size_t>(size) + 1, format, again);
    }
    va_end(again);
}

int sendText(Stream& stream, Text& text, const char* lineEnd, int lineEndSize) {
    if (text.length() < 0) {
        return -1;
    }
    const int size = text.length() + lineEndSize;
    std::memcpy(text.bytes() + text.length(), lineEnd, static_cast<std::size_t>(lineEndSize));
    return stream.writeAll(text.bytes(), size) == size ? size : -1;
}

int sendLine(Stream& stream, Text& text, int eolType) {
    if ((eolType & CrLfEnd) != 0) {
        return sendText(stream, text, "\r\n", 2);
    }
    if ((eolType & 8) != 0) {
        return sendText(stream, text, "\n\r", 2);
    }
    if ((eolType & 2) != 0) {
        return sendText(stream, text, "\n", 1);
    }
    if ((eolType & 1) != 0) {
        return sendText(stream, text, "\r", 1);
    }
    return sendText(stream, text, "\0", 2);
}

} // namespace

int Stream::writeLine(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int result = writeLineArgs(CrLfEnd, format, arguments);
    va_end(arguments);
    return result;
}

int Stream::writeLineArgs(const char* format, va_list& arguments) {
    return writeLineArgs(CrLfEnd, format, arguments);
}

int Stream::writeLine(int eolType, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int result = writeLineArgs(eolType, format, arguments);
    va_end(arguments);
    return result;
}

int Stream::writeLineArgs(int eolType, const char* format, va_list& arguments) {
    Text text(format, arguments);
    return sendLine(*this, text, eolType);
}

int Stream::writeLineAndLog(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    Text text(format, arguments);
    va_end(arguments);
    if (text.length() >= 0) {
        logProtoOutBuffer(text.length(), text.bytes());
    }
    return sendLine(*this, text, CrLfEnd);
}

int Stream::writeFormat(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int result = writeArgs(format, arguments);
    va_end(arguments);
    return result;
}

int Stream::writeArgs(const char* format, va_list& arguments) {
    Text text(format, arguments);
    return sendText(*this, text, "", 0);
}
