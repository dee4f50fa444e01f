#include "common/stream/counter_stream.h"

CastableId* CounterStream::getCastableClassId() {
    static CastableId classId;
    return &classId;
}

void* CounterStream::doCastInternal(CastableId* id) const {
    return id == getCastableClassId() ? const_cast<CounterStream*>(this)
                                      : WrapStream::doCastInternal(id);
}

CastableId* CounterStream::getOwnCastableId() const {
    return getCastableClassId();
}

int CounterStream::read(void* buffer, int size) {
    const int moved = WrapStream::read(buffer, size);
    if (moved > 0) {
        received += static_cast<unsigned>(moved);
    }
    return moved;
}

int CounterStream::write(const void* buffer, int size) {
    const int moved = WrapStream::write(buffer, size);
    if (moved > 0) {
        sent += static_cast<unsigned>(moved);
    }
    return moved;
}

unsigned CounterStream::getReceivedCount(bool reset) const {
    const unsigned count = received;
    if (reset) {
        received = 0;
    }
    return count;
}

unsigned CounterStream::getSentCount(bool reset) const {
    const unsigned count = sent;
    if (reset) {
        sent = 0;
    }
    return count;
}

// What WrapStream would hand to the base must pass through here.
// NOLINTBEGIN(bugprone-parent-virtual-call)
int CounterStream::copy(Stream& target, long long& count) {
    return Stream::copy(target, count);
}

int CounterStream::readAll(void* buffer, int size) {
    return Stream::readAll(buffer, size);
}

int CounterStream::writeAll(const void* buffer, int size) {
    return Stream::writeAll(buffer, size);
}
// NOLINTEND(bugprone-parent-virtual-call)
