#include "common/stream/composable_stream.h"

CastableId* ComposableStream::getCastableClassId() {
    static CastableId classId;
    return &classId;
}

void* ComposableStream::doCastInternal(CastableId* id) const {
    return id == getCastableClassId() ? const_cast<ComposableStream*>(this)
                                      : Stream::doCastInternal(id);
}

CastableId* ComposableStream::getOwnCastableId() const {
    return getCastableClassId();
}

int ComposableStream::setBaseStream(Stream*) {
    return notAllowed();
}

int ComposableStream::resetComposableStream() {
    return notAllowed();
}

Stream* ComposableStream::getRootStream(Stream* stream) {
    while (stream != nullptr) {
        void* composed = stream->doCastInternal(getCastableClassId());
        if (composed == nullptr) {
            break;
        }
        stream = static_cast<ComposableStream*>(composed)->getBaseStream();
    }
    return stream;
}
