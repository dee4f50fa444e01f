#include "common/stream/memory_stream.h"

#include "common/error.h"
#include "common/thread/thread.h"

#include <algorithm>
#include <climits>
#include <cstring>

CastableId* MemoryStream::getCastableClassId() {
    static CastableId classId;
    return &classId;
}

void* MemoryStream::doCastInternal(CastableId* id) const {
    if (id == getCastableClassId()) {
        return const_cast<MemoryStream*>(this);
    }
    void* reader = BufferedReader::doCastInternal(id);
    return reader != nullptr ? reader : BufferedWriter::doCastInternal(id);
}

CastableId* MemoryStream::getOwnCastableId() const {
    return getCastableClassId();
}

MemoryStream::MemoryStream(void* block, long long blockSize, bool ownsBlock)
    : buffer(static_cast<char*>(block)), size(blockSize), ownsBuffer(ownsBlock) {
}

MemoryStream::~MemoryStream() {
    if (ownsBuffer) {
        delete[] buffer;
    }
}

int MemoryStream::remaining() const {
    return static_cast<int>(std::min<long long>(size - position, INT_MAX));
}

int MemoryStream::read(void* target, int amount) {
    const void* data = read(amount);
    if (amount > 0) {
        std::memcpy(target, data, static_cast<std::size_t>(amount));
    }
    return amount;
}

int MemoryStream::write(const void* data, int amount) {
    void* place = poke(amount);
    if (amount > 0) {
        std::memcpy(place, data, static_cast<std::size_t>(amount));
        position += amount;
    }
    return amount;
}

void* MemoryStream::peek(int& amount) {
    amount = std::clamp(amount, 0, remaining());
    return buffer + position;
}

void* MemoryStream::read(int& amount) {
    void* data = peek(amount);
    position += amount;
    return data;
}

void* MemoryStream::poke(int& amount) {
    return peek(amount);
}

int MemoryStream::write(int amount) {
    read(amount);
    return amount;
}

int MemoryStream::mustWrite() const {
    return notAllowed();
}

int MemoryStream::getBufferSize() const {
    return static_cast<int>(std::min<long long>(size, INT_MAX));
}

int MemoryStream::setBufferSize(int) {
    return notAllowed();
}

void* MemoryStream::getBuffer(int& amount) const {
    amount = getBufferSize();
    return buffer;
}

int MemoryStream::canRead() const {
    return remaining();
}

int MemoryStream::canWrite() const {
    return remaining();
}

long long MemoryStream::lseek(long long offset, Seek origin) {
    long long target = offset;
    switch (origin) {
    case SeekStart:
        break;
    case SeekCurrent:
        target = seekTarget(position, offset);
        break;
    case SeekEnd:
        target = seekTarget(size, offset);
        break;
    default:
        Thread::setLastError(HE_INVAL);
        return -1;
    }
    position = std::clamp(target, 0LL, size);
    return position;
}

int MemoryStream::truncate(long long newSize) {
    if (newSize < 0 || newSize > size) {
        Thread::setLastError(newSize < 0 ? HE_INVAL : HE_FBIG);
        return -1;
    }
    size = newSize;
    position = std::min(position, size);
    return 0;
}

int MemoryStream::copy(Stream& target, long long& count) {
    const char* data = buffer + position;
    long long left = size - position;
    if (count > 0 && count < left) {
        left = count;
    }
    position = size;
    count = 0;
    do {
        const int offered = static_cast<int>(std::min<long long>(left, INT_MAX));
        const int written = target.writeAll(data + count, offered);
        count += std::max(written, 0);
        if (written < offered) {
            return -1;
        }
        left -= offered;
    } while (left > 0);
    return 0;
}

Stream::State MemoryStream::getInputState() const {
    return position >= size ? StateEnd : StateGood;
}

Stream::State MemoryStream::getOutputState() const {
    return getInputState();
}

CastableId* MemoryStreamEvil::getCastableClassId() {
    static CastableId classId;
    return &classId;
}

void* MemoryStreamEvil::doCastInternal(CastableId* id) const {
    return id == getCastableClassId() ? const_cast<MemoryStreamEvil*>(this)
                                      : MemoryStream::doCastInternal(id);
}

CastableId* MemoryStreamEvil::getOwnCastableId() const {
    return getCastableClassId();
}
