// TCP and UDP sockets over IPv4: InetSockImpl works on the descriptor, InetSocket shows it as a
// stream. There is no name resolution and no IPv6.
//
// Ownership: the object owns its descriptor, which must have come through safeOpenFd, and closes it
// at the latest in its destructor. A closed object may be created, connected or accepted into
// again. Threads: one thread at a time for each direction. The two directions share the poll entry,
// so sends and receives with time-outs on two threads need their owner's coordination. Failure: -1
// with the last error set: the system's own code, HE_TIMEOUT or HE_LSN_ADDR_IN_USE as told below,
// EBADF without a descriptor. What a signal interrupts is not repeated: EINTR lets a thread look up
// from a wait. A peer that has gone gives EPIPE and never SIGPIPE.

#ifndef MORVEX_COMMON_NET_INET_SOCKET_H
#define MORVEX_COMMON_NET_INET_SOCKET_H

#include "common/net/socket.h"

#include <sys/socket.h>

class InetSocket;
class InetSocketAddr;
struct pollfd;

// All time-outs are in milliseconds; a negative one waits without end.
class InetSockImpl {
public:
    // Takes over a descriptor, -1 for none. There are no time-outs at first.
    explicit InetSockImpl(int fd);
    InetSockImpl(const InetSockImpl&) = delete;
    InetSockImpl& operator=(const InetSockImpl&) = delete;
    virtual ~InetSockImpl();

    // Makes a socket of SOCK_STREAM or SOCK_DGRAM, close-on-exec and blocking, if there is none
    // yet. 0, or -1.
    int doCreate(int type);

    // Binds, with SO_REUSEADDR first if asked, and listens if the backlog is positive. A bind that
    // the system refuses for lack of rights goes to InetSocket::requestBind. 0, or -1 with
    // HE_LSN_ADDR_IN_USE for an address in use.
    int doBind(const InetSocketAddr& address, int backlog, bool reuse);

    // 0, or -1 with HE_LSN_ADDR_IN_USE for an address in use.
    int doListen(int backlog);

    // Accepts a connection into a socket that has no descriptor (HE_INVALOP otherwise), after a
    // wait of at most timeout. 0, or -1 with the target unchanged.
    int doAccept(InetSocket* target, int timeout);

    // Connects; with a timeout of 0 or more the wait is bounded and the socket is left blocking
    // again, or non-blocking where this fails. 0, or -1 with the reason of the refusal.
    int doConnect(const InetSocketAddr& peer, int timeout);

    // As shutdown(2), and as safeCloseFd; 0 without a descriptor.
    int doShutdown(int how);
    int doClose();

    // One send(2) or recv(2), after a wait of at most the time-out of that direction, if it has
    // one; the argument does not count. They give the bytes moved, 0 at the end of the connection,
    // or -1, with HE_TIMEOUT also where a non-blocking socket would have to wait.
    // Requires: size is not negative, here and below.
    int doSend(const void* buffer, int size, int flags, int timeout);
    int doRecv(void* buffer, int size, int flags, int timeout);

    // One datagram to a peer: sendto(2).
    int doPeerSend(const InetSocketAddr& peer, const void* buffer, int size, int flags);

    // One datagram and its sender: recvfrom(2), after a wait of at most timeout. The peer becomes
    // 0.0.0.0:0 where recvfrom names none, and is unchanged if the wait fails. A non-blocking
    // socket that would have to wait gives EAGAIN. Requires: peer is not null.
    int doPeerRecv(InetSocketAddr* peer, void* buffer, int size, int flags, int timeout);

    // getsockopt(2) and setsockopt(2). Length holds the room, and then the bytes stored; it is
    // unchanged on failure.
    int doGetOption(int name, void* value, int* length, int level = SOL_SOCKET) const;
    int doSetOption(int name, const void* value, int length, int level = SOL_SOCKET);

    // The address of the peer or of this end. 0, or -1 with out unchanged.
    int doGetAddr(InetSocketAddr* out, bool peer);

    // Sets or clears O_NONBLOCK. 0, or -1.
    int doNonblock(bool on);

    // Waits until the socket can be read, or written. 0, which may also mean that the next transfer
    // meets the end or an error; or -1: HE_TIMEOUT if it did not come to that in time, the socket's
    // own pending error, or EINTR.
    int doWait(int timeout, int forWrite);

    // Set the time-out of one direction, and the socket non-blocking for 0 or more or blocking for
    // a negative one. Always 0. Both directions have one mode, which the later call decides, and a
    // descriptor that comes later is blocking: a transfer in that mode may take longer than the
    // wait in front of it, where the peer takes less than is sent.
    int doSetInTimeout(int timeout);
    int doSetOutTimeout(int timeout);

    // The socket's pending error, which this clears (0 for none), or the last error where it cannot
    // be had.
    int doGetLastError() const;

protected:
    int getDescriptor() const { return desc; }

private:
    void takeDescriptor(int fd);

    int desc;          // -1 for none
    pollfd* pollEntry; // owned; made by the first wait, kept for the object's life
    int inputTimeout;
    int outputTimeout;
};

// An IPv4 socket as a stream. Read and write keep to the time-outs set here.
class InetSocket : public Socket, public InetSockImpl {
public:
    // Binds a descriptor in the place of a process that lacks the right to. Gives -1 on failure,
    // with the last error set, and anything else when the descriptor is bound.
    using RequestBind = int (*)(int desc, const InetSocketAddr& address);

    // For a server that keeps a privileged helper. The default: HE_INVALOP, -1.
    static RequestBind requestBind;

    // Takes over a descriptor, -1 for none.
    explicit InetSocket(int fd = -1) : InetSockImpl(fd) {}

    static CastableId* getCastableClassId();
    void* doCastInternal(CastableId* id) const override;
    CastableId* getOwnCastableId() const override;

    int setInputTimeout(int milliseconds) override;
    int setOutputTimeout(int milliseconds) override;

    // Makes a TCP socket if there is none yet, and connects without a time-out.
    // Requires: peer is an InetSocketAddr.
    int connect(const SocketAddr& peer) override;
    int shutdown(int how) override;
    int close() override;

    // As doSend and doRecv without flags: the time-outs set above count, the argument does not.
    int send(const void* buffer, int size, int timeout) override;
    int recv(void* buffer, int size, int timeout) override;

    int getType() const override; // 4
    int getDesc() const override;
    int makeNonBlocking(bool on) override;
};

#endif
