//===- Net/Socket/SocketTest.cpp - Socket clients and servers -------------===//
//
// The base client over socket pairs made by the test; the TCP and the
// Unix-domain client against their servers, on 127.0.0.1 and in a temporary
// folder.
//
//===----------------------------------------------------------------------===//
#include "Net/NetTest.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <functional>
#include <regex>
#include <thread>
#include <vector>

#include <dlfcn.h>
#include <poll.h>
#include <sys/resource.h>

using NetTest::isOpen;
using NetTest::text;
using Vemlo::Net::NetException;

// When set, connect() finishes the real handshake (to a listening server)
// before it returns, so that a non-blocking connect completes at once, as it
// may on other systems (Linux always answers EINPROGRESS for TCP). Off, it is
// the plain call.
static std::atomic<bool> g_connectAtOnce{false};

extern "C" int connect(int fd, const struct sockaddr* address, socklen_t length) {
    static const auto next = reinterpret_cast<decltype(&connect)>(dlsym(RTLD_NEXT, "connect"));
    const int result = next(fd, address, length);
    pollfd p{fd, POLLOUT, 0};
    if (result != 0 && errno == EINPROGRESS && g_connectAtOnce && poll(&p, 1, 5000) == 1)
        return 0;
    return result;
}

namespace {

// The results of calls made in order, or of a call and what it leaves behind
// (braces evaluate left to right).
using Results = std::vector<int>;
using Got = std::pair<int, std::string>;

// A client that takes over one end of a socket pair made by the test.
struct PairClient : NetTest::Open<Vemlo::Net::Socket::ClientBase> {
    explicit PairClient(int type = SOCK_STREAM) {
        socketpair(AF_UNIX, type, 0, pair);
        m_nSocket = pair[0];
    }
    ~PairClient() override { close(pair[1]); }
    int Connect(char*, int, int) override { return 0; }
    int pair[2] = {-1, -1};
};

struct Server : NetTest::Open<Vemlo::Net::Socket::TCPServer> {
    int port() { return NetTest::portOf(fd()); }
};
using Client = NetTest::Open<Vemlo::Net::Socket::TCPClient>;
using UDSClient = NetTest::Open<Vemlo::Net::Socket::UDSClient>;

// The client sends more than the socket buffers hold at once (so sends return
// short) to the peer at `accepted` (a descriptor the server's Accept gave),
// which answers "down" and closes; then the client closes.
template <class C> void talkBothWays(C& client, int accepted) {
    ASSERT_GT(accepted, 0);
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
    EXPECT_EQ((Got{client.Receive(buffer, sizeof buffer), buffer}), Got(4, "down"));
    peerThread.join();
    EXPECT_TRUE(received == up);
    EXPECT_EQ((Results{client.Close(), client.fd()}), (Results{0, 0}));
}

} // namespace

TEST(ClientBaseTest, SendsIn8196ByteUnitsReceivesOnceClosesAboveZeroThrowsOnAVanishedPeer) {
    // A sequenced-packet pair keeps the boundary of every unit UnitSend sent.
    PairClient client(SOCK_SEQPACKET);
    std::vector<char> data(20000, 'd'), received;
    EXPECT_EQ(client.Send(data.data(), 20000), 20000);
    std::vector<ssize_t> units;
    char unit[16384];
    for (ssize_t got; (got = recv(client.pair[1], unit, sizeof unit, MSG_DONTWAIT)) > 0;) {
        units.push_back(got);
        received.insert(received.end(), unit, unit + got);
    }
    EXPECT_EQ(units, (std::vector<ssize_t>{8196, 8196, 3608}));
    EXPECT_EQ(received, data);

    // Nothing to send: no call at all; a negative length sends nothing.
    EXPECT_EQ((Results{client.Send(nullptr, 10), client.Send(data.data(), -5)}), (Results{0, -1}));

    // Receive is one recv, no loop; Close closes only descriptors above 0.
    ASSERT_EQ(write(client.pair[1], "hello world", 11), 11);
    char buffer[64] = {0};
    EXPECT_EQ((Got{client.Receive(buffer, 5), std::string(buffer, 5)}), Got(5, "hello"));
    // A negative size never reaches recv() as a huge one; once closed,
    // descriptor 0 is never written to.
    EXPECT_EQ((Results{client.Receive(buffer, -1), client.Close(), isOpen(client.pair[0]),
                       client.UnitSend(buffer, 5)}),
              (Results{-1, 0, false, 0}));
    client.fd() = -1; // a failed socket(): returned as is, close() not called
    errno = 0;
    EXPECT_EQ((Results{client.Close(), errno}), (Results{-1, 0}));

    // Sending to a vanished peer: the base exception from UnitSend only. Its
    // number is the untouched byte (0) natively; user-mode emulators copy one
    // byte of the error into it.
    PairClient lonely;
    close(lonely.pair[1]);
    lonely.pair[1] = -1;
    try {
        lonely.UnitSend(data.data(), 100);
        ADD_FAILURE() << "nothing thrown";
    } catch (Vemlo::Common::Exception* e) {
        EXPECT_TRUE(
            typeid(*e) == typeid(Vemlo::Common::Exception) && e->GetCode() == -1 &&
            std::regex_match(e->GetMessage(),
                             std::regex(R"(client socket is closed : error number \[\d+\] )")))
            << typeid(*e).name() << " " << e->GetCode() << " " << e->GetMessage();
        delete e;
    }
    // Caught inside, nothing escapes; the socket stays open.
    EXPECT_EQ((Results{lonely.Send(data.data(), 100), isOpen(lonely.pair[0])}),
              (Results{-1, true}));
}

TEST(TCPClientTest, ConnectsRefusedTimedOutOrDoneAtOnceThrowOthersTalkEvenOnSocket0OrPastSelect) {
    // A bound server (the address text is ignored: it listens on every interface).
    Server server;
    Client client;
    ASSERT_EQ(server.Bind(0, text("203.0.113.9")), 0);
    // Bound, not listening yet: the connection is refused.
    VemloTest::ExpectThrown<NetException>(
        [&] { client.Connect(text("127.0.0.1"), 0, server.port()); }, 1004,
        "cannot connect to server: socket error");
    EXPECT_EQ(client.fd(), -1); // closed; the number is not kept to be closed again

    // A listener whose accept queue is full drops new connection requests,
    // so the connect below never completes: it gives up after 5 seconds.
    ASSERT_EQ(server.Listen(0), 0);
    sockaddr_in address{
        AF_INET, htons(static_cast<uint16_t>(server.port())), {inet_addr("127.0.0.1")}, {}};
    std::vector<int> queueFillers;
    for (int i = 0; i < 8; ++i) {
        queueFillers.push_back(socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0));
        connect(queueFillers.back(), reinterpret_cast<sockaddr*>(&address), sizeof address);
        pollfd p{queueFillers.back(), POLLOUT, 0};
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
    for (int fd : queueFillers)
        close(fd);

    const int first = server.fd(); // a second Bind closes the first socket
    ASSERT_EQ((Results{server.Bind(0, text("127.0.0.1")), server.fd(), server.Listen(4)}),
              (Results{0, first, 0}));
    // The integer is ignored; a name resolves as well as a dotted address.
    ASSERT_EQ(client.Connect(text("localhost"), 12345, server.port()), 0);
    EXPECT_EQ(fcntl(client.fd(), F_GETFL) & O_NONBLOCK, 0); // blocking again
    talkBothWays(client, server.Accept(nullptr)); // (a peer that goes mid-send: the base client's)

    g_connectAtOnce = true;
    VemloTest::ExpectThrown<NetException>(
        [&] { client.Connect(text("127.0.0.1"), 0, server.port()); }, 1004,
        "cannot connect to server: fail-");
    g_connectAtOnce = false;
    // The connected socket stays in the object and works.
    ASSERT_GT(client.fd(), 0);
    EXPECT_EQ(client.Send(text("ping"), 4), 4);

    // Unlike the client, the server closes negative descriptors too.
    Server closing;
    closing.fd() = -1; // a failed socket()
    errno = 0;
    EXPECT_EQ((Results{closing.Close(), errno, closing.fd()}), (Results{-1, EBADF, 0}));
    // Its destructor leaves descriptor 0 alone, as a client's does (that it
    // closes a bound socket, the HTTP client's cases see: they count descriptors).
    { Server unused; }
    { Client unused; }
    EXPECT_TRUE(NetTest::isOpen(0));

    // A daemon may run with descriptor 0 closed, so its first socket is 0. And
    // select() cannot watch a descriptor from FD_SETSIZE on: such a socket still
    // connects (and nothing is written past an fd_set, which ASan would see).
    const int input = dup(0);
    close(0);
    Server zero; // a server's socket may be 0 as well
    EXPECT_EQ((Results{zero.Bind(0, text("127.0.0.1")), zero.fd()}), (Results{0, 0}));
    close(0);
    EXPECT_EQ((Results{client.Connect(text("127.0.0.1"), 0, server.port()), client.fd()}),
              (Results{0, 0}));
    dup2(input, 0); // the socket goes with it: Close leaves descriptor 0 alone
    close(input);
    close(server.Accept(nullptr));
    rlimit limit;
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
    limit.rlim_cur = limit.rlim_max;
    if (limit.rlim_max <= FD_SETSIZE || setrlimit(RLIMIT_NOFILE, &limit) != 0)
        GTEST_SKIP() << "no descriptor past " << FD_SETSIZE << " allowed";
    std::vector<int> fillers; // every lower descriptor taken
    for (int fd = 0; fd < FD_SETSIZE; ++fd)
        if (!NetTest::isOpen(fd))
            fillers.push_back(dup2(0, fd));
    const int connected = client.Connect(text("127.0.0.1"), 0, server.port());
    for (int fd : fillers)
        close(fd);
    EXPECT_EQ((Results{connected, client.fd()}), (Results{0, FD_SETSIZE}));
    close(server.Accept(nullptr));
}

#ifdef VEMLO_TEST_WITHOUT_SANITIZER
TEST(SocketTest, WithoutAFreeDescriptorEverySocketThrowsAtCreation) {
    VemloTest::WithoutFreeDescriptors none;
    for (const auto& [call, message] : std::vector<std::pair<std::function<void()>, const char*>>{
             {[] { Vemlo::Net::Socket::TCPServer().Bind(0, text("127.0.0.1")); },
              "cannot create server socket"},
             {[] { Vemlo::Net::Socket::UDSServer().Bind(0, text("/nowhere")); },
              "cannot create server socket"},
             {[] { Client().Connect(text("127.0.0.1"), 0, 9); }, "cannot create socket"},
             {[] { UDSClient().Connect(text("/nowhere"), 0, 0); }, "cannot create socket"}})
        VemloTest::ExpectThrown<NetException>(call, 0, message);
}
#endif

TEST(UDSClientTest, TalksOverAReplacedFileCutAt107CharactersAndWithoutAServerCannotConnect) {
    VemloTest::TempDir dir;
    std::string cut = dir.path() + "/";
    cut.append(107 - cut.size(), 's');
    const std::string full = cut + "-never-seen";
    std::fclose(std::fopen(full.c_str(), "w")); // a file left at the path is removed by Bind
    Vemlo::Net::Socket::UDSServer server;
    ASSERT_EQ((Results{server.Bind(7, text(full)), std::filesystem::is_socket(cut),
                       access(full.c_str(), F_OK) == 0, server.Listen(2)}),
              (Results{0, true, false, 0}));
    UDSClient client;
    ASSERT_EQ(client.Connect(text(full), 1, 2), 0);
    const int first = client.fd(); // a second Connect closes the first socket
    ASSERT_EQ((Results{client.Connect(text(cut), 0, 0), client.fd()}), (Results{0, first}));
    close(server.Accept(nullptr));
    talkBothWays(client, server.Accept(nullptr));
    // The socket file is left for the application to remove.
    EXPECT_EQ((Results{server.Close(), std::filesystem::is_socket(cut)}), (Results{0, true}));

    UDSClient lonely;
    const std::string nobody = dir.file("nobody.sock");
    VemloTest::ExpectThrown<NetException>([&] { lonely.Connect(text(nobody), 0, 0); }, 0,
                                          "cannot connect to UDS server");
    EXPECT_EQ(lonely.fd(), -1); // closed and not kept
}
