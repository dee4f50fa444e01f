#include "common/stream/null_stream.h"

#include "common/error.h"
#include "common/thread/thread.h"

#include <cstring>

CastableId* NullStream::getCastableClassId() {
    static CastableId classId;
    return &classId;
}

void* NullStream::doCastInternal(CastableId* id) const {
    return id == getCastableClassId() ? const_cast<NullStream*>(this) : Stream::doCastInternal(id);
}

CastableId* NullStream::getOwnCastableId() const {
    return getCastableClassId();
}

int NullStream::advance(unsigned& count, int amount) {
    if (amount <= 0) {
        return 0;
    }
    count += static_cast<unsigned>(amount);
    position += amount;
    if (size < position) {
        size = position;
    }
    return amount;
}

int NullStream::read(void* buffer, int amount) {
    if (amount > 0) {
        std::memset(buffer, 0, static_cast<std::size_t>(amount));
    }
    return advance(received, amount);
}

int NullStream::write(const void*, int amount) {
    return advance(sent, amount);
}

unsigned NullStream::getReceivedCount(bool reset) const {
    const unsigned count = received;
    if (reset) {
        received = 0;
    }
    return count;
}

unsigned NullStream::getSentCount(bool reset) const {
    const unsigned count = sent;
    if (reset) {
        sent = 0;
    }
    return count;
}

long long NullStream::lseek(long long offset, Seek origin) {
    switch (origin) {
    case SeekStart:
        position = offset;
        break;
    case SeekCurrent:
        position = seekTarget(position, offset);
        break;
    case SeekEnd:
        position = seekTarget(size, offset);
        break;
    default:
        Thread::setLastError(HE_INVAL);
        return -1;
    }
    if (position < 0) {
        position = 0;
    }
    return position;
}

int NullStream::truncate(long long newSize) {
    if (newSize < 0) {
        Thread::setLastError(HE_INVAL);
        return -1;
    }
    size = newSize;
    return 0;
}

int NullStream::copy(Stream&, long long&) {
    return notAllowed();
}

int NullStream::readAll(void* buffer, int amount) {
    return read(buffer, amount);
}

int NullStream::writeAll(const void* buffer, int amount) {
    return write(buffer, amount);
}
