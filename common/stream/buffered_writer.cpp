#include "common/stream/buffered_writer.h"

#include "common/error.h"
#include "common/thread/thread.h"

#include <algorithm>
#include <cstring>

CastableId* BufferedWriter::getCastableClassId() {
    static CastableId classId;
    return &classId;
}

void* BufferedWriter::doCastInternal(CastableId* id) const {
    return id == getCastableClassId() ? const_cast<BufferedWriter*>(this)
                                      : Stream::doCastInternal(id);
}

CastableId* BufferedWriter::getOwnCastableId() const {
    return getCastableClassId();
}

int BufferedWriter::getBufferSize() const {
    return notAllowed();
}

int BufferedWriter::setBufferSize(int) {
    return notAllowed();
}

void* BufferedWriter::getBuffer(int& size) const {
    size = 0;
    notAllowed();
    return nullptr;
}

int BufferedWriter::write(const void* buffer, int size) {
    if (size < 0) {
        Thread::setLastError(HE_INVAL);
        return -1;
    }
    if (size == 0) {
        return 0;
    }
    void* place = poke(size);
    if (place == nullptr || size <= 0) {
        return getOutputState() == StateEnd ? 0 : -1;
    }
    std::memcpy(place, buffer, static_cast<std::size_t>(size));
    return write(size);
}

int BufferedWriter::read(void*, int) {
    return notAllowed();
}

Stream::State BufferedWriter::getInputState() const {
    return StateError;
}

BufferedWriter* BufferedWriter::getStream(Stream* stream, int size) {
    if (void* known = stream->doCastInternal(getCastableClassId()); known != nullptr) {
        BufferedWriter* writer = static_cast<BufferedWriter*>(known);
        if (writer->getBufferSize() >= size || writer->setBufferSize(size) == 0) {
            writer->addReference();
            return writer;
        }
    }
    return new BufferedWriterImpl(stream, size);
}

BufferedWriter* BufferedWriter::getStream() {
    return new BufferedWriterImpl(nullptr, 4096);
}

CastableId* BufferedWriterImpl::getCastableClassId() {
    static CastableId classId;
    return &classId;
}

void* BufferedWriterImpl::doCastInternal(CastableId* id) const {
    if (id == getCastableClassId()) {
        return const_cast<BufferedWriterImpl*>(this);
    }
    void* writer = BufferedWriter::doCastInternal(id);
    return writer != nullptr ? writer : ComposableStream::doCastInternal(id);
}

CastableId* BufferedWriterImpl::getOwnCastableId() const {
    return getCastableClassId();
}

BufferedWriterImpl::BufferedWriterImpl(Stream* stream, int bufferSize)
    : base(stream), start(new char[static_cast<std::size_t>(bufferSize)]), writePointer(start),
      endPointer(start + bufferSize), size(bufferSize) {
    if (base != nullptr) {
        base->addReference();
    }
}

BufferedWriterImpl::~BufferedWriterImpl() {
    BufferedWriterImpl::flush();
    delete[] start;
    release(base);
}

// Takes the first count bytes out of the buffer.
void BufferedWriterImpl::dropFront(int count) {
    std::memmove(start, start + count, static_cast<std::size_t>(held() - count));
    writePointer -= count;
}

// One write of the full buffer. Gives what the base took.
int BufferedWriterImpl::sendBuffer() {
    const int sent = base != nullptr ? base->write(start, held()) : notAllowed();
    if (sent > 0) {
        dropFront(sent);
    }
    return sent;
}

int BufferedWriterImpl::write(const void* data, int dataSize) {
    if (dataSize < 0) {
        Thread::setLastError(HE_INVAL);
        return -1;
    }
    if (dataSize == 0) {
        return 0;
    }
    const int free = room();
    if (dataSize < free) {
        std::memcpy(writePointer, data, static_cast<std::size_t>(dataSize));
        writePointer += dataSize;
        return dataSize;
    }
    if (held() == 0) {
        return base != nullptr ? base->write(data, dataSize) : notAllowed();
    }
    std::memcpy(writePointer, data, static_cast<std::size_t>(free));
    writePointer = endPointer;
    const int sent = sendBuffer();
    if (sent <= 0) {
        return free != 0 ? free : sent;
    }
    const int more = std::min(dataSize - free, sent);
    std::memcpy(writePointer, static_cast<const char*>(data) + free,
                static_cast<std::size_t>(more));
    writePointer += more;
    return free + more;
}

int BufferedWriterImpl::write(int committed) {
    if (committed < 0) {
        Thread::setLastError(HE_INVAL);
        return -1;
    }
    const int free = room();
    if (committed < free) {
        writePointer += committed;
        return committed;
    }
    writePointer = endPointer;
    const int sent = sendBuffer();
    return free != 0 || sent > 0 ? free : sent;
}

void* BufferedWriterImpl::poke(int& wanted) {
    if (room() < wanted && flush() < 0) {
        wanted = 0;
        return nullptr;
    }
    wanted = std::clamp(wanted, 0, room());
    return writePointer;
}

int BufferedWriterImpl::setBufferSize(int newSize) {
    if (newSize < 1 || newSize % 4 != 0) {
        Thread::setLastError(HE_INVAL);
        return -1;
    }
    if (newSize < size && flush() < 0) {
        return -1;
    }
    if (newSize != size) {
        const int waiting = held();
        char* fresh = new char[static_cast<std::size_t>(newSize)];
        std::memcpy(fresh, start, static_cast<std::size_t>(waiting));
        delete[] start;
        start = fresh;
        writePointer = fresh + waiting;
        endPointer = fresh + newSize;
        size = newSize;
    }
    return 0;
}

void* BufferedWriterImpl::getBuffer(int& bufferSize) const {
    bufferSize = size;
    return start;
}

int BufferedWriterImpl::canWrite() const {
    if (const int free = room(); free > 0) {
        return free;
    }
    return base != nullptr ? base->canWrite() : 0;
}

int BufferedWriterImpl::flush() {
    const int waiting = held();
    if (waiting == 0) {
        return 0;
    }
    const int sent = base != nullptr ? base->writeAll(start, waiting) : notAllowed();
    if (sent > 0) {
        dropFront(sent);
    }
    return sent == waiting ? 0 : -1;
}

unsigned BufferedWriterImpl::getReceivedCount(bool reset) const {
    return base != nullptr ? base->getReceivedCount(reset) : 0;
}

unsigned BufferedWriterImpl::getSentCount(bool reset) const {
    return base != nullptr ? base->getSentCount(reset) : 0;
}

long long BufferedWriterImpl::lseek(long long offset, Seek origin) {
    if (flush() < 0) {
        return -1;
    }
    return base != nullptr ? base->lseek(offset, origin) : notAllowed();
}

int BufferedWriterImpl::truncate(long long newSize) {
    if (flush() < 0) {
        return -1;
    }
    return base != nullptr ? base->truncate(newSize) : notAllowed();
}

long long BufferedWriterImpl::getSize() const {
    return base != nullptr ? base->getSize() : notAllowed();
}

Stream::State BufferedWriterImpl::getOutputState() const {
    return base != nullptr ? base->getOutputState() : StateError;
}

int BufferedWriterImpl::getInputTimeout() const {
    return base != nullptr ? base->getInputTimeout() : notAllowed();
}

int BufferedWriterImpl::getOutputTimeout() const {
    return base != nullptr ? base->getOutputTimeout() : notAllowed();
}

int BufferedWriterImpl::setInputTimeout(int milliseconds) {
    return base != nullptr ? base->setInputTimeout(milliseconds) : notAllowed();
}

int BufferedWriterImpl::setOutputTimeout(int milliseconds) {
    return base != nullptr ? base->setOutputTimeout(milliseconds) : notAllowed();
}

const char* BufferedWriterImpl::getStreamName(char* buffer, unsigned bufferSize) const {
    return base != nullptr ? base->getStreamName(buffer, bufferSize) : "";
}

int BufferedWriterImpl::setBaseStream(Stream* stream) {
    if (stream != base) {
        if (stream != nullptr) {
            stream->addReference();
        }
        release(base);
        base = stream;
    }
    return 0;
}

int BufferedWriterImpl::resetComposableStream() {
    writePointer = start;
    return 0;
}
