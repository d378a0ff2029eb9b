//===- Net/Socket/TCPClientTest.cpp - TCP client against TCP server -------===//
#include "support/TestConfig.h"
#include "support/VemloTest.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include <arpa/inet.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

using Vemlo::Log::Logger;
using Vemlo::Net::NetException;
using Vemlo::Net::Socket::TCPClient;
using Vemlo::Net::Socket::TCPServer;

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

class NetEnvironment : public testing::Environment {
public:
    void SetUp() override {
        std::signal(SIGPIPE, SIG_IGN);
        m_config = new VemloTest::TestConfig();
    }
    void TearDown() override {
        Logger::DestroyLogger();
        delete m_config;
    }

private:
    VemloTest::TestConfig* m_config = nullptr;
};

testing::Environment* const kEnvironment = testing::AddGlobalTestEnvironment(new NetEnvironment);

class Server : public TCPServer {
public:
    int fd() const { return m_nSocket; }
    void setFd(int fd) { m_nSocket = fd; }
    sockaddr_in local() const {
        sockaddr_in address{};
        socklen_t size = sizeof address;
        getsockname(m_nSocket, reinterpret_cast<sockaddr*>(&address), &size);
        return address;
    }
    int port() const { return ntohs(local().sin_port); }
};

class Client : public TCPClient {
public:
    int fd() const { return m_nSocket; }
};

char* text(const char* s) {
    return const_cast<char*>(s);
}

bool isOpen(int fd) {
    return fcntl(fd, F_GETFD) != -1;
}

std::vector<char> pattern(size_t n, int seed) {
    std::vector<char> bytes(n);
    for (size_t i = 0; i < n; ++i)
        bytes[i] = static_cast<char>((i * 7 + seed) & 0xff);
    return bytes;
}

// Reads until `n` bytes came or the peer closed.
std::vector<char> readAll(int fd, size_t n) {
    std::vector<char> out;
    char buffer[65536];
    while (out.size() < n) {
        const ssize_t got = recv(fd, buffer, sizeof buffer, 0);
        if (got <= 0)
            break;
        out.insert(out.end(), buffer, buffer + got);
    }
    return out;
}

// A port on 127.0.0.1 where nothing listens (bound, so no one else takes it).
int closedPort(int& holder) {
    holder = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    bind(holder, reinterpret_cast<sockaddr*>(&address), size);
    getsockname(holder, reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
}

} // namespace

TEST(TCPClientTest, ClientAndServerTalkBothWays) {
    Server server;
    // The address text is ignored: the server listens on every interface.
    ASSERT_EQ(server.Bind(0, text("203.0.113.9")), 0);
    EXPECT_EQ(server.local().sin_addr.s_addr, htonl(INADDR_ANY));
    int reuse = 0;
    socklen_t size = sizeof reuse;
    getsockopt(server.fd(), SOL_SOCKET, SO_REUSEADDR, &reuse, &size);
    EXPECT_NE(reuse, 0);
    ASSERT_EQ(server.Listen(4), 0);

    Client client;
    // The integer is ignored; a name resolves as well as a dotted address.
    ASSERT_EQ(client.Connect(text("localhost"), 12345, server.port()), 0);
    EXPECT_EQ(fcntl(client.fd(), F_GETFL) & O_NONBLOCK, 0); // blocking again

    sockaddr_in peer;
    std::memset(&peer, 0xff, sizeof peer);
    const int accepted = server.Accept(reinterpret_cast<sockaddr*>(&peer));
    ASSERT_GT(accepted, 0);
    EXPECT_EQ(peer.sin_family, AF_INET);
    EXPECT_EQ(peer.sin_addr.s_addr, htonl(INADDR_LOOPBACK));

    // Client to server: more than the socket buffers hold at once.
    const std::vector<char> up = pattern(3 * 1024 * 1024 + 17, 1);
    std::vector<char> received;
    std::thread reader([&] { received = readAll(accepted, up.size()); });
    EXPECT_EQ(client.Send(const_cast<char*>(up.data()), static_cast<int>(up.size())),
              static_cast<int>(up.size()));
    reader.join();
    EXPECT_TRUE(received == up);

    // Server to client, read with Receive.
    const std::vector<char> down = pattern(200000, 2);
    std::thread writer([&] {
        size_t done = 0;
        while (done < down.size()) {
            const ssize_t sent = send(accepted, down.data() + done, down.size() - done, 0);
            if (sent <= 0)
                break;
            done += static_cast<size_t>(sent);
        }
        shutdown(accepted, SHUT_WR);
    });
    std::vector<char> back;
    char buffer[70000];
    for (;;) {
        const int got = client.Receive(buffer, sizeof buffer);
        if (got <= 0) {
            EXPECT_EQ(got, 0);
            break;
        }
        back.insert(back.end(), buffer, buffer + got);
    }
    writer.join();
    EXPECT_TRUE(back == down);

    EXPECT_EQ(client.Close(), 0);
    EXPECT_EQ(client.fd(), 0);
    close(accepted);
    EXPECT_EQ(server.Close(), 0);
    EXPECT_EQ(server.fd(), 0);
}

TEST(TCPClientTest, APeerThatClosesMidSendMakesSendReturnMinusOne) {
    Server server;
    ASSERT_EQ(server.Bind(0, nullptr), 0);
    ASSERT_EQ(server.Listen(1), 0);
    Client client;
    ASSERT_EQ(client.Connect(text("127.0.0.1"), 0, server.port()), 0);
    const int accepted = server.Accept(nullptr);
    ASSERT_GT(accepted, 0);

    // The server reads a little, then goes with data unread (a reset).
    std::thread closer([&] {
        char buffer[1000];
        recv(accepted, buffer, sizeof buffer, MSG_WAITALL);
        close(accepted);
    });
    const std::vector<char> data = pattern(32 * 1024 * 1024, 3);
    EXPECT_EQ(client.Send(const_cast<char*>(data.data()), static_cast<int>(data.size())), -1);
    closer.join();
    EXPECT_TRUE(isOpen(client.fd())); // a failed send leaves the socket to Close
    EXPECT_EQ(client.Close(), 0);
}

TEST(TCPClientTest, ARefusedConnectionIsASocketErrorAndLeavesNoDescriptor) {
    int holder = -1;
    const int port = closedPort(holder);
    Client client;
    VemloTest::ExpectThrown<NetException>([&] { client.Connect(text("127.0.0.1"), 0, port); }, 1004,
                                          "cannot connect to server: socket error");
    EXPECT_EQ(client.fd(), -1); // closed; the number is not kept to be closed again
    EXPECT_EQ(client.Close(), -1);
    EXPECT_EQ(client.fd(), 0);
    close(holder);
}

TEST(TCPClientTest, AnImmediateConnectIsReportedAsFailMinusWithTheSocketKept) {
    Server server;
    ASSERT_EQ(server.Bind(0, nullptr), 0);
    ASSERT_EQ(server.Listen(1), 0);
    Client client;
    g_connectAtOnce = true;
    VemloTest::ExpectThrown<NetException>(
        [&] { client.Connect(text("127.0.0.1"), 0, server.port()); }, 1004,
        "cannot connect to server: fail-");
    g_connectAtOnce = false;

    // The connected socket stays in the object, blocking again, and works.
    ASSERT_GT(client.fd(), 0);
    EXPECT_TRUE(isOpen(client.fd()));
    EXPECT_EQ(fcntl(client.fd(), F_GETFL) & O_NONBLOCK, 0);
    const int accepted = server.Accept(nullptr);
    ASSERT_GT(accepted, 0);
    EXPECT_EQ(client.Send(text("ping"), 4), 4);
    char buffer[8] = {0};
    EXPECT_EQ(recv(accepted, buffer, sizeof buffer, 0), 4);
    EXPECT_STREQ(buffer, "ping");
    close(accepted);
    EXPECT_EQ(client.Close(), 0);
}

TEST(TCPClientTest, APeerThatNeverAnswersTimesOutAfterFiveSeconds) {
    // A listener whose accept queue is full drops new connection requests,
    // so the last connect below never completes.
    Server server;
    ASSERT_EQ(server.Bind(0, nullptr), 0);
    ASSERT_EQ(server.Listen(0), 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<uint16_t>(server.port()));
    std::vector<int> fillers;
    for (int i = 0; i < 8; ++i) {
        const int fd = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0);
        fillers.push_back(fd);
        connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address);
        pollfd p{fd, POLLOUT, 0};
        if (poll(&p, 1, 300) == 0)
            break; // this one hangs: the queue is full
    }

    Client client;
    const auto start = std::chrono::steady_clock::now();
    // 100 would be a short wait in milliseconds; it is not used.
    VemloTest::ExpectThrown<NetException>(
        [&] { client.Connect(text("127.0.0.1"), 100, server.port()); }, 1004,
        "cannot connect to server: timeout");
    const double waited =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    EXPECT_GE(waited, 4.9);
    EXPECT_LT(waited, 8.0);
    EXPECT_EQ(client.fd(), -1);
    for (int fd : fillers)
        close(fd);
}

TEST(TCPClientTest, ConnectingAgainClosesTheEarlierSocket) {
    Server server;
    ASSERT_EQ(server.Bind(0, nullptr), 0);
    ASSERT_EQ(server.Listen(2), 0);
    Client client;
    ASSERT_EQ(client.Connect(text("127.0.0.1"), 0, server.port()), 0);
    const int first = server.Accept(nullptr);
    ASSERT_EQ(client.Connect(text("127.0.0.1"), 0, server.port()), 0);
    const int second = server.Accept(nullptr);
    ASSERT_GT(first, 0);
    ASSERT_GT(second, 0);
    char byte;
    EXPECT_EQ(recv(first, &byte, 1, 0), 0); // the first connection was closed
    EXPECT_EQ(client.Send(text("x"), 1), 1);
    EXPECT_EQ(recv(second, &byte, 1, 0), 1);
    close(first);
    close(second);
}

TEST(TCPClientTest, ServerBindFailuresAndCloseOfNegativeDescriptors) {
    Server first;
    ASSERT_EQ(first.Bind(0, nullptr), 0);
    ASSERT_EQ(first.Listen(1), 0);
    // The port is taken by a listener: bind fails, reported only by its
    // result, and the socket stays in the object.
    Server second;
    EXPECT_EQ(second.Bind(first.port(), nullptr), -1);
    const int kept = second.fd();
    EXPECT_TRUE(isOpen(kept));
    EXPECT_EQ(second.Close(), 0);
    EXPECT_FALSE(isOpen(kept));

    // Unlike the client, the server hands negative descriptors to close().
    Server negative;
    negative.setFd(-1);
    errno = 0;
    EXPECT_EQ(negative.Close(), -1);
    EXPECT_EQ(errno, EBADF);
    EXPECT_EQ(negative.fd(), 0);
    EXPECT_EQ(negative.Close(), 0); // none left
}
