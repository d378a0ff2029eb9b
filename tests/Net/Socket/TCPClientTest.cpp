//===- Net/Socket/TCPClientTest.cpp - TCP client against TCP server -------===//
#include "Net/NetTest.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <thread>
#include <vector>

#include <dlfcn.h>
#include <poll.h>
#include <sys/resource.h>

using NetTest::text;
using Vemlo::Net::NetException;

namespace {

// When set, connect() finishes the real handshake before it returns, so
// that a non-blocking connect completes at once, as it may on other systems
// (Linux always answers EINPROGRESS for TCP). Off, it is the plain call.
std::atomic<bool> g_connectAtOnce{false};

} // namespace

extern "C" int connect(int fd, const struct sockaddr* address, socklen_t length) {
    using Connect = int (*)(int, const struct sockaddr*, socklen_t);
    static const Connect next = reinterpret_cast<Connect>(dlsym(RTLD_NEXT, "connect"));
    const int result = next(fd, address, length);
    if (result != 0 && errno == EINPROGRESS && g_connectAtOnce) {
        pollfd p{fd, POLLOUT, 0};
        int error = 0;
        socklen_t size = sizeof error;
        if (poll(&p, 1, 5000) == 1 && getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size) == 0 &&
            error == 0)
            return 0;
        errno = error ? error : ETIMEDOUT;
    }
    return result;
}

namespace {

struct Server : NetTest::Open<Vemlo::Net::Socket::TCPServer> {
    int port() {
        sockaddr_in address{};
        socklen_t size = sizeof address;
        getsockname(fd(), reinterpret_cast<sockaddr*>(&address), &size);
        return ntohs(address.sin_port);
    }
};
using Client = NetTest::Open<Vemlo::Net::Socket::TCPClient>;

// A bound server (the address text is ignored: it listens on every interface).
class TCPClientTest : public testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(server.Bind(0, text("203.0.113.9")), 0); }
    Server server;
    Client client;
};

} // namespace

TEST_F(TCPClientTest, ClientAndServerTalkBothWaysThroughPartialSends) {
    ASSERT_EQ(server.Listen(4), 0);
    // The integer is ignored; a name resolves as well as a dotted address.
    ASSERT_EQ(client.Connect(text("localhost"), 12345, server.port()), 0);
    EXPECT_EQ(fcntl(client.fd(), F_GETFL) & O_NONBLOCK, 0); // blocking again
    const int accepted = server.Accept(nullptr);
    ASSERT_GT(accepted, 0);

    // Client to server: more than the socket buffers hold at once, so sends
    // return short; then the server answers. (A peer that goes mid-send is
    // ClientBase's.)
    std::vector<char> up(3 * 1024 * 1024 + 17, 'u'), received;
    std::thread peerThread([&] {
        char buffer[65536];
        for (ssize_t got;
             received.size() < up.size() && (got = recv(accepted, buffer, sizeof buffer, 0)) > 0;)
            received.insert(received.end(), buffer, buffer + got);
        send(accepted, "down", 4, 0);
        close(accepted);
    });
    EXPECT_EQ(client.Send(up.data(), static_cast<int>(up.size())), static_cast<int>(up.size()));
    char buffer[16] = {0};
    EXPECT_EQ(client.Receive(buffer, sizeof buffer), 4);
    peerThread.join();
    EXPECT_TRUE(received == up);
    EXPECT_EQ(client.Close(), 0);
    EXPECT_EQ(client.fd(), 0);
}

TEST_F(TCPClientTest, RefusedAndUnansweredConnectsThrowAndLeaveNoDescriptor) {
    int holder = -1;
    const int refusing = NetTest::closedPort(holder);
    VemloTest::ExpectThrown<NetException>([&] { client.Connect(text("127.0.0.1"), 0, refusing); },
                                          1004, "cannot connect to server: socket error");
    close(holder);
    EXPECT_EQ(client.fd(), -1); // closed; the number is not kept to be closed again

    // A listener whose accept queue is full drops new connection requests,
    // so the connect below never completes: it gives up after 5 seconds.
    ASSERT_EQ(server.Listen(0), 0);
    sockaddr_in address = NetTest::loopback(server.port());
    std::vector<int> fillers;
    for (int i = 0; i < 8; ++i) {
        fillers.push_back(socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0));
        connect(fillers.back(), reinterpret_cast<sockaddr*>(&address), sizeof address);
        pollfd p{fillers.back(), POLLOUT, 0};
        if (poll(&p, 1, 300) == 0)
            break; // this one hangs: the queue is full
    }
    const auto start = std::chrono::steady_clock::now();
    // 100 would be a short wait in milliseconds; it is not used.
    VemloTest::ExpectThrown<NetException>(
        [&] { client.Connect(text("127.0.0.1"), 100, server.port()); }, 1004,
        "cannot connect to server: timeout");
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(4900));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(8));
    for (int fd : fillers)
        close(fd);
}

TEST_F(TCPClientTest, AnImmediateConnectIsFailMinusWithTheSocketKept) {
    ASSERT_EQ(server.Listen(2), 0);
    g_connectAtOnce = true;
    VemloTest::ExpectThrown<NetException>(
        [&] { client.Connect(text("127.0.0.1"), 0, server.port()); }, 1004,
        "cannot connect to server: fail-");
    g_connectAtOnce = false;
    // The connected socket stays in the object, blocking again, and works.
    ASSERT_GT(client.fd(), 0);
    const int first = server.Accept(nullptr);
    ASSERT_GT(first, 0);
    EXPECT_EQ(client.Send(text("ping"), 4), 4);
    char buffer[8] = {0};
    EXPECT_EQ(recv(first, buffer, sizeof buffer, 0), 4);
    close(first);
}

// select() cannot watch a descriptor from FD_SETSIZE on: such a socket still
// connects (and nothing is written past an fd_set, which ASan would see).
TEST_F(TCPClientTest, ASocketPastTheSelectLimitConnects) {
    rlimit limit;
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
    limit.rlim_cur = limit.rlim_max;
    if (limit.rlim_max <= FD_SETSIZE || setrlimit(RLIMIT_NOFILE, &limit) != 0)
        GTEST_SKIP() << "no descriptor past " << FD_SETSIZE << " allowed";
    ASSERT_EQ(server.Listen(2), 0);
    std::vector<int> fillers; // every lower descriptor taken
    for (int fd = 0; fd < FD_SETSIZE; ++fd)
        if (!NetTest::isOpen(fd))
            fillers.push_back(dup2(0, fd));
    const int connected = client.Connect(text("127.0.0.1"), 0, server.port());
    for (int fd : fillers)
        close(fd);
    EXPECT_EQ(connected, 0);
    EXPECT_EQ(client.fd(), FD_SETSIZE);
    close(server.Accept(nullptr));
}

TEST_F(TCPClientTest, UnlikeTheClientTheServerClosesNegativeDescriptors) {
    close(server.fd());
    server.fd() = -1; // a failed socket()
    errno = 0;
    EXPECT_EQ(server.Close(), -1);
    EXPECT_EQ(errno, EBADF);
    EXPECT_EQ(server.fd(), 0);
    // Its destructor closes what Close would, and leaves descriptor 0 alone.
    const int bound = [] {
        Server other;
        other.Bind(0, text("127.0.0.1"));
        return other.fd();
    }();
    EXPECT_FALSE(NetTest::isOpen(bound));
    { Server unused; }
    EXPECT_TRUE(NetTest::isOpen(0));
}
