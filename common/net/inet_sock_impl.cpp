// InetSockImpl: the one home of the system's calls on IPv4 sockets.

#include "common/error.h"
#include "common/net/inet_addr.h"
#include "common/net/inet_socket.h"
#include "common/stream/descriptor.h"
#include "common/thread/thread.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>

#include <cstring>

namespace {

// The form of an address that the system's calls take.
class SystemAddr {
public:
    SystemAddr() { std::memset(&address, 0, sizeof address); }
    explicit SystemAddr(const InetSocketAddr& value) { value.toSockAddrIn(&address); }

    sockaddr* get() { return reinterpret_cast<sockaddr*>(&address); }
    const sockaddr_in& value() const { return address; }

    socklen_t size = sizeof(sockaddr_in);

private:
    sockaddr_in address;
};

// Replaces one code by another in the last error of a call that has failed.
int failWith(unsigned systemCode, unsigned ownCode) {
    if (Thread::getLastError() == systemCode) {
        Thread::setLastError(ownCode);
    }
    return -1;
}

} // namespace

InetSockImpl::InetSockImpl(int fd)
    : desc(fd), pollEntry(nullptr), inputTimeout(-1), outputTimeout(-1) {
}

InetSockImpl::~InetSockImpl() {
    delete pollEntry;
    doClose();
}

void InetSockImpl::takeDescriptor(int fd) {
    desc = fd;
    if (pollEntry != nullptr) {
        pollEntry->fd = fd;
    }
}

int InetSockImpl::doCreate(int type) {
    if (desc != -1) {
        return 0;
    }
    const int fd = safeOpenFd(socket(AF_INET, type | SOCK_CLOEXEC, 0));
    if (fd == -1) {
        return -1;
    }
    takeDescriptor(fd);
    return 0;
}

int InetSockImpl::doBind(const InetSocketAddr& address, int backlog, bool reuse) {
    const int on = 1;
    if (reuse && doSetOption(SO_REUSEADDR, &on, sizeof on) != 0) {
        return -1;
    }
    SystemAddr system(address);
    if (bind(desc, system.get(), system.size) != 0 &&
        (errno != EACCES || InetSocket::requestBind(desc, address) == -1)) {
        return failWith(EADDRINUSE, HE_LSN_ADDR_IN_USE);
    }
    return backlog > 0 ? doListen(backlog) : 0;
}

int InetSockImpl::doListen(int backlog) {
    return listen(desc, backlog) == 0 ? 0 : failWith(EADDRINUSE, HE_LSN_ADDR_IN_USE);
}

int InetSockImpl::doAccept(InetSocket* target, int timeout) {
    InetSockImpl& accepted = *target;
    if (accepted.desc != -1) {
        Thread::setLastError(HE_INVALOP);
        return -1;
    }
    if (timeout >= 0 && doWait(timeout, 0) != 0) {
        return -1;
    }
    const int fd = safeOpenFd(accept4(desc, nullptr, nullptr, SOCK_CLOEXEC));
    if (fd == -1) {
        return -1;
    }
    accepted.takeDescriptor(fd);
    return 0;
}

int InetSockImpl::doConnect(const InetSocketAddr& peer, int timeout) {
    SystemAddr system(peer);
    if (timeout < 0) {
        return connect(desc, system.get(), system.size);
    }
    doNonblock(true);
    if (connect(desc, system.get(), system.size) != 0 &&
        (errno != EINPROGRESS || doWait(timeout, 1) != 0)) {
        return -1;
    }
    doNonblock(false);
    return 0;
}

int InetSockImpl::doShutdown(int how) {
    return desc != -1 ? shutdown(desc, how) : 0;
}

int InetSockImpl::doClose() {
    return desc != -1 ? safeCloseFd(desc) : 0;
}

int InetSockImpl::doSend(const void* buffer, int size, int flags, int) {
    if (outputTimeout >= 0 && doWait(outputTimeout, 1) != 0) {
        return -1;
    }
    const ssize_t moved = send(desc, buffer, static_cast<std::size_t>(size), flags | MSG_NOSIGNAL);
    return moved >= 0 ? static_cast<int>(moved) : failWith(EAGAIN, HE_TIMEOUT);
}

int InetSockImpl::doRecv(void* buffer, int size, int flags, int) {
    if (inputTimeout >= 0 && doWait(inputTimeout, 0) != 0) {
        return -1;
    }
    const ssize_t moved = recv(desc, buffer, static_cast<std::size_t>(size), flags);
    return moved >= 0 ? static_cast<int>(moved) : failWith(EAGAIN, HE_TIMEOUT);
}

int InetSockImpl::doPeerSend(const InetSocketAddr& peer, const void* buffer, int size, int flags) {
    SystemAddr system(peer);
    return static_cast<int>(sendto(desc, buffer, static_cast<std::size_t>(size),
                                   flags | MSG_NOSIGNAL, system.get(), system.size));
}

int InetSockImpl::doPeerRecv(InetSocketAddr* peer, void* buffer, int size, int flags, int timeout) {
    if (timeout >= 0 && doWait(timeout, 0) != 0) {
        return -1;
    }
    SystemAddr system;
    const ssize_t moved =
        recvfrom(desc, buffer, static_cast<std::size_t>(size), flags, system.get(), &system.size);
    const unsigned code = Thread::getLastError();
    *peer = system.value();
    Thread::setLastError(code);
    return static_cast<int>(moved);
}

int InetSockImpl::doGetOption(int name, void* value, int* length, int level) const {
    socklen_t size = static_cast<socklen_t>(*length);
    if (getsockopt(desc, level, name, value, &size) != 0) {
        return -1;
    }
    *length = static_cast<int>(size);
    return 0;
}

int InetSockImpl::doSetOption(int name, const void* value, int length, int level) {
    return setsockopt(desc, level, name, value, static_cast<socklen_t>(length));
}

int InetSockImpl::doGetAddr(InetSocketAddr* out, bool peer) {
    SystemAddr system;
    if ((peer ? getpeername : getsockname)(desc, system.get(), &system.size) != 0) {
        return -1;
    }
    *out = system.value();
    return 0;
}

int InetSockImpl::doNonblock(bool on) {
    const int mode = fcntl(desc, F_GETFL);
    if (mode == -1) {
        return -1;
    }
    const int wanted = on ? mode | O_NONBLOCK : mode & ~O_NONBLOCK;
    return wanted == mode ? 0 : fcntl(desc, F_SETFL, wanted);
}

// A wait without a descriptor would last for the whole time-out, or look at whatever has got the
// number of the descriptor that was closed.
int InetSockImpl::doWait(int timeout, int forWrite) {
    if (desc == -1) {
        Thread::setLastError(EBADF);
        return -1;
    }
    if (pollEntry == nullptr) {
        pollEntry = new pollfd{desc, 0, 0};
    }
    pollEntry->events = forWrite != 0 ? POLLOUT : POLLIN;
    const int ready = poll(pollEntry, 1, timeout);
    if (ready == -1) {
        return -1;
    }
    if (ready == 0) {
        Thread::setLastError(HE_TIMEOUT);
        return -1;
    }
    if ((pollEntry->revents & POLLERR) != 0) {
        Thread::setLastError(static_cast<unsigned>(doGetLastError()));
        return -1;
    }
    return 0;
}

int InetSockImpl::doSetInTimeout(int timeout) {
    doNonblock(timeout >= 0);
    inputTimeout = timeout;
    return 0;
}

int InetSockImpl::doSetOutTimeout(int timeout) {
    doNonblock(timeout >= 0);
    outputTimeout = timeout;
    return 0;
}

int InetSockImpl::doGetLastError() const {
    int pending = 0;
    int length = sizeof pending;
    return doGetOption(SO_ERROR, &pending, &length) == 0 ? pending
                                                         : static_cast<int>(Thread::getLastError());
}
