#include "common/stream/wrap_stream.h"

CastableId* WrapStream::getCastableClassId() {
    static CastableId classId;
    return &classId;
}

void* WrapStream::doCastInternal(CastableId* id) const {
    return id == getCastableClassId() ? const_cast<WrapStream*>(this)
                                      : ComposableStream::doCastInternal(id);
}

CastableId* WrapStream::getOwnCastableId() const {
    return getCastableClassId();
}

WrapStream::WrapStream(Stream* stream) : base(stream) {
    if (base != nullptr) {
        base->addReference();
    }
}

WrapStream::~WrapStream() {
    release(base);
}

int WrapStream::setBaseStream(Stream* stream) {
    if (stream != base) {
        if (stream != nullptr) {
            stream->addReference();
        }
        release(base);
        base = stream;
    }
    return 0;
}

int WrapStream::read(void* buffer, int size) {
    return base != nullptr ? base->read(buffer, size) : notAllowed();
}

int WrapStream::write(const void* buffer, int size) {
    return base != nullptr ? base->write(buffer, size) : notAllowed();
}

int WrapStream::flush() {
    return base != nullptr ? base->flush() : notAllowed();
}

int WrapStream::canRead() const {
    return base != nullptr ? base->canRead() : notAllowed();
}

int WrapStream::canWrite() const {
    return base != nullptr ? base->canWrite() : notAllowed();
}

unsigned WrapStream::getReceivedCount(bool reset) const {
    return base != nullptr ? base->getReceivedCount(reset) : 0;
}

unsigned WrapStream::getSentCount(bool reset) const {
    return base != nullptr ? base->getSentCount(reset) : 0;
}

long long WrapStream::lseek(long long offset, Seek origin) {
    return base != nullptr ? base->lseek(offset, origin) : notAllowed();
}

long long WrapStream::getSize() const {
    return base != nullptr ? base->getSize() : notAllowed();
}

int WrapStream::truncate(long long size) {
    return base != nullptr ? base->truncate(size) : notAllowed();
}

int WrapStream::copy(Stream& target, long long& count) {
    return base != nullptr ? base->copy(target, count) : notAllowed();
}

int WrapStream::readAll(void* buffer, int size) {
    return base != nullptr ? base->readAll(buffer, size) : notAllowed();
}

int WrapStream::writeAll(const void* buffer, int size) {
    return base != nullptr ? base->writeAll(buffer, size) : notAllowed();
}

Stream::State WrapStream::getInputState() const {
    return base != nullptr ? base->getInputState() : StateError;
}

Stream::State WrapStream::getOutputState() const {
    return base != nullptr ? base->getOutputState() : StateError;
}

int WrapStream::getInputTimeout() const {
    return base != nullptr ? base->getInputTimeout() : notAllowed();
}

int WrapStream::getOutputTimeout() const {
    return base != nullptr ? base->getOutputTimeout() : notAllowed();
}

int WrapStream::setInputTimeout(int milliseconds) {
    return base != nullptr ? base->setInputTimeout(milliseconds) : notAllowed();
}

int WrapStream::setOutputTimeout(int milliseconds) {
    return base != nullptr ? base->setOutputTimeout(milliseconds) : notAllowed();
}

const char* WrapStream::getStreamName(char* buffer, unsigned size) const {
    return base != nullptr ? base->getStreamName(buffer, size) : "";
}
