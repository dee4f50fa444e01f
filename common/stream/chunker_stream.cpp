#include "common/stream/chunker_stream.h"

#include "common/error.h"
#include "common/thread/thread.h"

#include <algorithm>

CastableId* ChunkerStream::getCastableClassId() {
    static CastableId classId;
    return &classId;
}

void* ChunkerStream::doCastInternal(CastableId* id) const {
    return id == getCastableClassId() ? const_cast<ChunkerStream*>(this)
                                      : ComposableStream::doCastInternal(id);
}

CastableId* ChunkerStream::getOwnCastableId() const {
    return getCastableClassId();
}

ChunkerStream::ChunkerStream(Stream* stream, long long start, long long size) : base(stream) {
    base->addReference();
    setRange(start, size);
}

ChunkerStream::ChunkerStream(long long size, Stream* stream) : base(stream) {
    base->addReference();
    long long start = base->lseek(0, SeekCurrent);
    if (start < 0) {
        start = 0;
        mustSeekFirst = false;
    }
    setRange(start, size);
}

ChunkerStream::~ChunkerStream() {
    release(base);
}

void ChunkerStream::makeBad() {
    chunkStart = -1;
    chunkSize = 0;
}

void ChunkerStream::setRange(long long start, long long size) {
    if (start < 0 || size < -1) {
        return;
    }
    if (size == -1) {
        long long end = base->getSize();
        if (end < 0) {
            const long long present = base->lseek(0, SeekCurrent);
            end = present < 0 ? -1 : base->lseek(0, SeekEnd);
            if (end < 0 || base->lseek(present, SeekStart) < 0) {
                return;
            }
        }
        size = std::max(end - start, 0LL);
    }
    chunkStart = start;
    chunkSize = size;
}

// Brings the base to the start of the chunk, before the first transfer, and cuts size to what
// remains. False for a bad chunk.
bool ChunkerStream::prepare(int& size) {
    if (chunkStart >= 0 && mustSeekFirst) {
        mustSeekFirst = false;
        const long long reached = base->lseek(chunkStart, SeekStart);
        if (reached != chunkStart) {
            makeBad();
        }
        if (reached < 0) {
            return false; // with the base's error
        }
    }
    if (chunkStart < 0) {
        notAllowed();
        return false;
    }
    size = static_cast<int>(std::clamp<long long>(size, 0, chunkSize - position));
    return true;
}

int ChunkerStream::read(void* buffer, int size) {
    if (!prepare(size)) {
        return -1;
    }
    const int moved = size > 0 ? base->read(buffer, size) : 0;
    position += std::max(moved, 0);
    return moved;
}

int ChunkerStream::write(const void* buffer, int size) {
    if (!prepare(size)) {
        return -1;
    }
    const int moved = size > 0 ? base->write(buffer, size) : 0;
    position += std::max(moved, 0);
    return moved;
}

int ChunkerStream::flush() {
    return base->flush();
}

int ChunkerStream::canRead() const {
    return static_cast<int>(std::min<long long>(base->canRead(), chunkSize - position));
}

int ChunkerStream::canWrite() const {
    return static_cast<int>(std::min<long long>(base->canWrite(), chunkSize - position));
}

unsigned ChunkerStream::getReceivedCount(bool reset) const {
    return base->getReceivedCount(reset);
}

unsigned ChunkerStream::getSentCount(bool reset) const {
    return base->getSentCount(reset);
}

long long ChunkerStream::lseek(long long offset, Seek origin) {
    if (chunkStart < 0) {
        return notAllowed();
    }
    long long target = offset;
    if (origin == SeekCurrent) {
        target = seekTarget(position, offset);
    } else if (origin == SeekEnd) {
        target = seekTarget(chunkSize, offset);
    } else if (origin != SeekStart) {
        target = -1;
    }
    if (target < 0 || target > chunkSize) {
        Thread::setLastError(HE_INVAL);
        return -1;
    }
    // Only to ask for the position costs no seek.
    const bool asked = origin == SeekCurrent && offset == 0 && !mustSeekFirst;
    if (!asked && base->lseek(chunkStart + target, SeekStart) != chunkStart + target) {
        return -1;
    }
    mustSeekFirst = false;
    position = target;
    return position;
}

int ChunkerStream::truncate(long long) {
    return notAllowed();
}

Stream::State ChunkerStream::state(State ofBase) const {
    if (chunkStart < 0) {
        return StateError;
    }
    return position >= chunkSize ? StateEnd : ofBase;
}

Stream::State ChunkerStream::getInputState() const {
    return state(base->getInputState());
}

Stream::State ChunkerStream::getOutputState() const {
    return state(base->getOutputState());
}

int ChunkerStream::getInputTimeout() const {
    return base->getInputTimeout();
}

int ChunkerStream::getOutputTimeout() const {
    return base->getOutputTimeout();
}

int ChunkerStream::setInputTimeout(int milliseconds) {
    return base->setInputTimeout(milliseconds);
}

int ChunkerStream::setOutputTimeout(int milliseconds) {
    return base->setOutputTimeout(milliseconds);
}

const char* ChunkerStream::getStreamName(char* buffer, unsigned size) const {
    return base->getStreamName(buffer, size);
}
