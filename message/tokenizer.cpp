#include "message/tokenizer.h"

#include "common/error.h"
#include "common/thread/thread.h"

#include <cstring>

CastableId* Tokenizer::getCastableClassId() {
    static CastableId classId;
    return &classId;
}

void* Tokenizer::doCastInternal(CastableId* id) const {
    return id == getCastableClassId() ? const_cast<Tokenizer*>(this) : nullptr;
}

CastableId* Tokenizer::getOwnCastableId() const {
    return getCastableClassId();
}

TokenizerStream::TokenizerStream(BufferedReader* ownedReader, int endOfLine, bool zeroTerminate)
    : reader(ownedReader) {
    setEolType(endOfLine, zeroTerminate);
}

TokenizerStream::~TokenizerStream() {
    release(reader);
}

void* TokenizerStream::doCastInternal(CastableId* id) const {
    if (void* tokenizer = Tokenizer::doCastInternal(id); tokenizer != nullptr) {
        return tokenizer;
    }
    void* composed = ComposableStream::doCastInternal(id);
    return composed != nullptr ? composed : BufferedReader::doCastInternal(id);
}

void TokenizerStream::setEolType(int newFlags, bool zeroTerminate) {
    flags = zeroTerminate ? newFlags | ZeroTerminate : newFlags & ~ZeroTerminate;
    scanOffset = 0;
    eolLength = 0;
}

int TokenizerStream::resetComposableStream() {
    forget(Touch::Moving);
    void* composed = reader->doCastInternal(ComposableStream::getCastableClassId());
    return composed != nullptr ? static_cast<ComposableStream*>(composed)->resetComposableStream()
                               : notAllowed();
}

// The largest token wanted.
int TokenizerStream::limitFor(int size) const {
    if (size <= 0) {
        size = reader->getBufferSize();
    }
    return size > 0 ? size : 65536;
}

// Up to size bytes at the read pointer: what is there, or else one read's worth.
unsigned char* TokenizerStream::peekReader(int& size) {
    return static_cast<unsigned char*>(reader->peek(size));
}

// Whether a single line end could still turn out to be the first half of a pair.
bool TokenizerStream::isFirstHalf(unsigned char c) const {
    return (c == '\r' && has(4)) || (c == '\n' && has(8)) || (c == 0 && (flags & 15) == 0);
}

void* TokenizerStream::copyToken(const void* token, int size) {
    if (size >= localSize) {
        localSize = (size / 16 + 1) * 16;
        local.reset(new char[static_cast<std::size_t>(localSize)]);
    }
    std::memcpy(local.get(), token, static_cast<std::size_t>(size));
    local[static_cast<std::size_t>(size)] = '\0';
    return local.get();
}

void* TokenizerStream::failed(int& size) {
    size = 0;
    scanOffset = 0;
    eolLength = -1;
    Thread::setLastError(HE_INVALOP);
    return nullptr;
}

int TokenizerStream::read(void* buffer, int size) {
    forget(Touch::Reading);
    return reader->read(buffer, size);
}

void* TokenizerStream::read(int& size) {
    forget(Touch::Reading);
    return reader->read(size);
}

void* TokenizerStream::peek(int& size) {
    forget(Touch::Reading);
    return reader->peek(size);
}

void* TokenizerStream::peekAll(int& size) {
    forget(Touch::Reading);
    return reader->peekAll(size);
}

void* TokenizerStream::peekAndReadAll(int& size) {
    forget(Touch::Reading);
    return reader->peekAndReadAll(size);
}

int TokenizerStream::readAll(void* buffer, int size) {
    forget(Touch::Reading);
    return reader->readAll(buffer, size);
}

long long TokenizerStream::lseek(long long offset, Seek origin) {
    forget(Touch::Moving);
    return reader->lseek(offset, origin);
}

int TokenizerStream::truncate(long long size) {
    forget(Touch::Moving);
    return reader->truncate(size);
}

int TokenizerStream::copy(Stream& target, long long& count) {
    forget(Touch::Moving);
    return reader->copy(target, count);
}

int TokenizerStream::write(const void* buffer, int size) {
    forget(Touch::Writing);
    return reader->write(buffer, size);
}

int TokenizerStream::writeAll(const void* buffer, int size) {
    forget(Touch::Writing);
    return reader->writeAll(buffer, size);
}

int TokenizerStream::flush() {
    forget(Touch::Flushing);
    return reader->flush();
}

int TokenizerStream::setBufferSize(int size) {
    forget(Touch::Resizing);
    return reader->setBufferSize(size);
}

int TokenizerStream::canRead() const {
    return reader->canRead();
}

int TokenizerStream::canWrite() const {
    return reader->canWrite();
}

unsigned TokenizerStream::getReceivedCount(bool reset) const {
    return reader->getReceivedCount(reset);
}

unsigned TokenizerStream::getSentCount(bool reset) const {
    return reader->getSentCount(reset);
}

long long TokenizerStream::getSize() const {
    return reader->getSize();
}

Stream::State TokenizerStream::getOutputState() const {
    return reader->getOutputState();
}

int TokenizerStream::getInputTimeout() const {
    return reader->getInputTimeout();
}

int TokenizerStream::getOutputTimeout() const {
    return reader->getOutputTimeout();
}

int TokenizerStream::setInputTimeout(int milliseconds) {
    return reader->setInputTimeout(milliseconds);
}

int TokenizerStream::setOutputTimeout(int milliseconds) {
    return reader->setOutputTimeout(milliseconds);
}

const char* TokenizerStream::getStreamName(char* buffer, unsigned size) const {
    return reader->getStreamName(buffer, size);
}

int TokenizerStream::getBufferSize() const {
    return reader->getBufferSize();
}

void* TokenizerStream::getBuffer(int& size) const {
    return reader->getBuffer(size);
}

Stream::State TokenizerStream::getInputState() const {
    return eolLength < 0 ? reader->getInputState() : StateGood;
}
