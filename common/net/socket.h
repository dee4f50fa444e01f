// Sockets as streams: what every kind of socket has in common. The kinds that there are: InetSocket
// (common/net/inet_socket.h).
//
// Threads: a socket is used by one thread at a time for each direction.
// Failure: -1 with the last error set; HE_TIMEOUT where nothing moved in time.

#ifndef MORVEX_COMMON_NET_SOCKET_H
#define MORVEX_COMMON_NET_SOCKET_H

#include "common/stream/stream.h"

class SocketAddr;

// What has a descriptor that can be waited on.
class SelectableObject {
public:
    virtual ~SelectableObject();

    // The descriptor, or -1 for none.
    virtual int getDesc() const = 0;
};

class Socket : public Stream, public SelectableObject {
public:
    static CastableId* getCastableClassId();
    void* doCastInternal(CastableId* id) const override;
    CastableId* getOwnCastableId() const override;

    // One recv, one send. They give the bytes moved, which may be fewer than size, 0 at the end of
    // the connection, or -1; the state becomes good, end, timed out (the last error is HE_TIMEOUT)
    // or error. What an earlier call has met does not keep a later one from the system. A size
    // below 1 gives 0 and leaves the state alone.
    int read(void* buffer, int size) override;
    int write(const void* buffer, int size) override;

    // What read and write have moved, modulo 2^32.
    unsigned getReceivedCount(bool reset) const override;
    unsigned getSentCount(bool reset) const override;

    // A socket has no position: 0 for an offset of 0, else HE_INVALOP and -1.
    long long lseek(long long offset, Seek origin) override;

    State getInputState() const override { return inputState; }
    State getOutputState() const override { return outputState; }

    // Always -1: what time-outs there are is known to the kind of socket only.
    int getInputTimeout() const override;
    int getOutputTimeout() const override;

    // Connects to an address of the socket's own family. 0, or -1.
    virtual int connect(const SocketAddr& peer) = 0;

    // Ends one direction or both, as shutdown(2). Here: 0.
    virtual int shutdown(int how);

    // Gives the descriptor back; the object may be connected again. 0, or -1.
    virtual int close() = 0;

    // One transfer past states and counts: the bytes moved, or -1. The timeout is in milliseconds
    // and negative for none. Requires: size is not negative.
    virtual int send(const void* buffer, int size, int timeout) = 0;
    virtual int recv(void* buffer, int size, int timeout) = 0;

    // The family, numbered as by SocketAddr::getType. Here: 0.
    virtual int getType() const;

    int getDesc() const override = 0;

    // Whether a transfer that would have to wait fails instead. 0, or -1.
    virtual int makeNonBlocking(bool on) = 0;

protected:
    Socket() = default;

private:
    State inputState = StateGood;
    State outputState = StateGood;
    mutable unsigned receivedCount = 0;
    mutable unsigned sentCount = 0;
};

#endif
