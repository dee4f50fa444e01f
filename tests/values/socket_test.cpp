// Sockets over loopback: states, time-outs, modes, and what goes wrong between two ends.

#include "common/error.h"
#include "common/net/inet_addr.h"
#include "common/net/inet_socket.h"
#include "common/thread/thread.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <unistd.h>

#include <string>

namespace {

// Holds where a call failed with just this code.
testing::AssertionResult fails(long long result, unsigned code) {
    const unsigned last = Thread::getLastError();
    const bool as = result == -1 && last == code;
    return testing::AssertionResult(as) << "result " << result << ", last error " << last;
}

// A socket bound to a free port of the loopback address, listening if it is a stream.
struct Bound : InetSocket {
    explicit Bound(int kind = SOCK_STREAM) {
        EXPECT_EQ(doCreate(kind), 0);
        EXPECT_EQ(doBind(InetSocketAddr(InetAddr::LOCALHOST, 0), kind == SOCK_STREAM, true), 0);
        EXPECT_EQ(doGetAddr(&address, false), 0);
    }
    InetSocketAddr address;
};

struct Pair {
    Pair() {
        EXPECT_EQ(client.connect(listener.address), 0);
        EXPECT_EQ(listener.doAccept(&server, 5000), 0);
    }
    Bound listener;
    InetSocket client;
    InetSocket server;
};

bool isNonBlocking(const Socket& socket) {
    return (fcntl(socket.getDesc(), F_GETFL) & O_NONBLOCK) != 0;
}

TEST(Socket, partialTransfersCountsAndTheEnd) {
    Pair pair;
    EXPECT_EQ(pair.client.doCastInternal(InetSocket::getCastableClassId()), &pair.client);
    EXPECT_EQ(fcntl(pair.client.getDesc(), F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(fcntl(pair.server.getDesc(), F_GETFD), FD_CLOEXEC);
    InetSocketAddr far;
    EXPECT_EQ(pair.client.doGetAddr(&far, true), 0);
    EXPECT_EQ(far, pair.listener.address);
    EXPECT_EQ(pair.client.doCreate(SOCK_STREAM), 0); // there is one already
    EXPECT_TRUE(fails(pair.client.doConnect(far, 5000), EISCONN));
    EXPECT_EQ(pair.client.makeNonBlocking(false), 0);

    char buffer[16];
    EXPECT_EQ(pair.client.write("12345", 5), 5);
    EXPECT_EQ(pair.client.write("", 0), 0);
    EXPECT_EQ(pair.client.getOutputState(), Stream::StateGood);
    EXPECT_EQ(pair.server.read(buffer, 2), 2);
    EXPECT_EQ(pair.server.read(buffer, sizeof buffer), 3); // what there is, not what was asked for
    EXPECT_EQ(std::string(buffer, 3), "345");
    EXPECT_EQ(pair.server.getReceivedCount(false), 5U);
    EXPECT_EQ(pair.client.getSentCount(true), 5U);
    EXPECT_EQ(pair.client.getSentCount(false), 0U);
    EXPECT_EQ(pair.client.lseek(0, Stream::SeekEnd), 0);
    EXPECT_TRUE(fails(pair.client.lseek(1, Stream::SeekStart), HE_INVALOP));

    EXPECT_EQ(pair.client.shutdown(SHUT_WR), 0);
    EXPECT_EQ(pair.server.read(buffer, 1), 0);
    EXPECT_EQ(pair.server.getInputState(), Stream::StateEnd);
    EXPECT_EQ(pair.server.write("x", 1), 1); // the other direction goes on
    EXPECT_EQ(pair.client.read(buffer, 1), 1);
    EXPECT_EQ(pair.client.getInputState(), Stream::StateGood);
}

TEST(Socket, timeoutsDecideTheStateAndTheMode) {
    Pair pair;
    InetSocket& client = pair.client;
    char byte;
    EXPECT_EQ(client.setInputTimeout(20), 0);
    EXPECT_TRUE(isNonBlocking(client));
    EXPECT_TRUE(fails(client.read(&byte, 1), HE_TIMEOUT));
    EXPECT_EQ(client.read(&byte, 0), 0); // says nothing, so the state stays
    EXPECT_EQ(client.getInputState(), Stream::StateTimedOut);
    EXPECT_EQ(client.setOutputTimeout(-1), 0); // the later call decides for both directions
    EXPECT_FALSE(isNonBlocking(client));
    EXPECT_TRUE(fails(client.recv(&byte, 1, 600000), HE_TIMEOUT)); // the argument does not count
    EXPECT_EQ(client.setInputTimeout(-1), 0);
    EXPECT_EQ(client.makeNonBlocking(true) + client.makeNonBlocking(true), 0);
    EXPECT_TRUE(fails(client.read(&byte, 1), HE_TIMEOUT));
    EXPECT_EQ(pair.server.write("x", 1), 1);
    EXPECT_EQ(client.doWait(5000, 0), 0);
    EXPECT_EQ(client.read(&byte, 1), 1);
    EXPECT_EQ(client.getInputState(), Stream::StateGood);
    EXPECT_EQ(client.getReceivedCount(false), 1U);
    InetSocket target;
    EXPECT_TRUE(fails(pair.listener.doAccept(&target, 20), HE_TIMEOUT));
}

TEST(Socket, aPeerThatDoesNotTakeAndThenGoesAway) {
    Pair pair;
    // However large the system would let its buffers grow.
    char value[64];
    const int room = 65536;
    int length = sizeof value;
    EXPECT_EQ(pair.client.doSetOption(SO_SNDBUF, &room, sizeof room), 0);
    EXPECT_EQ(pair.server.doSetOption(SO_RCVBUF, &room, sizeof room), 0);
    EXPECT_EQ(pair.server.doGetOption(SO_RCVBUF, value, &length), 0);
    EXPECT_EQ(length, 4);
    std::string sent(std::size_t{4} << 20, 'x');
    for (std::size_t i = 0; i < sent.size(); i += 997) {
        sent[i] = static_cast<char>(i >> 10);
    }
    EXPECT_EQ(pair.client.makeNonBlocking(true), 0);
    const int taken = pair.client.writeAll(sent.data(), static_cast<int>(sent.size()));
    ASSERT_TRUE(taken > 0 && taken < static_cast<int>(sent.size())) << taken;
    EXPECT_EQ(pair.client.getOutputState(), Stream::StateTimedOut);
    EXPECT_EQ(pair.client.setOutputTimeout(20), 0);
    EXPECT_EQ(pair.client.makeNonBlocking(false), 0); // then the wait alone keeps it from hanging
    EXPECT_TRUE(fails(pair.client.write("x", 1), HE_TIMEOUT));
    std::string got(static_cast<std::size_t>(taken), ' ');
    EXPECT_EQ(pair.server.readAll(got.data(), taken), taken);
    EXPECT_TRUE(sent.starts_with(got));

    // It leaves data unread: an error here, and no signal.
    EXPECT_EQ(pair.client.write("x", 1), 1);
    EXPECT_EQ(pair.server.doWait(5000, 0), 0);
    EXPECT_EQ(pair.server.close(), 0);
    EXPECT_TRUE(fails(pair.client.write("x", 1), ECONNRESET));
    EXPECT_EQ(pair.client.getOutputState(), Stream::StateError);
    EXPECT_TRUE(fails(pair.client.doSend("x", 1, 0, 0), EPIPE));
    EXPECT_TRUE(fails(pair.client.doPeerSend(pair.listener.address, "x", 1, 0), EPIPE));
}

TEST(Socket, connectsThatFail) {
    const InetSocketAddr nobody = Bound().address;
    InetSocket client;
    EXPECT_TRUE(fails(client.connect(nobody), ECONNREFUSED));
    EXPECT_TRUE(fails(client.doConnect(nobody, 5000), ECONNREFUSED));

    const Bound full; // the system stops answering when its backlog is used up
    int result = 0;
    InetSocket waiting[16];
    for (int i = 0; i < 16 && result == 0; ++i) {
        EXPECT_EQ(waiting[i].doCreate(SOCK_STREAM), 0);
        result = waiting[i].doConnect(full.address, 50);
        EXPECT_TRUE(result == 0 || (i > 0 && fails(result, HE_TIMEOUT)));
        EXPECT_EQ(isNonBlocking(waiting[i]), result != 0);
    }
    EXPECT_EQ(result, -1);
}

TEST(Socket, aClosedSocketStartsOver) {
    Pair pair;
    EXPECT_TRUE(fails(pair.listener.doAccept(&pair.server, -1), HE_INVALOP));
    EXPECT_TRUE(fails(pair.server.doWait(20, 0), HE_TIMEOUT));
    EXPECT_EQ(pair.server.close(), 0);
    EXPECT_EQ(pair.server.close(), 0);
    EXPECT_TRUE(fails(pair.server.doWait(-1, 0), EBADF));
    InetSocket client; // takes the number that was closed
    EXPECT_EQ(client.connect(pair.listener.address), 0);
    EXPECT_EQ(pair.listener.doAccept(&pair.server, 5000), 0);
    EXPECT_TRUE(fails(pair.server.doWait(20, 0), HE_TIMEOUT)); // and not what is under the old one
    EXPECT_EQ(client.write("x", 1), 1);
    EXPECT_EQ(pair.server.doWait(5000, 0), 0);
}

TEST(Socket, bindsThatFail) {
    const Bound used;
    InetSocket socket;
    EXPECT_EQ(socket.doCreate(SOCK_STREAM), 0);
    EXPECT_TRUE(fails(socket.doBind(used.address, 1, false), HE_LSN_ADDR_IN_USE));
    // Two may bind with SO_REUSEADDR before either listens: then the listen is refused.
    Bound first(SOCK_STREAM);
    InetSocket second;
    EXPECT_EQ(first.close() + first.doCreate(SOCK_STREAM) + second.doCreate(SOCK_STREAM), 0);
    EXPECT_EQ(first.doBind(first.address, 0, true) + second.doBind(first.address, 0, true), 0);
    EXPECT_EQ(first.doListen(1), 0);
    EXPECT_TRUE(fails(second.doListen(1), HE_LSN_ADDR_IN_USE));
}

TEST(Socket, bindsWithoutTheRightGoToTheHook) {
    if (geteuid() == 0 && seteuid(65534) != 0) {
        GTEST_SKIP() << "needs a user without rights";
    }
    InetSocket socket;
    const auto bindPort = [&](unsigned short port) {
        return socket.doBind(InetSocketAddr(InetAddr::LOCALHOST, port), 0, false);
    };
    EXPECT_EQ(socket.doCreate(SOCK_STREAM), 0);
    const int refused = bindPort(1);
    if (refused == -1) {
        EXPECT_EQ(Thread::getLastError(), HE_INVALOP);
        const InetSocket::RequestBind saved = InetSocket::requestBind;
        InetSocket::requestBind = [](int, const InetSocketAddr& address) {
            Thread::setLastError(EADDRINUSE);
            return address.getPort() == 1 ? 0 : -1;
        };
        EXPECT_EQ(bindPort(1), 0);
        EXPECT_TRUE(fails(bindPort(2), HE_LSN_ADDR_IN_USE));
        InetSocket::requestBind = saved;
    }
    EXPECT_EQ(seteuid(getuid()), 0);
    if (refused == 0) {
        GTEST_SKIP() << "low ports are open to everybody here";
    }
}

TEST(Socket, datagramsBothWays) {
    Bound left(SOCK_DGRAM);
    Bound right(SOCK_DGRAM);
    char buffer[8];
    InetSocketAddr from;
    EXPECT_TRUE(fails(right.doPeerRecv(&from, buffer, sizeof buffer, 0, 20), HE_TIMEOUT));
    EXPECT_EQ(left.doPeerSend(right.address, "ping", 4, 0), 4);
    EXPECT_EQ(right.doPeerRecv(&from, buffer, 2, 0, 5000), 2); // the rest is dropped
    EXPECT_EQ(from, left.address);
    EXPECT_EQ(right.doPeerSend(from, "pong", 4, 0), 4);
    EXPECT_EQ(left.doPeerRecv(&from, buffer, sizeof buffer, 0, -1), 4);
    EXPECT_EQ(from, right.address);
    EXPECT_EQ(left.makeNonBlocking(true), 0);
    EXPECT_TRUE(fails(left.doPeerRecv(&from, buffer, sizeof buffer, 0, -1), EAGAIN));
    EXPECT_EQ(from, InetSocketAddr());

    // An error that came back for an earlier datagram shows in the next wait, once.
    EXPECT_EQ(left.doConnect(right.address, -1) + right.close(), 0);
    EXPECT_EQ(left.doSend("lost", 4, 0, -1), 4);
    EXPECT_TRUE(fails(left.doWait(5000, 0), ECONNREFUSED));
    EXPECT_EQ(left.doGetLastError(), 0);
    EXPECT_TRUE(fails(left.doWait(20, 0), HE_TIMEOUT));
}

TEST(Socket, aSignalEndsWaitsAndTransfers) {
    struct sigaction saved;
    struct sigaction stirring = {};
    stirring.sa_handler = [](int) {};
    ASSERT_EQ(sigaction(SIGALRM, &stirring, &saved), 0);
    const itimerval ticks = {{0, 20000}, {0, 20000}};
    const itimerval none = {};
    Pair pair;
    char byte;
    setitimer(ITIMER_REAL, &ticks, nullptr);
    EXPECT_TRUE(fails(pair.server.doWait(60000, 0), EINTR));
    EXPECT_TRUE(fails(pair.server.read(&byte, 1), EINTR));
    EXPECT_EQ(pair.server.getInputState(), Stream::StateError);
    setitimer(ITIMER_REAL, &none, nullptr);
    sigaction(SIGALRM, &saved, nullptr);
}

TEST(Socket, noDescriptorsLeft) {
    Bound listener;
    InetSocket client;
    InetSocket target;
    EXPECT_EQ(client.connect(listener.address), 0);
    const int next = dup(client.getDesc());
    close(next);
    rlimit saved;
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &saved), 0);
    const rlimit full = {static_cast<rlim_t>(next), saved.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &full), 0);
    EXPECT_TRUE(fails(listener.doAccept(&target, 5000), HE_MFILE));
    EXPECT_TRUE(fails(target.connect(listener.address), HE_MFILE));
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &saved), 0);
    EXPECT_EQ(listener.doAccept(&target, 5000), 0); // the connection still waits
}

} // namespace
