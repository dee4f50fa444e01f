#include "common/stream/buffered_reader.h"

#include "common/error.h"
#include "common/thread/thread.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace {

constexpr std::uintptr_t CACHE_LINE = 64;

} // namespace

CastableId* BufferedReader::getCastableClassId() {
    static CastableId classId;
    return &classId;
}

void* BufferedReader::doCastInternal(CastableId* id) const {
    return id == getCastableClassId() ? const_cast<BufferedReader*>(this)
                                      : Stream::doCastInternal(id);
}

CastableId* BufferedReader::getOwnCastableId() const {
    return getCastableClassId();
}

int BufferedReader::getBufferSize() const {
    return notAllowed();
}

int BufferedReader::setBufferSize(int) {
    return notAllowed();
}

void* BufferedReader::getBuffer(int& size) const {
    size = 0;
    notAllowed();
    return nullptr;
}

void* BufferedReader::peekAll(int& size) {
    const int wanted = size;
    int before = -1;
    for (;;) {
        size = wanted;
        void* data = peek(size);
        if (data == nullptr || size >= wanted || size <= before) {
            return data;
        }
        before = size;
    }
}

void* BufferedReader::peekAndReadAll(int& size) {
    return peekAll(size) != nullptr ? read(size) : nullptr;
}

int BufferedReader::read(void* buffer, int size) {
    if (size < 0) {
        Thread::setLastError(HE_INVAL);
        return -1;
    }
    if (size == 0) {
        return 0;
    }
    const void* data = read(size);
    if (data == nullptr || size <= 0) {
        return getInputState() == StateEnd ? 0 : -1;
    }
    std::memcpy(buffer, data, static_cast<std::size_t>(size));
    return size;
}

// A block that comes up empty ends the copy; whether it ended well is what the input state says,
// so that a failing input never passes for a short one.
int BufferedReader::copy(Stream& target, long long& count) {
    const int block = std::max(getBufferSize(), CopyBlockSize);
    const bool counted = count > 0;
    long long left = count;
    count = 0;
    while (!counted || left > 0) {
        int size = counted && left < block ? static_cast<int>(left) : block;
        if (size == block && Thread::stopRequest) {
            Thread::setLastError(HE_SHUTDOWN);
            return -1;
        }
        const void* data = read(size);
        if (data == nullptr) {
            return -1;
        }
        if (size <= 0) {
            return getInputState() == StateError ? -1 : 0;
        }
        const int written = target.writeAll(data, size);
        if (written > 0) {
            count += written;
        }
        if (written < size) {
            return -1;
        }
        left -= size;
    }
    return 0;
}

int BufferedReader::write(const void*, int) {
    return notAllowed();
}

Stream::State BufferedReader::getOutputState() const {
    return StateError;
}

// The size of a stream can cost system calls, so it is asked for only where it decides.
BufferedReader* BufferedReader::getStream(Stream* stream, int size) {
    if (void* known = stream->doCastInternal(getCastableClassId()); known != nullptr) {
        BufferedReader* reader = static_cast<BufferedReader*>(known);
        long long wanted = size;
        if (reader->getBufferSize() < wanted) {
            const long long total = reader->getSize();
            wanted = total >= 0 ? std::min(wanted, total) : wanted;
        }
        if (reader->getBufferSize() >= wanted ||
            reader->setBufferSize(static_cast<int>((wanted + 3) & ~3LL)) == 0) {
            reader->addReference();
            return reader;
        }
    }
    return new BufferedReaderImpl(stream, size);
}

BufferedReader* BufferedReader::getStream() {
    return new BufferedReaderImpl(nullptr, BufferedReaderImpl::BlockSize);
}

CastableId* BufferedReaderImpl::getCastableClassId() {
    static CastableId classId;
    return &classId;
}

void* BufferedReaderImpl::doCastInternal(CastableId* id) const {
    if (id == getCastableClassId()) {
        return const_cast<BufferedReaderImpl*>(this);
    }
    void* reader = BufferedReader::doCastInternal(id);
    return reader != nullptr ? reader : ComposableStream::doCastInternal(id);
}

CastableId* BufferedReaderImpl::getOwnCastableId() const {
    return getCastableClassId();
}

BufferedReaderImpl::BufferedReaderImpl(Stream* stream, int maxSize)
    : base(stream), allocatedSize(std::min(maxSize, BlockSize)), maximumSize(maxSize) {
    start = new char[static_cast<std::size_t>(allocatedSize)];
    readPointer = fillPointer = start;
    if (base != nullptr) {
        base->addReference();
    }
}

BufferedReaderImpl::~BufferedReaderImpl() {
    delete[] start;
    release(base);
}

// A new block of at least the unread data's size, with that data at its start.
void BufferedReaderImpl::reallocate(int size) {
    char* const old = start;
    start = new char[static_cast<std::size_t>(size)];
    allocatedSize = size;
    moveDown(old);
    delete[] old;
}

// Brings the unread data, which lies in the block `from`, to the start of the present one. In a
// large block some of the data read before stays in front of it, so that the next fill begins at a
// line of the processor's cache: a copy out of the kernel to another place can take three times as
// long.
void BufferedReaderImpl::moveDown(const char* from) {
    const int available = unread();
    int kept = 0;
    if (allocatedSize > BlockSize && available < allocatedSize / 2) {
        const auto end = reinterpret_cast<std::uintptr_t>(start) + static_cast<unsigned>(available);
        const auto inFront = static_cast<int>(readPointer - from);
        kept = std::min(static_cast<int>(-end % CACHE_LINE), inFront);
    }
    const int size = kept + available;
    std::memmove(start, readPointer - kept, static_cast<std::size_t>(size));
    readPointer = start + kept;
    fillPointer = readPointer + available;
}

// One read on the base, behind the unread data. Requires: room is above 0.
int BufferedReaderImpl::fill(int room) {
    const int got = base != nullptr ? base->read(fillPointer, room) : notAllowed();
    lastFillFailed = got < 1;
    lastFillWasFull = got == room;
    if (got > 0) {
        fillPointer += got;
    }
    return got;
}

// Makes room behind the unread data. A buffer full of unread data grows by one block. A base that
// always has as much as there is room for is read in larger blocks: that saves system calls, and
// what comes slowly, or is short, never costs more than the first block.
void BufferedReaderImpl::growFor(int wanted) {
    const int available = unread();
    if (available >= allocatedSize) {
        reallocate(allocatedSize + std::min(BlockSize, maximumSize - allocatedSize));
        return;
    }
    if (fillPointer < start + allocatedSize) {
        return;
    }
    const int ahead = std::min(maximumSize, ReadAheadSize);
    if (lastFillWasFull && wanted > allocatedSize && allocatedSize < ahead) {
        reallocate(std::min(4 * allocatedSize, ahead));
        return;
    }
    moveDown(start);
}

void* BufferedReaderImpl::peek(int& size) {
    if (size < 1) {
        size = 0;
        return readPointer;
    }
    const int available = unread();
    if (available >= size) {
        return readPointer;
    }
    if (available >= allocatedSize && available >= maximumSize) {
        size = available;
        return readPointer;
    }
    growFor(size);
    fill(static_cast<int>(start + allocatedSize - fillPointer));
    size = std::min(size, unread());
    return readPointer;
}

void* BufferedReaderImpl::read(int& size) {
    void* data = peek(size);
    readPointer += size;
    return data;
}

int BufferedReaderImpl::read(void* buffer, int size) {
    if (size <= 0) {
        return 0;
    }
    int available = unread();
    if (available == 0) {
        readPointer = fillPointer = start;
        if (size >= allocatedSize) {
            const int got = base != nullptr ? base->read(buffer, size) : notAllowed();
            lastFillFailed = got < 1;
            return got;
        }
        if (const int got = fill(allocatedSize); got < 1) {
            return got;
        }
        available = unread();
    }
    const int moved = std::min(size, available);
    std::memcpy(buffer, readPointer, static_cast<std::size_t>(moved));
    readPointer += moved;
    return moved;
}

int BufferedReaderImpl::setBufferSize(int size) {
    if (size < 1 || size % 4 != 0) {
        Thread::setLastError(HE_INVAL);
        return -1;
    }
    if (size < unread()) {
        return notAllowed();
    }
    if (size < allocatedSize) {
        reallocate(size);
    }
    maximumSize = size;
    return 0;
}

void* BufferedReaderImpl::getBuffer(int& size) const {
    size = allocatedSize;
    return start;
}

int BufferedReaderImpl::canRead() const {
    if (const int available = unread(); available > 0) {
        return available;
    }
    return base != nullptr ? base->canRead() : 0;
}

unsigned BufferedReaderImpl::getReceivedCount(bool reset) const {
    return base != nullptr ? base->getReceivedCount(reset) : 0;
}

unsigned BufferedReaderImpl::getSentCount(bool reset) const {
    return base != nullptr ? base->getSentCount(reset) : 0;
}

long long BufferedReaderImpl::lseek(long long offset, Seek origin) {
    if (origin != SeekStart && origin != SeekCurrent && origin != SeekEnd) {
        Thread::setLastError(HE_INVAL);
        return -1;
    }
    if (base == nullptr) {
        return notAllowed();
    }
    const long long end = base->lseek(0, SeekCurrent);
    if (end < 0) {
        return -1;
    }
    const long long begin = end - (fillPointer - start);
    long long target = offset;
    if (origin == SeekCurrent) {
        target = seekTarget(begin + (readPointer - start), offset);
    } else if (origin == SeekEnd) {
        const long long size = getSize();
        if (size < 0) {
            return -1;
        }
        target = seekTarget(size, offset);
    }
    if (target >= begin && target <= end) {
        readPointer = start + (target - begin);
    } else {
        target = base->lseek(target, SeekStart);
        if (target < 0) {
            return -1;
        }
        readPointer = fillPointer = start;
    }
    return target;
}

long long BufferedReaderImpl::getSize() const {
    return base != nullptr ? base->getSize() : notAllowed();
}

Stream::State BufferedReaderImpl::getInputState() const {
    if (!lastFillFailed) {
        return StateGood;
    }
    return base != nullptr ? base->getInputState() : StateError;
}

int BufferedReaderImpl::getInputTimeout() const {
    return base != nullptr ? base->getInputTimeout() : notAllowed();
}

int BufferedReaderImpl::getOutputTimeout() const {
    return base != nullptr ? base->getOutputTimeout() : notAllowed();
}

int BufferedReaderImpl::setInputTimeout(int milliseconds) {
    return base != nullptr ? base->setInputTimeout(milliseconds) : notAllowed();
}

int BufferedReaderImpl::setOutputTimeout(int milliseconds) {
    return base != nullptr ? base->setOutputTimeout(milliseconds) : notAllowed();
}

const char* BufferedReaderImpl::getStreamName(char* buffer, unsigned size) const {
    return base != nullptr ? base->getStreamName(buffer, size) : "";
}

int BufferedReaderImpl::setBaseStream(Stream* stream) {
    if (stream != base) {
        if (stream != nullptr) {
            stream->addReference();
        }
        release(base);
        base = stream;
    }
    return 0;
}

int BufferedReaderImpl::resetComposableStream() {
    readPointer = fillPointer = start;
    return 0;
}
