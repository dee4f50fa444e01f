#include "common/stream/fd_stream.h"

#include "common/stream/descriptor.h"

#include <unistd.h>

CastableId* FDStream::getCastableClassId() {
    static CastableId classId;
    return &classId;
}

void* FDStream::doCastInternal(CastableId* id) const {
    return id == getCastableClassId() ? const_cast<FDStream*>(this) : Stream::doCastInternal(id);
}

CastableId* FDStream::getOwnCastableId() const {
    return getCastableClassId();
}

namespace {

// What a transfer gives without a system call, or 1 where there must be one.
int withoutCall(Stream::State state, int size) {
    if (state == Stream::StateError) {
        return -1;
    }
    return state == Stream::StateEnd || size <= 0 ? 0 : 1;
}

Stream::State stateAfter(int moved) {
    if (moved < 0) {
        return Stream::StateError;
    }
    return moved == 0 ? Stream::StateEnd : Stream::StateGood;
}

} // namespace

int FDStream::read(void* buffer, int size) {
    if (const int known = withoutCall(inputState, size); known != 1) {
        return known;
    }
    const int moved = readFd(descriptor, buffer, size);
    inputState = stateAfter(moved);
    return moved;
}

int FDStream::write(const void* buffer, int size) {
    if (const int known = withoutCall(outputState, size); known != 1) {
        return known;
    }
    const int moved = writeFd(descriptor, buffer, size);
    outputState = stateAfter(moved);
    return moved;
}

int FDStream::flush() {
    return fsync(descriptor);
}

long long FDStream::lseek(long long offset, Seek origin) {
    return ::lseek(descriptor, offset, origin);
}

long long FDStream::getSize() const {
    const off_t position = ::lseek(descriptor, 0, SEEK_CUR);
    if (position < 0) {
        return -1;
    }
    const off_t end = ::lseek(descriptor, 0, SEEK_END);
    return ::lseek(descriptor, position, SEEK_SET) < 0 ? -1 : end;
}
