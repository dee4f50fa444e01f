#include "common/net/socket.h"

#include "common/error.h"
#include "common/thread/thread.h"

#include <utility>

SelectableObject::~SelectableObject() = default;

CastableId* Socket::getCastableClassId() {
    static CastableId classId;
    return &classId;
}

void* Socket::doCastInternal(CastableId* id) const {
    return id == getCastableClassId() ? const_cast<Socket*>(this) : Stream::doCastInternal(id);
}

CastableId* Socket::getOwnCastableId() const {
    return getCastableClassId();
}

namespace {

// Notes what a transfer gave, and gives it back.
int noteTransfer(int moved, Stream::State& state, unsigned& count) {
    if (moved < 0) {
        state = Thread::getLastError() == HE_TIMEOUT ? Stream::StateTimedOut : Stream::StateError;
    } else if (moved == 0) {
        state = Stream::StateEnd;
    } else {
        state = Stream::StateGood;
        count += static_cast<unsigned>(moved);
    }
    return moved;
}

unsigned countSoFar(unsigned& count, bool reset) {
    return reset ? std::exchange(count, 0U) : count;
}

} // namespace

int Socket::read(void* buffer, int size) {
    return size < 1 ? 0 : noteTransfer(recv(buffer, size, -1), inputState, receivedCount);
}

int Socket::write(const void* buffer, int size) {
    return size < 1 ? 0 : noteTransfer(send(buffer, size, -1), outputState, sentCount);
}

unsigned Socket::getReceivedCount(bool reset) const {
    return countSoFar(receivedCount, reset);
}

unsigned Socket::getSentCount(bool reset) const {
    return countSoFar(sentCount, reset);
}

long long Socket::lseek(long long offset, Seek) {
    return offset == 0 ? 0 : notAllowed();
}

int Socket::getInputTimeout() const {
    return -1;
}

int Socket::getOutputTimeout() const {
    return -1;
}

int Socket::shutdown(int) {
    return 0;
}

int Socket::getType() const {
    return 0;
}
