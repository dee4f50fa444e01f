#include "common/net/inet_socket.h"

#include "common/error.h"
#include "common/net/inet_addr.h"
#include "common/thread/thread.h"

namespace {

int refuseBind(int, const InetSocketAddr&) {
    Thread::setLastError(HE_INVALOP);
    return -1;
}

} // namespace

constinit InetSocket::RequestBind InetSocket::requestBind = refuseBind;

CastableId* InetSocket::getCastableClassId() {
    static CastableId classId;
    return &classId;
}

void* InetSocket::doCastInternal(CastableId* id) const {
    return id == getCastableClassId() ? const_cast<InetSocket*>(this) : Socket::doCastInternal(id);
}

CastableId* InetSocket::getOwnCastableId() const {
    return getCastableClassId();
}

int InetSocket::setInputTimeout(int milliseconds) {
    return doSetInTimeout(milliseconds);
}

int InetSocket::setOutputTimeout(int milliseconds) {
    return doSetOutTimeout(milliseconds);
}

int InetSocket::connect(const SocketAddr& peer) {
    if (doCreate(SOCK_STREAM) != 0) {
        return -1;
    }
    return doConnect(static_cast<const InetSocketAddr&>(peer), -1);
}

int InetSocket::shutdown(int how) {
    return doShutdown(how);
}

int InetSocket::close() {
    return doClose();
}

int InetSocket::send(const void* buffer, int size, int timeout) {
    return doSend(buffer, size, 0, timeout);
}

int InetSocket::recv(void* buffer, int size, int timeout) {
    return doRecv(buffer, size, 0, timeout);
}

int InetSocket::getType() const {
    return 4;
}

int InetSocket::getDesc() const {
    return getDescriptor();
}

int InetSocket::makeNonBlocking(bool on) {
    return doNonblock(on);
}
