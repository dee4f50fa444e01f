#include "common/stream/filter_stream.h"

#include <cstring>

CastableId* FilterStream::getCastableClassId() {
    static CastableId classId;
    return &classId;
}

void* FilterStream::doCastInternal(CastableId* id) const {
    return id == getCastableClassId() ? const_cast<FilterStream*>(this)
                                      : WrapStream::doCastInternal(id);
}

CastableId* FilterStream::getOwnCastableId() const {
    return getCastableClassId();
}

int FilterStream::setBaseStream(Stream* stream) {
    if (stream != base) {
        pendingWritten = 0;
    }
    return WrapStream::setBaseStream(stream);
}

int FilterStream::read(void* buffer, int size) {
    if (base == nullptr) {
        return notAllowed();
    }
    for (;;) {
        const int got = base->read(buffer, size);
        if (got <= 0) {
            return got;
        }
        char* const start = static_cast<char*>(buffer);
        int produced = 0;
        for (int at = 0; at < got;) {
            const void* output = nullptr;
            int outputSize = 0;
            const int taken = filter(start + at, got - at, false, &output, &outputSize);
            if (taken <= 0) {
                return -1;
            }
            if (outputSize > 0) {
                if (output != start + produced) {
                    std::memmove(start + produced, output, static_cast<std::size_t>(outputSize));
                }
                produced += outputSize;
            }
            at += taken;
        }
        if (produced > 0) {
            return produced;
        }
    }
}

int FilterStream::write(const void* buffer, int size) {
    if (base == nullptr) {
        return notAllowed();
    }
    int total = 0;
    while (total < size) {
        const void* output = nullptr;
        int outputSize = 0;
        const int taken = filter(static_cast<const char*>(buffer) + total, size - total, true,
                                 &output, &outputSize);
        if (taken <= 0) {
            return -1;
        }
        if (outputSize > 0) {
            if (pendingWritten > outputSize) {
                return -1;
            }
            const int left = outputSize - pendingWritten;
            const int sent =
                base->writeAll(static_cast<const char*>(output) + pendingWritten, left);
            if (sent < left) {
                pendingWritten += sent > 0 ? sent : 0;
                return total;
            }
            pendingWritten = 0;
        }
        total += taken;
    }
    return total;
}

long long FilterStream::lseek(long long, Seek) {
    return notAllowed();
}

long long FilterStream::getSize() const {
    return notAllowed();
}

int FilterStream::truncate(long long) {
    return notAllowed();
}

// What WrapStream would hand to the base must pass through here.
// NOLINTBEGIN(bugprone-parent-virtual-call)
int FilterStream::copy(Stream& target, long long& count) {
    return Stream::copy(target, count);
}

int FilterStream::readAll(void* buffer, int size) {
    return Stream::readAll(buffer, size);
}

int FilterStream::writeAll(const void* buffer, int size) {
    return Stream::writeAll(buffer, size);
}
// NOLINTEND(bugprone-parent-virtual-call)
